#include "kmedia/content.h"

#include <algorithm>

namespace tagvera::kmedia {
namespace {

std::string_view Cut(const std::string& s) { return std::string_view(s).substr(0, ContentObject::kMaxString); }

}  // namespace

ContentObject ContentObject::Read(std::span<const uint8_t> object) {
    ByteReader in(object);
    ContentObject c;
    c.header = ObjectHeader::Read(in);
    if (!c.header.KnownVersion()) return c;
    for (std::string* s : {&c.title, &c.author, &c.copyright, &c.comment}) {
        const uint16_t n = in.u16be();
        in.require(n, "CONT string runs past the object");
        *s = std::string(in.chars(n));
    }
    return c;
}

uint32_t ContentObject::Size() const {
    if (!header.KnownVersion()) return ObjectHeader::kSize;
    return static_cast<uint32_t>(18 + Cut(title).size() + Cut(author).size() + Cut(copyright).size() +
                                 Cut(comment).size());
}

void ContentObject::Write(BeWriter& out) const {
    ObjectHeader{header.id, Size(), header.version}.Write(out);
    if (!header.KnownVersion()) return;
    for (const std::string* s : {&title, &author, &copyright, &comment}) {
        const auto text = Cut(*s);
        out.u16(static_cast<uint16_t>(text.size()));
        out.chars(text);
    }
}

}  // namespace tagvera::kmedia
