// A minimal host, the model for real ones: loads the library, hands it the directory list, gets
// the package, initialises it with a host context, reads the component table, creates components
// and picks the importer for a file.
//
//     tagvera::host::Host host;                       // $TAGVERA_LIBRARY or the installed library
//     for (const auto& c : host.components()) ...     // the eight rows
//     auto importer = host.CreateAs<IMPAInterrogateFile>(host.ImporterForFile("a.mp3")->classId,
//                                                        tagvera::IID_IMPAInterrogateFile);
//
// Everything handed out by a Host must be released before the Host goes.
#ifndef TAGVERA_HOST_HOST_H
#define TAGVERA_HOST_HOST_H

#include <string>
#include <string_view>
#include <vector>

#include "host/component_info.h"
#include "host/host_context.h"
#include "host/library.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"

namespace tagvera::host {

struct HostOptions {
    std::string libraryPath = Library::DefaultPath();
    DirectoryList directories;
    // Keep the library in the process after the host goes (objects or threads may still use it).
    bool keepLoaded = false;
};

struct PluginDescription {
    bool loadMultiple = false;
    std::string description;
    std::string rightsNotice;
    std::string moreInfo;
    uint32_t version = 0;
    std::string packageName;
    std::string namespaceUri;
    uint32_t componentCount = 0;
};

class Host {
public:
    // Loads and initialises; throws HostError naming the step that failed and its result code.
    explicit Host(const HostOptions& options = {});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    const Library& library() const { return library_; }
    IKMAPlugin* plugin() const { return plugin_.get(); }
    IKMAComponentPlugin* package() const { return package_.get(); }
    HostContext* context() const { return context_.get(); }
    // What the package told the host's lifetime and registration objects.
    const PackageEvents& events() const { return *context_->events(); }

    PluginDescription Describe() const;
    const std::vector<ComponentInfo>& components() const { return components_; }

    // The importer that lists the path's extension; the host's own recordings (".rec") go to the
    // recorded-file component, whose table names only the other kinds it reads. Null for others.
    const ComponentInfo* ListedImporterForFile(std::string_view path) const;
    // ListedImporterForFile, else the generic interrogator.
    const ComponentInfo* ImporterForFile(std::string_view path) const;
    const ComponentInfo* ImporterForMimeType(std::string_view mimeType) const;

    // A new component with the host context already given; 0 or the package's failure.
    HRESULT Create(const GUID& classId, IUnknown** out, IUnknown* outer = nullptr) const;
    template <class Itf>
    ComPtr<Itf> CreateAs(const GUID& classId, const GUID& iid, HRESULT* result = nullptr) const {
        ComPtr<Itf> out;
        const HRESULT hr = context_->CreateInstance(classId, nullptr, iid, out.putVoid());
        if (result) *result = hr;
        if (Failed(hr)) out.reset();
        return out;
    }
    // An empty property tree, made the way importers make theirs.
    HRESULT NewPropertyTree(IMPAMetaProperty** out) const;

    // Lets go of the package and calls KMAShutdown: 0 when the package is gone with it. The
    // Host is of no further use afterwards; the destructor does this when not done.
    HRESULT Shutdown();

private:
    Library library_;
    ComPtr<HostContext> context_;
    ComPtr<IKMAPlugin> plugin_;
    ComPtr<IKMAComponentPlugin> package_;
    std::vector<ComponentInfo> components_;
    bool keepLoaded_;
    bool shutDown_ = false;
};

}  // namespace tagvera::host

#endif
