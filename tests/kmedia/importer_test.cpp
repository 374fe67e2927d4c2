// CImportKMJFile as a host meets it, over generated files of every kind: statistics, the
// "Extension" mark, and which source wins for each descriptive property.
#include <gtest/gtest.h>

#include <functional>

#include "kmedia/km_generator.h"
#include "mp3_importer/importer_support.h"
#include "tagvera/components.h"

namespace tagvera::kmedia::testing {
namespace {

using tagvera::testing::Interrogate;
using tagvera::testing::Interrogation;
using tagvera::testing::NodeAt;
using tagvera::testing::NumberAt;
using tagvera::testing::TextAt;

KmFileSpec Audio(uint32_t bitRate = 64000) {
    KmFileSpec s;
    s.durationMs = 180000;
    s.content = ContentObject{.title = "Cont Title", .author = "Cont Author", .copyright = "Cont (c)"};
    s.streams = {AudioStream(0, bitRate, "kaac", 2)};
    return s;
}

struct KindCase {
    const char* name;
    const char* fileName;
    std::function<KmFileSpec()> spec;
    std::function<void(const Interrogation&)> check;
};

TEST(KmImporter, EveryGeneratedKind) {
    test::ScratchDir dir;
    const std::vector<KindCase> cases = {
        {"one audio stream", "a.kmj", [] { return Audio(); },
         [](const Interrogation& r) {
             EXPECT_EQ(r.result, TV_S_OK);
             EXPECT_EQ(r.number("Statistics:Length"), 180000u);
             EXPECT_EQ(r.number("Statistics:Quality"), 64000u);
             EXPECT_EQ(r.number("Statistics:Channels"), 2u);
             EXPECT_EQ(r.text("Statistics:Extension"), ".ka1");
             EXPECT_EQ(r.text("Statistics:MimeType"), "audio/vnd.kn-korvaaudio");
             EXPECT_EQ(r.text("Statistics:AudioCodecFourCC"), "kaac");
             EXPECT_EQ(r.text("Track:Name"), "Cont Title");
             EXPECT_EQ(r.text("Artist:Name"), "Cont Author");
             EXPECT_EQ(r.text("Track:Copyright"), "Cont (c)");
         }},
        {"audio and video", "v.km",
         [] {
             auto s = Audio(32000);
             s.streams.push_back(VideoStream(1, 500000, "KV40", 320, 240, 0x3000));
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.number("Statistics:Quality"), 532000u);
             EXPECT_EQ(r.number("Statistics:VBR"), 0u);
             EXPECT_EQ(r.number("Statistics:Width"), 320u);
             EXPECT_EQ(r.number("Statistics:Height"), 240u);
             EXPECT_EQ(r.number("Statistics:VideoBitrate"), 500000u);
             EXPECT_TRUE(NodeAt(r.tree.get(), "Statistics:HasVideo"));
             EXPECT_EQ(r.text("Statistics:Extension"), ".kv1");
             EXPECT_EQ(r.text("Statistics:MimeType"), "video/vnd.kn-korvavideo");
         }},
        {"several audio streams: the fastest gives the channels", "m.kax",
         [] {
             auto s = Audio(20000);
             s.streams.push_back(AudioStream(1, 96000, "tolk", 6, 5, 17, 0));
             s.streams.push_back(AudioStream(2, 48000, "sipr", 1, 4));
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.number("Statistics:Quality"), 96000u);
             EXPECT_EQ(r.number("Statistics:Channels"), 6u);
             EXPECT_EQ(r.text("Statistics:Surround"), "true");
             EXPECT_EQ(r.text("Statistics:Extension"), ".ka1");  // kaac ranks above the high flavour
         }},
        {"lossless", "l.km",
         [] {
             auto s = Audio();
             s.streams = {LosslessStream(0)};
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.number("Statistics:Channels"), 2u);
             EXPECT_EQ(r.number("Statistics:Quality"), 705100u);
             EXPECT_EQ(r.text("Statistics:Extension"), ".kll");
         }},
        {"no streams, no duration: incomplete", "e.mnd",
         [] {
             KmFileSpec s;
             s.withIndex = false;
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.result, TV_S_INCOMPLETE);
             EXPECT_EQ(r.text("Statistics:Extension"), ".mnd");
         }},
        {".KMS first, unknown object version, no index", "s.kms",
         [] {
             auto s = Audio();
             s.streamFileHeader = true;
             s.unknownVersionObject = true;
             s.withIndex = false;
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.result, TV_S_OK);
             EXPECT_EQ(r.text("Track:Name"), "Cont Title");
         }},
        {"title of three fields", "t.km",
         [] {
             auto s = Audio();
             s.content.title = "The Album/The Name/Jazz";
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.text("Album:Name"), "The Album");
             EXPECT_EQ(r.text("Track:Name"), "The Name");
             EXPECT_EQ(r.text("Track:Genre"), "Jazz");
         }},
        {"title of two fields gives the album only", "t2.km",
         [] {
             auto s = Audio();
             s.content.title = "The Album/The Name";
             return s;
         },
         [](const Interrogation& r) {
             EXPECT_EQ(r.text("Album:Name"), "The Album");
             EXPECT_EQ(r.text("Track:Name"), "");
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.write(c.fileName, BuildKmFile(c.spec()));
        const auto r = Interrogate(path, CLSID_CImportKMJFile);
        ASSERT_EQ(r.open, TV_S_OK);
        c.check(r);
        EXPECT_EQ(r.text("Statistics:Filename"), path);
    }
}

// The trailer before the file-info copy before ID3v1 before "CONT", property by property.
TEST(KmImporter, SourcePriority) {
    test::ScratchDir dir;
    const auto info = [](const std::string& title) {
        return FileInfoStream({NameValueProperty::Text("File ID", "x"), NameValueProperty::Buffer("KJMDTag", JukeboxBlock(title))});
    };
    struct Case {
        const char* name;
        bool trailer, fileInfo, id3v1;
        const char* title;
    };
    const std::vector<Case> cases = {
        {"trailer wins over all", true, true, true, "Trailer"},
        {"file-info copy without a trailer", false, true, true, "FileInfo"},
        {"ID3v1 before CONT", false, false, true, "Id3v1"},
        {"CONT last", false, false, false, "Cont Title"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto s = Audio();
        if (c.fileInfo) s.streams.push_back(info("FileInfo"));
        if (c.trailer) s.trailerBlock = JukeboxBlock("Trailer");
        if (c.id3v1 || c.trailer) s.id3v1 = Id3v1Bytes("Id3v1", "Id3 Artist", 255, 0, "1999");
        const std::string path = dir.write("p.kmj", BuildKmFile(s));
        const auto r = Interrogate(path, CLSID_CImportKMJFile);
        ASSERT_EQ(r.open, TV_S_OK);
        EXPECT_EQ(r.text("Track:Name"), c.title);
        // A source that has no artist leaves it to the next.
        EXPECT_EQ(r.text("Artist:Name"), c.id3v1 || c.trailer ? "Id3 Artist" : "Cont Author");
        EXPECT_EQ(r.text("Track:Genre"), "");  // genre byte 255 sets none
    }
    // A header copy in sections is joined before it is read.
    {
        const auto block = JukeboxBlock("Sectioned");
        const size_t half = block.size() / 2;
        auto sectioned = Audio();
        sectioned.streams.push_back(FileInfoStream(
            {NameValueProperty::Number("KJMDSections", 2),
             NameValueProperty::Buffer("KJMDTag", std::vector<uint8_t>(block.begin(), block.begin() + static_cast<ptrdiff_t>(half))),
             NameValueProperty::Buffer("KJMDTag2", std::vector<uint8_t>(block.begin() + static_cast<ptrdiff_t>(half), block.end()))}));
        const std::string path = dir.write("sections.kmj", BuildKmFile(sectioned));
        EXPECT_EQ(Interrogate(path, CLSID_CImportKMJFile).text("Track:Name"), "Sectioned");
    }
    // Light mode reads no jukebox block.
    auto s = Audio();
    s.trailerBlock = JukeboxBlock("Trailer");
    s.id3v1 = Id3v1Bytes("Id3v1", "", 255, 0);
    const std::string path = dir.write("light.kmj", BuildKmFile(s));
    const auto light = Interrogate(path, CLSID_CImportKMJFile, true);
    EXPECT_EQ(light.text("Track:Name"), "Id3v1");
    // ... and has no parser for on-demand data.
    auto handler = light.handler();
    ComPtr<IMPAMetaProperty> node;
    ASSERT_EQ(light.tree->FindFirstChild("Track", node.put()), TV_S_OK);
    EXPECT_EQ(handler->SavePropertyData(node.get(), dir.file("out").c_str()), TV_E_NOTLOADED);
    EXPECT_EQ(handler->SavePropertyData(nullptr, "x"), TV_E_POINTER);
}

TEST(KmImporter, OpeningFailuresGiveTheirCodes) {
    test::ScratchDir dir;
    auto bytes = BuildKmFile(Audio());
    struct Case {
        const char* name;
        std::function<void(std::vector<uint8_t>&)> damage;
        HRESULT code;
    };
    const std::vector<Case> cases = {
        {"bare KorvaAudio", [](auto& b) { b[0] = '.', b[1] = 'k', b[2] = 'a', b[3] = 0xFD; }, kKmBareKorvaAudio},
        {"not KorvaMedia", [](auto& b) { b[0] = 'R'; }, kKmNotKorvaMedia},
        {"file header version 2", [](auto& b) { b[9] = 2; }, kKmFileVersionTooNew},
        {"PROP size 0", [](auto& b) { b[22] = b[23] = b[24] = b[25] = 0; }, TV_E_FAIL},
        {"PROP size past the file", [](auto& b) { b[22] = 0x7F; }, TV_E_FAIL},
        {"cut inside CONT", [](auto& b) { b.resize(18 + 50 + 5); }, TV_E_FAIL},
        {"empty file", [](auto& b) { b.clear(); }, kKmNotKorvaMedia},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto damaged = bytes;
        c.damage(damaged);
        const std::string path = dir.write("bad.km", damaged);
        EXPECT_EQ(Interrogate(path, CLSID_CImportKMJFile).open, c.code);
    }
}

}  // namespace
}  // namespace tagvera::kmedia::testing
