// A KorvaMedia file rewritten with new headers and the same packets: new ".KMF", "PROP", "CONT"
// and stream headers, the packets copied unchanged in content and order (those inside the time
// range, when one is set), and one index object per stream built as they are written. Every
// offset, count and size describes the output. Two passes over the packets, each in bounded
// chunks: the first sizes the output, the second writes it.
#ifndef TAGVERA_KMEDIA_CONVERT_STREAM_CONVERTER_H
#define TAGVERA_KMEDIA_CONVERT_STREAM_CONVERTER_H

#include <cstdint>
#include <optional>

#include "base/byte_source.h"
#include "kmedia/header_walk.h"
#include "kmedia/logical_stream.h"
#include "platform/safe_write.h"

namespace tagvera::kmedia {

struct ConvertPlan {
    ContentObject content;
    uint16_t flags = 0;  // only PropertiesObject::kKeptFlags survive
    // Replaces the file-info stream's properties (the stream is added when the input has none).
    std::optional<std::vector<NameValueProperty>> fileInfo;
    uint32_t startMs = 0, endMs = 0;  // 0: not set
    std::optional<uint32_t> fileVersion;
};

// The output as a layout for platform::RewriteFile; input must stay open until it is written.
platform::FileLayout ConvertLayout(ByteSource& input, const KmHeaders& headers, const ConvertPlan& plan);

}  // namespace tagvera::kmedia

#endif
