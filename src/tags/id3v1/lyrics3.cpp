#include "tags/id3v1/lyrics3.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "base/byte_reader.h"

namespace tagvera {

namespace {

constexpr std::string_view kBegin = "LYRICSBEGIN";
constexpr std::string_view kV1End = "LYRICSEND";
// 5,100 characters of lyrics and the markers around them.
constexpr uint64_t kV1Window = 5100 + 11 + 9;

bool Is(std::span<const uint8_t> b, std::string_view s) {
    return b.size() == s.size() && std::memcmp(b.data(), s.data(), s.size()) == 0;
}

bool Digits(std::span<const uint8_t> b, uint64_t* value) {
    uint64_t v = 0;
    for (uint8_t c : b) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    *value = v;
    return true;
}

bool Malformed(std::string* problem, const char* what) {
    if (problem) *problem = what;
    return false;
}

// Fields: a 3-letter id, a 5-digit size, the text.
bool ReadFields(ByteReader r, Lyrics3Tag& tag, std::string* problem) {
    while (!r.empty()) {
        if (r.remaining() < 8) return Malformed(problem, "Lyrics3 field header broken");
        const std::string_view id = r.chars(3);
        uint64_t size = 0;
        if (!Digits(r.bytes(5), &size)) return Malformed(problem, "Lyrics3 field header broken");
        if (size > r.remaining()) return Malformed(problem, "Lyrics3 field beyond the block");
        tag.fields.emplace_back(std::string(id), std::string(r.chars(static_cast<size_t>(size))));
    }
    return true;
}

}  // namespace

const std::string* Lyrics3Tag::Find(std::string_view id) const {
    for (const auto& [key, value] : fields)
        if (key == id) return &value;
    return nullptr;
}

bool ReadLyrics3v2Tag(ByteSource& file, uint64_t end, Lyrics3Tag* out, bool readFields, std::string* problem) {
    *out = Lyrics3Tag{};
    if (problem) problem->clear();
    if (end > file.size() || end < kLyrics3v2TrailerSize) return false;
    std::array<uint8_t, kLyrics3v2TrailerSize> trailer{};
    if (file.readAt(end - kLyrics3v2TrailerSize, trailer) != trailer.size()) return Malformed(problem, "short read");
    if (!Is(std::span(trailer).subspan(6), "LYRICS200")) return false;
    uint64_t bodySize = 0;
    if (!Digits(std::span(trailer).first(6), &bodySize)) return Malformed(problem, "Lyrics3 size is not a number");
    // The size counts from "LYRICSBEGIN" to the last field, without the trailer.
    if (bodySize < kBegin.size() || bodySize > end - kLyrics3v2TrailerSize)
        return Malformed(problem, "Lyrics3 block beyond the file");

    const uint64_t begin = end - kLyrics3v2TrailerSize - bodySize;
    std::vector<uint8_t> body(readFields ? static_cast<size_t>(bodySize) : kBegin.size());
    if (file.readAt(begin, body) != body.size()) return Malformed(problem, "short read");
    if (!Is(std::span(body).first(kBegin.size()), kBegin))
        return Malformed(problem, "Lyrics3 block without LYRICSBEGIN");
    Lyrics3Tag tag;
    tag.offset = begin;
    tag.size = bodySize + kLyrics3v2TrailerSize;
    if (readFields && !ReadFields(ByteReader(std::span(body).subspan(kBegin.size())), tag, problem)) return false;
    *out = std::move(tag);
    return true;
}

bool ReadLyrics3v1Tag(ByteSource& file, uint64_t end, Lyrics3Tag* out, std::string* problem) {
    *out = Lyrics3Tag{};
    if (problem) problem->clear();
    if (end > file.size() || end < kBegin.size() + kV1End.size()) return false;
    std::array<uint8_t, kV1End.size()> marker{};
    if (file.readAt(end - marker.size(), marker) != marker.size()) return Malformed(problem, "short read");
    if (!Is(marker, kV1End)) return false;

    const uint64_t before = end - kV1End.size();
    std::vector<uint8_t> window(static_cast<size_t>(std::min(before, kV1Window)));
    const uint64_t from = before - window.size();
    if (file.readAt(from, window) != window.size()) return Malformed(problem, "short read");
    const std::string_view text(reinterpret_cast<const char*>(window.data()), window.size());
    const size_t begin = text.rfind(kBegin);
    if (begin == std::string_view::npos) return Malformed(problem, "Lyrics3 v1 block without LYRICSBEGIN");
    Lyrics3Tag tag;
    tag.version = 1;
    tag.offset = from + begin;
    tag.size = before - tag.offset + kV1End.size();
    tag.fields.emplace_back("LYR", std::string(text.substr(begin + kBegin.size())));
    *out = std::move(tag);
    return true;
}

}  // namespace tagvera
