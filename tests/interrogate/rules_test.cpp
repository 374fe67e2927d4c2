// The interrogator's rules over a scripted platform: what plug-ins deliver, when, and in what case.
#include <gtest/gtest.h>

#include <fstream>

#include "interrogate/interrogate_codes.h"
#include "interrogate_support.h"

namespace tagvera::testing {
namespace {

struct Case {
    const char* name;
    const char* extension;
    const char* script;
    HRESULT opened;
    uint32_t length, channels, quality, width;
    const char* extensionStatistic;
    const char* videoMimeTypes;
};

const Case kCases[] = {
    {"audio-only 3gp", ".3gp", "first header StreamCount=1 Duration=900\nfirst stream MimeType=audio/amr Channels=1 AvgBitrate=12200\n",
     TV_S_OK, 900, 1, 12200, 0, ".3gpa", ""},
    {"3g2 with video", ".3G2", "first header StreamCount=1\nfirst stream MimeType=Video/H263 Width=176\n",
     TV_S_OK, 0, 0, 0, 176, ".3g2", "Video/H263"},
    {"odd-case MIME, NumChannels, bit-rate sum", ".mpg",
     "first header StreamCount=2\nfirst stream MimeType=APPLICATION/X-ZN-MPG-VIDEO AvgBitrate=1000\n"
     "first stream MimeType=AUDIO/mpeg Channels=0 NumChannels=2 AvgBitrate=64\n",
     TV_S_OK, 0, 2, 1064, 0, ".mpg", "APPLICATION/X-ZN-MPG-VIDEO"},
    {"stream ends after the header", ".tst", "first header StreamCount=1 Duration=1000\nfirst stream StartTime=500 Duration=1000\n",
     TV_S_OK, 1500, 0, 0, 0, ".tst", ""},
    {"StreamCount above the streams received", ".tst", "first header StreamCount=3\nfirst stream MimeType=audio/x Channels=6\n",
     TV_S_OK, 0, 6, 0, 0, ".tst", ""},
    {"header after 300 ms: the next plug-in", ".tst",
     "first header StreamCount=1 after=300\nsecond header StreamCount=1\nsecond stream MimeType=video/x Width=10\n",
     TV_S_OK, 0, 0, 0, 10, ".tst", "video/x"},
    {"header after 300 ms from the only plug-in", ".tst", "first header StreamCount=0 after=300\n", interrogate::kNotOpened},
    {"no plug-in delivers a header", ".tst", "", interrogate::kNotOpened},
    {"a header without StreamCount", ".tst", "first header Duration=5\n", interrogate::kNotOpened},
    {"pseudo-file plug-in", ".pse", "pseudo header StreamCount=0\n", interrogate::kNotOpened},
    {"no plug-in for the extension", ".xyz", "first header StreamCount=0\n", interrogate::kNotOpened},
    {"no extension", "", "first header StreamCount=0\n", interrogate::kNotOpened},
};

TEST(InterrogateRules, Cases) {
    host::Host host(HostWithPlatformIn(TAGVERA_MEDIA_PLATFORM_DIR));
    const std::string dir = ::testing::TempDir();
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir + "script" + c.extension;
        std::ofstream(path) << c.script;
        const Interrogation got = Interrogate(host, path);
        ASSERT_EQ(got.opened, c.opened);
        if (Failed(c.opened)) {
            EXPECT_EQ(got.result, TV_E_FAIL);
            continue;
        }
        EXPECT_EQ(got.number("Length"), c.length);
        EXPECT_EQ(got.number("Channels"), c.channels);
        EXPECT_EQ(got.number("Quality"), c.quality);
        EXPECT_EQ(got.number("Width"), c.width);
        EXPECT_EQ(got.has("HasVideo"), *c.videoMimeTypes != 0);
        EXPECT_EQ(got.text("Extension"), c.extensionStatistic);
        EXPECT_EQ(got.text("VideoMimeTypes"), c.videoMimeTypes);
        EXPECT_EQ(got.text("Filename"), path);
        EXPECT_EQ(got.number("FileSize"), std::string(c.script).size());
    }
}

TEST(InterrogateRules, ListsAndTheLightInterface) {
    host::Host host(HostWithPlatformIn(TAGVERA_MEDIA_PLATFORM_DIR));
    auto file = host.CreateAs<IMPAInterrogateFile>(CLSID_KMAInterrogatePlugin, IID_IMPAInterrogateFile);
    char small[8];
    uint32_t size = 0;
    EXPECT_EQ(file->GetSupportedMimeTypes(nullptr, nullptr), TV_E_INVALIDARG);
    EXPECT_EQ(file->GetSupportedMimeTypes(nullptr, &size), TV_S_OK);
    EXPECT_EQ(size, 86u);
    size = sizeof small;
    EXPECT_EQ(file->GetSupportedExtensions(small, &size), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ(size, 53u);
    auto lite = QueryAs<IMPAInterrogateLite>(file, IID_IMPAInterrogateLite);
    EXPECT_EQ(lite->SetFilename("a.mpg"), TV_E_NOTIMPL);
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(lite->InterrogateLite(tree.put()), TV_E_NOTIMPL);
}

}  // namespace
}  // namespace tagvera::testing
