// The id3lib adapter: what the library cannot hold is kept aside and still rendered.
#include <gtest/gtest.h>

#include <algorithm>

#include "id3v2/tag_builder.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera::testing {
namespace {

id3v2::Frame MakeFrame(const std::string& id, const Bytes& payload) {
    id3v2::Frame f;
    f.id = f.sourceId = id;
    f.payload = payload;
    return id3v2::NormalizeFrame(f);
}

std::vector<std::string> Ids(const std::vector<id3v2::Frame>& frames) {
    std::vector<std::string> ids;
    for (const auto& f : frames) ids.push_back(f.id);
    std::sort(ids.begin(), ids.end());
    return ids;
}

TEST(Id3libAdapter, UnknownFramesAreKeptAsideAndRendered) {
    id3v2::Id3libTag lib;
    lib.Load({MakeFrame("TIT2", Latin1Text("Title")), MakeFrame("TSOP", Latin1Text("Sort")),
              MakeFrame("XYZW", Bytes{1, 2, 3}), MakeFrame("COMM", Bytes{1} + B("eng") + Bytes{0, 0} + Bytes{0xFF, 0xFE, 'c', 0})});
    auto aside = lib.AsideIds();
    std::sort(aside.begin(), aside.end());
    EXPECT_EQ(aside, (std::vector<std::string>{"TSOP", "XYZW"}));
    EXPECT_EQ(lib.FrameCount(), 4u);
    EXPECT_FALSE(lib.changed());
    const auto tag = id3v2::ParseTag(lib.Render(0));
    EXPECT_EQ(Ids(tag.frames), (std::vector<std::string>{"COMM", "TIT2", "TSOP", "XYZW"}));
    EXPECT_EQ(tag.paddingSize, 0u);
}

}  // namespace
}  // namespace tagvera::testing
