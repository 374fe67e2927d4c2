// The MIME type a stream header names for a libavformat stream: "video/..." or "audio/..." by the
// stream's kind, the subtype by its codec.
#ifndef TAGVERA_MEDIAPLATFORM_STREAM_MIME_H
#define TAGVERA_MEDIAPLATFORM_STREAM_MIME_H

#include <string>

extern "C" {
#include <libavcodec/codec_par.h>
}

namespace tagvera::mediaplatform {

std::string StreamMimeType(const AVCodecParameters& codec);

}  // namespace tagvera::mediaplatform

#endif
