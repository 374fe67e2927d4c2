// Our rules of id3lib against id3lib itself: the adapter must hold, keep aside, order and render
// the same frames through either, for the frames of every MP3 fixture and for the edge frames below.
#include <gtest/gtest.h>

#include <filesystem>

#include "base/byte_source.h"
#include "id3v2/tag_builder.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera::testing {
namespace {

using Frames = std::vector<id3v2::Frame>;

id3v2::Frame Raw(const std::string& id, const Bytes& payload, uint16_t statusFlags = 0) {
    id3v2::Frame f;
    f.id = f.sourceId = id;
    f.statusFlags = statusFlags;
    f.payload = payload;
    return f;
}
id3v2::Frame Normal(const std::string& id, const Bytes& payload) { return id3v2::NormalizeFrame(Raw(id, payload)); }

std::string Describe(const Frames& frames) {
    std::string s;
    for (const auto& f : frames) s += f.id + "/" + std::to_string(f.statusFlags) + "/" + std::to_string(f.payload.size()) + " ";
    return s;
}

void ExpectSameDecisions(const Frames& frames) {
    id3v2::Id3libTag library(id3v2::Id3libRoundTrip), rules(id3v2::Id3libRulesRoundTrip);
    library.Load(frames);
    rules.Load(frames);
    EXPECT_EQ(library.AsideIds(), rules.AsideIds());
    EXPECT_EQ(library.FrameCount(), rules.FrameCount());
    const Frames a = library.Frames(), b = rules.Frames();
    EXPECT_EQ(Describe(a), Describe(b));
    EXPECT_EQ(library.Render(0), rules.Render(0));
}

std::vector<std::string> Mp3FilesUnder(const std::string& dir) {
    std::vector<std::string> files;
    std::error_code ec;
    for (auto it = std::filesystem::recursive_directory_iterator(dir, ec); !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        if (it->path().extension() == ".mp3") files.push_back(it->path().string());
    std::sort(files.begin(), files.end());
    return files;
}

Frames NormalisedFramesOf(const std::string& path) {
    const Bytes bytes = test::ReadAll(path);
    MemorySource source{std::span<const uint8_t>(bytes)};
    id3v2::NormalizeOptions options;
    options.trailingFields = true;
    return id3v2::NormalizeToV23(id3v2::ReadFileTags(source), options).frames;
}

TEST(Id3libRules, SameDecisionsForEveryMp3Fixture) {
    const auto own = Mp3FilesUnder(TAGVERA_TEST_DATA_DIR);
    ASSERT_FALSE(own.empty());
    for (const auto& path : own) {
        SCOPED_TRACE(path);
        ExpectSameDecisions(NormalisedFramesOf(path));
    }
}

TEST(Id3libRules, SameDecisionsForEverySharedMp3Fixture) {
    const auto shared = Mp3FilesUnder(TAGVERA_FIXTURES_DIR);
    if (shared.empty()) GTEST_SKIP() << "no shared fixtures at " << TAGVERA_FIXTURES_DIR;
    for (const auto& path : shared) {
        SCOPED_TRACE(path);
        ExpectSameDecisions(NormalisedFramesOf(path));
    }
}

const Bytes kBom{0xFF, 0xFE};
Bytes Utf16(const std::string& ascii) {
    Bytes out = kBom;
    for (char c : ascii) out = out + Bytes{static_cast<uint8_t>(c), 0};
    return out;
}

struct EdgeCase {
    const char* name;
    Frames frames;
};

const std::vector<EdgeCase>& EdgeCases() {
    static const std::vector<EdgeCase> cases = {
        {"unknown and v2.4-only ids", {Raw("TIT2", Latin1Text("T")), Raw("XYZW", B("abc")), Raw("TDRC", Latin1Text("2020")),
                                       Raw("TSOP", Latin1Text("S")), Raw("RVA2", Bytes{1, 2}), Raw("TPE1", Latin1Text("A"))}},
        {"each text encoding, raw", {Raw("TIT2", Latin1Text(std::string("Title\0x", 7))), Raw("TALB", Bytes{1} + Utf16("Album")),
                                     Raw("TPE1", Bytes{1} + B("ab")), Raw("TCON", Bytes{1, 0xFE, 0xFF, 0, 'a'}), Raw("TYER", Bytes{4} + B("1999"))}},
        {"each text encoding, normalised", {Normal("TIT2", Latin1Text("T")), Normal("TALB", Bytes{1} + Utf16("A")),
                                            Normal("TPE1", Bytes{2, 0, 'B'}), Normal("TCOM", Utf8Text("C\xC3\xA9"))}},
        {"empty frames", {Raw("TIT2", {}), Raw("PRIV", {}), Raw("AENC", {}), Raw("TALB", Latin1Text("A")), Raw("WXXX", Bytes{0}),
                          Raw("TPE1", Latin1Text("B"))}},
        {"two-byte text with nothing after its mark", {Raw("TIT2", Bytes{1} + kBom), Raw("TALB", Bytes{1, 'a'}), Raw("TPE1", Latin1Text("P"))}},
        {"odd two-byte text", {Raw("TIT2", Bytes{1} + kBom + B("a")), Raw("TALB", Latin1Text("A"))}},
        {"zeros inside two-byte text", {Raw("TIT2", Bytes{1} + Utf16("a") + Bytes{0, 0} + Utf16("b")), Raw("TALB", Bytes{1, 0, 0, 'a', 0}),
                                        Raw("TPE1", Bytes{1, 0, 0, 0, 0})}},
        {"comments and lyrics", {Normal("COMM", Bytes{0} + B("eng") + B("desc") + Bytes{0} + B("text")),
                                 Normal("COMM", Bytes{1} + B("deu") + Bytes{0, 0} + Utf16("c")), Raw("COMM", Bytes{0} + B("en")),
                                 Normal("USLT", Bytes{1} + B("fra") + Utf16("d") + Bytes{0, 0} + Utf16("l")), Raw("TIT2", Latin1Text("after"))}},
        {"comment cut before its description", {Raw("COMM", Bytes{0} + B("eng")), Raw("TIT2", Latin1Text("lost"))}},
        {"user texts and links", {Normal("TXXX", Bytes{0} + B("k") + Bytes{0} + B("v")), Normal("TXXX", Bytes{1} + Utf16("k") + Bytes{0, 0} + Utf16("v")),
                                  Raw("TXXX", Bytes{1} + B("abc")), Normal("WXXX", Bytes{0} + B("d") + Bytes{0} + B("http://x")),
                                  Normal("WOAR", B("http://a")), Raw("TIT2", Latin1Text("t"))}},
        {"pictures small and large", {Normal("APIC", Bytes{0} + B("image/png") + Bytes{0, 3} + B("c") + Bytes{0} + Bytes(100, 7)),
                                      Normal("APIC", Bytes{1} + B("image/jpeg") + Bytes{0, 4} + Utf16("b") + Bytes{0, 0} + Bytes(20000, 9)),
                                      Raw("APIC", Bytes{0} + B("image/png")), Raw("TIT2", Latin1Text("t"))}},
        {"counters", {Normal("PCNT", Bytes{0, 0, 0, 5}), Normal("PCNT", Bytes{7}), Normal("POPM", B("a@b") + Bytes{0, 200, 0, 0, 1, 0}),
                      Normal("POPM", B("x") + Bytes{0, 9}), Normal("PCNT", Bytes{1, 2, 3, 4, 5}), Raw("TIT2", Latin1Text("t"))}},
        {"binary frames", {Raw("MCDI", Bytes(40, 3)), Normal("GEOB", Bytes{0} + B("a/b") + Bytes{0} + B("f") + Bytes{0} + B("d") + Bytes{0} + B("data")),
                           Normal("PRIV", B("owner") + Bytes{0} + B("x")), Normal("UFID", B("http://id") + Bytes{0} + B("123")),
                           Raw("ETCO", Bytes{1, 2}), Raw("TLEN", Latin1Text("1000"))}},
        {"duplicates", {Raw("TIT2", Latin1Text("A")), Raw("TIT2", Latin1Text("A")), Raw("TIT2", Latin1Text("B")), Raw("TXXX", Bytes{0, 'k', 0}),
                        Raw("TXXX", Bytes{0, 'k', 0})}},
        {"status flags", {Raw("TIT2", Latin1Text("a"), 0x8000), Raw("TENC", Latin1Text("e"), 0x2000), Raw("TSIZ", Latin1Text("1"))}},
        {"people lists", {Raw("IPLS", Bytes{0} + B("a") + Bytes{0, 0} + B("b")), Raw("IPLS", Bytes{0, 0} + B("(") + Bytes{0}),
                          Raw("IPLS", Bytes{1, 0, 0, 0xFF, 0}), Raw("IPLS", Bytes{0}), Raw("TIT2", Latin1Text("t"))}},
        {"frames id3lib rejects first", {Raw("TDRC", Latin1Text("2001")), Raw("WXXX", Bytes{0}), Raw("TIT2", Latin1Text("t")), Raw("TALB", Latin1Text("a"))}},
    };
    return cases;
}

class Id3libRulesEdge : public ::testing::TestWithParam<size_t> {};

TEST_P(Id3libRulesEdge, SameDecisions) {
    ExpectSameDecisions(EdgeCases()[GetParam()].frames);
}

INSTANTIATE_TEST_SUITE_P(Rows, Id3libRulesEdge, ::testing::Range<size_t>(0, EdgeCases().size()),
                         [](const ::testing::TestParamInfo<size_t>& row) {
                             std::string name = EdgeCases()[row.param].name;
                             for (char& c : name)
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
}  // namespace tagvera::testing
