#include "kmedia/object_header.h"

namespace tagvera::kmedia {

ObjectHeader ObjectHeader::Read(ByteReader& in) {
    ObjectHeader h;
    h.id = in.u32be();
    h.size = in.u32be();
    h.version = in.u16be();
    if (h.size < kSize) throw Error(in.failCode(), "object size below its 10-byte header");
    if (h.size - kSize > in.remaining())
        throw Error(in.failCode(), "object runs past the end of its parent");
    return h;
}

void ObjectHeader::Write(BeWriter& out) const {
    out.u32(id);
    out.u32(size);
    out.u16(version);
}

}  // namespace tagvera::kmedia
