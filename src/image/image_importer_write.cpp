// CImageMetadataPlugin: writing the table's EXIF properties back. exiv2 (on Windows GDI+, see
// exif_io_windows.cpp) edits a copy of the file in memory; the copy then replaces the file
// through the safe-write helper, so a failure or a kill leaves the old file or the new one.
#include <string>

#include "base/error.h"
#include "image/exif_map.h"
#include "image/exif_table.h"
#include "image/image_importer.h"
#include "image/probe.h"
#include "package/importer_kit/write_report.h"
#include "platform/file_lock.h"
#include "platform/safe_write.h"

namespace tagvera {
namespace {

// exiv2 needs the whole file in memory; pictures beyond this are refused, not half handled.
constexpr uint64_t kMostWrittenBytes = 512u << 20;

std::string PropertyOf(uint16_t tag) {
    const image::ExifRow* row = image::FindExifRow(tag);
    return row ? std::string(row->group) + ":" + row->property : std::string("EXIF tag ") + std::to_string(tag);
}

// What the new bytes must still be: the same picture, readable by the probe.
void CheckSamePicture(std::vector<uint8_t>& written, const image::ImageFacts& before) {
    MemorySource source(written);
    const image::ImageFacts after = image::ProbeImage(source);
    if (after.format != before.format || after.width != before.width || after.height != before.height)
        throw Error(TV_E_FAIL, "the rewritten file is not the same picture");
}

}  // namespace

HRESULT CImageMetadataPlugin::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties*, uint32_t) {
    if (!tree) return TV_E_INVALIDARG;
    writeReport_.clear();
    return GuardWrite(writeReport_, [&]() -> HRESULT {
        if (const HRESULT hr = Load(); Failed(hr)) {
            writeReport_ = "not written: " + problem_ + "\n";
            return hr;
        }
        const std::vector<image::ExifEdit> edits = image::CollectExifEdits(tree);
        if (edits.empty()) {
            writeReport_ = "not written: no EXIF property of the picture was changed\n";
            return TV_E_FAIL;
        }
        const image::ImageFormat format = loaded_->facts.format;
        if (format == image::ImageFormat::Bmp || format == image::ImageFormat::Gif) {
            writeReport_ = std::string("not written: a ") + image::FormatName(format) + " file cannot hold EXIF\n";
            return TV_E_FAIL;
        }
        // Held from reading the file until the new one is in place: a writer that went first
        // has its change in the bytes read here.
        platform::FileWriteLock lock(path_);
        platform::File& file = lock.file();
        if (file.size() > kMostWrittenBytes) throw Error(TV_E_FAIL, "the file is too large to edit");
        std::vector<uint8_t> written = image::ApplyExifEdits(file.readExact(0, size_t(file.size())), edits);
        CheckSamePicture(written, loaded_->facts);
        std::string report;
        for (const auto& edit : edits) report += (edit.remove ? "removed: " : "set: ") + PropertyOf(edit.tag) + "\n";
        platform::FileLayout layout;
        layout.bytes(std::move(written));
        platform::RewriteFile(lock, layout);
        loaded_.reset();  // the next interrogation describes the file as written
        writeReport_ = report;
        return TV_S_OK;
    });
}

}  // namespace tagvera
