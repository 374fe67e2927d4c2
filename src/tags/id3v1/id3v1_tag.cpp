#include "tags/id3v1/id3v1_tag.h"

#include <cstring>

#include "platform/file.h"
#include "platform/safe_write.h"
#include "platform/text.h"

namespace tagvera {

std::string Id3v1Tag::Field(size_t offset, size_t width) const {
    if (offset >= kId3v1Size) return {};
    if (width > kId3v1Size - offset) width = kId3v1Size - offset;
    size_t n = 0;
    while (n < width && bytes[offset + n] != 0) ++n;
    return std::string(reinterpret_cast<const char*>(bytes.data() + offset), n);
}

std::string Id3v1Tag::Text(size_t offset, size_t width) const {
    const std::string raw = Field(offset, width);
    return text::Utf8ToAnsi(
        text::Latin1ToUtf8(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(raw.data()), raw.size())));
}

uint32_t Id3v1Tag::Year() const {
    uint32_t year = 0;
    for (size_t i = 0; i < kYearWidth && bytes[kYear + i] >= '0' && bytes[kYear + i] <= '9'; ++i)
        year = year * 10 + (bytes[kYear + i] - '0');
    return year;
}

Id3v1Tag BlankId3v1Tag() {
    Id3v1Tag tag;
    std::memcpy(tag.bytes.data(), "TAG", 3);
    tag.bytes[Id3v1Tag::kGenre] = 255;
    return tag;
}

namespace {

// Fields are padded with spaces, NULs, or spaces and then NULs ("Rock   " in a zeroed field).
void TrimTrailingSpaces(std::array<uint8_t, kId3v1Size>& b, size_t offset, size_t width) {
    for (size_t i = offset + width; i > offset && (b[i - 1] == ' ' || b[i - 1] == 0); --i) b[i - 1] = 0;
}

}  // namespace

bool ParseId3v1Tag(std::span<const uint8_t> record, Id3v1Tag* out, Id3v1Padding padding) {
    *out = Id3v1Tag{};
    if (record.size() != kId3v1Size || std::memcmp(record.data(), "TAG", 3) != 0) return false;
    std::memcpy(out->bytes.data(), record.data(), kId3v1Size);
    if (padding == Id3v1Padding::Keep) return true;
    TrimTrailingSpaces(out->bytes, Id3v1Tag::kTitle, Id3v1Tag::kTextWidth);
    TrimTrailingSpaces(out->bytes, Id3v1Tag::kArtist, Id3v1Tag::kTextWidth);
    TrimTrailingSpaces(out->bytes, Id3v1Tag::kAlbum, Id3v1Tag::kTextWidth);
    TrimTrailingSpaces(out->bytes, Id3v1Tag::kYear, Id3v1Tag::kYearWidth);
    TrimTrailingSpaces(out->bytes, Id3v1Tag::kComment, Id3v1Tag::kTextWidth);
    return true;
}

HRESULT ReadId3v1Tag(ByteSource& file, Id3v1Tag* out) {
    *out = Id3v1Tag{};
    const uint64_t size = file.size();
    if (size < kId3v1Size) return TV_E_FAIL;
    std::array<uint8_t, kId3v1Size> record{};
    if (file.readAt(size - kId3v1Size, record) != kId3v1Size) return TV_E_FAIL;
    return ParseId3v1Tag(record, out) ? TV_S_OK : TV_E_FAIL;
}

bool EndsWithId3v1Tag(ByteSource& file) {
    const uint64_t size = file.size();
    uint8_t head[3] = {};
    return size >= kId3v1Size && file.readAt(size - kId3v1Size, head) == 3 && std::memcmp(head, "TAG", 3) == 0;
}

HRESULT Id3v1WriteOffset(ByteSource& file, uint64_t* offset, bool* replacesTag) {
    const uint64_t size = file.size();
    const bool replaces = EndsWithId3v1Tag(file);
    const uint64_t at = replaces ? size - kId3v1Size : size;
    if (replacesTag) *replacesTag = replaces;
    if (offset) *offset = at;
    return at > 0 ? TV_S_OK : TV_E_FAIL;
}

HRESULT WriteId3v1Tag(const std::string& path, const Id3v1Tag& record, platform::Durability durability) {
    return Guard([&]() -> HRESULT {
        uint64_t offset = 0;
        {
            platform::File file(path, platform::OpenMode::Read);
            const HRESULT hr = Id3v1WriteOffset(file, &offset);
            if (Failed(hr)) return hr;
        }
        const platform::Patch patch{offset, record.bytes};
        platform::PatchInPlace(path, std::span<const platform::Patch>(&patch, 1), durability);
        return TV_S_OK;
    });
}

}  // namespace tagvera
