// CImportCFSFile: recognising a file, reading its trailer, the FLV statistics, interrogation.
#include "recorded/recorded_importer.h"

#include <strings.h>

#include "base/error.h"
#include "component/managed_component.h"
#include "package/importer_kit/advertised_types.h"
#include "package/importer_kit/borrowed_statistics.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "recorded/recorded_trailer.h"
#include "tags/id3v1/id3v1_map.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

constexpr auto kMimeTypes = advertised::AsImporterList(advertised::kRecordedMimeTypes, advertised::ListEnd::Separator);
constexpr auto kExtensions = advertised::AsImporterList(advertised::kRecordedExtensions, advertised::ListEnd::Bare);

// The statistics an FLV file takes from the generic interrogator when it has a block of its own.
constexpr const char* kBorrowedStatistics[] = {"HasVideo", "Width", "Height", "Extension"};

bool StartsWithFlv(platform::File& file) {
    uint8_t head[3] = {};
    return file.readAt(0, head) == sizeof head && head[0] == 'F' && head[1] == 'L' && head[2] == 'V';
}

}  // namespace

CImportCFSFile::~CImportCFSFile() = default;

HRESULT CImportCFSFile::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
    if (iid == IID_IMPAInterrogateFile) return Hand(static_cast<IMPAInterrogateFile*>(this), out);
    if (iid == IID_IMPAInterrogateLite) return Hand(static_cast<IMPAInterrogateLite*>(this), out);
    if (iid == IID_IMPAHandleMetaProperties) return Hand(static_cast<IMPAHandleMetaProperties*>(this), out);
    if (iid == IID_IMPAPropertyCatalog) return Hand(static_cast<IMPAPropertyCatalog*>(this), out);
    if (iid == IID_IMPAWriteReport) return Hand(static_cast<IMPAWriteReport*>(this), out);
    return NoInterface(out);
}

HRESULT CImportCFSFile::GetSupportedMimeTypes(char* buffer, uint32_t* size) {
    return CopyListOut(kMimeTypes.view(), buffer, size);
}
HRESULT CImportCFSFile::GetSupportedExtensions(char* buffer, uint32_t* size) {
    return CopyListOut(kExtensions.view(), buffer, size);
}

void CImportCFSFile::Forget() {
    path_.clear();
    tree_.reset();
    parser_.reset();
    flv_ = tagsLoaded_ = loaded_ = false;
}

HRESULT CImportCFSFile::OpenFile(const char* path, OpenForm) {
    if (!path || !*path) return TV_E_INVALIDARG;
    return Guard([&]() -> HRESULT {
        Forget();
        writeReport_.clear();
        {
            platform::File file = platform::OpenForReading(path);
            flv_ = StartsWithFlv(file);
        }
        if (!flv_ && strcasecmp(platform::ExtensionOf(path).c_str(), ".rec") != 0) return TV_E_FAIL;
        if (Failed(NewPropertyTree(classFactory(), tree_))) return TV_E_OUTOFMEMORY;
        if (Failed(CreateJukeboxParser(classFactory(), parser_.put())) || !parser_) {
            tree_.reset();
            return TV_E_OUTOFMEMORY;
        }
        path_ = path;
        return ReadMetadata();
    });
}

HRESULT CImportCFSFile::ReadMetadata() {
    if (tagsLoaded_) return TV_S_OK;
    if (path_.empty()) return TV_E_NOTLOADED;
    bool blockRead = false;
    {
        platform::File file = platform::OpenForReading(path_);
        if (const auto place = recorded::FindTrailer(file, flv_)) {
            const auto block = file.readExact(place->blockOffset, place->blockLength);
            blockRead = block.size() >= 4 && std::equal(block.begin(), block.begin() + 4, "KJMD") &&
                        Succeeded(parser_->Parse(block.data(), uint32_t(block.size()))) &&
                        Succeeded(parser_->CopyToTree(tree_.get()));
        }
    }
    const bool statistics = flv_ && Succeeded(AddFlvStatistics());
    if (flv_) tree_->AddText("Statistics:MimeType", "video/x-flv", kFlagReadOnly | kFlagPrivate, true, nullptr);
    loaded_ = blockRead || statistics;
    tagsLoaded_ = true;
    return TV_S_OK;
}

HRESULT CImportCFSFile::AddFlvStatistics() {
    ComPtr<IMPAMetaProperty> found = InterrogateGenerically(*this, path_.c_str());
    if (!found) return TV_E_FAIL;
    uint32_t children = 0;
    if (Succeeded(tree_->GetTotalChildCount(&children)) && children == 0) {
        tree_ = found;
        return TV_S_OK;
    }
    const ComPtr<IMPAMetaProperty> from = StatisticsOf(found.get());
    for (const char* name : kBorrowedStatistics) CopyStatistic(from.get(), tree_.get(), name);
    return TV_S_OK;
}

HRESULT CImportCFSFile::Interrogate(IMPAMetaProperty** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        if (!tree_) return TV_E_NOTLOADED;
        if (const HRESULT hr = ReadMetadata(); Failed(hr)) return hr;
        {
            platform::File file = platform::OpenForReading(path_);
            MergeId3v1Tag(file, tree_.get());  // a file without a tag adds nothing
        }
        auto stats = QueryAs<IMPAFileProperties>(tree_.get(), IID_IMPAFileProperties);
        if (stats) stats->SetFilename(path_.c_str());
        return tree_->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
    });
}

HRESULT CImportCFSFile::GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) {
    return Guard([&]() -> HRESULT {
        if (!parser_) return TV_E_NOTLOADED;
        if (const HRESULT hr = ReadMetadata(); Failed(hr)) return hr;
        return parser_->GetPropertyData(property, buffer, size);
    });
}

HRESULT CImportCFSFile::SavePropertyData(IMPAMetaProperty* property, const char* path) {
    return Guard([&]() -> HRESULT {
        if (!parser_) return TV_E_NOTLOADED;
        return parser_->SavePropertyData(property, path);
    });
}

HRESULT CImportCFSFile::GetPropertyCatalog(char* buffer, uint32_t* size) {
    return Guard([&] {
        const std::vector<CatalogEntry> parts[] = {{AnyPropertyEntry("recorded-file trailer")}, Id3v1Catalog()};
        return CopyListOut(CatalogText(parts), buffer, size);
    });
}

HRESULT CImportCFSFile::GetWriteReport(char* buffer, uint32_t* size) { return CopyListOut(writeReport_, buffer, size); }

HRESULT CreateImportCFSFile(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImportCFSFile>(package, outer, out);
}

}  // namespace tagvera
