// A KorvaMedia file rewritten with new headers and the same packets: new ".KMF", "PROP", "CONT"
// and stream headers, the packets copied unchanged in content and order (those inside the time
// range, when one is set), and one index object per stream built as they are written. Every
// offset, count and size describes the output. Two passes over the packets, each in bounded
// chunks: the first sizes the output, the second writes it.
#ifndef TAGVERA_KMEDIA_CONVERT_STREAM_CONVERTER_H
#define TAGVERA_KMEDIA_CONVERT_STREAM_CONVERTER_H

#include <cstdint>
#include <optional>
#include <span>

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
    uint32_t startMs = 0, endMs = 0;  // 0: not set; on the joined time line when several inputs
    std::optional<uint32_t> fileVersion;
};

// One input file and its headers as the walk found them.
struct ConvertInput {
    ByteSource* file = nullptr;
    const KmHeaders* headers = nullptr;
    // The input is the file the layout rewrites: its packets are copied from its old content as
    // the write hands it over, never from bytes the write may already have replaced.
    bool rewritten = false;
};

// The output as a layout for platform::RewriteFile; the inputs must stay open until it is written.
// Several inputs are joined: the first one's headers, then the packets of each input in turn, a
// later input's timestamps moved on by the durations before it and its streams numbered as the
// first input's (by their order), so that time runs on. A 32-bit offset or time that would
// overflow throws Error (E_FAIL) before anything is written.
platform::FileLayout ConvertLayout(std::span<const ConvertInput> inputs, const ConvertPlan& plan);
platform::FileLayout ConvertLayout(ByteSource& input, const KmHeaders& headers, const ConvertPlan& plan,
                                   bool rewritten = false);

}  // namespace tagvera::kmedia

#endif
