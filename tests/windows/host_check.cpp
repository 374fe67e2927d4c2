// The Windows host check that tools/test-windows.sh runs under Wine: the package loaded as a host
// loads it (SetDLLAccessPath, KMACreateInstance, the component table), then for each file given:
// interrogate it, write a new title (an image: its camera's make) where its importer writes, and
// read it back through a new importer.
//
//   host_check LIBRARY PLUGIN_FOLDER FILE...
//
// One line per component and per file; the last line is "host check: passed" or the number of
// files that failed. A file whose importer this build lacks is a "skipped:" line, not a failure.
#if defined(_WIN32)
#include <windows.h>
#endif

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>

#include "host/host.h"
#include "host/result_text.h"
#include "tagvera/importer.h"
#include "tagvera/mp3.h"
#include "tagvera/vocabulary.h"

namespace tagvera::host {
namespace {

#if defined(_WIN32)
const bool kUnderWine = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
const bool kUnderWine = false;
#endif

std::string Contents(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string WriteReport(IUnknown* importer) {
    auto report = QueryAs<IMPAWriteReport>(importer, IID_IMPAWriteReport);
    char text[1024] = {};
    uint32_t size = sizeof text;
    if (!report || Failed(report->GetWriteReport(text, &size))) return "";
    std::string line(text);
    return line.substr(0, line.find('\n'));
}

// Images have no title; their EXIF make is a text the image importer writes.
std::pair<const char*, const char*> EditedProperty(const ComponentInfo& importer) {
    if (importer.classId == CLSID_CImageMetadataPlugin) return {"Statistics", "EquipmentMake"};
    return {kGroupTrack, "Name"};
}

std::string Text(IMPAMetaProperty* tree, const std::pair<const char*, const char*>& property) {
    ComPtr<IMPAMetaProperty> node;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    const std::string path = std::string(property.first) + ":" + property.second;
    if (Failed(tree->FindByPath(path.c_str(), node.put())) || !node || Failed(node->GetValue(&data, &size)) || !data)
        return "";
    const std::string text(reinterpret_cast<const char*>(data), size);
    return text.substr(0, text.find('\0'));
}

uint32_t Length(IMPAMetaProperty* tree) {
    auto properties = QueryAs<IMPAFileProperties>(tree, IID_IMPAFileProperties);
    uint32_t length = 0;
    if (properties) properties->GetLength(&length);
    return length;
}

// A new importer on the file and its tree; throws the step that failed.
ComPtr<IMPAMetaProperty> Interrogate(const Host& host, const ComponentInfo& importer, const std::string& file,
                                     ComPtr<IMPAInterrogateFile>* kept = nullptr) {
    HRESULT hr = TV_S_OK;
    auto interrogate = host.CreateAs<IMPAInterrogateFile>(importer.classId, IID_IMPAInterrogateFile, &hr);
    if (!interrogate) throw HostError("create: " + ResultText(hr));
    if (hr = interrogate->SetFilename(file.c_str()); Failed(hr)) throw HostError("SetFilename: " + ResultText(hr));
    ComPtr<IMPAMetaProperty> tree;
    if (hr = interrogate->Interrogate(tree.put()); Failed(hr) || !tree) throw HostError("Interrogate: " + ResultText(hr));
    if (kept) *kept = interrogate;
    return tree;
}

// What was done: the text written and read back, or "read only" for an importer that writes nothing.
std::string Retitle(const Host& host, const ComponentInfo& importer, const std::string& file) {
    ComPtr<IMPAInterrogateFile> interrogate;
    ComPtr<IMPAMetaProperty> tree = Interrogate(host, importer, file, &interrogate);
    auto writer = QueryAs<IMPAHandleMetaProperties>(interrogate.get(), IID_IMPAHandleMetaProperties);
    if (!writer) return "read only";
    const std::string title = "Retitled under Wine";
    const auto property = EditedProperty(importer);
    ComPtr<IMPAMetaProperty> group, node;
    if (Failed(tree->FindFirstChild(property.first, group.put())) || !group) tree->AddGroup(property.first, 0, false, group.put());
    if (!group || Failed(group->AddText(property.second, title.c_str(), 0, true, node.put())) || !node)
        throw HostError("cannot put the title into the tree");
    node->SetChanged(kChanged);
    const std::string before = Contents(file);
    if (const HRESULT hr = writer->WriteMetaProperties(tree.get(), writer.get(), 0); Failed(hr)) {
        // Wine's gdiplus reads no EXIF from a JPEG, so the image component refuses the write there
        // rather than lose what the file holds: a refusal with its reason and the file unchanged.
        const std::string reason = WriteReport(interrogate.get());
        if (kUnderWine && importer.classId == CLSID_CImageMetadataPlugin && reason.rfind("not written: ", 0) == 0 &&
            Contents(file) == before)
            return "wine: " + reason + ", the file unchanged";
        throw HostError("WriteMetaProperties: " + ResultText(hr) + (reason.empty() ? "" : ": " + reason));
    }
    writer.reset();
    interrogate.reset();
    const std::string back = Text(Interrogate(host, importer, file).get(), property);
    if (back != title) throw HostError(std::string(property.second) + " read back as \"" + back + "\"");
    return std::string(property.second) + " written and read back";
}

int Run(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: host_check LIBRARY PLUGIN_FOLDER FILE...\n";
        return 2;
    }
    HostOptions options;
    options.libraryPath = argv[1];
    options.directories = {{"DT_Plugins", argv[2]}, {"DT_Codecs", argv[2]}, {"DT_Common", argv[2]}};
    Host host(options);
    const PluginDescription d = host.Describe();
    std::cout << "package " << d.packageName << ", " << d.componentCount << " components\n";
    for (const ComponentInfo& c : host.components()) {
        ComPtr<IUnknown> component;
        const HRESULT hr = host.Create(c.classId, component.put());
        std::cout << "component " << c.className() << ": " << (hr == TV_E_NOTIMPL ? "not built" : Failed(hr) ? ResultText(hr) : "built")
                  << '\n';
    }
    int failed = 0;
    for (int i = 3; i < argc; ++i) {
        const std::string file = argv[i];
        const ComponentInfo* importer = host.ImporterForFile(file);
        std::cout << file << ": " << (importer ? importer->className() : "no importer") << ": ";
        try {
            if (!importer) throw HostError("no importer");
            HRESULT hr = TV_S_OK;
            if (!host.CreateAs<IMPAInterrogateFile>(importer->classId, IID_IMPAInterrogateFile, &hr) && hr == TV_E_NOTIMPL) {
                std::cout << "skipped: not built\n";
                continue;
            }
            ComPtr<IMPAMetaProperty> tree = Interrogate(host, *importer, file);
            std::cout << "length " << Length(tree.get()) << ", " << EditedProperty(*importer).second << " \""
                      << Text(tree.get(), EditedProperty(*importer)) << "\"; ";
            tree.reset();
            std::cout << Retitle(host, *importer, file) << '\n';
        } catch (const HostError& e) {
            std::cout << "FAILED: " << e.what() << '\n';
            ++failed;
        }
    }
    if (failed) std::cout << "host check: " << failed << " failed\n";
    else std::cout << "host check: passed\n";
    return failed ? 1 : 0;
}

}  // namespace
}  // namespace tagvera::host

int main(int argc, char** argv) {
    try {
        return tagvera::host::Run(argc, argv);
    } catch (const std::exception& e) {
        std::cout << "host check: " << e.what() << '\n';
        return 1;
    }
}
