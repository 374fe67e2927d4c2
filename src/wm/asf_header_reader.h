// Reads the header object of an ASF file (and nothing after it) into an AsfHeader. Every size is
// checked against what holds it; a header that does not add up throws Error(TV_E_FAIL) saying
// where it broke.
#ifndef TAGVERA_WM_ASF_HEADER_READER_H
#define TAGVERA_WM_ASF_HEADER_READER_H

#include <cstdint>
#include <vector>

#include "base/byte_source.h"
#include "wm/asf_model.h"

namespace tagvera::wm {

// A header this large is refused rather than read into memory.
inline constexpr uint64_t kMostHeaderBytes = 256u << 20;

AsfHeader ReadAsfHeader(ByteSource& file);
// The same over a header already in memory (the first bytes of a file).
AsfHeader ParseAsfHeader(std::span<const uint8_t> header);

// The objects after the header (data, indexes), each by its 24-byte head only.
struct TopObject {
    Guid id;
    uint64_t offset = 0, size = 0;
};
struct TopObjects {
    std::vector<TopObject> objects;
    std::string problem;  // the first thing wrong after the header; empty when nothing is
};
TopObjects ReadTopObjects(ByteSource& file, uint64_t headerSize);

}  // namespace tagvera::wm

#endif
