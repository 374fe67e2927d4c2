#include "tags/id3v2/trailing_tags.h"

#include <algorithm>
#include <string>

#include "tags/id3v2/text_encoding.h"
#include "platform/text.h"

namespace tagvera::id3v2 {

namespace {

constexpr size_t kId3v1Size = 128;
constexpr size_t kLyrics3v2TrailerSize = 15;   // six-digit size + "LYRICS200"
constexpr size_t kLyrics3v1MaxSize = 5100 + 11 + 9;

std::string Field(std::span<const uint8_t> b) {
    size_t n = 0;
    while (n < b.size() && b[n] != 0) ++n;
    while (n > 0 && b[n - 1] == ' ') --n;
    return text::Latin1ToUtf8(b.first(n));
}

bool ParseDigits(std::span<const uint8_t> b, uint64_t& value) {
    value = 0;
    if (b.empty()) return false;
    for (uint8_t c : b) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    return true;
}

bool Equals(std::span<const uint8_t> b, std::string_view s) {
    return b.size() == s.size() && std::equal(s.begin(), s.end(), b.begin(), [](char c, uint8_t x) { return uint8_t(c) == x; });
}

// Lyrics3 text uses CR LF line ends.
std::string LyricsText(std::span<const uint8_t> b) {
    std::string s = text::Latin1ToUtf8(b);
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') continue;
        out += s[i];
    }
    return out;
}

std::optional<Lyrics3> ParseLyrics3v2(ByteSource& source, uint64_t end) {
    if (end < kLyrics3v2TrailerSize) return std::nullopt;
    const auto trailer = source.readExact(end - kLyrics3v2TrailerSize, kLyrics3v2TrailerSize);
    if (!Equals(std::span(trailer).subspan(6), "LYRICS200")) return std::nullopt;
    uint64_t size = 0;
    if (!ParseDigits(std::span(trailer).first(6), size)) throw Error(TV_E_FAIL, "Lyrics3 size is not a number");
    if (size < 11 || size > end - kLyrics3v2TrailerSize) throw Error(TV_E_FAIL, "Lyrics3 block beyond the file");
    const auto block = source.readExact(end - kLyrics3v2TrailerSize - size, static_cast<size_t>(size));
    std::span<const uint8_t> b(block);
    if (!Equals(b.first(11), "LYRICSBEGIN")) throw Error(TV_E_FAIL, "Lyrics3 block without LYRICSBEGIN");
    Lyrics3 l;
    l.version = 2;
    l.size = size + kLyrics3v2TrailerSize;
    b = b.subspan(11);
    while (!b.empty()) {
        uint64_t fieldSize = 0;
        if (b.size() < 8 || !ParseDigits(b.subspan(3, 5), fieldSize)) throw Error(TV_E_FAIL, "Lyrics3 field header broken");
        if (fieldSize > b.size() - 8) throw Error(TV_E_FAIL, "Lyrics3 field beyond the block");
        std::string id(reinterpret_cast<const char*>(b.data()), 3);
        const auto data = b.subspan(8, static_cast<size_t>(fieldSize));
        l.fields.emplace_back(id, id == "LYR" || id == "INF" ? LyricsText(data) : text::Latin1ToUtf8(data));
        b = b.subspan(8 + static_cast<size_t>(fieldSize));
    }
    return l;
}

std::optional<Lyrics3> ParseLyrics3v1(ByteSource& source, uint64_t end) {
    if (end < 20) return std::nullopt;
    const auto marker = source.readExact(end - 9, 9);
    if (!Equals(marker, "LYRICSEND")) return std::nullopt;
    const size_t window = static_cast<size_t>(std::min<uint64_t>(end - 9, kLyrics3v1MaxSize));
    const auto bytes = source.readExact(end - 9 - window, window);
    const std::string_view s(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const size_t begin = s.rfind("LYRICSBEGIN");
    if (begin == std::string_view::npos) throw Error(TV_E_FAIL, "Lyrics3 v1 block without LYRICSBEGIN");
    Lyrics3 l;
    l.version = 1;
    l.size = window - begin + 9;
    l.fields.emplace_back("LYR", LyricsText(std::span(bytes).subspan(begin + 11)));
    return l;
}

}  // namespace

std::optional<Id3v1> ParseId3v1(std::span<const uint8_t> r) {
    if (r.size() != kId3v1Size || !Equals(r.first(3), "TAG")) return std::nullopt;
    Id3v1 t;
    t.title = Field(r.subspan(3, 30));
    t.artist = Field(r.subspan(33, 30));
    t.album = Field(r.subspan(63, 30));
    t.year = Field(r.subspan(93, 4));
    if (r[125] == 0 && r[126] != 0) {
        t.track = r[126];
        t.comment = Field(r.subspan(97, 28));
    } else {
        t.comment = Field(r.subspan(97, 30));
    }
    t.genre = r[127];
    return t;
}

void ReadTrailingTags(ByteSource& source, FileTags& tags, const ReadLimits& limits) {
    uint64_t end = source.size();
    // Nothing at the end can overlap the tags at the start.
    const uint64_t floor = tags.prependedSize;
    if (end - floor >= kId3v1Size) {
        const auto record = source.readExact(end - kId3v1Size, kId3v1Size);
        tags.id3v1 = ParseId3v1(record);
        if (tags.id3v1) end -= kId3v1Size;
    }
    try {
        tags.lyrics3 = ParseLyrics3v2(source, end);
        if (!tags.lyrics3) tags.lyrics3 = ParseLyrics3v1(source, end);
        if (tags.lyrics3) {
            if (tags.lyrics3->size > end - floor) throw Error(TV_E_FAIL, "Lyrics3 block overlaps the ID3v2 tag");
            end -= tags.lyrics3->size;
        }
    } catch (const Error& e) {
        tags.lyrics3.reset();
        tags.skipped.push_back(std::string("Lyrics3: ") + e.what());
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
                tags.skipped.push_back(std::string("appended ID3v2 tag: ") + e.what());
            }
        }
    }
}

std::string Id3v1VersionText(const FileTags& tags) {
    if (!tags.id3v1) return {};
    return tags.id3v1->isV11() ? "1.1" : "1.0";
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
    const Lyrics3* l3 = tags.lyrics3 ? &*tags.lyrics3 : nullptr;
    auto pick = [&](const char* lyricsId, const std::string* v1) -> std::pair<std::string, FrameOrigin> {
        if (l3)
            if (const std::string* v = l3->find(lyricsId); v && !v->empty()) return {*v, FrameOrigin::Lyrics3};
        return {v1 ? *v1 : std::string(), FrameOrigin::Id3v1};
    };
    const Id3v1* v1 = tags.id3v1 ? &*tags.id3v1 : nullptr;
    {
        auto [t, o] = pick("ETT", v1 ? &v1->title : nullptr);
        text("TIT2", o, t);
    }
    {
        auto [t, o] = pick("EAR", v1 ? &v1->artist : nullptr);
        text("TPE1", o, t);
    }
    {
        auto [t, o] = pick("EAL", v1 ? &v1->album : nullptr);
        text("TALB", o, t);
    }
    if (v1) {
        text("TYER", FrameOrigin::Id3v1, v1->year);
        comment("COMM", FrameOrigin::Id3v1, "", v1->comment);
        if (v1->track) text("TRCK", FrameOrigin::Id3v1, std::to_string(*v1->track));
        if (v1->genre != 255) text("TCON", FrameOrigin::Id3v1, "(" + std::to_string(v1->genre) + ")");
    }
    if (l3) {
        if (const std::string* v = l3->find("LYR")) comment("USLT", FrameOrigin::Lyrics3, "", *v);
        if (const std::string* v = l3->find("AUT")) text("TEXT", FrameOrigin::Lyrics3, *v);
        if (const std::string* v = l3->find("INF")) comment("COMM", FrameOrigin::Lyrics3, "Lyrics3 information", *v);
    }
    return frames;
}

}  // namespace tagvera::id3v2
