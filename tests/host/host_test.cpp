// The reusable host over the built library: start-up, the component table it reads, the choice of
// importer, components and property trees made through its class factory, and shutdown.
#include <gtest/gtest.h>

#include <string>

#include "host/guid_text.h"
#include "host/host.h"
#include "host/objects.h"
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

TEST(Host, StartsUpAndReadsTheComponentTable) {
    Host host(Options());
    EXPECT_EQ(host.events().calls, (std::vector<std::string>{"Register(tagvera)", "Configure(2000,1)"}));
    const PluginDescription d = host.Describe();
    EXPECT_EQ(d.description, "tagvera");
    EXPECT_EQ(d.packageName, "tagvera");
    EXPECT_EQ(d.version, 282u);
    EXPECT_EQ(d.componentCount, 8u);
    EXPECT_FALSE(d.namespaceUri.empty());

    // The raw table is checked value by value by the lifecycle test; here, how the host reads it.
    ASSERT_EQ(host.components().size(), 8u);
    for (uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(host.components()[i].className(), kKnownComponents[i].className);
        EXPECT_TRUE(host.components()[i].loadMultiple);
    }
    const ComponentInfo& mp3 = host.components()[2];
    EXPECT_EQ(mp3.mimeTypes, (std::vector<std::string>{"audio/mp3", "audio/x-mp3"}));
    EXPECT_EQ(mp3.extensions, (std::vector<std::string>{"mp3", "mpga"}));
    EXPECT_TRUE(host.components()[4].mimeTypes.empty()) << "MP4 lists no MIME types";
    EXPECT_TRUE(host.components()[0].extensions.empty());
}

TEST(Host, PicksTheImporterByExtensionOrMimeType) {
    Host host(Options());
    auto byFile = [&](const char* path) { return host.ImporterForFile(path)->className(); };
    EXPECT_EQ(byFile("/music/Song.MP3"), "CImportMP3File");
    EXPECT_EQ(byFile("C:\\Music\\clip.wmv"), "CImportWMAFile");
    EXPECT_EQ(byFile("cover.jpeg"), "CImageMetadataPlugin");
    EXPECT_EQ(byFile("show.kmvb"), "CImportKMJFile");
    EXPECT_EQ(byFile("rec.flv"), "CImportCFSFile");
    EXPECT_EQ(byFile("a.m4a"), "CImportM4File");
    // Everything else goes to the generic interrogator.
    EXPECT_EQ(byFile("movie.avi"), "KMAInterrogatePlugin");
    EXPECT_EQ(byFile("no-extension"), "KMAInterrogatePlugin");
    EXPECT_EQ(byFile("dir.mp3/file"), "KMAInterrogatePlugin");

    EXPECT_EQ(host.ImporterForMimeType("audio/x-mp3")->className(), "CImportMP3File");
    EXPECT_EQ(host.ImporterForMimeType(" Audio/MP3; bitrate=128")->className(), "CImportMP3File");
    EXPECT_EQ(host.ImporterForMimeType("application/x-mplayer2")->className(), "CImportWMAFile");
    EXPECT_EQ(host.ImporterForMimeType("video/mp4"), nullptr) << "MP4 lists no MIME types";
    EXPECT_EQ(host.ImporterForMimeType(""), nullptr);
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

TEST(Host, ComponentsNotBuiltAnswerNotImplemented) {
    Host host(Options());
    for (const auto& c : host.components()) {
        ComPtr<IUnknown> object;
        const HRESULT hr = host.Create(c.classId, object.put());
        EXPECT_TRUE(hr == TV_S_OK || hr == TV_E_NOTIMPL) << c.className();
        EXPECT_EQ(hr == TV_S_OK, object != nullptr);
    }
    ComPtr<IUnknown> object;
    EXPECT_EQ(host.Create(IID_IKMAPlugin, object.put()), TV_E_FAIL);
    // The host class factory makes its own buffers and value lists.
    auto values = host.CreateAs<IKMAValues>(CLSID_CZNHeader, IID_IKMAValues);
    ASSERT_TRUE(values);
    auto keyed = host.CreateAs<IKMAValuesRemove>(CLSID_CKMAUniquelyKeyedList, IID_IKMAValuesRemove);
    EXPECT_TRUE(keyed);
    HRESULT hr = TV_S_OK;
    EXPECT_FALSE(host.CreateAs<IKMABuffer>(CLSID_CZNBuffer, IID_IKMAValues, &hr));
    EXPECT_EQ(hr, TV_E_NOINTERFACE);
}

TEST(Host, ShutdownReleasesThePackage) {
    Host host(Options());
    EXPECT_EQ(host.Shutdown(), TV_S_OK);
    EXPECT_EQ(host.events().calls.back(), "Unregister");
    EXPECT_EQ(host.events().liveLifetimeObjects, 0);
    EXPECT_EQ(host.Shutdown(), TV_E_FAIL);
}

TEST(Host, ReportsALibraryThatCannotBeLoaded) {
    HostOptions o = Options();
    o.libraryPath = "/nonexistent/libtagvera.so";
    try {
        Host host(o);
        FAIL() << "loaded a library that does not exist";
    } catch (const HostError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/libtagvera.so"), std::string::npos) << e.what();
    }
}

TEST(GuidText, RoundTripsRegistryForm) {
    const std::string text = GuidToString(CLSID_CImportMP3File);
    EXPECT_EQ(text, "{42104358-F67A-41BE-8867-4B5B1667BFA4}");
    EXPECT_EQ(ParseGuid(text), CLSID_CImportMP3File);
    EXPECT_EQ(ParseGuid("42104358-f67a-41be-8867-4b5b1667bfa4"), CLSID_CImportMP3File);
    EXPECT_FALSE(ParseGuid("{42104358-F67A-41BE-8867-4B5B1667BFA}"));
    EXPECT_FALSE(ParseGuid("{42104358+F67A-41BE-8867-4B5B1667BFA4}"));
    EXPECT_FALSE(ParseGuid("{4210435G-F67A-41BE-8867-4B5B1667BFA4}"));
}

}  // namespace
