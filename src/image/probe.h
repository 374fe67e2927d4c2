// The header probe: size, resolution and bits per pixel of a still image from its headers alone,
// as the platform's imaging library reports them, never decoding a pixel. Bad input throws Error
// with TV_E_FAIL and a message that says what is wrong.
#ifndef TAGVERA_IMAGE_PROBE_H
#define TAGVERA_IMAGE_PROBE_H

#include "base/byte_source.h"
#include "image/image_facts.h"

namespace tagvera::image {

// Picks the format by the file's magic bytes, not its name.
ImageFacts ProbeImage(ByteSource& source);

ImageFacts ProbeJpeg(ByteSource& source);
ImageFacts ProbePng(ByteSource& source);
ImageFacts ProbeGif(ByteSource& source);
ImageFacts ProbeBmp(ByteSource& source);
ImageFacts ProbeTiff(ByteSource& source);

}  // namespace tagvera::image

#endif
