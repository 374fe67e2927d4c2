// What a still image says of itself, read from its file once: the figures a host shows and the
// EXIF items. On Linux the header probe and exiv2 over the metadata alone; on Windows GDI+.
#ifndef TAGVERA_IMAGE_PICTURE_READER_H
#define TAGVERA_IMAGE_PICTURE_READER_H

#include <vector>

#include "base/byte_source.h"
#include "image/exif_io.h"
#include "image/image_facts.h"

namespace tagvera::image {

struct Picture {
    ImageFacts facts;
    std::vector<ExifItem> exif;
};

// A file that is no image of the five formats throws Error with TV_E_FAIL. EXIF that does not
// read leaves the picture's own figures, as a viewer would show them.
Picture ReadPicture(ByteSource& file);

}  // namespace tagvera::image

#endif
