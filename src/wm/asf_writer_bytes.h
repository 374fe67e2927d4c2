// Little-endian output for the header writer, and an object made whole with its 24-byte head.
#ifndef TAGVERA_WM_ASF_WRITER_BYTES_H
#define TAGVERA_WM_ASF_WRITER_BYTES_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "wm/asf_guid.h"

namespace tagvera::wm {

class BytesOut {
public:
    void u16(uint16_t v) { le(v, 2); }
    void u32(uint32_t v) { le(v, 4); }
    void u64(uint64_t v) { le(v, 8); }
    void guid(const Guid& g) { bytes(g.bytes); }
    void bytes(std::span<const uint8_t> b) { out_.insert(out_.end(), b.begin(), b.end()); }
    void bytes(std::string_view b) { out_.insert(out_.end(), b.begin(), b.end()); }
    std::vector<uint8_t> take() { return std::move(out_); }
    size_t size() const { return out_.size(); }

private:
    void le(uint64_t v, int n) {
        for (int i = 0; i < n; ++i) out_.push_back(uint8_t(v >> (8 * i)));
    }
    std::vector<uint8_t> out_;
};

inline std::vector<uint8_t> WholeObject(const Guid& id, std::span<const uint8_t> body) {
    BytesOut o;
    o.guid(id);
    o.u64(24 + uint64_t(body.size()));
    o.bytes(body);
    return o.take();
}

}  // namespace tagvera::wm

#endif
