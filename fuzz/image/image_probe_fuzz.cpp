// The header probe of each format: the first byte picks the format's probe, so every probe sees
// inputs without its magic too. Any input ends in a typed error or figures a host can show. The
// JPEG inputs also go through the EXIF splice, which walks the same segments: a file's own segment
// put into itself gives the file back.
#include <cstdint>
#include <algorithm>
#include <cstdlib>

#include "base/error.h"
#include "image/jpeg_exif_segment.h"
#include "image/probe.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    using namespace tagvera::image;
    if (size == 0) return 0;
    MemorySource file(std::span<const uint8_t>(data + 1, size - 1));
    using Probe = ImageFacts (*)(ByteSource&);
    const Probe probes[] = {ProbeImage, ProbeJpeg, ProbePng, ProbeGif, ProbeBmp, ProbeTiff};
    try {
        const ImageFacts facts = probes[data[0] % 6](file);
        if (facts.width == 0 || facts.height == 0 || facts.bitsPerPixel == 0) std::abort();
        for (const auto& range : facts.metadata)
            if (range.offset > size - 1 || range.length > size - 1 - range.offset) std::abort();
    } catch (const Error&) {
    }
    if (data[0] % 6 == 1) {
        const std::span<const uint8_t> jpeg(data + 1, size - 1);
        try {
            const auto out = WithExifSegmentOf(jpeg, jpeg);
            if (!std::equal(out.begin(), out.end(), jpeg.begin(), jpeg.end())) std::abort();
        } catch (const Error&) {
        }
    }
    return 0;
}
