// GDI+ reads the whole picture: the figures as the system's imaging library gives them, and its
// property items, from one load.
#include "image/picture_reader.h"

#include "base/error.h"
#include "image/gdiplus_picture.h"

namespace tagvera::image {

Picture ReadPicture(ByteSource& file) {
    const GdiplusPicture loaded(file);
    Picture picture;
    picture.facts = loaded.facts();
    try {
        picture.exif = loaded.items();
    } catch (const Error&) {
        // Items GDI+ fails to hand out leave the figures, as on Linux a damaged EXIF block does.
    }
    return picture;
}

}  // namespace tagvera::image
