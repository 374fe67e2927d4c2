// Every ID3 fixture: the frame layer yields each frame its .expect.json lists, field by
// field, text exact; the tag library, given the normalised tag, keeps every frame it takes.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "id3v2/fixture_list.h"
#include "id3v2/json_value.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/frame_ids.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"
#include "platform/file.h"

namespace tagvera::testing {
namespace {

using id3v2::Frame;

// True when actual has every field expected lists (alt spellings allowed for the first text;
// with loose, desc and lang may differ).
bool FrameMatches(const Json& expected, const Json& actual, bool loose) {
    for (const auto& [key, value] : expected.object) {
        if (key == "alt") continue;
        if (loose && (key == "desc" || key == "lang")) continue;
        if (!actual.has(key)) return false;
        const Json& got = actual[key];
        if (key == "text" && expected.has("alt")) {
            const auto alts = expected["alt"].strings();
            const auto texts = got.strings();
            if (texts.size() == 1 && std::find(alts.begin(), alts.end(), texts[0]) != alts.end()) continue;
        }
        // Strings, numbers and lists of strings compare; what else a frame holds is not compared.
        if (value.kind != got.kind || value.string != got.string || value.number != got.number ||
            value.strings() != got.strings())
            return false;
    }
    return true;
}

std::string Describe(const Json& frame) {
    std::string s = frame.has("id") ? frame["id"].string : "?";
    if (frame.has("desc")) s += " desc=" + frame["desc"].string;
    if (frame.has("text") && !frame["text"].array.empty()) s += " text=" + frame["text"].array[0].string;
    return s;
}

// Each expected frame matched to its own actual frame; without loose, nothing left over.
void ExpectFrames(const Json& expected, const Json& actual, bool loose, const std::string& what) {
    std::vector<bool> used(actual.array.size(), false);
    for (const auto& e : expected.array) {
        bool found = false;
        for (size_t i = 0; i < actual.array.size() && !found; ++i) {
            if (used[i] || actual.array[i]["id"].string != e["id"].string) continue;
            if (FrameMatches(e, actual.array[i], loose)) used[i] = found = true;
        }
        EXPECT_TRUE(found) << what << ": no frame matches " << Describe(e);
    }
    if (!loose) {
        EXPECT_EQ(actual.array.size(), expected.array.size()) << what << ": frame count";
    }
}

class FixtureFrames : public ::testing::TestWithParam<std::string> {};

TEST_P(FixtureFrames, FrameLayerYieldsEveryExpectedFrame) {
    if (const std::string why = SkipReason(GetParam()); !why.empty()) GTEST_SKIP() << why;
    const std::string base = GetParam();
    const Json expected = JsonParser::Parse(ReadText(base + ".expect.json"));
    platform::File file(base + ".mp3", platform::OpenMode::Read);
    const std::string report = id3v2::FramesJson(file);
    const Json actual = JsonParser::Parse(report);
    const bool loose = expected.has("loose") && expected["loose"].boolean;
    EXPECT_EQ(actual["version"].string, expected["version"].string);
    ExpectFrames(expected["frames"], actual["frames"], loose, "frames");
    if (expected.has("second_tag")) {
        ASSERT_TRUE(actual.has("second_tag"));
        ExpectFrames(expected["second_tag"], actual["second_tag"], false, "second tag");
    }
    // Well-formed fixtures read without complaint.
    EXPECT_FALSE(actual.has("warnings")) << report;
}

// Fingerprint of a frame: id and payload.
std::multiset<std::string> Prints(const std::vector<Frame>& frames) {
    std::multiset<std::string> out;
    for (const auto& f : frames) out.insert(f.id + ":" + std::string(f.payload.begin(), f.payload.end()));
    return out;
}

TEST_P(FixtureFrames, TagLibraryKeepsTheNormalisedTag) {
    if (const std::string why = SkipReason(GetParam()); !why.empty()) GTEST_SKIP() << why;
    platform::File file(GetParam() + ".mp3", platform::OpenMode::Read);
    const auto tags = id3v2::ReadFileTags(file);
    id3v2::NormalizeOptions options;
    options.trailingFields = true;
    const auto normal = id3v2::NormalizeToV23(tags, options);
    EXPECT_TRUE(normal.dropped.empty());
    ASSERT_EQ(normal.fields.size(), normal.frames.size());
    for (size_t i = 0; i < normal.frames.size(); ++i)
        EXPECT_TRUE(id3v2::SameFields(normal.fields[i], id3v2::DecodeFields(normal.frames[i]))) << normal.frames[i].id;
    id3v2::Id3libTag lib;
    lib.Load(normal.frames);
    EXPECT_EQ(Prints(lib.Frames()), Prints(normal.frames));
    // Only frames the library cannot know are kept aside by us.
    for (const auto& id : lib.AsideIds()) {
        EXPECT_TRUE(id3v2::IsV24OnlyId(id) || id3v2::KindOf(id) == id3v2::FrameKind::Binary) << id;
    }
    // The render reads back as the same frames.
    const auto rendered = lib.Render(100);
    const auto back = id3v2::ParseTag(rendered);
    EXPECT_EQ(back.paddingSize, 100u);
    EXPECT_EQ(Prints(back.frames), Prints(normal.frames));
}

INSTANTIATE_TEST_SUITE_P(Id3, FixtureFrames, ::testing::ValuesIn(FixtureCases()), FixtureName);

}  // namespace
}  // namespace tagvera::testing
