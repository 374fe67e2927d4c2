// Load, change, save, load: any header that reads takes a set, a replacement and a delete, is
// written again at a size the padding rule allows, and reads back with the change and the same
// streams, objects it does not know kept byte for byte.
#include <cstdint>
#include <cstdlib>

#include "base/byte_source.h"
#include "wm/asf_attributes.h"
#include "wm/asf_header_reader.h"
#include "wm/asf_header_writer.h"
#include "wm/asf_objects.h"
#include "wm/wstring.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::wm;
    tagvera::MemorySource source(std::span<const uint8_t>(data, size));
    AsfHeader h;
    try {
        h = ReadAsfHeader(source);
    } catch (const tagvera::Error&) {
        return 0;
    }
    auto& all = h.attributes;
    if (!all.empty()) all.erase(all.begin());
    Attribute title;
    title.name = "Title";
    title.value = WString(std::string_view("fuzzed")).utf16le();
    all.push_back(title);
    Attribute big = title;
    big.name = "WM/Picture";
    big.type = AttrType::Binary;
    big.value.assign(70000, 0x5A);
    all.push_back(big);
    Route(all);
    std::vector<uint8_t> bytes;
    try {
        bytes = RenderHeader(h, all, 1024, h.file.fileSize);
    } catch (const tagvera::Error&) {
        return 0;  // more attributes than an object can count
    }
    const AsfHeader back = ParseAsfHeader(bytes);
    if (back.attributes.size() != all.size() || back.streams.size() != h.streams.size()) std::abort();
    size_t unknown = 0, unknownBack = 0;
    for (const auto& o : h.objects) unknown += !ids::ObjectName(o.id);
    for (const auto& o : back.objects) unknownBack += !ids::ObjectName(o.id);
    if (unknown != unknownBack) std::abort();
    return 0;
}
