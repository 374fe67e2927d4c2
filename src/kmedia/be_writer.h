// Big-endian output for the object writers: appends to a byte vector.
#ifndef TAGVERA_KMEDIA_BE_WRITER_H
#define TAGVERA_KMEDIA_BE_WRITER_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tagvera::kmedia {

class BeWriter {
public:
    explicit BeWriter(std::vector<uint8_t>& out) : out_(out) {}
    void u8(uint8_t v) { out_.push_back(v); }
    void u16(uint16_t v) { put(v, 2); }
    void u32(uint32_t v) { put(v, 4); }
    void bytes(std::span<const uint8_t> b) { out_.insert(out_.end(), b.begin(), b.end()); }
    void chars(std::string_view s) { out_.insert(out_.end(), s.begin(), s.end()); }
    size_t size() const { return out_.size(); }

private:
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) out_.push_back(static_cast<uint8_t>(v >> (8 * i)));
    }
    std::vector<uint8_t>& out_;
};

}  // namespace tagvera::kmedia

#endif
