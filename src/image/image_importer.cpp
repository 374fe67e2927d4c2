// CImageMetadataPlugin: naming a file, loading it, and interrogation.
#include "image/image_importer.h"

#include <cmath>
#include <utility>

#include "base/error.h"
#include "component/managed_component.h"
#include "image/exif_map.h"
#include "image/picture_reader.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/statistics.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

CImageMetadataPlugin::~CImageMetadataPlugin() = default;

HRESULT CImageMetadataPlugin::InternalQueryInterface(const GUID& iid, void** out) {
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

HRESULT CImageMetadataPlugin::OpenFile(const char* path, OpenForm) {
    if (!path || !*path) return TV_E_INVALIDARG;
    return Guard([&]() -> HRESULT {
        path_ = path;
        loaded_.reset();
        problem_.clear();
        writeReport_.clear();
        return TV_S_OK;
    });
}

CImageMetadataPlugin::Loaded CImageMetadataPlugin::LoadFile() const {
    platform::File file = platform::OpenForReading(path_);
    if (!file.regular()) throw Error(TV_E_FAIL, "not a regular file");
    Loaded loaded;
    loaded.fileSize = file.size();
    image::Picture picture = image::ReadPicture(file);
    loaded.facts = std::move(picture.facts);
    loaded.exif = std::move(picture.exif);
    return loaded;
}

HRESULT CImageMetadataPlugin::Load() {
    if (loaded_) return TV_S_OK;
    if (path_.empty()) {
        problem_ = "no file named";
        return TV_E_FAIL;
    }
    try {
        loaded_.emplace(LoadFile());
        return TV_S_OK;
    } catch (const std::bad_alloc&) {
        problem_ = "out of memory";
        return TV_E_OUTOFMEMORY;
    } catch (const std::exception& e) {
        problem_ = e.what();
        return TV_E_FAIL;
    }
}

HRESULT CImageMetadataPlugin::Fill(IMPAMetaProperty** out) {
    if (!out) return TV_E_INVALIDARG;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        if (const HRESULT hr = Load(); Failed(hr)) return hr;
        ComPtr<IMPAMetaProperty> tree;
        if (const HRESULT hr = NewPropertyTree(classFactory(), tree); Failed(hr)) return hr;
        auto stats = QueryAs<IMPAFileProperties>(tree.get(), IID_IMPAFileProperties);
        if (!stats) return TV_E_NOINTERFACE;
        const image::ImageFacts& facts = loaded_->facts;
        const auto number = [&](const char* path, uint32_t value) {
            return tree->AddNumber(path, value, kFlagReadOnly, true, nullptr);
        };
        FirstFailure step;
        step(stats->SetFileSize(StatisticValue(loaded_->fileSize)));
        step(stats->SetFilename(path_.c_str()));
        step(tree->AddText("Statistics:Extension", platform::ExtensionOf(path_).c_str(), kFlagReadOnly, true, nullptr));
        step(number("Statistics:Width", facts.width));
        step(number("Statistics:Height", facts.height));
        step(number("Statistics:HorizontalResolution", uint32_t(std::lround(facts.xDpi))));
        step(number("Statistics:VerticalResolution", uint32_t(std::lround(facts.yDpi))));
        step(number("Statistics:BitDepth", facts.bitsPerPixel));
        step(tree->AddFlag("Statistics:Image", 1, kFlagReadOnly, true, nullptr));
        step(image::AddExifProperties(tree.get(), loaded_->exif));
        if (Failed(step.result())) return step.result();
        return tree->QueryInterface(IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
    });
}

HRESULT CImageMetadataPlugin::Interrogate(IMPAMetaProperty** tree) { return Fill(tree); }
HRESULT CImageMetadataPlugin::InterrogateLite(IMPAMetaProperty** tree) { return Fill(tree); }

HRESULT CImageMetadataPlugin::SetOption(uintptr_t, uintptr_t) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::SetOption2(uintptr_t, uintptr_t) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::GetSupportedMimeTypes(char*, uint32_t*) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::GetSupportedExtensions(char*, uint32_t*) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::Prepare(uint32_t) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::GetPropertyData(IMPAMetaProperty*, uint8_t*, uint32_t) { return TV_E_NOTIMPL; }
HRESULT CImageMetadataPlugin::SavePropertyData(IMPAMetaProperty*, const char*) { return TV_E_NOTIMPL; }

HRESULT CImageMetadataPlugin::GetWriteReport(char* buffer, uint32_t* size) {
    return CopyListOut(writeReport_, buffer, size);
}

HRESULT CreateImageMetadataPlugin(IKCAPackage_* package, IUnknown* outer, IUnknown** out) {
    return CreateManagedComponent<CImageMetadataPlugin>(package, outer, out);
}

}  // namespace tagvera
