// The reusable host over the built library: the choice of importer, components and property trees
// made through its class factory, tagvera's own services to tools, and shutdown. The package's raw
// answers are the lifecycle test's; the description and the table as the host reads them, and a
// library that does not load, the command's (components, --version).
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/guid_text.h"
#include "host/host.h"
#include "host/objects.h"
#include "platform/scratch_dir.h"
#include "tagvera/tagvera.h"

using namespace tagvera;
using namespace tagvera::host;

namespace {

HostOptions Options() {
    HostOptions o;
    o.libraryPath = TAGVERA_LIBRARY_PATH;
    o.directories = {{"DT_Codecs", "/opt/codecs"}};
    return o;
}

TEST(Host, PicksTheImporterByExtension) {
    Host host(Options());
    auto byFile = [&](const char* path) { return host.ImporterForFile(path)->className(); };
    EXPECT_EQ(byFile("/music/Song.MP3"), "CImportMP3File");
    EXPECT_EQ(byFile("C:\\Music\\clip.wmv"), "CImportWMAFile");
    EXPECT_EQ(byFile("cover.jpeg"), "CImageMetadataPlugin");
    EXPECT_EQ(byFile("show.kmvb"), "CImportKMJFile");
    EXPECT_EQ(byFile("rec.flv"), "CImportCFSFile");
    EXPECT_EQ(byFile("take.REC"), "CImportCFSFile");  // the host's own recordings, though the table lists "ivr|flv|meta"
    EXPECT_EQ(byFile("a.m4a"), "CImportM4File");
    // Everything else goes to the generic interrogator.
    EXPECT_EQ(byFile("movie.avi"), "KMAInterrogatePlugin");
    EXPECT_EQ(byFile("no-extension"), "KMAInterrogatePlugin");
    EXPECT_EQ(byFile("dir.mp3/file"), "KMAInterrogatePlugin");

}

TEST(Host, PropertyTreesComeFromThePackageWithTheHostContext) {
    Host host(Options());
    ComPtr<IMPAMetaProperty> a, b;
    ASSERT_EQ(host.NewPropertyTree(a.put()), TV_S_OK);
    ASSERT_EQ(host.NewPropertyTree(b.put()), TV_S_OK);
    EXPECT_TRUE(host.events().busy);

    // Children are made through the context's factory, which the tree was given.
    ComPtr<IMPAMetaProperty> album;
    ASSERT_EQ(a->AddGroup("Album", 0, true, album.put()), TV_S_OK);
    ASSERT_EQ(album->AddText("Name", "Blue", 0, true, nullptr), TV_S_OK);
    uint32_t count = 99;
    ASSERT_EQ(a->GetTotalChildCount(&count), TV_S_OK);
    EXPECT_EQ(count, 1u);
    ASSERT_EQ(b->GetTotalChildCount(&count), TV_S_OK);
    EXPECT_EQ(count, 0u) << "trees are independent";

    a.reset();
    b.reset();
    album.reset();
    EXPECT_FALSE(host.events().busy);
    EXPECT_EQ(host.events().idleCount, 1);
}

// The host's own objects keep their contract in the component tests; here, the factory's choice.
TEST(Host, ClassFactoryMakesItsOwnObjectsAndHandsTheRestToThePackage) {
    Host host(Options());
    EXPECT_TRUE(host.CreateAs<IKMAValuesRemove>(CLSID_CKMAUniquelyKeyedList, IID_IKMAValuesRemove));
    HRESULT hr = TV_S_OK;
    EXPECT_FALSE(host.CreateAs<IKMABuffer>(CLSID_CZNBuffer, IID_IKMAValues, &hr));
    EXPECT_EQ(hr, TV_E_NOINTERFACE);
    ComPtr<IUnknown> object;
    EXPECT_EQ(host.Create(CLSID_CImportM4File, object.put()), TV_S_OK) << "a component of the package";
    EXPECT_EQ(host.Create(IID_IKMAPlugin, object.put()), TV_E_FAIL) << "no component of that class";
}

// What the command relies on, each failure with a reason naming what failed.
TEST(Host, ToolServicesAndStructureReportsExplainTheirFailures) {
    Host host(Options());
    const auto tools = QueryAs<IKMAToolServices>(host.package(), IID_IKMAToolServices);
    const auto report = host.CreateAs<IMPAStructureReport>(CLSID_CImportMP3File, IID_IMPAStructureReport);
    ASSERT_TRUE(tools && report);
    const test::ScratchDir dir;
    const std::vector<uint8_t> bytes = {1, 2, 3};
    ASSERT_EQ(tools->WriteFileSafely(dir.file("out").c_str(), bytes.data(), 3, nullptr), TV_S_OK);
    EXPECT_EQ(test::ReadAll(dir.file("out")), bytes);
    const char* missing = "/nonexistent/a.mp3";
    ComPtr<IKMABuffer> text;
    using Call = std::function<HRESULT(IKMABuffer**)>;
    const std::vector<std::pair<Call, std::string>> failures = {
        {[&](IKMABuffer** why) { return tools->WriteFileSafely(dir.path().c_str(), bytes.data(), 3, why); }, dir.path()},
        {[&](IKMABuffer** why) { return tools->SyncFiles(&missing, 1, why); }, missing},
        {[&](IKMABuffer** why) { return report->GetStructureReport(missing, kStructureText, text.put(), why); }, missing},
        {[&](IKMABuffer** why) { return report->GetStructureReport(missing, kStructureLeftOut, text.put(), why); }, missing},
    };
    for (const auto& [call, named] : failures) {
        ComPtr<IKMABuffer> why;
        EXPECT_EQ(call(why.put()), TV_E_FAIL) << named;
        EXPECT_NE(BufferText(why.get()).find(named), std::string::npos) << BufferText(why.get());
    }
    EXPECT_EQ(report->GetStructureReport(missing, 3, text.put(), nullptr), TV_E_INVALIDARG) << "no fourth form";
    EXPECT_EQ(tools->WriteFileSafely(nullptr, bytes.data(), 3, nullptr), TV_E_POINTER);
}

TEST(Host, ShutdownReleasesThePackage) {
    Host host(Options());
    EXPECT_EQ(host.Shutdown(), TV_S_OK);
    EXPECT_EQ(host.events().calls.back(), "Unregister");
    EXPECT_EQ(host.events().liveLifetimeObjects, 0);
    EXPECT_EQ(host.Shutdown(), TV_E_FAIL);
}

TEST(GuidText, RegistryForm) {
    const std::string text = GuidToString(CLSID_CImportMP3File);
    EXPECT_EQ(text, "{42104358-F67A-41BE-8867-4B5B1667BFA4}");
}

}  // namespace
