#include "kmedia/file_header.h"

namespace tagvera::kmedia {

FileHeaderObject FileHeaderObject::Read(std::span<const uint8_t> object) {
    ByteReader in(object);
    FileHeaderObject h;
    if (object.size() < 4) throw Error(kKmNotKorvaMedia, "too short for a KorvaMedia file header");
    h.header = ObjectHeader::Read(in);
    if (h.header.id != kIdFileHeader && h.header.id != kIdStreamFileHeader)
        throw Error(kKmNotKorvaMedia, "first object is not .KMF or .KMS");
    if (h.header.version > 1) throw Error(kKmFileVersionTooNew, "file header version above 1");
    h.fileVersion = in.u32be();
    h.numHeaders = in.u32be();
    return h;
}

void FileHeaderObject::Write(BeWriter& out) const {
    ObjectHeader{header.id, Size(), header.version}.Write(out);
    out.u32(fileVersion);
    out.u32(numHeaders);
}

}  // namespace tagvera::kmedia
