// CImportKMJFile: the jukebox block, from the trailer at the end of the file or, without one,
// from the "KJMDTag" copy (and its sections) in the file-info stream; and the on-demand data the
// block holds.
#include <cstring>

#include "base/error.h"
#include "kmedia/kmj_importer.h"
#include "kmedia/logical_stream.h"
#include "kmedia/trailer.h"

namespace tagvera {
namespace {

// More sections than this is a damaged count, not a block.
constexpr uint32_t kMaxSections = 65537;
// A block larger than this is not read into memory.
constexpr uint32_t kMaxBlock = 64u << 20;
constexpr char kTagName[] = "KJMDTag";

}  // namespace

std::vector<uint8_t> CImportKMJFile::FileInfoBlock() const {
    kmedia::LogicalStreamRecord record;
    record.properties = edit_->FileInfo();
    const kmedia::NameValueProperty* tag = record.Find(kTagName);
    if (!tag || tag->type != kmedia::NameValueProperty::kBuffer) return {};
    std::vector<uint8_t> block = tag->value;
    uint32_t sections = 0;
    const kmedia::NameValueProperty* count = record.Find("KJMDSections");
    if (count && count->AsNumber(&sections) && sections >= 2) {
        if (sections > kMaxSections) throw Error(TV_E_FAIL, "more than 65,537 jukebox sections");
        // Only sections present in the record can be joined, so the loop ends at its property count.
        for (uint32_t n = 2; n <= sections && n - 1 <= record.properties.size(); ++n) {
            const auto* part = record.Find(kTagName + std::to_string(n));
            if (part && part->type == kmedia::NameValueProperty::kBuffer)
                block.insert(block.end(), part->value.begin(), part->value.end());
        }
    }
    return block;
}

HRESULT CImportKMJFile::LoadJukebox() {
    if (!edit_) return TV_E_NOTLOADED;
    if (jukeboxLoaded_) return TV_S_OK;
    if (!jukebox_) return TV_E_NOTLOADED;
    return Guard([&] { return LoadJukeboxImpl(); });
}

HRESULT CImportKMJFile::LoadJukeboxImpl() {
    std::vector<uint8_t> block;
    if (const auto trailer = kmedia::FindTrailer(*tail_); trailer && trailer->blockSize <= kMaxBlock)
        block = tail_->readExact(trailer->blockOffset, trailer->blockSize);
    else
        block = FileInfoBlock();
    if (block.size() < 4 || std::memcmp(block.data(), "KJMD", 4) != 0) return TV_S_OK;
    jukeboxPresent_ = true;
    if (const HRESULT hr = jukebox_->Parse(block.data(), static_cast<uint32_t>(block.size())); Failed(hr)) return hr;
    jukeboxLoaded_ = true;
    return jukebox_->CopyToTree(tree_.get());
}

HRESULT CImportKMJFile::GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) {
    if (!property || !buffer) return TV_E_POINTER;
    if (const HRESULT hr = LoadJukebox(); Failed(hr)) return hr;
    return jukebox_->GetPropertyData(property, buffer, size);
}

HRESULT CImportKMJFile::SavePropertyData(IMPAMetaProperty* property, const char* path) {
    if (!property || !path) return TV_E_POINTER;
    if (!jukebox_) return TV_E_NOTLOADED;
    if (const HRESULT hr = LoadJukebox(); Failed(hr)) return hr;
    return jukebox_->SavePropertyData(property, path);
}

}  // namespace tagvera
