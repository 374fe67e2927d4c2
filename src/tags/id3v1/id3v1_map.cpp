#include "tags/id3v1/id3v1_map.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/error.h"
#include "metaprop/genre_table.h"
#include "metaprop/node_access.h"
#include "platform/text.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

namespace {

using TextGetter = HRESULT (TV_STDCALL IMPAFileProperties::*)(char*, uint32_t*);
using TextSetter = HRESULT (TV_STDCALL IMPAFileProperties::*)(const char*);

// Held: readable, or only too long for the probe buffer.
bool Holds(IMPAFileProperties* props, TextGetter get) {
    char buffer[256];
    uint32_t size = sizeof(buffer);
    const HRESULT hr = (props->*get)(buffer, &size);
    return Succeeded(hr) || hr == TV_E_BUFFERTOOSMALL;
}

HRESULT SetIfMissing(IMPAFileProperties* props, TextGetter get, TextSetter set, const std::string& value) {
    if (value.empty() || Holds(props, get)) return TV_S_OK;
    return (props->*set)(value.c_str());
}

std::string FromLatin1(const std::string& raw) {
    return text::Utf8ToAnsi(
        text::Latin1ToUtf8(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(raw.data()), raw.size())));
}

ComPtr<IMPAMetaProperty> Child(IMPAMetaProperty* node, const char* path) {
    ComPtr<IMPAMetaProperty> found;
    if (Failed(node->FindFirstChild(path, found.put()))) found.reset();
    return found;
}

HRESULT MergeYear(IMPAMetaProperty* tree, uint32_t year) {
    ComPtr<IMPAMetaProperty> track = Child(tree, kGroupTrack);
    if (!track) {
        const HRESULT hr = tree->AddGroup(kGroupTrack, 0, true, track.put());
        if (Failed(hr)) return hr;
        if (!track) return TV_E_FAIL;
    }
    if (Child(track.get(), "Year")) return TV_S_OK;
    return track->AddNumber("Year", year, 0, false, nullptr);
}

// The value of a text node as the interfaces' 8-bit text (without its terminator).
std::string TextValue(IMPAMetaProperty* property) { return std::string(ValueText(ValueOf(property))); }

bool NumberValue(IMPAMetaProperty* property, uint32_t* value) {
    const auto v = ValueOf(property);
    if (v.size() < 4) return false;
    *value = uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24;
    return true;
}

bool IsText(uint32_t type) { return type == kTypeText || type == kTypeTextList; }

// Leading decimal digits, as a text value read as a number; 0 when there are none.
uint32_t LeadingNumber(const std::string& s) {
    size_t pos = 0;
    while (pos < s.size() && (s[pos] == ' ' || s[pos] == '\t')) ++pos;
    uint64_t v = 0;
    for (; pos < s.size() && s[pos] >= '0' && s[pos] <= '9'; ++pos) {
        v = v * 10 + uint64_t(s[pos] - '0');
        if (v > UINT32_MAX) return UINT32_MAX;
    }
    return static_cast<uint32_t>(v);
}

}  // namespace

HRESULT MergeId3v1Tag(const Id3v1Tag& tag, IMPAMetaProperty* tree, const Lyrics3Tag* lyrics3) {
    if (!tree) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        auto props = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
        if (!props) return TV_E_NOINTERFACE;
        auto extended = [&](const char* id, size_t offset) {
            const std::string* longer = lyrics3 ? lyrics3->Find(id) : nullptr;
            return longer && !longer->empty() ? FromLatin1(*longer) : tag.Text(offset);
        };
        HRESULT hr = TV_S_OK;
        auto step = [&](HRESULT r) {
            if (Failed(r) && Succeeded(hr)) hr = r;
        };
        IMPAFileProperties* p = props.get();
        step(SetIfMissing(p, &IMPAFileProperties::GetTitle, &IMPAFileProperties::SetTitle,
                          extended("ETT", Id3v1Tag::kTitle)));
        step(SetIfMissing(p, &IMPAFileProperties::GetArtist, &IMPAFileProperties::SetArtist,
                          extended("EAR", Id3v1Tag::kArtist)));
        step(SetIfMissing(p, &IMPAFileProperties::GetAlbum, &IMPAFileProperties::SetAlbum,
                          extended("EAL", Id3v1Tag::kAlbum)));
        step(SetIfMissing(p, &IMPAFileProperties::GetComments, &IMPAFileProperties::SetComments,
                          tag.Text(Id3v1Tag::kComment)));
        // Numbers past the table name no genre; an empty name would only hide a later source's.
        if (tag.Genre() != kNoGenre)
            step(SetIfMissing(p, &IMPAFileProperties::GetGenre, &IMPAFileProperties::SetGenre,
                              GenreNameFromIndex(tag.Genre())));
        if (tag.Track() != 0) {
            uint32_t existing = 0;
            if (Failed(p->GetTrackNumber(&existing))) step(p->SetTrackNumber(tag.Track()));
        }
        if (tag.Year() != 0) step(MergeYear(tree, tag.Year()));
        return hr;
    });
}

HRESULT MergeId3v1Tag(ByteSource& file, IMPAMetaProperty* tree) {
    if (!tree) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        Id3v1Tag tag;
        const HRESULT hr = ReadId3v1Tag(file, &tag);
        if (Failed(hr)) return hr;
        Lyrics3Tag lyrics3;
        const bool hasLyrics3 = ReadLyrics3v2Tag(file, file.size() - kId3v1Size, &lyrics3);
        return MergeId3v1Tag(tag, tree, hasLyrics3 ? &lyrics3 : nullptr);
    });
}

HRESULT PropertyToTagText(IMPAMetaProperty* property, uint8_t* field, size_t capacity, bool force) {
    if (!property || !field) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        const uint32_t state = ChangedOf(property);
        if (state == kDeleted) {
            std::memset(field, 0, capacity);
            return TV_S_OK;
        }
        if (state != kChanged && !force) return TV_S_OK;
        std::memset(field, 0, capacity);
        const uint32_t type = TypeOf(property);
        std::string rendered;
        uint32_t number = 0;
        if (IsText(type)) {
            rendered = text::Utf8ToLatin1(text::AnsiToUtf8(TextValue(property)));
        } else if (type == kTypeNumber && NumberValue(property, &number)) {
            // All the digits the field holds: a year of 1999 needs the four of them.
            rendered = std::to_string(number);
        }
        std::memcpy(field, rendered.data(), std::min(rendered.size(), capacity));
        return TV_S_OK;
    });
}

HRESULT UpdateId3v1FromTree(Id3v1Tag* record, IMPAMetaProperty* tree, bool force) {
    if (!record || !tree) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        auto& b = record->bytes;
        auto render = [&](const char* path, size_t offset, size_t width) -> HRESULT {
            auto property = Child(tree, path);
            return property ? PropertyToTagText(property.get(), &b[offset], width, force) : TV_S_OK;
        };
        HRESULT hr = render("Track:Name", Id3v1Tag::kTitle, Id3v1Tag::kTextWidth);
        if (Succeeded(hr)) hr = render("Track:Comments", Id3v1Tag::kComment, Id3v1Tag::kTextWidth);
        if (Succeeded(hr)) hr = render("Track:Year", Id3v1Tag::kYear, Id3v1Tag::kYearWidth);
        if (Failed(hr)) return hr;

        if (auto genre = Child(tree, "Track:Genre")) {
            const uint32_t state = ChangedOf(genre.get());
            if (state == kDeleted) {
                b[Id3v1Tag::kGenre] = kNoGenre;
            } else if (state == kChanged || force) {
                b[Id3v1Tag::kGenre] = kNoGenre;
                // A name, or a number as ID3v2 writes it ("17", "(17)").
                if (IsText(TypeOf(genre.get())))
                    b[Id3v1Tag::kGenre] = GenreIndexFromName(GenreFromTagText(TextValue(genre.get())));
            }
        }
        if (auto track = Child(tree, "Track:CD Track #")) {
            const uint32_t state = ChangedOf(track.get());
            if (state == kDeleted) {
                if (record->IsV11()) b[Id3v1Tag::kTrack] = 0;
            } else if (state == kChanged || force) {
                b[Id3v1Tag::kTrackMarker] = 0;
                b[Id3v1Tag::kTrack] = 0;
                const uint32_t type = TypeOf(track.get());
                uint32_t n = 0;
                if (IsText(type)) n = LeadingNumber(TextValue(track.get()));
                else if (type == kTypeNumber) NumberValue(track.get(), &n);
                if (n >= 1 && n <= 100) b[Id3v1Tag::kTrack] = static_cast<uint8_t>(n);
            }
        }
        hr = render("Artist:Name", Id3v1Tag::kArtist, Id3v1Tag::kTextWidth);
        if (Succeeded(hr)) hr = render("Album:Name", Id3v1Tag::kAlbum, Id3v1Tag::kTextWidth);
        return hr;
    });
}

std::vector<CatalogEntry> Id3v1Catalog() {
    return {{"Track:Name", "text", true, "ID3v1 title"},     {"Artist:Name", "text", true, "ID3v1 artist"},
            {"Album:Name", "text", true, "ID3v1 album"},     {"Track:Comments", "text", true, "ID3v1 comment"},
            {"Track:Year", "year", true, "ID3v1 year"},      {"Track:Genre", "text", true, "ID3v1 genre"},
            {"Track:CD Track #", "track", true, "ID3v1.1 track"}};
}

}  // namespace tagvera
