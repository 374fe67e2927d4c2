#include "mediaplatform/plugin_handler.h"

#include <strings.h>

#include <string_view>

#include "host/ref_counted.h"
#include "mediaplatform/host_values.h"

namespace tagvera::mediaplatform {
namespace {

bool SameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool ListHolds(std::string_view list, std::string_view item) {
    while (!list.empty()) {
        const size_t end = list.find(';');
        if (SameText(list.substr(0, end), item)) return true;
        if (end == std::string_view::npos) break;
        list.remove_prefix(end + 1);
    }
    return false;
}

class PluginHandler final : public host::RefCounted<IKMAPluginHandler> {
public:
    PluginHandler(IKMAClassFactory* factory, PluginSet plugins)
        : factory_(ComPtr<IKMAClassFactory>::Share(factory)), plugins_(plugins) {}

    HRESULT TV_STDCALL GetPluginCount(uint32_t* count) override {
        if (!count) return TV_E_POINTER;
        *count = static_cast<uint32_t>(plugins_.rows.size());
        return TV_S_OK;
    }

    HRESULT TV_STDCALL GetPlugin(uint32_t index, IUnknown** plugin) override {
        if (!plugin) return TV_E_POINTER;
        *plugin = nullptr;
        if (index >= plugins_.rows.size()) return TV_E_INVALIDARG;
        return plugins_.make(factory_.get(), plugins_.rows[index], plugin);
    }

    HRESULT TV_STDCALL GetPluginProperties(uint32_t index, IKMAValues** properties) override {
        if (!properties) return TV_E_POINTER;
        *properties = nullptr;
        if (index >= plugins_.rows.size()) return TV_E_INVALIDARG;
        const PluginRow& row = plugins_.rows[index];
        ComPtr<IKMAValues> values = NewValues(factory_.get());
        if (!values) return TV_E_OUTOFMEMORY;
        HRESULT hr = SetString(factory_.get(), values.get(), "PluginType", kPluginTypeFileFormat);
        if (Succeeded(hr)) hr = SetString(factory_.get(), values.get(), "FileExtensions", row.extensions);
        if (Succeeded(hr)) hr = SetString(factory_.get(), values.get(), "Name", row.name);
        if (Succeeded(hr)) hr = values->SetNumberValue("IsPseudoFile", row.pseudoFile ? 1 : 0);
        if (Failed(hr)) return hr;
        *properties = values.detach();
        return TV_S_OK;
    }

    HRESULT TV_STDCALL FindPluginByStrings(const char* name1, const char* value1, const char* name2,
                                           const char* value2, uint32_t start, uint32_t* index) override {
        if (!name1 || !value1 || !name2 || !value2 || !index) return TV_E_POINTER;
        const auto plugins = plugins_.rows;
        for (uint32_t i = start; i < plugins.size(); ++i) {
            // Every plug-in here is a file-format plug-in and has only its extension list.
            const bool typeMatches = SameText(name1, "PluginType") && SameText(value1, kPluginTypeFileFormat);
            if (typeMatches && SameText(name2, "FileExtensions") && ListHolds(plugins[i].extensions, value2)) {
                *index = i;
                return TV_S_OK;
            }
        }
        return TV_E_FAIL;
    }

private:
    void* find(const GUID& iid) override {
        return iid == IID_IKMAPluginHandler ? static_cast<IKMAPluginHandler*>(this) : nullptr;
    }
    ComPtr<IKMAClassFactory> factory_;
    PluginSet plugins_;
};

}  // namespace

ComPtr<IKMAPluginHandler> NewPluginHandler(IKMAClassFactory* factory, PluginSet plugins) {
    return ComPtr<IKMAPluginHandler>::Adopt(new (std::nothrow) PluginHandler(factory, plugins));
}

}  // namespace tagvera::mediaplatform
