// Shared by the MPEG audio tests: fixture files and their ffprobe reports, synthetic frame
// streams, and byte sources that count what is read or pretend to be huge.
#ifndef TAGVERA_TESTS_MPEG_MPEG_TEST_SUPPORT_H
#define TAGVERA_TESTS_MPEG_MPEG_TEST_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "platform/scratch_dir.h"

namespace tagvera::testing {

inline std::string Mp3DataDir() { return std::string(TAGVERA_TEST_DATA_DIR) + "/mp3"; }
inline std::string Id3DataDir() { return std::string(TAGVERA_TEST_DATA_DIR) + "/id3"; }
inline std::string SharedId3Dir() { return std::string(TAGVERA_FIXTURES_DIR) + "/id3"; }

using test::ReadAll;
using test::ReadText;

// Names (without ".mp3") of the fixtures the generator script made.
inline std::vector<std::string> Mp3FixtureNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Mp3DataDir()))
        if (entry.path().extension() == ".mp3") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

// What tools/make-mp3-fixtures.sh recorded for a fixture.
struct FixtureReport {
    double sampleRate, channels, streamBitRate, decodedSeconds, decodedSamples;
};

// The number after "key": inside the object that follows "section": in a report.
inline double ReportNumber(const std::string& json, const std::string& section, const std::string& key) {
    const size_t from = json.find("\"" + section + "\"");
    if (from == std::string::npos) throw std::runtime_error("no section " + section);
    const size_t at = json.find("\"" + key + "\":", from);
    const size_t close = json.find('}', from);
    if (at == std::string::npos || at > close) throw std::runtime_error("no key " + key);
    return std::strtod(json.c_str() + at + key.size() + 3, nullptr);
}

inline FixtureReport LoadReport(const std::string& name) {
    const std::string json = ReadText(Mp3DataDir() + "/" + name + ".json");
    return {ReportNumber(json, "ffprobe", "sample_rate"), ReportNumber(json, "ffprobe", "channels"),
            ReportNumber(json, "ffprobe", "stream_bit_rate"), ReportNumber(json, "decoded", "duration_s"),
            ReportNumber(json, "decoded", "samples_per_channel")};
}

inline std::vector<uint8_t> LoadFixture(const std::string& name) {
    return ReadAll(Mp3DataDir() + "/" + name + ".mp3");
}

// count frames with the given 4-byte header, bodies zero (silence for every layer).
inline std::vector<uint8_t> SilentFrames(uint32_t header, size_t frameBytes, int count) {
    std::vector<uint8_t> out(frameBytes * count, 0);
    for (size_t at = 0; at < out.size(); at += frameBytes)
        for (int i = 0; i < 4; ++i) out[at + i] = uint8_t(header >> (24 - 8 * i));
    return out;
}

inline void Append(std::vector<uint8_t>& to, std::span<const uint8_t> bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

// Counts the bytes each read delivers.
class CountingSource final : public ByteSource {
public:
    explicit CountingSource(ByteSource& inner) : inner_(inner) {}
    uint64_t size() const override { return inner_.size(); }
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        const size_t n = inner_.readAt(offset, out);
        bytesRead += n;
        ++reads;
        return n;
    }
    uint64_t bytesRead = 0;
    uint64_t reads = 0;

private:
    ByteSource& inner_;
};

// A file of any claimed size made of one frame repeated, optionally ending in an ID3v1 record;
// nothing is held but the frame.
class RepeatedFrameSource final : public ByteSource {
public:
    RepeatedFrameSource(std::vector<uint8_t> frame, uint64_t size, bool id3v1)
        : frame_(std::move(frame)), size_(size), id3v1_(id3v1) {}
    uint64_t size() const override { return size_; }
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        if (offset >= size_) return 0;
        const size_t n = static_cast<size_t>(std::min<uint64_t>(out.size(), size_ - offset));
        const uint64_t tagAt = id3v1_ ? size_ - 128 : size_;
        for (size_t i = 0; i < n; ++i) {
            const uint64_t at = offset + i;
            if (at >= tagAt) out[i] = at - tagAt < 3 ? "TAG"[at - tagAt] : 0;
            else out[i] = frame_[at % frame_.size()];
        }
        return n;
    }

private:
    std::vector<uint8_t> frame_;
    uint64_t size_;
    bool id3v1_;
};

}  // namespace tagvera::testing

#endif
