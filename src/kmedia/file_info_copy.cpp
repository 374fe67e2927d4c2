#include "kmedia/file_info_copy.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/byte_reader.h"
#include "kmedia/logical_stream.h"

namespace tagvera::kmedia {
namespace {

constexpr std::string_view kTagName = "KJMDTag";
constexpr size_t kPiece = 2048;
// The record around the name: its length byte before it; after it the type (4 bytes) and the
// value's length (2 bytes).
constexpr size_t kAfterName = 6;

}  // namespace

std::optional<FileInfoCopy> FindFileInfoCopy(ByteSource& file, const KmHeaders& headers, size_t blockSize) {
    const MediaPropertiesObject* info = headers.FileInfo();
    const ObjectPlace* place = headers.FileInfoPlace();
    if (!info || !place) return std::nullopt;
    const LogicalStreamRecord record = LogicalStreamRecord::Read(info->typeSpecific);
    const NameValueProperty* tag = record.Find(kTagName);
    if (!tag || tag->type != NameValueProperty::kBuffer || tag->value.size() < blockSize) return std::nullopt;
    uint32_t sections = 0;
    if (const NameValueProperty* count = record.Find("KJMDSections"); count && count->AsNumber(&sections) && sections >= 2)
        return std::nullopt;

    const uint64_t begin = place->offset, end = std::min<uint64_t>(place->offset + place->header.size, file.size());
    const uint64_t size = tag->value.size(), recordTail = kTagName.size() + kAfterName;
    for (uint64_t at = begin; at < end; at += kPiece) {
        // A piece is read with the length byte before it and the record bytes after its last
        // byte, so that a name across two pieces is still found.
        const uint64_t from = at == begin ? at : at - 1;
        const uint64_t to = std::min<uint64_t>(at + kPiece + recordTail, end);
        const std::vector<uint8_t> piece = file.readExact(from, static_cast<size_t>(to - from));
        for (uint64_t p = std::max<uint64_t>(at, begin + 1); p < at + kPiece && p + recordTail <= to; ++p) {
            const uint8_t* name = &piece[p - from];
            if (std::memcmp(name, kTagName.data(), kTagName.size()) != 0) continue;
            ByteReader after(name + kTagName.size(), kAfterName);
            if (name[-1] == kTagName.size() && after.u32be() == NameValueProperty::kBuffer && after.u16be() == size &&
                p + recordTail + size <= end)
                return FileInfoCopy{p + recordTail, static_cast<uint32_t>(size)};
        }
    }
    return std::nullopt;
}

std::vector<uint8_t> FileInfoCopyBytes(std::span<const uint8_t> block, const FileInfoCopy& copy) {
    std::vector<uint8_t> out(block.begin(), block.end());
    out.resize(copy.valueSize, 0);
    return out;
}

}  // namespace tagvera::kmedia
