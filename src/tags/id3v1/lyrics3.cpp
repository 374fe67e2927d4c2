#include "tags/id3v1/lyrics3.h"

#include <array>
#include <cstring>

namespace tagvera {

namespace {

constexpr size_t kFooterSize = kLyrics3v2TrailerSize;
constexpr char kBegin[] = "LYRICSBEGIN";
constexpr size_t kBeginSize = sizeof(kBegin) - 1;

bool Digits(const uint8_t* p, size_t n, uint64_t* value) {
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i) {
        if (p[i] < '0' || p[i] > '9') return false;
        v = v * 10 + (p[i] - '0');
    }
    *value = v;
    return true;
}

}  // namespace

const std::string* Lyrics3v2Tag::Find(std::string_view id) const {
    for (const auto& [key, value] : fields)
        if (key == id) return &value;
    return nullptr;
}

bool ReadLyrics3v2Tag(ByteSource& file, uint64_t end, Lyrics3v2Tag* out, bool readFields) {
    *out = Lyrics3v2Tag{};
    if (end > file.size() || end < kFooterSize + kBeginSize) return false;
    std::array<uint8_t, kFooterSize> footer{};
    if (file.readAt(end - kFooterSize, footer) != kFooterSize) return false;
    if (std::memcmp(footer.data() + 6, "LYRICS200", 9) != 0) return false;
    uint64_t bodySize = 0;
    // The size counts from "LYRICSBEGIN" to the last field, without the footer.
    if (!Digits(footer.data(), 6, &bodySize) || bodySize < kBeginSize || bodySize > end - kFooterSize) return false;

    const uint64_t begin = end - kFooterSize - bodySize;
    std::vector<uint8_t> body(readFields ? bodySize : kBeginSize);
    if (file.readAt(begin, body) != body.size() || std::memcmp(body.data(), kBegin, kBeginSize) != 0) return false;

    Lyrics3v2Tag tag;
    tag.offset = begin;
    tag.size = bodySize + kFooterSize;
    if (readFields) {
        // Fields: 3-letter id, 5-digit size, data.
        size_t pos = kBeginSize;
        while (pos < body.size()) {
            uint64_t n = 0;
            if (body.size() - pos < 8 || !Digits(body.data() + pos + 3, 5, &n) || n > body.size() - pos - 8)
                return false;
            tag.fields.emplace_back(std::string(reinterpret_cast<const char*>(body.data() + pos), 3),
                                    std::string(reinterpret_cast<const char*>(body.data() + pos + 8), n));
            pos += 8 + n;
        }
    }
    *out = std::move(tag);
    return true;
}

}  // namespace tagvera
