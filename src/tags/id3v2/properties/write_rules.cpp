#include "tags/id3v2/properties/write_rules.h"

#include <cstdio>
#include <cstring>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "tags/id3v2/fields.h"
#include "metaprop/property_access.h"
#include "metaprop/reference_bytes.h"
#include "platform/file.h"
#include "platform/text.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::id3v2 {

using id3v2::Fields;
using id3v2::Frame;
using id3v2::FrameKind;
using id3v2::TextEncoding;

namespace {

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>((c >= 'A' && c <= 'Z') ? c + 32 : c);
    return s;
}

bool EndsWith(const std::string& s, const char* tail) {
    const size_t n = std::strlen(tail);
    return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

// The frame's fields as they are, to update; a frame we cannot decode (encrypted, damaged) is
// replaced as a whole.
Fields Existing(const Frame& frame) {
    Fields f;
    if (!frame.payload.empty() && !frame.encrypted) f = id3v2::TryDecodeFields(frame).value_or(Fields{});
    f.kind = id3v2::KindOf(frame.id);
    return f;
}

bool IsNew(const Frame& frame) { return frame.payload.empty(); }

// Text in a v2.3 frame: Latin-1 when every character fits, else UTF-16 with BOM, so nothing is
// lost to '?'; a "Unicode" child asks for UTF-16 in any case.
TextEncoding EncodingFor(IMPAMetaProperty* property, const Fields& f) {
    uint32_t unicode = 0;
    if (ChildNumber(property, "Unicode", &unicode) && unicode != 0) return TextEncoding::Utf16;
    auto fits = [](const std::string& s) { return text::FitsLatin1(s); };
    bool all = fits(f.desc) && fits(f.filename);
    for (const auto& v : f.values) all = all && fits(v);
    return all ? TextEncoding::Latin1 : TextEncoding::Utf16;
}

// URLs are Latin-1 in every ID3v2 version: characters beyond it are percent-encoded, as a
// browser would send them.
std::string UrlText(const std::string& utf8) {
    if (text::FitsLatin1(utf8)) return utf8;
    std::string out;
    for (unsigned char c : utf8) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            char buf[4];
            std::snprintf(buf, sizeof buf, "%%%02X", c);
            out += buf;
        }
    }
    return out;
}

std::string Utf8Of(std::string_view ansi) { return text::SanitizeUtf8(text::AnsiToUtf8(ansi)); }

std::string TextOfBytes(const std::vector<uint8_t>& bytes) {
    return std::string(ValueText(std::span<const uint8_t>(bytes)));
}

// The text a property stands for, as the interfaces' 8-bit text.
std::optional<std::string> PropertyText(IMPAMetaProperty* property, uint32_t type, IMPAHandleMetaProperties* ds) {
    const auto value = ValueOf(property);
    switch (type) {
        case kTypeNumber: {
            if (value.size() < 4) return std::nullopt;
            const uint32_t n = uint32_t(value[0]) | uint32_t(value[1]) << 8 | uint32_t(value[2]) << 16 |
                               uint32_t(value[3]) << 24;
            return std::to_string(n);
        }
        case kTypeFlag:
            return std::string(!value.empty() && value[0] ? "1" : "0");
        case kTypeReference:
        case kTypeFileReference:
        case kTypeDataReference: {
            auto bytes = ReferenceBytes(property, type, ds);
            if (!bytes) return std::nullopt;
            return TextOfBytes(*bytes);
        }
        default:
            return std::string(ValueText(value));
    }
}

// A people list: NUL-separated entries in one value.
std::vector<std::string> ListValues(IMPAMetaProperty* property) {
    std::vector<std::string> out;
    const auto value = ValueOf(property);
    size_t start = 0;
    for (size_t i = 0; i <= value.size(); ++i) {
        if (i == value.size() || value[i] == 0) {
            if (i > start) out.push_back(Utf8Of(std::string_view(reinterpret_cast<const char*>(value.data() + start), i - start)));
            else if (i < value.size() && i + 1 < value.size()) out.emplace_back();
            start = i + 1;
        }
    }
    while (!out.empty() && out.back().empty()) out.pop_back();
    return out;
}

RuleResult Store(Frame& frame, const Fields& f, TextEncoding e) {
    frame.payload = id3v2::EncodeFields(frame.id, f, e);
    // The payload is whole now: data a picture left in the file has been replaced.
    frame.deferred.reset();
    frame.version = 3;
    frame.encrypted = false;
    frame.group.reset();
    return RuleResult::Filled;
}

RuleResult TextRule(Frame& frame, const WriteTarget& t, IMPAMetaProperty* p, uint32_t type, IMPAHandleMetaProperties* ds) {
    const bool isNew = IsNew(frame);
    Fields f = Existing(frame);
    if (f.kind == FrameKind::PeopleList && type == kTypeTextList) {
        f.values = ListValues(p);
        if (f.values.empty()) return RuleResult::Empty;
        return Store(frame, f, EncodingFor(p, f));
    }
    auto ansi = PropertyText(p, type, ds);
    if (!ansi) return RuleResult::Failed;
    if (frame.id == "TRCK" && !ansi->empty() && (*ansi)[0] == '0') ansi->erase(0, 1);
    const std::string value = Utf8Of(*ansi);
    if (value.empty()) return RuleResult::Empty;
    f.values = {value};
    if (f.kind == FrameKind::Comment) {
        std::string lang = frame.id == "COMM" && type == kTypeDate ? "dte" : ChildText(p, "Language");
        if (lang.size() != 3) lang = "eng";
        f.lang = lang;
        if (isNew && frame.id == "COMM") f.desc = Utf8Of(t.fullName);
    } else if (f.kind == FrameKind::UserText) {
        if (isNew) f.desc = Utf8Of(t.fullName);
    } else if (f.kind != FrameKind::Text && f.kind != FrameKind::PeopleList) {
        return RuleResult::Failed;
    }
    return Store(frame, f, EncodingFor(p, f));
}

RuleResult UrlRule(Frame& frame, const WriteTarget& t, IMPAMetaProperty* p) {
    Fields f = Existing(frame);
    const std::string url = UrlText(Utf8Of(ValueText(ValueOf(p))));
    if (url.empty()) return RuleResult::Empty;
    f.url = url;
    if (f.kind == FrameKind::UserUrl) {
        if (IsNew(frame)) f.desc = Utf8Of(t.fullName);
    } else if (f.kind != FrameKind::Url) {
        return RuleResult::Failed;
    }
    return Store(frame, f, EncodingFor(p, f));
}

std::string MimeFor(IMPAMetaProperty* p, uint32_t type) {
    std::string mime = ChildText(p, "MimeType");
    if (mime.empty() && type == kTypeFileReference) {
        // A picture named by a file: its extension says what it is.
        const std::string name = Lower(std::string(ValueText(ValueOf(p))));
        if (EndsWith(name, ".jpg") || EndsWith(name, ".jpeg")) mime = "image/jpeg";
        else if (EndsWith(name, ".png")) mime = "image/png";
        else if (EndsWith(name, ".gif")) mime = "image/gif";
        else if (EndsWith(name, ".bmp")) mime = "image/bmp";
    }
    return mime == "image/jpeg" ? "image/jpg" : mime;
}

RuleResult PictureRule(Frame& frame, const WriteTarget& t, IMPAMetaProperty* p, uint32_t type, IMPAHandleMetaProperties* ds) {
    auto bytes = ReferenceBytes(p, type, ds);
    if (!bytes) return RuleResult::Failed;
    const bool isNew = IsNew(frame);
    Fields f = Existing(frame);
    f.mime = MimeFor(p, type);
    f.data = std::move(*bytes);
    if (f.kind == FrameKind::Picture) {
        if (isNew) {
            f.pictureType = PictureTypeFor(t.parent, t.name);
            f.desc = Utf8Of(t.fullName);
        }
    } else if (f.kind == FrameKind::Object) {
        f.filename = Utf8Of(ChildText(p, "Extension"));
        if (isNew) f.desc = Utf8Of(t.fullName);
    } else {
        return RuleResult::Failed;
    }
    return Store(frame, f, EncodingFor(p, f));
}

RuleResult ObjectRule(Frame& frame, const WriteTarget& t, IMPAMetaProperty* p, uint32_t type) {
    Fields f = Existing(frame);
    if (f.kind != FrameKind::Object) return RuleResult::Failed;
    const auto value = ValueOf(p);
    std::vector<uint8_t> data;
    f.filename.clear();
    switch (type) {
        case kTypeFlag:
            f.mime = "flag";
            data.assign(value.begin(), value.begin() + std::min<size_t>(1, value.size()));
            break;
        case kTypeNumber:
            f.mime = "ulong";
            data.assign(value.begin(), value.begin() + std::min<size_t>(4, value.size()));
            break;
        case kTypeFilename:
            f.mime = "filename";
            f.filename = Utf8Of(ValueText(value));
            break;
        default:
            f.mime = "binary";
            data.assign(value.begin(), value.end());
            break;
    }
    f.data = data;
    if (IsNew(frame)) f.desc = Utf8Of(t.fullName);
    return Store(frame, f, EncodingFor(p, f));
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

RuleResult CdTocRule(Frame& frame, IMPAMetaProperty* p) {
    const std::string_view hex = ValueText(ValueOf(p));
    if (hex.empty()) return RuleResult::Empty;
    if (hex.size() % 2) return RuleResult::Failed;
    std::vector<uint8_t> data;
    data.reserve(hex.size() / 2);
    for (size_t i = 0; i < hex.size(); i += 2) {
        const int hi = HexDigit(hex[i]), lo = HexDigit(hex[i + 1]);
        if (hi < 0 || lo < 0) return RuleResult::Failed;
        data.push_back(static_cast<uint8_t>(hi * 16 + lo));
    }
    Fields f;
    f.kind = FrameKind::Binary;
    f.data = data;
    return Store(frame, f, TextEncoding::Latin1);
}

RuleResult GracenoteRule(Frame& frame, IMPAMetaProperty* p, uint32_t type) {
    Fields f = Existing(frame);
    const auto value = ValueOf(p);
    if (f.kind == FrameKind::UserText) {
        const std::string textValue = Utf8Of(ValueText(value));
        if (textValue.empty()) return RuleResult::Empty;
        f.desc = kGracenoteExtData;
        f.values = {textValue};
        return Store(frame, f, EncodingFor(p, f));
    }
    if (f.kind == FrameKind::Private) {
        const bool isText = type == kTypeText || type == kTypeTextList;
        const std::vector<uint8_t> id = isText ? std::vector<uint8_t>(ValueText(value).begin(), ValueText(value).end())
                                               : std::vector<uint8_t>(value.begin(), value.end());
        if (id.empty()) return RuleResult::Empty;
        f.owner = kGracenoteOwner;
        f.data = id;
        return Store(frame, f, TextEncoding::Latin1);
    }
    return RuleResult::Failed;
}

}  // namespace

uint8_t PictureTypeFor(const std::string& parent, const std::string& name) {
    if (parent == kGroupAlbum && name == "Cover Art") return 0;
    for (const auto& row : PictureTypes())
        if (name == row.property && parent == row.parent) return row.firstType;
    return 0;
}

RuleResult ApplyWriteRule(Frame& frame, const WriteTarget& target, IMPAMetaProperty* property,
                          IMPAHandleMetaProperties* dataSource) {
    const uint32_t type = TypeOf(property);
    switch (target.rule) {
        case WriteRule::Text: return TextRule(frame, target, property, type, dataSource);
        case WriteRule::Url: return UrlRule(frame, target, property);
        case WriteRule::Picture: return PictureRule(frame, target, property, type, dataSource);
        case WriteRule::Object: return ObjectRule(frame, target, property, type);
        case WriteRule::CdToc: return CdTocRule(frame, property);
        case WriteRule::Gracenote: return GracenoteRule(frame, property, type);
    }
    return RuleResult::Failed;
}

}  // namespace tagvera::id3v2
