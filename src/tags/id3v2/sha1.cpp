#include "tags/id3v2/sha1.h"

#include <array>

namespace tagvera::id3v2 {

namespace {

uint32_t Rotl(uint32_t v, int n) { return (v << n) | (v >> (32 - n)); }

void Block(std::array<uint32_t, 5>& h, const uint8_t* p) {
    uint32_t w[80];
    for (int i = 0; i < 16; ++i)
        w[i] = (uint32_t(p[4 * i]) << 24) | (uint32_t(p[4 * i + 1]) << 16) | (uint32_t(p[4 * i + 2]) << 8) | p[4 * i + 3];
    for (int i = 16; i < 80; ++i) w[i] = Rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
    for (int i = 0; i < 80; ++i) {
        uint32_t f, k;
        if (i < 20) f = (b & c) | (~b & d), k = 0x5A827999;
        else if (i < 40) f = b ^ c ^ d, k = 0x6ED9EBA1;
        else if (i < 60) f = (b & c) | (b & d) | (c & d), k = 0x8F1BBCDC;
        else f = b ^ c ^ d, k = 0xCA62C1D6;
        const uint32_t t = Rotl(a, 5) + f + e + k + w[i];
        e = d, d = c, c = Rotl(b, 30), b = a, a = t;
    }
    h[0] += a, h[1] += b, h[2] += c, h[3] += d, h[4] += e;
}

}  // namespace

std::string Sha1Hex(std::span<const uint8_t> bytes) {
    std::array<uint32_t, 5> h{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    size_t full = bytes.size() / 64;
    for (size_t i = 0; i < full; ++i) Block(h, bytes.data() + 64 * i);
    uint8_t tail[128] = {};
    const size_t rest = bytes.size() - 64 * full;
    for (size_t i = 0; i < rest; ++i) tail[i] = bytes[64 * full + i];
    tail[rest] = 0x80;
    const size_t tailSize = rest < 56 ? 64 : 128;
    const uint64_t bits = uint64_t(bytes.size()) * 8;
    for (int i = 0; i < 8; ++i) tail[tailSize - 1 - i] = static_cast<uint8_t>(bits >> (8 * i));
    Block(h, tail);
    if (tailSize == 128) Block(h, tail + 64);
    static const char* hex = "0123456789abcdef";
    std::string out;
    for (uint32_t v : h)
        for (int s = 28; s >= 0; s -= 4) out += hex[(v >> s) & 0xF];
    return out;
}

}  // namespace tagvera::id3v2
