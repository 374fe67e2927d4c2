// A private scratch folder per test, removed with everything in it.
#ifndef TAGVERA_TESTS_PLATFORM_SCRATCH_DIR_H
#define TAGVERA_TESTS_PLATFORM_SCRATCH_DIR_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace tagvera::test {

class ScratchDir {
public:
    ScratchDir() {
#if defined(_WIN32)
        // No mkdtemp there: a random name, taken only if nobody has it.
        std::random_device random;
        for (int attempt = 0; path_.empty(); ++attempt) {
            const auto dir = std::filesystem::temp_directory_path() / ("tagvera-platform-" + std::to_string(random()));
            if (std::filesystem::create_directory(dir)) path_ = dir.string();
            if (attempt == 100) throw std::runtime_error("no scratch folder");
        }
#else
        std::string pattern = (std::filesystem::temp_directory_path() / "tagvera-platform-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
#endif
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Writes bytes to a file of the folder; its path.
    std::string write(const std::string& name, const std::vector<uint8_t>& bytes) const;
    // Copies a file into the folder (under its own name by default), owner-writable; its path.
    std::string copy(const std::string& from, const std::string& name = "") const {
        const std::string to = file(name.empty() ? std::filesystem::path(from).filename().string() : name);
        std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::permissions(to, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        return to;
    }
    // Names in the folder, sorted.
    std::set<std::string> entries() const {
        std::set<std::string> out;
        for (const auto& e : std::filesystem::directory_iterator(path_)) {
            const std::u8string name = e.path().filename().u8string();
            out.insert(std::string(name.begin(), name.end()));
        }
        return out;
    }

private:
    std::string path_;
};

// A UTF-8 path as the standard library's streams take it everywhere (Windows reads a narrow
// string in the ANSI code page).
inline std::filesystem::path PathOf(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

inline std::vector<uint8_t> ReadAll(const std::string& path) {
    std::ifstream in(PathOf(path), std::ios::binary | std::ios::ate);
    if (!in) return {};
    std::vector<uint8_t> out(static_cast<size_t>(in.tellg()));
    in.seekg(0);
    in.read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(out.size()));
    return out;
}

inline void WriteAll(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(PathOf(path), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ScratchDir::write(const std::string& name, const std::vector<uint8_t>& bytes) const {
    const std::string path = file(name);
    WriteAll(path, bytes);
    return path;
}

inline void WriteText(const std::string& path, const std::string& text) {
    std::ofstream out(PathOf(path), std::ios::binary | std::ios::trunc);
    out << text;
}

inline std::string ReadText(const std::string& path) {
    std::ifstream in(PathOf(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Permission bits are POSIX's; Windows has only the read-only attribute, which the tests check
// on their own.
#if defined(_WIN32)
inline constexpr bool kPosixModes = false;
#else
inline constexpr bool kPosixModes = true;
#endif

// A string's bytes, as writers take them.
inline std::span<const uint8_t> Span(const std::string& s) { return {reinterpret_cast<const uint8_t*>(s.data()), s.size()}; }

// Deterministic bytes that differ at every offset, so misplaced copies show.
inline std::vector<uint8_t> Pattern(size_t n, uint32_t seed = 1) {
    std::vector<uint8_t> out(n);
    uint32_t x = seed * 2654435761u + 1;
    for (auto& b : out) {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        b = static_cast<uint8_t>(x);
    }
    return out;
}

}  // namespace tagvera::test

#endif
