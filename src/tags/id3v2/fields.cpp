#include "tags/id3v2/fields.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "tags/id3v2/frame_ids.h"
#include "platform/text.h"

namespace tagvera::id3v2 {

std::string Fields::joinedText() const {
    std::string out;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i) out += '/';
        out += values[i];
    }
    return out;
}

bool SameFields(const Fields& a, const Fields& b) {
    return a.kind == b.kind && a.encoding == b.encoding && a.values == b.values && a.desc == b.desc &&
           a.lang == b.lang && a.url == b.url && a.mime == b.mime && a.filename == b.filename && a.owner == b.owner &&
           a.email == b.email && a.pictureType == b.pictureType && a.rating == b.rating && a.counter == b.counter &&
           std::ranges::equal(a.data, b.data) && a.deferredData == b.deferredData;
}

FrameKind KindOf(const std::string& id) {
    if (id == "TXXX") return FrameKind::UserText;
    if (id == "WXXX") return FrameKind::UserUrl;
    if (id == "IPLS" || id == "TIPL" || id == "TMCL") return FrameKind::PeopleList;
    if (IsTextFrameId(id)) return FrameKind::Text;
    if (IsUrlFrameId(id)) return FrameKind::Url;
    if (id == "COMM" || id == "USLT") return FrameKind::Comment;
    if (id == "APIC") return FrameKind::Picture;
    if (id == "GEOB") return FrameKind::Object;
    if (id == "PRIV" || id == "UFID") return FrameKind::Private;
    if (id == "PCNT") return FrameKind::Counter;
    if (id == "POPM") return FrameKind::Popularimeter;
    return FrameKind::Binary;
}

namespace {

// A terminated string in encoding e; the reader moves past its terminator. Without a
// terminator the string runs to the end of the payload.
std::string TerminatedString(ByteReader& r, TextEncoding e) {
    const auto rest = std::span<const uint8_t>(r.current(), r.remaining());
    const size_t len = TerminatedLength(rest, e);
    std::string s = DecodeText(rest.first(len), e);
    r.skip(std::min(rest.size(), len + UnitSize(e)));
    return s;
}

std::string Latin1String(ByteReader& r) { return TerminatedString(r, TextEncoding::Latin1); }

// Counters are big-endian of any length (at least 4 bytes); past 8 bytes only the low 64 bits count.
uint64_t Counter(std::span<const uint8_t> b) {
    uint64_t v = 0;
    for (uint8_t x : b) v = (v << 8) | x;
    return v;
}

// v2.3 frames with the v2.4 encodings are accepted: some writers use them and the bytes are unambiguous.
TextEncoding ReadEncoding(ByteReader& r, const Frame&) { return EncodingFromByte(r.u8()); }

std::span<const uint8_t> Rest(ByteReader& r) { return r.bytes(r.remaining()); }

}  // namespace

Fields DecodeFields(const Frame& frame) {
    Fields f;
    DecodeFields(frame, f);
    return f;
}

void DecodeFields(const Frame& frame, Fields& f) {
    f.kind = frame.encrypted ? FrameKind::Binary : KindOf(frame.id);
    ByteReader r(frame.payload, TV_E_FAIL);
    switch (f.kind) {
        case FrameKind::Text:
        case FrameKind::PeopleList:
            f.encoding = ReadEncoding(r, frame);
            f.values = DecodeTextList(Rest(r), *f.encoding);
            break;
        case FrameKind::UserText:
            f.encoding = ReadEncoding(r, frame);
            f.desc = TerminatedString(r, *f.encoding);
            f.values = DecodeTextList(Rest(r), *f.encoding);
            break;
        case FrameKind::Url:
            f.url = DecodeText(std::span(frame.payload).first(TerminatedLength(frame.payload, TextEncoding::Latin1)),
                               TextEncoding::Latin1);
            break;
        case FrameKind::UserUrl:
            f.encoding = ReadEncoding(r, frame);
            f.desc = TerminatedString(r, *f.encoding);
            f.url = Latin1String(r);
            break;
        case FrameKind::Comment: {
            f.encoding = ReadEncoding(r, frame);
            const auto lang = r.bytes(3);
            size_t langLen = 0;
            while (langLen < 3 && lang[langLen] != 0) ++langLen;
            f.lang = text::Latin1ToUtf8(lang.first(langLen));
            f.desc = TerminatedString(r, *f.encoding);
            const auto rest = Rest(r);
            // The text is one value; a trailing terminator is not part of it.
            size_t n = rest.size();
            const size_t unit = UnitSize(*f.encoding);
            if (n >= unit && TerminatedLength(rest.subspan(n - unit), *f.encoding) == 0) n -= unit;
            f.values.push_back(DecodeText(rest.first(n), *f.encoding));
            break;
        }
        case FrameKind::Picture:
            f.encoding = ReadEncoding(r, frame);
            f.mime = Latin1String(r);
            f.pictureType = r.u8();
            f.desc = TerminatedString(r, *f.encoding);
            f.data = Rest(r);
            f.deferredData = frame.deferredBytes();
            break;
        case FrameKind::Object:
            f.encoding = ReadEncoding(r, frame);
            f.mime = Latin1String(r);
            f.filename = TerminatedString(r, *f.encoding);
            f.desc = TerminatedString(r, *f.encoding);
            f.data = Rest(r);
            break;
        case FrameKind::Private:
            f.owner = Latin1String(r);
            f.data = Rest(r);
            break;
        case FrameKind::Counter:
            f.data = Rest(r);
            f.counter = Counter(f.data);
            break;
        case FrameKind::Popularimeter:
            f.email = Latin1String(r);
            f.rating = r.u8();
            f.data = Rest(r);
            if (!f.data.empty()) f.counter = Counter(f.data);
            break;
        case FrameKind::Binary:
            f.data = frame.payload;
            break;
    }
}

std::optional<Fields> TryDecodeFields(const Frame& frame, std::string* why) {
    try {
        return DecodeFields(frame);
    } catch (const Error& e) {
        if (why) *why = e.what();
        return std::nullopt;
    }
}

namespace {

void AppendLatin1(std::vector<uint8_t>& out, const std::string& s, bool terminate) {
    AppendEncodedText(out, s, TextEncoding::Latin1);
    if (terminate) out.push_back(0);
}
void AppendText(std::vector<uint8_t>& out, const std::string& s, TextEncoding e, bool terminate) {
    AppendEncodedText(out, s, e);
    if (terminate) AppendTerminator(out, e);
}
void AppendData(std::vector<uint8_t>& out, std::span<const uint8_t> d) { out.insert(out.end(), d.begin(), d.end()); }

}  // namespace

std::vector<uint8_t> EncodeFields(const std::string& id, const Fields& f, TextEncoding e) {
    std::vector<uint8_t> out;
    switch (f.kind) {
        case FrameKind::Text:
        case FrameKind::PeopleList:
        case FrameKind::UserText:
            out.push_back(static_cast<uint8_t>(e));
            if (f.kind == FrameKind::UserText) AppendText(out, f.desc, e, true);
            for (size_t i = 0; i < f.values.size(); ++i) AppendText(out, f.values[i], e, i + 1 < f.values.size());
            break;
        case FrameKind::Url:
            AppendLatin1(out, f.url, false);
            break;
        case FrameKind::UserUrl:
            out.push_back(static_cast<uint8_t>(e));
            AppendText(out, f.desc, e, true);
            AppendLatin1(out, f.url, false);
            break;
        case FrameKind::Comment: {
            out.push_back(static_cast<uint8_t>(e));
            std::string lang = f.lang.substr(0, 3);
            lang.resize(3, id == "COMM" || id == "USLT" ? 'X' : ' ');
            out.insert(out.end(), lang.begin(), lang.end());
            AppendText(out, f.desc, e, true);
            AppendText(out, f.values.empty() ? std::string() : f.values.front(), e, false);
            break;
        }
        case FrameKind::Picture:
            out.push_back(static_cast<uint8_t>(e));
            AppendLatin1(out, f.mime, true);
            out.push_back(f.pictureType.value_or(0));
            AppendText(out, f.desc, e, true);
            AppendData(out, f.data);
            break;
        case FrameKind::Object:
            out.push_back(static_cast<uint8_t>(e));
            AppendLatin1(out, f.mime, true);
            AppendText(out, f.filename, e, true);
            AppendText(out, f.desc, e, true);
            AppendData(out, f.data);
            break;
        case FrameKind::Private:
            AppendLatin1(out, f.owner, true);
            AppendData(out, f.data);
            break;
        case FrameKind::Counter:
        case FrameKind::Binary:
            AppendData(out, f.data);
            break;
        case FrameKind::Popularimeter:
            AppendLatin1(out, f.email, true);
            out.push_back(f.rating.value_or(0));
            AppendData(out, f.data);
            break;
    }
    return out;
}

}  // namespace tagvera::id3v2
