#include "wm/asf_attributes.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/text.h"
#include "wm/asf_objects.h"
#include "wm/asf_writer_bytes.h"

namespace tagvera::wm {
namespace {

constexpr std::array<std::string_view, 5> kDescriptionNames = {"Title", "Author", "Copyright", "Description", "Rating"};
constexpr size_t kWordLimit = 0xFFFF;

// File numbering of data types: 0 string, 1 bytes, 2 BOOL, 3 DWORD, 4 QWORD, 5 WORD, 6 GUID.
AttrType FromFileType(uint16_t t, ByteReader& r) {
    static constexpr AttrType kTypes[] = {AttrType::String, AttrType::Binary, AttrType::Bool, AttrType::Dword,
                                          AttrType::Qword,  AttrType::Word,   AttrType::Guid};
    if (t >= std::size(kTypes)) throw Error(r.failCode(), "attribute of unknown data type " + std::to_string(t));
    return kTypes[t];
}
uint16_t ToFileType(AttrType t) {
    static constexpr uint16_t kFile[] = {3, 0, 1, 2, 4, 5, 6};
    return kFile[static_cast<uint16_t>(t)];
}

std::vector<uint8_t> Utf16Value(std::span<const uint8_t> raw, const char* where) {
    if (raw.size() % 2) throw Error(TV_E_FAIL, std::string("odd-length UTF-16 text in the ") + where);
    std::vector<uint8_t> v(raw.begin(), raw.end());
    if (v.size() < 2 || v[v.size() - 1] != 0 || v[v.size() - 2] != 0) v.insert(v.end(), {0, 0});
    return v;
}

std::string NameOf(std::span<const uint8_t> raw, const char* where) {
    if (raw.size() % 2) throw Error(TV_E_FAIL, std::string("odd-length UTF-16 name in the ") + where);
    std::string name = text::Utf16ToUtf8(raw, false);
    if (const size_t nul = name.find('\0'); nul != std::string::npos) name.resize(nul);
    return name;
}

// A value as the runtime hands it out; widths checked against the type. boolWidth: 4 in the
// extended content description, 2 in the metadata objects.
std::vector<uint8_t> ValueOf(AttrType type, std::span<const uint8_t> raw, size_t boolWidth, const char* where) {
    size_t want = 0;
    switch (type) {
        case AttrType::String: return Utf16Value(raw, where);
        case AttrType::Binary: return {raw.begin(), raw.end()};
        case AttrType::Bool: want = boolWidth; break;
        case AttrType::Dword: want = 4; break;
        case AttrType::Qword: want = 8; break;
        case AttrType::Word: want = 2; break;
        case AttrType::Guid: want = 16; break;
    }
    if (raw.size() != want)
        throw Error(TV_E_FAIL, std::string("a ") + AttrTypeName(type) + " value of " + std::to_string(raw.size()) +
                                   " bytes in the " + where);
    std::vector<uint8_t> v(raw.begin(), raw.end());
    if (type == AttrType::Bool) v.resize(4, 0);
    return v;
}

std::span<const uint8_t> StoredValue(const Attribute& a, size_t boolWidth, std::vector<uint8_t>& scratch) {
    if (a.type != AttrType::Bool) return a.value;
    scratch.assign(boolWidth, 0);
    scratch[0] = std::any_of(a.value.begin(), a.value.end(), [](uint8_t b) { return b != 0; }) ? 1 : 0;
    return scratch;
}

bool IsDescriptionName(std::string_view name) {
    return std::find(kDescriptionNames.begin(), kDescriptionNames.end(), name) != kDescriptionNames.end();
}

bool CanHold(Home home, const Attribute& a, bool sameNameBefore) {
    const size_t size = a.type == AttrType::Bool ? 4 : a.value.size();
    switch (home) {
        case Home::ContentDescription:
            return IsDescriptionName(a.name) && a.type == AttrType::String && a.stream == 0 && a.language == 0 &&
                   size <= kWordLimit && !sameNameBefore;
        case Home::ExtendedContent:
            return a.stream == 0 && a.language == 0 && a.type != AttrType::Guid && size <= kWordLimit && !sameNameBefore;
        case Home::Metadata:
            return a.language == 0 && a.type != AttrType::Guid && size <= kWordLimit && !sameNameBefore;
        case Home::MetadataLibrary: return true;
    }
    return true;
}

}  // namespace

const char* AttrTypeName(AttrType type) {
    static constexpr const char* kNames[] = {"DWORD", "STRING", "BINARY", "BOOL", "QWORD", "WORD", "GUID"};
    const auto i = static_cast<uint16_t>(type);
    return i < std::size(kNames) ? kNames[i] : "?";
}

const char* HomeName(Home home) {
    switch (home) {
        case Home::ContentDescription: return "Content Description";
        case Home::ExtendedContent: return "Extended Content Description";
        case Home::Metadata: return "Metadata";
        case Home::MetadataLibrary: return "Metadata Library";
    }
    return "?";
}

void ReadContentDescription(ByteReader body, std::vector<Attribute>& out) {
    uint16_t lengths[5];
    for (auto& n : lengths) n = body.u16le();
    for (size_t i = 0; i < 5; ++i) {
        body.require(lengths[i], "content description string past its object");
        const auto raw = body.bytes(lengths[i]);
        if (lengths[i] == 0) continue;
        Attribute a;
        a.home = Home::ContentDescription;
        a.name = kDescriptionNames[i];
        a.type = AttrType::String;
        a.value = Utf16Value(raw, "Content Description");
        out.push_back(std::move(a));
    }
}

void ReadExtendedContent(ByteReader body, std::vector<Attribute>& out) {
    const uint16_t count = body.u16le();
    for (uint16_t i = 0; i < count; ++i) {
        Attribute a;
        a.home = Home::ExtendedContent;
        const uint16_t nameLength = body.u16le();
        body.require(nameLength, "attribute name past its object");
        a.name = NameOf(body.bytes(nameLength), "Extended Content Description");
        a.type = FromFileType(body.u16le(), body);
        const uint16_t valueLength = body.u16le();
        body.require(valueLength, "attribute value past its object");
        a.value = ValueOf(a.type, body.bytes(valueLength), 4, "Extended Content Description");
        out.push_back(std::move(a));
    }
}

void ReadMetadata(ByteReader body, Home home, std::vector<Attribute>& out) {
    const char* where = HomeName(home);
    const uint16_t count = body.u16le();
    for (uint16_t i = 0; i < count; ++i) {
        Attribute a;
        a.home = home;
        a.language = body.u16le();
        a.stream = body.u16le();
        const uint16_t nameLength = body.u16le();
        a.type = FromFileType(body.u16le(), body);
        const uint32_t valueLength = body.u32le();
        body.require(nameLength, "attribute name past its object");
        a.name = NameOf(body.bytes(nameLength), where);
        body.require(valueLength, "attribute value past its object");
        a.value = ValueOf(a.type, body.bytes(valueLength), 2, where);
        if (home == Home::Metadata) a.language = 0;  // reserved there
        out.push_back(std::move(a));
    }
}

Home HomeFor(const Attribute& a, bool sameNameBefore) {
    for (Home h : {Home::ContentDescription, Home::ExtendedContent, Home::Metadata})
        if (CanHold(h, a, sameNameBefore)) return h;
    return Home::MetadataLibrary;
}

void Route(std::vector<Attribute>& attributes) {
    for (size_t i = 0; i < attributes.size(); ++i) {
        Attribute& a = attributes[i];
        const bool before = std::any_of(attributes.begin(), attributes.begin() + long(i), [&](const Attribute& b) {
            return b.stream == a.stream && b.name == a.name;
        });
        // An attribute stays where it is while that object can hold it; only what cannot moves.
        if (!CanHold(a.home, a, before)) a.home = HomeFor(a, before);
    }
}

std::vector<uint8_t> RenderAttributeObject(Home home, std::span<const Attribute> attributes, bool keepEmpty) {
    BytesOut body;
    std::vector<uint8_t> scratch;
    std::vector<const Attribute*> mine;
    for (const auto& a : attributes)
        if (a.home == home) mine.push_back(&a);
    if (mine.empty() && !keepEmpty) return {};
    if (mine.size() > 0xFFFF) throw Error(TV_E_FAIL, std::string("more than 65535 attributes for the ") + HomeName(home));
    switch (home) {
        case Home::ContentDescription: {
            const Attribute* field[5] = {};
            for (const Attribute* a : mine)
                for (size_t i = 0; i < 5; ++i)
                    if (a->name == kDescriptionNames[i]) field[i] = a;
            for (const Attribute* a : field) body.u16(a ? uint16_t(a->value.size()) : 0);
            for (const Attribute* a : field)
                if (a) body.bytes(a->value);
            return WholeObject(ids::kContentDescription, body.take());
        }
        case Home::ExtendedContent:
            body.u16(uint16_t(mine.size()));
            for (const Attribute* a : mine) {
                const std::string name16 = text::Utf8ToUtf16(a->name, false) + std::string(2, '\0');
                const auto value = StoredValue(*a, 4, scratch);
                body.u16(uint16_t(name16.size()));
                body.bytes(name16);
                body.u16(ToFileType(a->type));
                body.u16(uint16_t(value.size()));
                body.bytes(value);
            }
            return WholeObject(ids::kExtendedContentDescription, body.take());
        case Home::Metadata:
        case Home::MetadataLibrary:
            body.u16(uint16_t(mine.size()));
            for (const Attribute* a : mine) {
                const std::string name16 = text::Utf8ToUtf16(a->name, false) + std::string(2, '\0');
                const auto value = StoredValue(*a, 2, scratch);
                if (name16.size() > kWordLimit) throw Error(TV_E_FAIL, "an attribute name longer than 32767 characters");
                if (value.size() > 0xFFFFFFFFu) throw Error(TV_E_FAIL, "an attribute value of 4 GB or more");
                body.u16(home == Home::MetadataLibrary ? a->language : 0);
                body.u16(a->stream);
                body.u16(uint16_t(name16.size()));
                body.u16(ToFileType(a->type));
                body.u32(uint32_t(value.size()));
                body.bytes(name16);
                body.bytes(value);
            }
            return WholeObject(home == Home::Metadata ? ids::kMetadata : ids::kMetadataLibrary, body.take());
    }
    return {};
}

}  // namespace tagvera::wm
