// CImportMP3File through the built library: its interfaces and result codes, the light form, and
// files that are not what they claim to be (the statistics: mpeg_fixtures_test.cpp).
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "mp3_importer/importer_support.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

class Mp3Importer : public ::testing::Test {
protected:
    PreferencesFile prefs_{""};
    test::ScratchDir dir_;
};

TEST_F(Mp3Importer, AnswersItsInterfacesAndListsItsTypesInEach) {
    // One IUnknown from every interface is the component base's rule (component tests).
    auto importer = NewImporter();
    ASSERT_TRUE(importer);
    auto lite = QueryAs<IMPAInterrogateLite>(importer, IID_IMPAInterrogateLite);

    // Each interface lists the types, with the usual size protocol.
    auto handler = QueryAs<IMPAHandleMetaProperties2>(importer, IID_IMPAHandleMetaProperties2);
    char buffer[64];
    uint32_t size = 0;
    EXPECT_EQ(importer->GetSupportedExtensions(nullptr, &size), TV_S_OK);
    EXPECT_EQ(size, 10u);
    size = 5;
    EXPECT_EQ(importer->GetSupportedExtensions(buffer, &size), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ(size, 10u);
    size = 10;
    EXPECT_EQ(lite->GetSupportedExtensions(buffer, &size), TV_S_OK);
    EXPECT_STREQ(buffer, "mp3;mpga;");
    size = 10;
    EXPECT_EQ(handler->GetSupportedMimeTypes(buffer, &size), TV_E_BUFFERTOOSMALL);
    EXPECT_EQ(size, 23u);
    size = sizeof buffer;
    EXPECT_EQ(importer->GetSupportedMimeTypes(buffer, &size), TV_S_OK);
    EXPECT_STREQ(buffer, "audio/mp3;audio/x-mp3;");
    EXPECT_EQ(lite->GetSupportedMimeTypes(buffer, nullptr), TV_E_FAIL);
    EXPECT_EQ(importer->SetOption2(3, 4), TV_S_OK) << "options it does not know are accepted";
}

TEST_F(Mp3Importer, RefusesBadArgumentsAndWorksOnlyWithAFile) {
    auto importer = NewImporter();
    auto lite = QueryAs<IMPAInterrogateLite>(importer, IID_IMPAInterrogateLite);
    auto handler = QueryAs<IMPAHandleMetaProperties2>(importer, IID_IMPAHandleMetaProperties2);
    EXPECT_EQ(importer->SetFilename(""), TV_E_INVALIDARG);
    EXPECT_EQ(importer->SetFilename(nullptr), TV_E_INVALIDARG);
    EXPECT_EQ(lite->SetFilename(""), TV_E_INVALIDARG);
    EXPECT_EQ(handler->SetFilename(nullptr), TV_E_INVALIDARG);
    EXPECT_EQ(importer->Interrogate(nullptr), TV_E_POINTER);
    EXPECT_EQ(lite->InterrogateLite(nullptr), TV_E_POINTER);
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_EQ(importer->Interrogate(tree.put()), TV_E_NOTLOADED);
    EXPECT_EQ(lite->InterrogateLite(tree.put()), TV_E_NOTLOADED);
    EXPECT_FALSE(tree);
    auto node = HostTree();
    uint8_t byte = 0;
    EXPECT_EQ(handler->GetPropertyData(node.get(), &byte, 1), TV_E_NOTLOADED);
    EXPECT_EQ(handler->SavePropertyData(node.get(), dir_.file("x").c_str()), TV_E_NOTLOADED);
    EXPECT_EQ(handler->GetPropertyData(nullptr, &byte, 1), TV_E_POINTER);
    EXPECT_EQ(handler->GetPropertyData(node.get(), nullptr, 1), TV_E_POINTER);
    EXPECT_EQ(handler->SavePropertyData(node.get(), nullptr), TV_E_POINTER);
}

TEST_F(Mp3Importer, OpensEachFileAfresh) {
    const std::string first = dir_.write("first.mp3", Mp3File(TextFrame("TIT2", "First")));
    const std::string second = dir_.write("second.mp3", Mp3File(TextFrame("TIT2", "Second")));
    auto importer = NewImporter();
    ComPtr<IMPAMetaProperty> tree;
    ASSERT_EQ(importer->SetFilename(first.c_str()), TV_S_OK);
    ASSERT_EQ(importer->Interrogate(tree.put()), TV_S_OK);
    EXPECT_EQ(TextAt(tree.get(), "Track:Name"), "First");
    // Asked again, the tree already read.
    ComPtr<IMPAMetaProperty> again;
    ASSERT_EQ(importer->Interrogate(again.put()), TV_S_OK);
    EXPECT_EQ(TextAt(again.get(), "Track:Name"), "First");
    ASSERT_EQ(importer->SetFilename(second.c_str()), TV_S_OK);
    ASSERT_EQ(importer->Interrogate(tree.put()), TV_S_OK);
    EXPECT_EQ(TextAt(tree.get(), "Track:Name"), "Second");
    EXPECT_EQ(TextAt(tree.get(), "Statistics:Filename"), second);
}

TEST_F(Mp3Importer, LightFormReadsOnlyTheId3v1Tag) {
    const std::string path =
        dir_.write("both.mp3", Mp3File(TextFrame("TIT2", "V2 Title") + TextFrame("TPE1", "V2 Artist"),
                                  Id3v1("V1 Title", "", "V1 Album", "1999", 4, 17)));
    const auto light = Interrogate(path, CLSID_CImportMP3File, true);
    ASSERT_EQ(light.result, TV_S_OK);
    EXPECT_EQ(light.text("Track:Name"), "V1 Title");
    EXPECT_EQ(light.text("Album:Name"), "V1 Album");
    EXPECT_EQ(light.text("Track:Genre"), "Rock");
    EXPECT_EQ(light.text("Track:CD Track #"), "04");
    EXPECT_EQ(light.number("Track:Year"), 1999u);
    EXPECT_FALSE(light.has("Artist:Name"));
    // Light and full forms find the audio in the same place.
    EXPECT_EQ(light.number("Statistics:Quality"), 96000u);
    // The full form, asked after a light open, reads the ID3v2 tag too.
    ComPtr<IMPAMetaProperty> full;
    ASSERT_EQ(light.importer->Interrogate(full.put()), TV_S_OK);
    EXPECT_EQ(TextAt(full.get(), "Track:Name"), "V2 Title");
    EXPECT_EQ(TextAt(full.get(), "Artist:Name"), "V2 Artist");
    EXPECT_EQ(TextAt(full.get(), "Album:Name"), "V1 Album");
    EXPECT_EQ(NumberAt(full.get(), "Statistics:Length"), light.number("Statistics:Length"));
}

TEST_F(Mp3Importer, BadFilesFailCleanly) {
    struct Bad {
        const char* name;
        Bytes bytes;
    } files[] = {
        {"empty.mp3", {}},
        {"zeros.mp3", Bytes(100000, 0)},
        {"text.mp3", B(std::string(5000, 'a'))},
        {"tag-only.mp3", Tag(3, 0, TextFrame("TIT2", "No audio"))},
        {"korvamedia.mp3", B(".KMF") + PlainAudio()},
    };
    for (const Bad& bad : files) {
        const std::string path = dir_.write(bad.name, bad.bytes);
        auto importer = NewImporter();
        EXPECT_EQ(importer->SetFilename(path.c_str()), TV_E_FAIL) << bad.name;
        ComPtr<IMPAMetaProperty> tree;
        EXPECT_EQ(importer->Interrogate(tree.put()), TV_E_NOTLOADED) << bad.name;
        auto lite = QueryAs<IMPAInterrogateLite>(importer, IID_IMPAInterrogateLite);
        EXPECT_EQ(lite->SetFilename(path.c_str()), TV_E_FAIL) << bad.name;
    }
    auto importer = NewImporter();
    EXPECT_EQ(importer->SetFilename(dir_.path().c_str()), TV_E_FAIL);  // a folder
    EXPECT_EQ(importer->SetFilename("/dev/null"), TV_E_FAIL);
    const std::string fifo = dir_.file("fifo.mp3");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(importer->SetFilename(fifo.c_str()), TV_E_FAIL);  // and does not block
    if (geteuid() != 0) {  // root reads any file
        const std::string locked = dir_.write("locked.mp3", Mp3File(TextFrame("TIT2", "T")));
        ASSERT_EQ(chmod(locked.c_str(), 0), 0);
        EXPECT_EQ(importer->SetFilename(locked.c_str()), TV_E_FAIL);
    }
}

TEST_F(Mp3Importer, TruncatedFilesNeverCrash) {
    const Bytes whole = Mp3File(TextFrame("TIT2", "Cut") + PictureFrame(test::Pattern(3000)), Id3v1("V1"));
    for (size_t cut : {size_t(5), size_t(10), size_t(200), size_t(3050), size_t(4000), size_t(20000), whole.size() - 1}) {
        const std::string path = dir_.write("cut.mp3", Bytes(whole.begin(), whole.begin() + cut));
        const auto got = Interrogate(path);
        // Either refused, or read with whatever statistics the audio left gives.
        if (Succeeded(got.open)) {
            EXPECT_TRUE(Succeeded(got.result)) << cut;
        } else {
            EXPECT_EQ(got.open, TV_E_FAIL) << cut;
        }
    }
}

}  // namespace
}  // namespace tagvera::testing
