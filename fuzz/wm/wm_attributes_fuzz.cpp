// Any bytes as the body of one of the four attribute objects (the first byte picks which): what
// reads is written back and reads again to the same attributes.
#include <cstdint>
#include <cstdlib>

#include "wm/asf_attributes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::wm;
    if (size < 1) return 0;
    const Home home = static_cast<Home>(data[0] % 4);
    tagvera::ByteReader body(data + 1, size - 1);
    std::vector<Attribute> read;
    try {
        if (home == Home::ContentDescription) ReadContentDescription(body, read);
        else if (home == Home::ExtendedContent) ReadExtendedContent(body, read);
        else ReadMetadata(body, home, read);
    } catch (const tagvera::Error&) {
        return 0;
    }
    Route(read);
    std::vector<Attribute> back;
    try {
    for (Home h : {Home::ContentDescription, Home::ExtendedContent, Home::Metadata, Home::MetadataLibrary}) {
        const auto object = RenderAttributeObject(h, read);
        if (object.empty()) continue;
        tagvera::ByteReader again(object.data() + 24, object.size() - 24);
        if (h == Home::ContentDescription) ReadContentDescription(again, back);
        else if (h == Home::ExtendedContent) ReadExtendedContent(again, back);
        else ReadMetadata(again, h, back);
    }
    } catch (const tagvera::Error&) {
        return 0;  // refused to be written (a name past 32767 characters once it is given its end)
    }
    if (back.size() != read.size()) std::abort();
    return 0;
}
