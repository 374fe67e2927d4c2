// CImportKMJFile as a host meets it, over generated files of every kind: statistics, the
// "Extension" mark, and which source wins for each descriptive property.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "kmedia/km_generator.h"
#include "mp3_importer/importer_support.h"
#include "tagvera/components.h"

namespace tagvera::kmedia::testing {
namespace {

using tagvera::testing::Interrogate;
using tagvera::testing::Interrogation;

KmFileSpec Audio() {
    KmFileSpec s;
    s.durationMs = 180000;
    s.content = ContentObject{.title = "Cont Title", .author = "Cont Author", .copyright = "Cont (c)"};
    s.streams = {AudioStream(0, 64000, "kaac", 2)};
    return s;
}

// A kind of file: how it differs from Audio(), and what the importer makes of it.
struct KindCase {
    const char* name;
    const char* fileName;
    std::function<void(KmFileSpec&)> shape;
    HRESULT result;
    std::map<std::string, uint32_t> statistics;  // numbers under "Statistics:"
    std::map<std::string, std::string> texts;    // by path; "" where there is none
    bool video = false;
};

TEST(KmImporter, EveryGeneratedKind) {
    test::ScratchDir dir;
    const auto title = [](const char* text) { return [text](KmFileSpec& s) { s.content.title = text; }; };
    const KindCase cases[] = {
        {"one audio stream", "a.kmj", [](KmFileSpec&) {}, TV_S_OK, {{"Length", 180000}, {"Quality", 64000}, {"Channels", 2}},
         {{"Statistics:Extension", ".ka1"}, {"Statistics:MimeType", "audio/vnd.kn-korvaaudio"},
          {"Statistics:AudioCodecFourCC", "kaac"}, {"Track:Name", "Cont Title"}, {"Artist:Name", "Cont Author"},
          {"Track:Copyright", "Cont (c)"}}},
        {"audio and video", "v.km",
         [](KmFileSpec& s) { s.streams = {AudioStream(0, 32000, "kaac", 2), VideoStream(1, 500000, "KV40", 320, 240, 0x3000)}; },
         TV_S_OK, {{"Quality", 532000}, {"VBR", 0}, {"Width", 320}, {"Height", 240}, {"VideoBitrate", 500000}},
         {{"Statistics:Extension", ".kv1"}, {"Statistics:MimeType", "video/vnd.kn-korvavideo"}}, true},
        // The fastest stream gives the channels; kaac ranks above the high flavour for the extension.
        {"several audio streams", "m.kax",
         [](KmFileSpec& s) {
             s.streams = {AudioStream(0, 20000, "kaac", 2), AudioStream(1, 96000, "tolk", 6, 5, 17, 0),
                          AudioStream(2, 48000, "sipr", 1, 4)};
         },
         TV_S_OK, {{"Quality", 96000}, {"Channels", 6}}, {{"Statistics:Surround", "true"}, {"Statistics:Extension", ".ka1"}}},
        {"lossless", "l.km", [](KmFileSpec& s) { s.streams = {LosslessStream(0)}; }, TV_S_OK,
         {{"Channels", 2}, {"Quality", 705100}}, {{"Statistics:Extension", ".kll"}}},
        {"no streams, no duration: incomplete", "e.mnd", [](KmFileSpec& s) { s = KmFileSpec{.withIndex = false}; },
         TV_S_INCOMPLETE, {}, {{"Statistics:Extension", ".mnd"}}},
        {".KMS first, unknown object version, no index", "s.kms",
         [](KmFileSpec& s) { s.streamFileHeader = s.unknownVersionObject = true, s.withIndex = false; }, TV_S_OK, {},
         {{"Track:Name", "Cont Title"}}},
        {"title of three fields", "t.km", title("The Album/The Name/Jazz"), TV_S_OK, {},
         {{"Album:Name", "The Album"}, {"Track:Name", "The Name"}, {"Track:Genre", "Jazz"}}},
        {"title of two fields gives the album only", "t2.km", title("The Album/The Name"), TV_S_OK, {},
         {{"Album:Name", "The Album"}, {"Track:Name", ""}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KmFileSpec spec = Audio();
        c.shape(spec);
        const std::string path = dir.write(c.fileName, BuildKmFile(spec));
        const auto r = Interrogate(path, CLSID_CImportKMJFile);
        ASSERT_EQ(r.open, TV_S_OK);
        EXPECT_EQ(r.result, c.result);
        for (const auto& [name, value] : c.statistics) EXPECT_EQ(r.number(("Statistics:" + name).c_str()), value) << name;
        for (const auto& [at, value] : c.texts) EXPECT_EQ(r.text(at.c_str()), value) << at;
        EXPECT_EQ(r.has("Statistics:HasVideo"), c.video);
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
