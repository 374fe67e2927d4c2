// What the importer's statistics say about a file's streams: bit rates, channels, picture size,
// the codec marks and the "Extension" they choose. Built from the header objects alone.
#ifndef TAGVERA_KMEDIA_STREAM_SUMMARY_H
#define TAGVERA_KMEDIA_STREAM_SUMMARY_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kmedia/header_walk.h"

namespace tagvera::kmedia {

struct VideoStreamFacts {
    uint32_t width = 0, height = 0, bitRate = 0;
};

struct StreamSummary {
    bool hasVideo = false;
    uint32_t videoBitRate = 0, audioBitRate = 0;
    uint32_t channels = 0;
    std::string audioCodec;  // from the last version-5 audio header
    bool surround = false;
    bool kv30 = false, kv40 = false, newerKv40 = false;
    bool atrc = false, kaac = false, highFlavor = false, lossless = false, sipr = false;
    std::vector<VideoStreamFacts> videos;  // one per video stream, in header order

    // fileExtension: the file's own, with its dot, for the rows that keep it.
    std::string Extension(std::string_view fileExtension) const;
    std::string MimeType() const;
};

StreamSummary SummarizeStreams(const KmHeaders& headers);

}  // namespace tagvera::kmedia

#endif
