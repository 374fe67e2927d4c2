// What the stream headers of a file add up to: its video and audio MIME types, channels, the sum
// of the bit rates, the picture size, and the "Extension" statistic that depends on them.
#ifndef TAGVERA_INTERROGATE_STREAM_SUMMARY_H
#define TAGVERA_INTERROGATE_STREAM_SUMMARY_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "tagvera/com_ptr.h"
#include "tagvera/values.h"

namespace tagvera::interrogate {

struct StreamSummary {
    std::string videoMimeTypes;  // ';' between them
    std::string audioMimeTypes;
    uint32_t channels = 0;
    uint32_t bitRateSum = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    bool hasVideo() const { return !videoMimeTypes.empty(); }
};

StreamSummary SummariseStreams(std::span<const ComPtr<IKMAValues>> streams);

// ".3gp"/".3gpa", ".3g2"/".3g2a", ".mpg"/".mpga" for the MPEG family; any other extension as is.
std::string ExtensionStatistic(std::string_view extension, bool hasVideo);

}  // namespace tagvera::interrogate

#endif
