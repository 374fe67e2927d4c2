#include "tags/id3v2/normalize.h"

#include <algorithm>
#include <cstdint>
#include <set>

#include "base/error.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/trailing_tags.h"
#include "platform/text.h"

namespace tagvera::id3v2 {

namespace {

bool AllDigits(std::string_view s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

TextEncoding V23Encoding(const Fields& f) {
    return f.encoding && *f.encoding != TextEncoding::Latin1 ? TextEncoding::Utf16 : TextEncoding::Latin1;
}

// A frame in its v2.3 form with its fields as they read back from it.
struct Normalized {
    Frame frame;
    Fields fields;
};

// Turns f, the fields a payload in encoding e was made of (EncodeFields), into what DecodeFields
// gives for that payload. The strings decoded from a frame are valid UTF-8 without NUL (a comment's
// text aside) and Latin-1 ones stay Latin-1, so they come back as they went but for what the
// layout loses or pads.
void ReadBack(Fields& f, std::span<const uint8_t> payload, TextEncoding e) {
    const auto dataAtEnd = [&] { f.data = payload.last(f.data.size()); };
    switch (f.kind) {
        case FrameKind::Text:
        case FrameKind::PeopleList:
        case FrameKind::UserText:
            f.encoding = e;
            // The values go out without a last terminator: a last empty value is not seen again,
            // and then, as for any list read, neither are empty values before it (one value kept).
            if (!f.values.empty() && f.values.back().empty()) f.values.pop_back();
            while (f.values.size() > 1 && f.values.back().empty()) f.values.pop_back();
            break;
        case FrameKind::UserUrl:
            f.encoding = e;
            break;
        case FrameKind::Comment: {
            f.encoding = e;
            // Three bytes of the language, padded, read back as Latin-1 (only COMM and USLT are
            // comments, padded with 'X').
            std::string lang = f.lang.substr(0, 3);
            lang.resize(3, 'X');
            f.lang = text::Latin1ToUtf8(std::span(reinterpret_cast<const uint8_t*>(lang.data()), lang.size()));
            if (f.values.empty()) f.values.emplace_back();
            f.values.resize(1);
            // A last NUL reads as the text's terminator.
            if (std::string& value = f.values.front(); !value.empty() && value.back() == '\0') value.pop_back();
            break;
        }
        case FrameKind::Picture:
        case FrameKind::Object:
            f.encoding = e;
            dataAtEnd();
            break;
        case FrameKind::Private:
        case FrameKind::Popularimeter:
            dataAtEnd();
            break;
        case FrameKind::Counter:
        case FrameKind::Binary:
            f.data = payload;
            break;
        case FrameKind::Url:
            break;
    }
}

Normalized TextFrame(const std::string& id, const Frame& like, std::vector<std::string> values, TextEncoding e) {
    Normalized out;
    Fields& f = out.fields;
    f.kind = FrameKind::Text;
    f.values = std::move(values);
    out.frame.id = out.frame.sourceId = id;
    out.frame.version = 3;
    out.frame.statusFlags = like.statusFlags;
    out.frame.origin = like.origin;
    out.frame.payload = EncodeFields(id, f, e);
    ReadBack(f, out.frame.payload, e);
    return out;
}

// src in its v2.3 form into out, and its fields as they read back from it into f (both fresh).
void NormalizeInto(const Frame& src, Frame& out, Fields& f) {
    out.id = src.id;
    out.sourceId = src.sourceId;
    out.version = 3;
    out.statusFlags = src.statusFlags;
    out.encrypted = src.encrypted;
    out.encryptionMethod = src.encryptionMethod;
    out.group = src.group;
    out.origin = src.origin;
    // A picture's data is the end of its payload, so the part left in the file stays valid
    // whatever re-encoding does to the fields before it.
    out.deferred = src.deferred;
    if (!src.encrypted) DecodeFields(src, f);
    const TextEncoding e = V23Encoding(f);
    if (f.kind == FrameKind::Binary || f.kind == FrameKind::Counter) {
        out.payload = src.payload;
    } else {
        out.payload = EncodeFields(src.id, f, e);
        // An empty frame is no frame (a URL frame that held only its terminator).
        if (out.payload.empty()) throw Error(TV_E_FAIL, "no content");
    }
    ReadBack(f, out.payload, e);
}

// TDRC "yyyy-MM-ddTHH:mm:ss" becomes TYER "yyyy", TDAT "ddMM" and TIME "HHmm" as far as given.
std::vector<Normalized> SplitTimestamp(const Frame& src, const Fields& f, bool yearOnly) {
    std::vector<Normalized> out;
    const std::string ts = f.values.empty() ? std::string() : f.values.front();
    const TextEncoding e = TextEncoding::Latin1;  // digits only
    if (ts.size() < 4 || !AllDigits(ts.substr(0, 4))) return out;
    out.push_back(TextFrame(yearOnly ? "TORY" : "TYER", src, {ts.substr(0, 4)}, e));
    if (yearOnly) return out;
    if (ts.size() >= 10 && ts[4] == '-' && ts[7] == '-' && AllDigits(ts.substr(5, 2)) && AllDigits(ts.substr(8, 2)))
        out.push_back(TextFrame("TDAT", src, {ts.substr(8, 2) + ts.substr(5, 2)}, e));
    if (ts.size() >= 16 && ts[10] == 'T' && ts[13] == ':' && AllDigits(ts.substr(11, 2)) && AllDigits(ts.substr(14, 2)))
        out.push_back(TextFrame("TIME", src, {ts.substr(11, 2) + ts.substr(14, 2)}, e));
    return out;
}

struct Builder {
    NormalizedFrames result;
    std::set<std::string> keys;
    // Frames of a later source that the earlier ones already have are left out.
    bool merging = false;
    bool keyed = false;  // only worth the decoding when a later source may follow

    // A frame of a later source that an earlier one has is taken back out.
    void keep() {
        if (!keyed) return;
        const std::string key = FrameKey(result.frames.back());
        if (merging && keys.count(key)) {
            result.frames.pop_back();
            result.fields.pop_back();
            return;
        }
        keys.insert(key);
    }

    // Normalised in place at the end of the result: a frame's fields are large to move.
    void add(const Frame& src) {
        Frame& out = result.frames.emplace_back();
        Fields& f = result.fields.emplace_back();
        try {
            NormalizeInto(src, out, f);
        } catch (...) {
            result.frames.pop_back();
            result.fields.pop_back();
            throw;
        }
        keep();
    }

    void add(Normalized&& n) {
        result.frames.push_back(std::move(n.frame));
        result.fields.push_back(std::move(n.fields));
        keep();
    }

    void addTag(const std::vector<Frame>& frames) {
        // Asked only of dates and people lists, so a look through the tag's frames when asked.
        const auto present = [&frames](std::string_view id) {
            return std::any_of(frames.begin(), frames.end(), [id](const Frame& f) { return f.id == id; });
        };
        result.frames.reserve(result.frames.size() + frames.size());
        result.fields.reserve(result.fields.size() + frames.size());
        std::vector<std::string> people;
        TextEncoding peopleEncoding = TextEncoding::Latin1;
        size_t peopleAt = SIZE_MAX;
        for (const auto& src : frames) {
            try {
                if (src.id == "TDRC" || src.id == "TDOR") {
                    const Fields f = DecodeFields(src);
                    const bool original = src.id == "TDOR";
                    if (present(original ? "TORY" : "TYER")) {
                        add(src);
                        continue;
                    }
                    auto parts = SplitTimestamp(src, f, original);
                    if (parts.empty()) {
                        add(src);
                        continue;
                    }
                    for (auto& p : parts)
                        if (!present(p.frame.id)) add(std::move(p));
                    continue;
                }
                if (src.id == "TIPL" || src.id == "TMCL") {
                    const Fields f = DecodeFields(src);
                    if (V23Encoding(f) == TextEncoding::Utf16) peopleEncoding = TextEncoding::Utf16;
                    people.insert(people.end(), f.values.begin(), f.values.end());
                    if (people.size() % 2) people.emplace_back();
                    if (peopleAt == SIZE_MAX) peopleAt = result.frames.size();
                    continue;
                }
                add(src);
            } catch (const Error& e) {
                result.dropped.push_back(src.id + ": " + e.what());
            }
        }
        if (!people.empty() && !present("IPLS")) {
            Fields f;
            f.kind = FrameKind::PeopleList;
            f.values = std::move(people);
            Frame ipls;
            ipls.id = ipls.sourceId = "IPLS";
            ipls.payload = EncodeFields("IPLS", f, peopleEncoding);
            const std::string key = keyed ? FrameKey(ipls) : std::string();
            if (!(merging && keys.count(key))) {
                if (keyed) keys.insert(key);
                ReadBack(f, ipls.payload, peopleEncoding);
                const auto at = static_cast<std::ptrdiff_t>(peopleAt);
                result.frames.insert(result.frames.begin() + at, std::move(ipls));
                result.fields.insert(result.fields.begin() + at, std::move(f));
            }
        }
    }
};

}  // namespace

Frame NormalizeFrame(const Frame& src) {
    Frame out;
    Fields fields;
    NormalizeInto(src, out, fields);
    return out;
}

std::string FrameKey(const Frame& frame) {
    const auto whole = [&] { return frame.id + '\x01' + std::string(frame.payload.begin(), frame.payload.end()); };
    const auto f = frame.encrypted ? std::nullopt : TryDecodeFields(frame);
    if (!f) return whole();
    switch (f->kind) {
        case FrameKind::UserText:
        case FrameKind::UserUrl:
        case FrameKind::Object:
            return frame.id + '\x01' + f->desc;
        case FrameKind::Comment:
            return frame.id + '\x01' + f->lang + '\x01' + f->desc;
        case FrameKind::Picture:
            return frame.id + '\x01' + std::to_string(f->pictureType.value_or(0)) + '\x01' + f->desc;
        case FrameKind::Private:
            return frame.id + '\x01' + f->owner + (frame.id == "PRIV" ? '\x01' + std::string(f->data.begin(), f->data.end()) : "");
        case FrameKind::Popularimeter:
            return frame.id + '\x01' + f->email;
        case FrameKind::Binary:
            return whole();
        default:
            return frame.id;
    }
}

NormalizedFrames NormalizeToV23(const FileTags& tags, const NormalizeOptions& options) {
    Builder b;
    const size_t sources = (options.followingTags ? tags.prepended.size() : std::min<size_t>(1, tags.prepended.size())) +
                           (tags.appended && options.appendedTag ? 1 : 0) +
                           (options.trailingFields && (tags.id3v1 || tags.lyrics3) ? 1 : 0);
    b.keyed = sources > 1;
    for (size_t i = 0; i < tags.prepended.size(); ++i) {
        if (i > 0 && !options.followingTags) break;
        b.merging = i > 0;
        b.addTag(tags.prepended[i].frames);
    }
    if (tags.appended && options.appendedTag) {
        b.merging = !b.result.frames.empty();
        b.addTag(tags.appended->frames);
    }
    if (options.trailingFields) {
        b.merging = !b.result.frames.empty();
        b.addTag(FramesFromTrailingTags(tags));
    }
    return std::move(b.result);
}

}  // namespace tagvera::id3v2
