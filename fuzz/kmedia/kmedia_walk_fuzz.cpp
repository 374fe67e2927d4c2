// The header walk over whole files (index objects included), the report built from what it
// found, and the stream summary: any input ends in a typed error or a layout, never past the end.
#include <cstdint>
#include <cstdlib>

#include "kmedia/stream_summary.h"
#include "kmedia/structure_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    MemorySource file(std::span<const uint8_t>(data, size));
    try {
        const kmedia::FileLayout layout = kmedia::ReadFileLayout(file);
        if (layout.headers.places.empty()) std::abort();
        for (const auto& p : layout.headers.places)
            if (p.offset + p.header.size > size) std::abort();
        kmedia::LayoutText(layout, "f");
        kmedia::LayoutJson(layout);
        kmedia::SummarizeStreams(layout.headers).Extension(".km");
    } catch (const Error&) {
    }
    return 0;
}
