#include "interrogate/stream_summary.h"

#include <strings.h>

#include <limits>

#include "interrogate/header_values.h"

namespace tagvera::interrogate {
namespace {

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

bool SameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && StartsWithIgnoringCase(a, b);
}

void Append(std::string& list, const std::string& mime) {
    if (!list.empty()) list += ';';
    list += mime;
}

}  // namespace

StreamSummary SummariseStreams(std::span<const ComPtr<IKMAValues>> streams) {
    StreamSummary summary;
    for (const auto& stream : streams) {
        IKMAValues* header = stream.get();
        const std::string mime = HeaderText(header, "MimeType").value_or("");
        if (StartsWithIgnoringCase(mime, "Video/") || StartsWithIgnoringCase(mime, "Application/x-zn-mpg")) {
            Append(summary.videoMimeTypes, mime);
        } else if (StartsWithIgnoringCase(mime, "Audio/")) {
            Append(summary.audioMimeTypes, mime);
            const uint32_t channels = HeaderNumber(header, "Channels").value_or(0);
            summary.channels = channels ? channels : HeaderNumber(header, "NumChannels").value_or(0);
        }
        const uint64_t sum = uint64_t(summary.bitRateSum) + HeaderNumber(header, "AvgBitrate").value_or(0);
        summary.bitRateSum = uint32_t(std::min<uint64_t>(sum, std::numeric_limits<uint32_t>::max()));
        if (const uint32_t width = HeaderNumber(header, "Width").value_or(0)) summary.width = width;
        if (const uint32_t height = HeaderNumber(header, "Height").value_or(0)) summary.height = height;
    }
    return summary;
}

std::string ExtensionStatistic(std::string_view extension, bool hasVideo) {
    if (SameIgnoringCase(extension, ".3gp")) return hasVideo ? ".3gp" : ".3gpa";
    if (SameIgnoringCase(extension, ".3g2")) return hasVideo ? ".3g2" : ".3g2a";
    for (const char* mpeg : {".mpg", ".mpeg", ".mpa", ".mpga"})
        if (SameIgnoringCase(extension, mpeg)) return hasVideo ? ".mpg" : ".mpga";
    return std::string(extension);
}

}  // namespace tagvera::interrogate
