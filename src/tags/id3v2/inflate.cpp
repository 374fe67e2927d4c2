#include "tags/id3v2/inflate.h"

#include <zlib.h>

#include <algorithm>
#include <limits>

#include "base/error.h"

namespace tagvera::id3v2 {

std::vector<uint8_t> InflateBounded(std::span<const uint8_t> compressed, size_t maxSize) {
    if (compressed.size() > std::numeric_limits<uInt>::max()) throw Error(TV_E_FAIL, "compressed frame too large");
    z_stream zs{};
    if (inflateInit(&zs) != Z_OK) throw Error(TV_E_OUTOFMEMORY, "zlib initialisation failed");
    // One byte of room past the bound tells "exactly maxSize" from "more than maxSize".
    const size_t limit = maxSize + 1;
    std::vector<uint8_t> out;
    // Grow in steps: the claimed size is only a claim, so never allocate it up front.
    out.resize(std::min<size_t>(limit, std::max<size_t>(compressed.size() * 4, 256)));
    zs.next_in = const_cast<Bytef*>(compressed.data());
    zs.avail_in = static_cast<uInt>(compressed.size());
    int rc = Z_OK;
    for (;;) {
        if (zs.total_out == out.size()) {
            if (out.size() >= limit) break;
            out.resize(std::min<size_t>(limit, out.size() * 2));
        }
        zs.next_out = out.data() + zs.total_out;
        zs.avail_out = static_cast<uInt>(std::min<size_t>(out.size() - zs.total_out, std::numeric_limits<uInt>::max()));
        rc = inflate(&zs, Z_NO_FLUSH);
        if (rc != Z_OK) break;
    }
    const size_t produced = zs.total_out;
    inflateEnd(&zs);
    if (rc == Z_MEM_ERROR) throw Error(TV_E_OUTOFMEMORY, "zlib out of memory");
    if (produced > maxSize) throw Error(TV_E_FAIL, "compressed frame inflates past its size");
    if (rc != Z_STREAM_END) {
        if (rc == Z_OK || rc == Z_BUF_ERROR) throw Error(TV_E_FAIL, "compressed frame truncated");
        throw Error(TV_E_FAIL, "compressed frame is not valid zlib data");
    }
    out.resize(produced);
    return out;
}

std::vector<uint8_t> Deflate(std::span<const uint8_t> bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::vector<uint8_t> out(size);
    if (compress2(out.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()), Z_DEFAULT_COMPRESSION) != Z_OK)
        throw Error(TV_E_FAIL, "zlib compression failed");
    out.resize(size);
    return out;
}

}  // namespace tagvera::id3v2
