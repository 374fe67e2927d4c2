// CKJMDParser: the reader and builder of jukebox metadata blocks for the MP3 importer and its
// writer. The block itself is read by the property store (CFastMetaProperty for lookups in place,
// ReadBinary/WriteBinary for whole trees); this class only decides what goes in and out.
#include "tags/jukebox/jukebox_parser.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "component/buffer.h"
#include "component/unknown.h"
#include "metaprop/fast_meta_property.h"
#include "metaprop/metaprop_component.h"
#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "metaprop/reference_bytes.h"
#include "platform/file.h"
#include "platform/safe_write.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/vocabulary.h"

namespace tagvera {
namespace {

class CKJMDParser final : public CUnknownIMP, public IMPAKJMDParser {
public:
    explicit CKJMDParser(IKMAClassFactory* factory) : factory_(ComPtr<IKMAClassFactory>::Share(factory)) {}

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown || iid == IID_IMPAKJMDParser) return Hand(static_cast<IMPAKJMDParser*>(this), out);
        return NoInterface(out);
    }

    HRESULT TV_STDCALL Parse(const uint8_t* bytes, uint32_t size) override {
        return Guard([&] { return ParseImpl(bytes, size); });
    }

    HRESULT TV_STDCALL CopyToTree(IMPAMetaProperty* tree) override {
        return Guard([&]() -> HRESULT {
            if (!view_) return TV_E_NOTLOADED;
            if (!tree) return TV_E_POINTER;
            auto serialize = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
            if (!serialize) return TV_E_NOINTERFACE;
            return serialize->ReadBinary(block_.data(), static_cast<uint32_t>(block_.size()), false, true);
        });
    }

    HRESULT TV_STDCALL GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override {
        return Guard([&]() -> HRESULT {
            if (!view_) return TV_E_NOTLOADED;
            if (!property || !buffer) return TV_E_POINTER;
            const uint8_t* data = nullptr;
            uint32_t length = 0;
            if (const HRESULT hr = StoredReference(property, &data, &length, nullptr); Failed(hr)) return hr;
            std::memcpy(buffer, data, std::min(size, length));
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL SavePropertyData(IMPAMetaProperty* property, const char* path) override {
        return Guard([&]() -> HRESULT {
            if (!view_) return TV_E_NOTLOADED;
            if (!property || !path) return TV_E_POINTER;
            if (!*path) return TV_E_INVALIDARG;
            const uint8_t* data = nullptr;
            uint32_t length = 0;
            if (const HRESULT hr = StoredReference(property, &data, &length, nullptr); Failed(hr)) return hr;
            // Text and binary data are the same bytes on disk here; the whole value is written.
            platform::WriteFileAtomically(path, {data, length});
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL Build(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, uint32_t force) override {
        return Guard([&] { return BuildImpl(tree, dataSource, force != 0); });
    }

    HRESULT TV_STDCALL GetBlock(IKMABuffer** out) override {
        return Guard([&]() -> HRESULT {
            if (!out) return TV_E_POINTER;
            *out = nullptr;
            if (!view_) return TV_E_NOTLOADED;
            ComPtr<IKMABuffer> buffer;
            if (const HRESULT hr = CreateBuffer(buffer); Failed(hr)) return hr;
            if (const HRESULT hr = buffer->Set(block_.data(), static_cast<uint32_t>(block_.size())); Failed(hr))
                return hr;
            *out = buffer.detach();
            return TV_S_OK;
        });
    }

private:
    void Drop() {
        view_.reset();
        block_.clear();
        block_.shrink_to_fit();
    }

    HRESULT ParseImpl(const uint8_t* bytes, uint32_t size) {
        Drop();
        if (!bytes || size < kMinJukeboxBlockSize) return TV_E_FAIL;
        if (std::memcmp(bytes, kBlockMagic, 4) != 0 && std::memcmp(bytes, kBlockMagicVariant, 4) != 0)
            return TV_E_INVALIDARG;
        std::vector<uint8_t> copy(bytes, bytes + size);
        // The view takes a block of its own: it owns what it is given, and CopyToTree and GetBlock
        // need the bytes as they came.
        std::unique_ptr<uint8_t[]> forView(new uint8_t[size]);
        std::memcpy(forView.get(), bytes, size);
        ComPtr<IMPAMetaPropertyBuffer> view;
        if (const HRESULT hr = CreateFastMetaProperty(view.put()); Failed(hr)) return hr;
        if (const HRESULT hr = view->SetBuffer(forView.release(), size, true); Failed(hr)) return hr;
        block_ = std::move(copy);
        view_ = std::move(view);
        return TV_S_OK;
    }

    // The stored node of the property's path: a reference (type 10) with at least 2 bytes.
    HRESULT StoredReference(IMPAMetaProperty* property, const uint8_t** data, uint32_t* length,
                            ComPtr<IMPAMetaProperty>* node) {
        const std::string path = PathOf(property);
        if (path.empty()) return TV_E_FAIL;
        ComPtr<IMPAMetaProperty> stored;
        if (Failed(view_->FindByPath(path.c_str(), stored.put())) || !stored) return TV_E_FAIL;
        uint32_t type = 0;
        if (Failed(stored->GetType(&type)) || type != kTypeReference) return TV_E_FAIL;
        if (Failed(stored->GetValue(data, length)) || *length < 2) return TV_E_FAIL;
        if (node) *node = std::move(stored);
        return TV_S_OK;
    }

    HRESULT BuildImpl(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force) {
        if (!tree) return TV_E_POINTER;
        ComPtr<IMPAMetaProperty> fresh;
        if (const HRESULT hr = CreateTree(fresh); Failed(hr)) return hr;
        auto serialize = QueryAs<IMPAMetaPropertySerialize>(fresh, IID_IMPAMetaPropertySerialize);
        if (!serialize) return TV_E_NOINTERFACE;
        // Everything stored before survives unless the tree changes it.
        if (view_) {
            const HRESULT hr =
                serialize->ReadBinary(block_.data(), static_cast<uint32_t>(block_.size()), true, true);
            if (Failed(hr)) return hr;
        }

        if (const HRESULT hr = ApplyChanges(tree, fresh.get(), dataSource, force); Failed(hr)) return hr;

        Drop();
        uint8_t* written = nullptr;
        uint32_t writtenSize = 0;
        if (const HRESULT hr = serialize->WriteBinary(&written, &writtenSize, true, false, true); Failed(hr))
            return hr;
        std::unique_ptr<uint8_t[]> owned(written);
        return ParseImpl(owned.get(), writtenSize);
    }

    // Two levels only: the top-level groups and their direct children. A changed property that
    // cannot be copied (memory) fails the build rather than leave the block without it.
    HRESULT ApplyChanges(IMPAMetaProperty* tree, IMPAMetaProperty* target, IMPAHandleMetaProperties* dataSource,
                         bool force) {
        for (const ComPtr<IMPAMetaProperty>& group : ChildrenOf(tree)) {
            const char* groupName = nullptr;
            if (Failed(group->GetName(&groupName)) || !groupName) continue;
            for (const ComPtr<IMPAMetaProperty>& child : ChildrenOf(group.get())) {
                uint32_t changed = kUnchanged;
                child->GetChanged(&changed);
                if (!force && changed != kChanged && changed != kDeleted) continue;
                const char* name = nullptr;
                if (Failed(child->GetName(&name)) || !name) continue;
                const std::string path = std::string(groupName) + kPathSeparator + name;
                if (changed == kDeleted) {
                    target->RemoveByPath(path.c_str());
                    continue;
                }
                uint32_t type = kTypeNone;
                child->GetType(&type);
                if (type == kTypeReference || type == kTypeFileReference) {
                    // The bytes of an on-demand property can only come from the data source.
                    if (type == kTypeReference && !dataSource) continue;
                    if (const HRESULT hr = StoreReference(child.get(), type, path, target, dataSource); Failed(hr))
                        return hr;
                    continue;
                }
                ComPtr<IMPAMetaProperty> copy;
                if (const HRESULT hr = child->Clone(copy.put()); Failed(hr) || !copy) return Failed(hr) ? hr : TV_E_FAIL;
                if (const HRESULT hr = target->AddChild(copy.get(), true, path.c_str(), 0); Failed(hr)) return hr;
            }
        }
        return TV_S_OK;
    }

    // The bytes go into the block now: a picture that cannot be read fails the build rather than
    // leave the block without it. A file's name becomes its extension, as when it is serialized.
    HRESULT StoreReference(IMPAMetaProperty* property, uint32_t type, const std::string& path, IMPAMetaProperty* target,
                           IMPAHandleMetaProperties* dataSource) {
        const auto bytes = ReferenceBytes(property, type, dataSource);
        if (!bytes) return TV_E_FAIL;
        ComPtr<IMPAMetaProperty> copy;
        if (const HRESULT hr = property->Clone(copy.put()); Failed(hr) || !copy) return Failed(hr) ? hr : TV_E_FAIL;
        if (type == kTypeFileReference) {
            const std::string extension = platform::ExtensionOf(std::string(ValueText(ValueOf(property))));
            if (const HRESULT hr = copy->AddText(kPropExtension, extension.c_str(), kFlagType, true, nullptr); Failed(hr))
                return hr;
        }
        if (const HRESULT hr = copy->SetType(kTypeDataReference); Failed(hr)) return hr;
        if (const HRESULT hr = copy->SetValue(bytes->data(), static_cast<uint32_t>(bytes->size())); Failed(hr)) return hr;
        return target->AddChild(copy.get(), true, path.c_str(), 0);
    }

    HRESULT CreateTree(ComPtr<IMPAMetaProperty>& out) const {
        if (!factory_) return CreateStandaloneMetaProperty(out.put());
        return factory_->CreateInstance(CLSID_CMPAMetaProperty, nullptr, IID_IMPAMetaProperty, out.putVoid());
    }

    HRESULT CreateBuffer(ComPtr<IKMABuffer>& out) const {
        if (factory_) return factory_->CreateInstance(CLSID_CZNBuffer, nullptr, IID_IKMABuffer, out.putVoid());
        ComPtr<IUnknown> object;
        if (const HRESULT hr = CreateObject<CZNBuffer>(nullptr, object.put()); Failed(hr)) return hr;
        out = QueryAs<IKMABuffer>(object, IID_IKMABuffer);
        return out ? TV_S_OK : TV_E_NOINTERFACE;
    }

    ComPtr<IKMAClassFactory> factory_;
    std::vector<uint8_t> block_;
    ComPtr<IMPAMetaPropertyBuffer> view_;
};

}  // namespace

HRESULT CreateJukeboxParser(IKMAClassFactory* factory, IMPAKJMDParser** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    return Guard([&]() -> HRESULT {
        auto* parser = new (std::nothrow) CKJMDParser(factory);
        if (!parser) return TV_E_OUTOFMEMORY;
        ComPtr<IUnknown> object;
        if (const HRESULT hr = FinishConstruction(parser, nullptr, object.put()); Failed(hr)) return hr;
        return object->QueryInterface(IID_IMPAKJMDParser, reinterpret_cast<void**>(out));
    });
}

}  // namespace tagvera
