#include "host/host.h"

#include "host/objects.h"
#include "host/result_text.h"
#include "tagvera/buffer_text.h"

namespace tagvera::host {

namespace {
void Check(HRESULT hr, const std::string& step) {
    if (Failed(hr)) throw HostError(step + " failed: " + ResultText(hr));
}
}  // namespace

Host::Host(const HostOptions& options)
    : library_(options.libraryPath), context_(HostContext::Create(options.directories)), keepLoaded_(options.keepLoaded) {
    if (keepLoaded_) library_.KeepLoaded();
    Check(library_.SetAccessPath(options.directories), "SetDLLAccessPath");
    ComPtr<IUnknown> unknown;
    Check(library_.CreateInstance(unknown.put()), "KMACreateInstance");
    try {
        plugin_ = QueryAs<IKMAPlugin>(unknown, IID_IKMAPlugin);
        package_ = QueryAs<IKMAComponentPlugin>(unknown, IID_IKMAComponentPlugin);
        if (!plugin_ || !package_) throw HostError("the package does not answer IKMAPlugin and IKMAComponentPlugin");
        context_->AttachPackage(package_.get());
        Check(plugin_->InitializePlugin(static_cast<IKMAClassFactory*>(context_.get())), "InitializePlugin");
        const auto count = static_cast<uint32_t>(package_->GetComponentCount());
        for (uint32_t i = 0; i < count; ++i) components_.push_back(ReadComponentInfo(package_.get(), i));
    } catch (...) {
        unknown.reset();
        Shutdown();
        throw;
    }
}

Host::~Host() { Shutdown(); }

HRESULT Host::Shutdown() {
    if (shutDown_) return TV_E_FAIL;
    shutDown_ = true;
    context_->DetachPackage();
    plugin_.reset();
    package_.reset();
    return library_.Shutdown();
}

PluginDescription Host::Describe() const {
    PluginDescription d;
    bool loadMultiple = false;
    const char* description = nullptr;
    const char* rights = nullptr;
    const char* more = nullptr;
    Check(plugin_->DescribePlugin(&loadMultiple, &description, &rights, &more, &d.version), "DescribePlugin");
    d.loadMultiple = loadMultiple;
    d.description = description ? description : "";
    d.rightsNotice = rights ? rights : "";
    d.moreInfo = more ? more : "";
    const char* name = package_->GetPackageName();
    d.packageName = name ? name : "";
    d.componentCount = static_cast<uint32_t>(package_->GetComponentCount());
    if (auto ns = QueryAs<IKMAPluginNamespace>(package_, IID_IKMAPluginNamespace)) {
        ComPtr<IKMABuffer> uri;
        if (Succeeded(ns->GetPluginNamespace(uri.put()))) d.namespaceUri = BufferText(uri.get());
    }
    return d;
}

const ComponentInfo* Host::ListedImporterForFile(std::string_view path) const {
    const std::string extension = ExtensionOf(path);
    if (const ComponentInfo* c = FindByExtension(components_, extension)) return c;
    return extension == "rec" ? FindByClassId(components_, CLSID_CImportCFSFile) : nullptr;
}

const ComponentInfo* Host::ImporterForFile(std::string_view path) const {
    if (const ComponentInfo* c = ListedImporterForFile(path)) return c;
    return FindByClassId(components_, CLSID_KMAInterrogatePlugin);
}

const ComponentInfo* Host::ImporterForMimeType(std::string_view mimeType) const {
    return FindByMimeType(components_, mimeType);
}

HRESULT Host::Create(const GUID& classId, IUnknown** out, IUnknown* outer) const {
    return context_->CreateInstance(classId, outer, IID_IUnknown, reinterpret_cast<void**>(out));
}

HRESULT Host::NewPropertyTree(IMPAMetaProperty** out) const {
    return context_->CreateInstance(CLSID_CMPAMetaProperty, nullptr, IID_IMPAMetaProperty, reinterpret_cast<void**>(out));
}

}  // namespace tagvera::host
