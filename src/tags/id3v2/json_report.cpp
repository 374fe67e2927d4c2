#include "tags/id3v2/json_report.h"

#include "tags/id3v2/fields.h"
#include "tags/id3v2/sha1.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/trailing_tags.h"

namespace tagvera::id3v2 {

std::string JsonQuote(std::string_view s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    static const char* hex = "0123456789abcdef";
                    out += "\\u00";
                    out += hex[c >> 4];
                    out += hex[c & 0xF];
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

namespace {

class ObjectWriter {
public:
    ObjectWriter(std::string& out, int indent) : out_(out), indent_(indent) { out_ += "{"; }
    void key(const char* k) {
        out_ += first_ ? "\n" : ",\n";
        first_ = false;
        out_.append(indent_ + 1, ' ');
        out_ += JsonQuote(k);
        out_ += ": ";
    }
    void str(const char* k, std::string_view v) { key(k), out_ += JsonQuote(v); }
    void num(const char* k, uint64_t v) { key(k), out_ += std::to_string(v); }
    void list(const char* k, const std::vector<std::string>& values) {
        key(k);
        out_ += "[";
        for (size_t i = 0; i < values.size(); ++i) {
            out_ += i ? ",\n" : "\n";
            out_.append(indent_ + 2, ' ');
            out_ += JsonQuote(values[i]);
        }
        if (!values.empty()) {
            out_ += "\n";
            out_.append(indent_ + 1, ' ');
        }
        out_ += "]";
    }
    void end() {
        if (!first_) {
            out_ += "\n";
            out_.append(indent_, ' ');
        }
        out_ += "}";
    }

private:
    std::string& out_;
    int indent_;
    bool first_ = true;
};

void WriteFrame(std::string& out, const Frame& frame, int indent) {
    ObjectWriter o(out, indent);
    o.str("id", frame.id);
    std::string why;
    const std::optional<Fields> decoded = TryDecodeFields(frame, &why);
    if (!decoded) {
        o.str("error", why);
        o.num("size", frame.payload.size());
        o.str("sha1", Sha1Hex(frame.payload));
        o.end();
        return;
    }
    const Fields& f = *decoded;
    switch (f.kind) {
        case FrameKind::Text:
        case FrameKind::PeopleList:
            o.list("text", f.values);
            break;
        case FrameKind::UserText:
            o.str("desc", f.desc);
            o.list("text", f.values);
            break;
        case FrameKind::Comment:
            o.str("lang", f.lang);
            o.str("desc", f.desc);
            o.list("text", f.values);
            break;
        case FrameKind::Url:
            o.str("url", f.url);
            break;
        case FrameKind::UserUrl:
            o.str("desc", f.desc);
            o.str("url", f.url);
            break;
        case FrameKind::Picture:
            o.str("mime", f.mime);
            o.num("type", f.pictureType.value_or(0));
            o.str("desc", f.desc);
            break;
        case FrameKind::Object:
            o.str("mime", f.mime);
            o.str("filename", f.filename);
            o.str("desc", f.desc);
            break;
        case FrameKind::Private:
            o.str("owner", f.owner);
            break;
        case FrameKind::Counter:
            o.num("count", f.counter.value_or(0));
            break;
        case FrameKind::Popularimeter:
            o.str("email", f.email);
            o.num("rating", f.rating.value_or(0));
            if (f.counter) o.num("count", *f.counter);
            break;
        case FrameKind::Binary:
            if (frame.encrypted) o.num("encryption_method", frame.encryptionMethod);
            break;
    }
    switch (f.kind) {
        case FrameKind::Picture:
        case FrameKind::Object:
        case FrameKind::Private:
        case FrameKind::Binary:
            o.num("size", f.data.size());
            o.str("sha1", Sha1Hex(f.data));
            break;
        default:
            break;
    }
    o.end();
}

void WriteFrames(std::string& out, ObjectWriter& o, const char* key, const std::vector<Frame>& frames) {
    o.key(key);
    out += "[";
    for (size_t i = 0; i < frames.size(); ++i) {
        out += i ? ",\n  " : "\n  ";
        WriteFrame(out, frames[i], 2);
    }
    out += frames.empty() ? "]" : "\n ]";
}

}  // namespace

std::string FramesJson(const FileTags& tags) {
    std::string out;
    ObjectWriter o(out, 0);
    std::vector<std::string> warnings = tags.skipped;
    if (const Tag* first = tags.first()) {
        o.str("version", first->versionText());
        WriteFrames(out, o, "frames", first->frames);
        for (const auto& w : first->skipped) warnings.push_back(w);
        if (tags.prepended.size() > 1) {
            std::vector<Frame> later;
            for (size_t i = 1; i < tags.prepended.size(); ++i) {
                later.insert(later.end(), tags.prepended[i].frames.begin(), tags.prepended[i].frames.end());
                for (const auto& w : tags.prepended[i].skipped) warnings.push_back(w);
            }
            WriteFrames(out, o, "second_tag", later);
        }
    } else {
        o.str("version", Id3v1VersionText(tags));
        WriteFrames(out, o, "frames", FramesFromTrailingTags(tags));
    }
    if (!warnings.empty()) o.list("warnings", warnings);
    o.end();
    out += "\n";
    return out;
}

std::string FramesJson(ByteSource& source) { return FramesJson(ReadFileTags(source)); }

}  // namespace tagvera::id3v2
