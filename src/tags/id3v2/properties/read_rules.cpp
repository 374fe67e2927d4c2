#include "tags/id3v2/properties/read_rules.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "base/error.h"
#include "metaprop/genre_table.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/properties/frame_map.h"
#include "platform/text.h"
#include "tagvera/vocabulary.h"

namespace tagvera::id3v2 {

using id3v2::Fields;
using id3v2::Frame;
using id3v2::TextEncoding;

const ChildSpec* PropertySpec::child(const std::string& childName) const {
    for (const auto& c : children)
        if (c.name == childName) return &c;
    return nullptr;
}

namespace {

// Comments of 261 bytes or more are handed out on demand instead of being held in the tree.
constexpr size_t kLongCommentBytes = 261;

std::vector<uint8_t> TextValue(const std::string& utf8) {
    const std::string ansi = text::Utf8ToAnsi(utf8);
    std::vector<uint8_t> v;
    v.reserve(ansi.size() + 1);  // the terminator too, or it would move the text once more
    v.assign(ansi.begin(), ansi.end());
    v.push_back(0);
    return v;
}

std::vector<uint8_t> NumberValue(uint32_t n) {
    return {uint8_t(n), uint8_t(n >> 8), uint8_t(n >> 16), uint8_t(n >> 24)};
}

void AddNumber(PropertySpec& p, const char* name, uint32_t value, uint32_t flags = 0) {
    p.children.push_back({name, kTypeNumber, flags, NumberValue(value)});
}
void AddString(PropertySpec& p, const char* name, const std::string& value, uint32_t flags = 0) {
    p.children.push_back({name, kTypeText, flags, TextValue(value)});
}

bool Contains(const std::string& s, const char* part) { return s.find(part) != std::string::npos; }

// "a:b:c" -> parent "a:b", name "c"; without ':' only the name changes.
void SplitAtLastColon(PropertySpec& p, const std::string& full) {
    const size_t colon = full.rfind(':');
    if (colon == std::string::npos) {
        p.name = full;
        return;
    }
    if (colon > 0) p.parent = full.substr(0, colon);
    p.name = full.substr(colon + 1);
}

bool IsUnicode(const Fields& f) { return f.encoding && *f.encoding != TextEncoding::Latin1; }

bool TextRule(PropertySpec& p, const Frame& frame, const Fields& f, const std::string& text) {
    if (text.empty()) return false;
    p.type = kTypeText;
    if (IsUnicode(f)) AddNumber(p, "Unicode", 1);
    auto value = TextValue(text);
    if (frame.id == "COMM" && value.size() - 1 >= kLongCommentBytes) {
        p.type = kTypeReference;
        AddString(p, "MimeType", "text/plain");
        AddString(p, "Extension", "txt", kFlagType);
        AddNumber(p, "DataSize", static_cast<uint32_t>(value.size()), kFlagType);
        return true;
    }
    p.value = std::move(value);
    return true;
}

uint32_t LeadingDecimal(const std::string& s) {
    uint64_t v = 0;
    size_t i = 0;
    while (i < s.size() && s[i] == ' ') ++i;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
        v = v * 10 + uint64_t(s[i] - '0');
        if (v > 0xFFFFFFFFu) return 0xFFFFFFFFu;
    }
    return static_cast<uint32_t>(v);
}

bool IsAlnum3(const std::string& lang) {
    if (lang.size() != 3) return false;
    for (char c : lang)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) return false;
    return true;
}

void PictureMime(PropertySpec& p, const std::string& mime) {
    std::string lower = mime;
    for (char& c : lower) c = static_cast<char>((c >= 'A' && c <= 'Z') ? c + 32 : c);
    std::string type, ext;
    if (Contains(lower, "jpg") || Contains(lower, "jpeg")) type = "image/jpeg", ext = "jpg";
    else if (Contains(lower, "png")) type = "image/png", ext = "png";
    else if (Contains(lower, "bmp")) type = "image/bmp", ext = "bmp";
    else if (Contains(lower, "gif")) type = "image/gif", ext = "gif";
    else if (Contains(lower, "encrypted")) type = mime, ext = "eimg";
    AddString(p, "MimeType", type);
    AddString(p, "Extension", ext, kFlagType);
}

// TOC text as Windows Media Player writes it: "n+start1+...+startn+leadout", upper-case hex.
std::optional<std::string> TocFromText(const std::vector<uint8_t>& data) {
    std::string s = text::Utf16ToUtf8(std::span(data).first(data.size() & ~size_t(1)), false);
    while (!s.empty() && s.back() == '\0') s.pop_back();
    std::vector<uint32_t> numbers;
    std::string token;
    for (size_t i = 0; i <= s.size(); ++i) {
        if (i == s.size() || s[i] == '+') {
            if (token.empty() || token.size() > 8) return std::nullopt;
            numbers.push_back(static_cast<uint32_t>(std::stoul(token, nullptr, 16)));
            token.clear();
            continue;
        }
        const char c = s[i];
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'))) return std::nullopt;
        token += c;
    }
    if (numbers.empty()) return std::nullopt;
    const uint32_t n = numbers[0];
    if (n < 1 || n > 99 || numbers.size() != n + 2) return std::nullopt;
    auto msf = [](uint32_t sectors) {
        const uint32_t v = ((sectors % 75) << 16) | (((sectors / 75) % 60) << 8) | (sectors / 4500);
        char buf[9];
        std::snprintf(buf, sizeof buf, "%08x", v);
        return std::string(buf);
    };
    char count[3];
    std::snprintf(count, sizeof count, "%02u", n);
    std::string out = count;
    for (uint32_t t = 1; t <= n; ++t) {
        const uint32_t start = numbers[t];
        const uint32_t next = numbers[t + 1];
        if (next <= start) return std::nullopt;
        out += msf(start) + msf(next - start - 1) + "02";
    }
    return out;
}

}  // namespace

std::optional<std::string> CdTocValue(const std::vector<uint8_t>& data) {
    if (auto v = TocFromText(data)) return v;
    if (data.empty()) return std::nullopt;
    const uint32_t n = data[0];
    if (n < 1 || n > 99 || data.size() < 9 * size_t(n) + 1) return std::nullopt;
    static const char* hex = "0123456789ABCDEF";
    std::string out;
    for (uint8_t b : data) {
        out += hex[b >> 4];
        out += hex[b & 0xF];
    }
    return out;
}

std::optional<PropertySpec> ReadFrameProperty(const Frame& frame) {
    if (!FindReadRow(frame.id) || frame.encrypted) return std::nullopt;
    const std::optional<Fields> decoded = id3v2::TryDecodeFields(frame);
    if (!decoded) return std::nullopt;
    return ReadFrameProperty(frame, *decoded);
}

std::optional<PropertySpec> ReadFrameProperty(const Frame& frame, const Fields& f) {
    const FrameMapRow* row = FindReadRow(frame.id);
    if (!row || frame.encrypted) return std::nullopt;
    PropertySpec p;
    p.children.reserve(4);  // a picture's three and the frame number; most frames have one or two
    p.parent = row->parent;
    p.name = row->property;
    p.frameNumber = FrameNumber(frame.id);
    bool ok = false;
    switch (row->read) {
        case ReadRule::NotRead:
            break;
        case ReadRule::Text:
            ok = TextRule(p, frame, f, f.joinedText());
            break;
        case ReadRule::Year: {
            const uint32_t year = LeadingDecimal(f.joinedText());
            if (year == 0) break;
            p.type = kTypeNumber;
            p.value = NumberValue(year);
            ok = true;
            break;
        }
        case ReadRule::Genre: {
            std::string genres;
            for (const auto& v : f.values) {
                const std::string g = GenreFromTagText(v);
                if (g.empty()) continue;
                if (!genres.empty()) genres += '/';
                genres += g;
            }
            ok = TextRule(p, frame, f, genres);
            break;
        }
        case ReadRule::Comment: {
            // iTunes keeps machine data (loudness, gapless timing) in COMM frames described "iTun...".
            if (f.desc.rfind("iTun", 0) == 0) break;
            ok = TextRule(p, frame, f, f.joinedText());
            if (!ok) break;
            if (IsAlnum3(f.lang) && !text::EqualsNoCase(f.lang, "eng") && !text::EqualsNoCase(f.lang, "dte"))
                AddString(p, "Language", f.lang);
            if (text::EqualsNoCase(f.lang, "dte") && p.type == kTypeText) p.type = kTypeDate;
            break;
        }
        case ReadRule::UserText: {
            std::string name = f.desc.empty() ? std::string(row->property) : f.desc;
            const std::string prefix = "MusicMatch_";
            if (name.size() > prefix.size() && name.compare(0, prefix.size(), prefix) == 0) name = name.substr(prefix.size());
            SplitAtLastColon(p, name);
            if (p.name.empty()) break;
            ok = TextRule(p, frame, f, f.joinedText());
            break;
        }
        case ReadRule::Lyrics: {
            const std::string textValue = f.joinedText();
            if (textValue.empty()) break;
            p.type = kTypeReference;
            AddNumber(p, "DataSize", static_cast<uint32_t>(TextValue(textValue).size()), kFlagType);
            AddString(p, "MimeType", "text/plain");
            if (!text::EqualsNoCase(f.lang, "eng") && !f.lang.empty()) AddString(p, "Language", f.lang);
            ok = true;
            break;
        }
        case ReadRule::UserUrl:
            SplitAtLastColon(p, f.desc.empty() ? std::string(row->property) : f.desc);
            if (p.name.empty()) break;
            [[fallthrough]];
        case ReadRule::Url:
            if (f.url.empty()) break;
            if (!Contains(p.name, "Web Page") && !Contains(p.name, "URL")) p.name += " Web Page";
            p.type = kTypeUrl;
            p.value = TextValue(f.url);
            ok = true;
            break;
        case ReadRule::PeopleList: {
            if (f.values.empty()) break;
            p.type = kTypeTextList;
            if (IsUnicode(f)) AddNumber(p, "Unicode", 1);
            std::vector<uint8_t> list;
            for (const auto& v : f.values) {
                const auto one = TextValue(v);
                list.insert(list.end(), one.begin(), one.end());
            }
            list.push_back(0);
            p.value = list;
            p.children.push_back({"Separator", kTypeBinary, 0, {0, 0, 0, 0}});
            ok = true;
            break;
        }
        case ReadRule::Picture: {
            const uint8_t type = f.pictureType.value_or(0);
            if (type > 20) break;
            if (type == 0) {
                SplitAtLastColon(p, f.desc.empty() ? std::string(row->property) : f.desc);
            } else {
                const PictureTypeRow* pt = FindPictureType(type);
                p.parent = pt->parent;
                p.name = pt->property;
            }
            if (p.name.empty()) break;
            if (!Contains(p.name, "Icon") && !Contains(p.name, "Art") && !Contains(p.name, "Picture")) p.name += " Picture";
            p.type = kTypeReference;
            AddNumber(p, "DataSize", static_cast<uint32_t>(f.dataSize()), kFlagType);
            PictureMime(p, f.mime);
            ok = true;
            break;
        }
        case ReadRule::Object: {
            SplitAtLastColon(p, f.desc.empty() ? std::string(row->property) : f.desc);
            if (p.name.empty()) break;
            if (f.mime == "filename") {
                p.type = kTypeFilename;
                p.value = TextValue(f.filename);
            } else if (f.mime == "ulong") {
                if (f.data.size() < 4) break;
                p.type = kTypeNumber;
                p.value = std::vector<uint8_t>(f.data.begin(), f.data.begin() + 4);
            } else if (f.mime == "flag") {
                if (f.data.empty()) break;
                p.type = kTypeFlag;
                p.value = std::vector<uint8_t>{f.data[0]};
            } else if (f.mime == "binary") {
                p.type = kTypeBinary;
                p.value = std::vector<uint8_t>(f.data.begin(), f.data.end());
            } else {
                p.type = kTypeReference;
                AddNumber(p, "DataSize", static_cast<uint32_t>(f.data.size()), kFlagType);
                AddString(p, "MimeType", f.mime);
                AddString(p, "Extension", f.filename, kFlagType);
            }
            ok = true;
            break;
        }
        case ReadRule::CdToc: {
            const auto value = CdTocValue(frame.payload);
            if (!value) break;
            p.type = kTypeText;
            p.value = TextValue(*value);
            ok = true;
            break;
        }
    }
    if (!ok) return std::nullopt;
    p.children.push_back({kFrameIdProperty, kTypeBinary, kFlagPrivate, NumberValue(p.frameNumber)});
    return p;
}

std::vector<uint8_t> FrameReferenceData(const Frame& frame) {
    if (frame.deferred) throw Error(TV_E_FAIL, frame.id + ": its data has not been read from the file");
    const Fields f = id3v2::DecodeFields(frame);
    switch (f.kind) {
        case id3v2::FrameKind::Picture:
        case id3v2::FrameKind::Object:
            return {f.data.begin(), f.data.end()};
        case id3v2::FrameKind::Comment:
            return TextValue(f.joinedText());
        default:
            throw Error(TV_E_FAIL, frame.id + " frames hold no on-demand data");
    }
}

}  // namespace tagvera::id3v2
