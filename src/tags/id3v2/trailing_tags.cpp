#include "tags/id3v2/trailing_tags.h"

#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "tags/id3v2/text_encoding.h"
#include "platform/text.h"

namespace tagvera::id3v2 {

namespace {

std::string Latin1(std::string_view s) {
    return text::Latin1ToUtf8(std::span(reinterpret_cast<const uint8_t*>(s.data()), s.size()));
}

// An ID3v1 field as UTF-8, without the spaces that pad it.
std::string Id3v1Text(const Id3v1Tag& record, size_t offset, size_t width = Id3v1Tag::kTextWidth) {
    std::string field = record.Field(offset, width);
    while (!field.empty() && field.back() == ' ') field.pop_back();
    return Latin1(field);
}

// A Lyrics3 field as UTF-8, or null; lyrics and information use CR LF line ends, which become LF.
std::optional<std::string> Lyrics3Text(const std::optional<Lyrics3Tag>& lyrics3, std::string_view id) {
    const std::string* raw = lyrics3 ? lyrics3->Find(id) : nullptr;
    if (!raw) return std::nullopt;
    std::string s = Latin1(*raw);
    if (id == "LYR" || id == "INF") {
        std::string out;
        out.reserve(s.size());
        for (size_t i = 0; i < s.size(); ++i)
            if (!(s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n')) out += s[i];
        s = std::move(out);
    }
    return s;
}

// A block that does not parse and a read of the file that fails both throw Error; only the first
// is the block's damage. This remembers the second, for the caller to fail with it.
class ReadFailureWitness final : public ByteSource {
public:
    explicit ReadFailureWitness(ByteSource& source) : source_(source) {}
    uint64_t size() const override { return source_.size(); }
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        try {
            return source_.readAt(offset, out);
        } catch (...) {
            failure_ = std::current_exception();
            throw;
        }
    }
    void RethrowReadFailure() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    ByteSource& source_;
    std::exception_ptr failure_;
};

// A Lyrics3 block (v2, else v1) ending at end, or the reason it could not be read in problem.
std::optional<Lyrics3Tag> ReadLyrics3(ReadFailureWitness& source, uint64_t end, std::string& problem) {
    Lyrics3Tag block;
    try {
        if (ReadLyrics3v2Tag(source, end, &block, true, &problem)) return block;
        if (problem.empty() && ReadLyrics3v1Tag(source, end, &block, &problem)) return block;
    } catch (const Error& e) {
        source.RethrowReadFailure();
        problem = e.what();  // sizes that point past the file
    }
    return std::nullopt;
}

}  // namespace

void ReadTrailingTags(ByteSource& file, FileTags& tags, const ReadLimits& limits) {
    ReadFailureWitness source(file);
    uint64_t end = source.size();
    // Nothing at the end can overlap the tags at the start.
    const uint64_t floor = tags.prependedSize;
    if (end - floor >= kId3v1Size) {
        Id3v1Tag record;
        // The track byte counts as it stands, a space too.
        if (ParseId3v1Tag(source.readExact(end - kId3v1Size, kId3v1Size), &record, Id3v1Padding::Keep)) {
            tags.id3v1 = record;
            end -= kId3v1Size;
        }
    }
    std::string problem;
    tags.lyrics3 = ReadLyrics3(source, end, problem);
    if (tags.lyrics3 && tags.lyrics3->size > end - floor) problem = "Lyrics3 block overlaps the ID3v2 tag";
    if (!problem.empty()) {
        tags.lyrics3.reset();
        tags.skipped.push_back("Lyrics3: " + problem);
    } else if (tags.lyrics3) {
        end -= tags.lyrics3->size;
    }
    // An ID3v2.4 tag may sit at the end, found by its footer.
    if (end - floor >= 2 * kHeaderSize) {
        auto footer = source.readExact(end - kHeaderSize, kHeaderSize);
        if (footer[0] == '3' && footer[1] == 'D' && footer[2] == 'I') {
            footer[0] = 'I', footer[1] = 'D', footer[2] = '3';
            const auto header = ParseTagHeader(footer);
            try {
                if (!header) throw Error(TV_E_FAIL, "footer is not valid");
                const uint64_t total = header->totalSize();
                if (total > end - floor) throw Error(TV_E_FAIL, "tag beyond the start of the file");
                const auto bytes = source.readExact(end - total, static_cast<size_t>(total));
                tags.appended = ParseTag(bytes, end - total, limits);
            } catch (const Error& e) {
                source.RethrowReadFailure();
                tags.skipped.push_back(std::string("appended ID3v2 tag: ") + e.what());
            }
        }
    }
}

std::string Id3v1VersionText(const FileTags& tags) {
    if (!tags.id3v1) return {};
    return tags.id3v1->IsV11() ? "1.1" : "1.0";
}

std::vector<Frame> FramesFromTrailingTags(const FileTags& tags) {
    std::vector<Frame> frames;
    auto add = [&](const char* id, FrameOrigin origin, std::vector<uint8_t> payload) {
        Frame f;
        f.id = f.sourceId = id;
        f.version = 3;
        f.origin = origin;
        f.payload = std::move(payload);
        frames.push_back(std::move(f));
    };
    // Fields become UTF-16 text frames so that every character of the Latin-1 source survives.
    auto text = [&](const char* id, FrameOrigin origin, const std::string& value) {
        if (value.empty()) return;
        std::vector<uint8_t> p{uint8_t(TextEncoding::Utf16)};
        const auto enc = EncodeText(value, TextEncoding::Utf16);
        p.insert(p.end(), enc.begin(), enc.end());
        add(id, origin, std::move(p));
    };
    auto comment = [&](const char* id, FrameOrigin origin, const std::string& desc, const std::string& value) {
        if (value.empty()) return;
        std::vector<uint8_t> p{uint8_t(TextEncoding::Utf16), 'X', 'X', 'X'};
        auto d = EncodeText(desc, TextEncoding::Utf16);
        p.insert(p.end(), d.begin(), d.end());
        AppendTerminator(p, TextEncoding::Utf16);
        const auto enc = EncodeText(value, TextEncoding::Utf16);
        p.insert(p.end(), enc.begin(), enc.end());
        add(id, origin, std::move(p));
    };
    const std::optional<Id3v1Tag>& v1 = tags.id3v1;
    auto pick = [&](const char* lyricsId, size_t id3v1Field) -> std::pair<std::string, FrameOrigin> {
        if (auto v = Lyrics3Text(tags.lyrics3, lyricsId); v && !v->empty()) return {*v, FrameOrigin::Lyrics3};
        return {v1 ? Id3v1Text(*v1, id3v1Field) : std::string(), FrameOrigin::Id3v1};
    };
    {
        auto [t, o] = pick("ETT", Id3v1Tag::kTitle);
        text("TIT2", o, t);
    }
    {
        auto [t, o] = pick("EAR", Id3v1Tag::kArtist);
        text("TPE1", o, t);
    }
    {
        auto [t, o] = pick("EAL", Id3v1Tag::kAlbum);
        text("TALB", o, t);
    }
    if (v1) {
        text("TYER", FrameOrigin::Id3v1, Id3v1Text(*v1, Id3v1Tag::kYear, Id3v1Tag::kYearWidth));
        comment("COMM", FrameOrigin::Id3v1, "", Id3v1Text(*v1, Id3v1Tag::kComment));
        if (v1->Track()) text("TRCK", FrameOrigin::Id3v1, std::to_string(v1->Track()));
        if (v1->Genre() != 255) text("TCON", FrameOrigin::Id3v1, "(" + std::to_string(v1->Genre()) + ")");
    }
    if (const auto v = Lyrics3Text(tags.lyrics3, "LYR")) comment("USLT", FrameOrigin::Lyrics3, "", *v);
    if (const auto v = Lyrics3Text(tags.lyrics3, "AUT")) text("TEXT", FrameOrigin::Lyrics3, *v);
    if (const auto v = Lyrics3Text(tags.lyrics3, "INF")) comment("COMM", FrameOrigin::Lyrics3, "Lyrics3 information", *v);
    return frames;
}

}  // namespace tagvera::id3v2
