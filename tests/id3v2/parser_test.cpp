// CMPAID3v2Parser as the MP3 importer uses it: linking files and buffers, reading into a tree,
// on-demand data by property, loading and saving frame data, and the interface rules.
#include <gtest/gtest.h>

#include "id3v2/tag_builder.h"
#include "mp3_importer/tree_support.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "mpeg/mpeg_test_support.h"
#include "platform/file.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

Bytes Picture(uint8_t type, const std::string& mime, const std::string& desc, uint8_t fill, size_t n) {
    return Bytes{0} + B(mime) + Bytes{0, type} + B(desc) + Bytes{0} + Bytes(n, fill);
}

// A v2.4 tag with a title, front and back covers, long lyrics and a private frame.
Bytes SampleFile() {
    const Bytes body = Frame24("TIT2", Utf8Text("Blue in Green")) +
                       Frame24("APIC", Picture(3, "image/jpeg", "front", 0x11, 300)) +
                       Frame24("APIC", Picture(4, "image/png", "back", 0x22, 200)) +
                       Frame24("USLT", Bytes{3} + B("eng") + Bytes{0} + B("la la la")) +
                       Frame24("PRIV", B("owner") + Bytes{0, 1, 2}) + Bytes(64, 0);
    return Tag(4, 0, body) + Audio();
}

class Parser : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CreateID3v2Parser(nullptr, parser_.put()), TV_S_OK); }
    ComPtr<IMPAMetaProperty> Find(const char* path) { return NodeAt(root_.get(), path); }
    // The parser's tag as it would write it, read back by the frame layer.
    id3v2::Tag Rendered() {
        uint32_t size = 0, written = 0;
        EXPECT_EQ(parser_->GetRenderedSize(&size), TV_S_OK);
        std::vector<uint8_t> tag(size);
        EXPECT_EQ(parser_->Render(tag.data(), size, &written, 0), TV_S_OK);
        return id3v2::ParseTag(tag);
    }
    ComPtr<IMPAID3v2Parser> parser_;
    ComPtr<IMPAMetaProperty> root_ = NewTree();
};

TEST_F(Parser, AnswersOnlyItsOwnInterfaces) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(parser_->QueryInterface(IID_IUnknown, unknown.putVoid()), TV_S_OK);
    ComPtr<IMPAID3v2Parser> again;
    EXPECT_EQ(unknown->QueryInterface(IID_IMPAID3v2Parser, again.putVoid()), TV_S_OK);
    EXPECT_EQ(again.get(), parser_.get());
    ComPtr<IUnknown> other;
    EXPECT_EQ(parser_->QueryInterface(IID_IMPAMetaProperty, other.putVoid()), TV_E_NOINTERFACE);
    EXPECT_EQ(CreateID3v2Parser(nullptr, nullptr), TV_E_POINTER);
}

TEST_F(Parser, TwoCoversOneProperty_DataByProperty) {
    ASSERT_EQ(parser_->LinkBuffer(SampleFile().data(), uint32_t(SampleFile().size())), TV_S_OK);
    ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    auto cover = Find("Album:Cover Art");
    ASSERT_TRUE(cover);
    uint32_t count = 0;
    Find("Album")->GetChildCount("Cover Art", &count);
    EXPECT_EQ(count, 1u);  // the front cover came first and stays
    std::vector<uint8_t> buffer(300);
    ASSERT_EQ(parser_->GetFrameData(cover.get(), buffer.data(), 300), TV_S_OK);
    EXPECT_EQ(buffer, Bytes(300, 0x11));
    EXPECT_EQ(parser_->GetFrameData(nullptr, buffer.data(), 300), TV_E_POINTER);
    // A text property has no frame data behind it.
    EXPECT_EQ(parser_->GetFrameData(Find("Track:Name").get(), buffer.data(), 300), TV_E_FAIL);

    // The data goes to a file as it is.
    const std::string out = WriteTemp("cover.jpg", {});
    ASSERT_EQ(parser_->SaveFrameDataToFile(cover.get(), out.c_str()), TV_S_OK);
    EXPECT_EQ(test::ReadAll(out), Bytes(300, 0x11));
    // Short buffers and lyrics as text are the fixture tests' (every fixture's cover and lyrics).
}

TEST_F(Parser, FrameDataLoadedFromAFileIsRendered) {
    ASSERT_EQ(parser_->LinkBuffer(SampleFile().data(), uint32_t(SampleFile().size())), TV_S_OK);
    ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    const std::string picture = WriteTemp("new.jpg", Bytes(50, 0x33));
    ASSERT_EQ(parser_->SetFrameDataFromFile(Find("Album:Cover Art").get(), picture.c_str()), TV_S_OK);
    const std::string lyrics = WriteTemp("lyrics.txt", B("new words ü"));
    ASSERT_EQ(parser_->SetFrameDataFromFile(Find("Track:Lyrics").get(), lyrics.c_str()), TV_S_OK);
    EXPECT_EQ(parser_->SetFrameDataFromFile(Find("Track:Name").get(), lyrics.c_str()), TV_E_FAIL);

    const auto parsed = Rendered();
    std::vector<std::string> ids;
    bool sawNewCover = false, sawNewLyrics = false;
    for (const auto& f : parsed.frames) {
        ids.push_back(f.id);
        const auto fields = id3v2::DecodeFields(f);
        if (f.id == "APIC" && fields.pictureType == 3) sawNewCover = Bytes(fields.data.begin(), fields.data.end()) == Bytes(50, 0x33);
        if (f.id == "USLT") sawNewLyrics = fields.values.at(0) == "new words ü";
    }
    EXPECT_TRUE(sawNewCover);
    EXPECT_TRUE(sawNewLyrics);
    // Nothing was lost on the way through the tag library: the private frame and the back cover too.
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "APIC"), 2);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "PRIV"), 1);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "TIT2"), 1);
}

TEST_F(Parser, TrailingTagsOnlyWhenAskedFor) {
    Bytes v1 = B("TAG") + B("V1 Title");
    v1.resize(128, 0);
    v1[127] = 17;
    const Bytes file = Tag(3, 0, Frame23("TALB", Latin1Text("Album"))) + Audio() + v1;
    const std::string path = WriteTemp("v1.mp3", file);
    uint32_t tagSize = 0;
    ASSERT_EQ(parser_->LinkFile(path.c_str(), &tagSize, kLinkId3v2Only), TV_S_OK);
    ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    EXPECT_TRUE(Find("Album:Name"));
    EXPECT_FALSE(Find("Track:Name"));
    auto root2 = NewTree();
    ASSERT_EQ(parser_->LinkFile(path.c_str(), &tagSize, kLinkTrailingTags), TV_S_OK);
    ASSERT_EQ(parser_->ReadProperties(root2.get()), TV_S_OK);
    EXPECT_EQ(TextAt(root2.get(), "Track:Name"), "V1 Title");
    EXPECT_EQ(TextAt(root2.get(), "Track:Genre"), "Rock");
    // Clear forgets the file (where the audio starts is checked with the damaged tags).
    ASSERT_EQ(parser_->Clear(), TV_S_OK);
    EXPECT_EQ(parser_->ReadProperties(root2.get()), TV_E_FAIL);
}

TEST_F(Parser, V24DatesAndPeopleReadAsTheirV23Properties) {
    const Bytes body = Frame24("TDRC", Utf8Text("2004-07-09T10:30")) +
                       Frame24("TIPL", Utf8Text(std::string("producer\0Ann", 12))) +
                       Frame24("TMCL", Utf8Text(std::string("bass\0Bob", 8)));
    const Bytes file = Tag(4, 0, body) + Audio();
    ASSERT_EQ(parser_->LinkBuffer(file.data(), uint32_t(file.size())), TV_S_OK);
    ASSERT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
    EXPECT_EQ(NumberAt(root_.get(), "Track:Year"), 2004u);
    auto people = Find("Credits:All Other Credits");
    ASSERT_TRUE(people);
    const uint8_t* d = nullptr;
    uint32_t n = 0;
    people->GetValue(&d, &n);
    EXPECT_EQ(Bytes(d, d + n), B(std::string("producer\0Ann\0bass\0Bob\0\0", 23)));
}

// Large covers stay in the file until their data is asked for: reading a library's tags must not
// cost the covers, and the bytes handed out later must still be the file's own.
class LargePicture : public Parser, public ::testing::WithParamInterface<uint8_t> {
protected:
    static constexpr size_t kCover = 100 * 1024;
    static Bytes Cover() { return test::Pattern(kCover, 7); }
    // Title, a large front cover (description in UTF-16), lyrics after it, padding.
    static Bytes File(uint8_t major, const std::string& description = "front") {
        Bytes desc = Bytes{0xFF, 0xFE};
        for (char c : description) desc = desc + Bytes{uint8_t(c), 0};
        const Bytes apic = Bytes{1} + B("image/jpeg") + Bytes{0, 3} + desc + Bytes{0, 0} + Cover();
        auto frame = [&](const std::string& id, const Bytes& payload) {
            return major == 4 ? Frame24(id, payload) : Frame23(id, payload);
        };
        const Bytes body = frame("TIT2", Latin1Text("Nefertiti")) + frame("APIC", apic) +
                           frame("USLT", Bytes{0} + B("eng") + Bytes{0} + B("words after the cover")) + Bytes(900, 0);
        return Tag(major, 0, body) + Audio();
    }
    uint64_t LinkCounting(const std::string& path) {
        platform::File file(path, platform::OpenMode::Read);
        CountingSource counting(file);
        uint32_t tagSize = 0;
        EXPECT_EQ(parser_->LinkSource(&counting, path.c_str(), &tagSize, 0), TV_S_OK);
        EXPECT_EQ(parser_->ReadProperties(root_.get()), TV_S_OK);
        return counting.bytesRead;
    }
    std::vector<uint8_t> CoverData(HRESULT expect = TV_S_OK) {
        std::vector<uint8_t> buffer(kCover);
        EXPECT_EQ(parser_->GetFrameData(Find("Album:Cover Art").get(), buffer.data(), uint32_t(buffer.size())), expect);
        return buffer;
    }
};

TEST_P(LargePicture, ReadingLeavesTheDataInTheFileAndHandsItOutOnDemand) {
    const std::string path = WriteTemp("large_cover.mp3", File(GetParam()));
    EXPECT_LT(LinkCounting(path), 32u * 1024);
    EXPECT_TRUE(Find("Track:Lyrics"));  // the frame after the cover
    EXPECT_EQ(NumberAt(Find("Album:Cover Art").get(), "DataSize"), kCover);
    EXPECT_EQ(CoverData(), Cover());
}

TEST_P(LargePicture, AFileChangedSinceReadingIsNoticed) {
    const std::string path = WriteTemp("changed_cover.mp3", File(GetParam()));
    LinkCounting(path);
    // Another tagger rewrote the tag: the cover frame now starts elsewhere.
    Bytes other = File(GetParam(), "a much longer description");
    WriteTemp("changed_cover.mp3", Tag(3, 0, Frame23("TIT2", Latin1Text("x")) + Bytes(40, 0)) + other);
    CoverData(TV_E_FAIL);
}

TEST_P(LargePicture, RenderingBringsTheDataBackIntoTheTag) {
    const std::string path = WriteTemp("render_cover.mp3", File(GetParam()));
    LinkCounting(path);
    int pictures = 0;
    for (const auto& f : Rendered().frames) {
        if (f.id != "APIC") continue;
        ++pictures;
        const auto fields = id3v2::DecodeFields(f);
        EXPECT_EQ(fields.desc, "front");
        EXPECT_EQ(Bytes(fields.data.begin(), fields.data.end()), Cover());
    }
    EXPECT_EQ(pictures, 1);
}

TEST_P(LargePicture, ADescriptionLongerThanWhatIsProbedMeansReadingItAll) {
    const std::string path = WriteTemp("long_description.mp3", File(GetParam(), std::string(5000, 'd')));
    EXPECT_GT(LinkCounting(path), kCover);
    EXPECT_EQ(CoverData(), Cover());
}

INSTANTIATE_TEST_SUITE_P(Versions, LargePicture, ::testing::Values(uint8_t(3), uint8_t(4)),
                         [](const auto& p) { return "v2_" + std::to_string(p.param); });

}  // namespace
}  // namespace tagvera::testing
