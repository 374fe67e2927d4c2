#include "mediaplatform/wave_header.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace tagvera::mediaplatform {
namespace {

constexpr int kMostChunks = 64;
constexpr uint64_t kMostInfoBytes = 4096;

uint16_t Le16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t Le32(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24; }
bool IsId(const uint8_t* p, const char (&id)[5]) { return std::memcmp(p, id, 4) == 0; }

bool ReadExactly(IKMAFileObject* file, uint64_t offset, uint8_t* out, uint32_t size) {
    uint32_t got = 0;
    return Succeeded(file->ReadAt(offset, out, size, &got)) && got == size;
}

// The INFO list's texts this platform reports; each ends at its NUL or its chunk's end.
void ReadInfo(const std::vector<uint8_t>& list, WaveHeader& header) {
    if (list.size() < 4 || !IsId(list.data(), "INFO")) return;
    for (size_t at = 4; at + 8 <= list.size();) {
        const uint8_t* item = list.data() + at;
        const size_t length = std::min<size_t>(Le32(item + 4), list.size() - at - 8);
        std::string_view text(reinterpret_cast<const char*>(item + 8), length);
        text = text.substr(0, text.find('\0'));
        if (IsId(item, "INAM")) header.title = text;
        else if (IsId(item, "IART")) header.artist = text;
        else if (IsId(item, "ICOP")) header.copyright = text;
        at += 8 + length + (length & 1);
    }
}

}  // namespace

uint32_t WaveHeader::DurationMilliseconds() const {
    if (byteRate == 0) return 0;
    return static_cast<uint32_t>(std::min<uint64_t>(dataBytes * 1000 / byteRate, UINT32_MAX));
}

std::optional<WaveHeader> ReadWaveHeader(IKMAFileObject* file) {
    uint64_t size = 0;
    uint8_t riff[12];
    if (!file || Failed(file->GetSize(&size)) || !ReadExactly(file, 0, riff, sizeof riff) || !IsId(riff, "RIFF") ||
        !IsId(riff + 8, "WAVE"))
        return std::nullopt;
    WaveHeader header;
    bool format = false, data = false;
    uint64_t offset = sizeof riff;
    for (int n = 0; n < kMostChunks && offset + 8 <= size; ++n) {
        uint8_t chunk[8];
        if (!ReadExactly(file, offset, chunk, sizeof chunk)) break;
        const uint32_t length = Le32(chunk + 4);
        const uint64_t body = offset + 8;
        if (IsId(chunk, "fmt ")) {
            uint8_t f[16];
            if (length < sizeof f || !ReadExactly(file, body, f, sizeof f)) return std::nullopt;
            header.formatTag = Le16(f);
            header.channels = Le16(f + 2);
            header.sampleRate = Le32(f + 4);
            header.byteRate = Le32(f + 8);
            header.bitsPerSample = Le16(f + 14);
            format = true;
        } else if (IsId(chunk, "data")) {
            header.dataBytes = std::min<uint64_t>(length, size - body);
            data = true;
        } else if (IsId(chunk, "LIST")) {
            std::vector<uint8_t> list(static_cast<size_t>(std::min({uint64_t(length), size - body, kMostInfoBytes})));
            if (ReadExactly(file, body, list.data(), static_cast<uint32_t>(list.size()))) ReadInfo(list, header);
        }
        // Chunks are padded to an even size.
        offset = body + length + (length & 1);
    }
    if (!format || !data || header.channels == 0 || header.byteRate == 0) return std::nullopt;
    return header;
}

}  // namespace tagvera::mediaplatform
