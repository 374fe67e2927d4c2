// Builds ID3v2 tags byte by byte for tests: frames of each version, headers, unsynchronisation;
// reads them back from memory or a scratch file.
#ifndef TAGVERA_TESTS_ID3V2_TAG_BUILDER_H
#define TAGVERA_TESTS_ID3V2_TAG_BUILDER_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "tags/id3v2/tag_reader.h"
#include "platform/scratch_dir.h"

namespace tagvera::testing {

using Bytes = std::vector<uint8_t>;

inline Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }
inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline void PutSynchsafe(Bytes& out, uint32_t v) {
    for (int s = 21; s >= 0; s -= 7) out.push_back(uint8_t((v >> s) & 0x7F));
}
inline void PutU32(Bytes& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(uint8_t(v >> s));
}

// Encoding byte 0 then Latin-1 text (no terminator).
inline Bytes Latin1Text(const std::string& s) { return Bytes{0} + B(s); }
// Encoding byte 3 then UTF-8 text.
inline Bytes Utf8Text(const std::string& s) { return Bytes{3} + B(s); }

inline Bytes Frame22(const std::string& id, const Bytes& payload) {
    Bytes out = B(id);
    for (int s = 16; s >= 0; s -= 8) out.push_back(uint8_t(payload.size() >> s));
    return out + payload;
}
inline Bytes Frame24(const std::string& id, const Bytes& payload, uint16_t flags = 0, bool plainSize = false) {
    Bytes out = B(id);
    (plainSize ? PutU32 : PutSynchsafe)(out, uint32_t(payload.size()));
    return out + Bytes{uint8_t(flags >> 8), uint8_t(flags)} + payload;
}
inline Bytes Frame23(const std::string& id, const Bytes& payload, uint16_t flags = 0) {
    return Frame24(id, payload, flags, true);
}

// Header (size computed from body) then body; bodySizeOverride makes the header lie.
inline Bytes Tag(uint8_t major, uint8_t flags, const Bytes& body, int64_t bodySizeOverride = -1) {
    Bytes out = B("ID3") + Bytes{major, 0, flags};
    PutSynchsafe(out, bodySizeOverride >= 0 ? uint32_t(bodySizeOverride) : uint32_t(body.size()));
    return out + body;
}

inline Bytes Unsynchronise(const Bytes& in) {
    Bytes out;
    for (size_t i = 0; i < in.size(); ++i) {
        out.push_back(in[i]);
        if (in[i] == 0xFF && (i + 1 == in.size() || in[i + 1] == 0 || (in[i + 1] & 0xE0) == 0xE0)) out.push_back(0);
    }
    return out;
}

// Some MPEG audio after a tag, so the bytes look like a file.
inline Bytes Audio() { return Bytes{0xFF, 0xFB, 0x90, 0x64} + Bytes(413, 0x55); }

inline id3v2::FileTags ReadBytes(const Bytes& bytes) {
    MemorySource source(bytes);
    return id3v2::ReadFileTags(source);
}

// Files of this test process, in a folder of its own (CTest runs tests as parallel processes),
// removed when the process ends.
inline std::string WriteTemp(const std::string& name, const Bytes& bytes) {
    static const test::ScratchDir dir;
    return dir.write(name, bytes);
}

}  // namespace tagvera::testing

#endif
