// The 128-byte ID3v1 / ID3v1.1 record at the end of an MP3 (and KorvaMedia, and recorded) file.
#ifndef TAGVERA_TAGS_ID3V1_ID3V1_TAG_H
#define TAGVERA_TAGS_ID3V1_ID3V1_TAG_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "base/byte_source.h"
#include "platform/safe_write.h"

namespace tagvera {

inline constexpr size_t kId3v1Size = 128;

// The raw record. Text is Latin-1, each field NUL-terminated unless it fills its width.
struct Id3v1Tag {
    static constexpr size_t kTitle = 3;
    static constexpr size_t kArtist = 33;
    static constexpr size_t kAlbum = 63;
    static constexpr size_t kYear = 93;
    static constexpr size_t kComment = 97;
    static constexpr size_t kTrackMarker = 125;  // 0 in ID3v1.1
    static constexpr size_t kTrack = 126;
    static constexpr size_t kGenre = 127;
    static constexpr size_t kTextWidth = 30;
    static constexpr size_t kYearWidth = 4;

    std::array<uint8_t, kId3v1Size> bytes{};

    // The field's bytes up to its first NUL, at most width of them.
    std::string Field(size_t offset, size_t width) const;
    // The same, as the interfaces' 8-bit text.
    std::string Text(size_t offset, size_t width = kTextWidth) const;
    bool IsV11() const { return bytes[kTrackMarker] == 0 && bytes[kTrack] != 0; }
    // The ID3v1.1 track number, 0 when the record has none.
    uint8_t Track() const { return IsV11() ? bytes[kTrack] : 0; }
    uint8_t Genre() const { return bytes[kGenre]; }
    // The decimal value of the year field alone; 0 when it holds no digits.
    uint32_t Year() const;
};

// "TAG", every field zero, genre 255: what an emptied or newly added tag starts from.
Id3v1Tag BlankId3v1Tag();

// How ParseId3v1Tag leaves the padding of text fields. Trim, the record as this package reads and
// writes it: trailing spaces (and NULs) of title, artist, album, year and comment become NULs, the
// comment's over its full 30 bytes, so that an ID3v1.1 track byte of 32 (a space) goes too. Keep:
// the bytes as they stand, for readers that take that track byte as a track.
enum class Id3v1Padding { Trim, Keep };

// Takes a record from its 128 bytes: false without "TAG" (there is no other way for one to be
// malformed).
bool ParseId3v1Tag(std::span<const uint8_t> record, Id3v1Tag* out, Id3v1Padding padding = Id3v1Padding::Trim);

// True when the file's last 128 bytes begin with "TAG": what every reader takes for a record.
// A failing read throws Error.
bool EndsWithId3v1Tag(ByteSource& file);

// The file's last 128 bytes as a record. E_FAIL when the file is shorter or has no tag; a failing
// read throws Error.
HRESULT ReadId3v1Tag(ByteSource& file, Id3v1Tag* out);

// Where a record goes: over the existing tag, or appended at the end. E_FAIL when that position
// is not above 0 (nothing in the file to tag).
HRESULT Id3v1WriteOffset(ByteSource& file, uint64_t* offset, bool* replacesTag = nullptr);

// Writes the record into the file at Id3v1WriteOffset, in place through the safe-write helper
// (synced before returning unless durability says otherwise). E_FAIL when the file cannot be written.
HRESULT WriteId3v1Tag(const std::string& path, const Id3v1Tag& record,
                      platform::Durability durability = platform::Durability::Synced);

}  // namespace tagvera

#endif
