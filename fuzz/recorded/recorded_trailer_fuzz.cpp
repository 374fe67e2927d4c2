// The recorded-file trailer over the tail of any file, as FLV and as ".REC": a block it reports
// lies inside the file with its trailer, and a trailer rendered for a block (with an ID3v1 tag
// after it for ".REC") is found again.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/error.h"
#include "recorded/recorded_trailer.h"
#include "tags/id3v1/id3v1_tag.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    for (const bool flv : {false, true}) {
        MemorySource file(std::span<const uint8_t>(data, size));
        try {
            if (const auto place = recorded::FindTrailer(file, flv)) {
                if (place->start() == 0 || place->blockOffset + place->blockLength + recorded::kTrailerSize > size)
                    std::abort();
            }
            std::vector<uint8_t> written(data, data + recorded::MetadataOffset(file, flv));
            const auto trailer = recorded::RenderTrailer(std::span<const uint8_t>(data, size / 2), flv);
            if (written.empty()) continue;  // nothing before the trailer: none to find
            written.insert(written.end(), trailer.begin(), trailer.end());
            MemorySource again(written);
            // An FLV block whose last 128 bytes begin with "TAG" reads as an ID3v1 tag: the
            // format's own ambiguity, not the finder's. A ".REC" trailer stands before its tag.
            if (flv && EndsWithId3v1Tag(again)) continue;
            if (!flv) {
                const Id3v1Tag tag = BlankId3v1Tag();
                written.insert(written.end(), tag.bytes.begin(), tag.bytes.end());
            }
            again = MemorySource(written);
            const auto found = recorded::FindTrailer(again, flv);
            if (!found || found->blockLength != size / 2) std::abort();
        } catch (const Error&) {
            std::abort();  // the finder only reads what it checked is there
        }
    }
    return 0;
}
