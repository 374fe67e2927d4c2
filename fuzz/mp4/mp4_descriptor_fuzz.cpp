// The elementary-stream descriptor and the audio configuration: any bytes end in a parse or none.
#include <cstdint>
#include <cstdlib>

#include "mp4/es_descriptor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::mp4;
    const std::span<const uint8_t> bytes(data, size);
    if (const auto es = ParseEsDescriptor(bytes); es && es->decoder && es->decoder->specificInfo.size() > size) std::abort();
    if (const auto channels = ChannelsOfAudioConfig(bytes); channels && *channels > 15 * 3 * 2 + 3) std::abort();
    return 0;
}
