// One index object read, written back and read again: the same records, and a size that
// describes them.
#include <cstdint>
#include <cstdlib>

#include "kmedia/index_object.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::kmedia;
    IndexObject x;
    try {
        x = IndexObject::Read(std::span<const uint8_t>(data, size));
    } catch (const tagvera::Error&) {
        return 0;
    }
    std::vector<uint8_t> out;
    BeWriter w(out);
    x.Write(w);
    if (out.size() != x.Size()) std::abort();
    const IndexObject back = IndexObject::Read(out);
    if (back.records.size() != x.records.size() || back.streamNumber != x.streamNumber) std::abort();
    return 0;
}
