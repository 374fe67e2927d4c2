// Any bytes as the start of an ASF file: a header, the objects after it and the text dump, or a
// reason; never a crash or a read past the bytes.
#include <cstdint>

#include "base/byte_source.h"
#include "wm/asf_header_reader.h"
#include "wm/asf_structure_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tagvera::MemorySource source(std::span<const uint8_t>(data, size));
    try {
        const tagvera::wm::AsfHeader h = tagvera::wm::ReadAsfHeader(source);
        tagvera::wm::ReadTopObjects(source, h.headerSize);
        tagvera::wm::StructureJson(source);
    } catch (const tagvera::Error&) {
    }
    return 0;
}
