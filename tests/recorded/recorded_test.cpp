// Recorded files: the trailer as bytes, and the importer's writes through the host, with the FLV
// stream checked by ffmpeg afterwards (its packets unchanged).
#include <gtest/gtest.h>

#include "cli/run_cli.h"
#include "host/host.h"
#include "metaprop/property_access.h"
#include "platform/scratch_dir.h"
#include "recorded/recorded_trailer.h"
#include "tagvera/importer.h"

namespace tagvera::recorded {
namespace {

using Bytes = std::vector<uint8_t>;
using test::ReadAll;

struct TrailerCase {
    const char* name;
    bool flv;
    size_t patchAt;  // from the end of media + trailer (+ tag); 0: none
    uint8_t value;
    bool withTag;
    bool found;
};

TEST(RecordedTrailer, FoundOnlyWhereItFits) {
    const TrailerCase cases[] = {
        {"REC", false, 0, 0, false, false},  // a ".REC" trailer is found behind a tag only
        {"REC with tag", false, 0, 0, true, true},
        {"FLV", true, 0, 0, false, true},
        {"FLV with tag", true, 0, 0, true, false},  // the tag hides the previous-tag size
        {"FLV, wrong tag type", true, 4 + 12 + 40 + 11, 0x12, false, false},
        {"FLV, wrong magic", true, 4 + 12, 'X', false, false},
        {"REC, version 2", false, 128 + 4 + 1, 2, true, false},
        {"REC, block longer than the file", false, 128 + 4, 0x7F, true, false},
    };
    const Bytes block(40, 'b');
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes file(100, 'm');
        const Bytes trailer = RenderTrailer(block, c.flv);
        file.insert(file.end(), trailer.begin(), trailer.end());
        if (c.withTag) {
            file.insert(file.end(), {'T', 'A', 'G'});
            file.resize(file.size() + 125);
        }
        if (c.patchAt) file[file.size() - c.patchAt] = c.value;
        MemorySource source(file);
        const auto place = FindTrailer(source, c.flv);
        ASSERT_EQ(place.has_value(), c.found);
        if (c.found) {
            EXPECT_EQ(place->start(), 100u);
        }
    }
}

class RecordedWrite : public ::testing::Test {
protected:
    host::Host host{[] {
        host::HostOptions o;
        o.libraryPath = TAGVERA_LIBRARY_PATH;
        o.directories = {{"DT_Plugins", TAGVERA_MEDIA_PLATFORM_DIR}};
        return o;
    }()};
    test::ScratchDir dir;

    // Writes title (forced) and returns the title read back.
    std::string WriteTitle(const std::string& path, const std::string& title) {
        auto importer = host.CreateAs<IMPAHandleMetaProperties>(CLSID_CImportCFSFile, IID_IMPAHandleMetaProperties);
        EXPECT_EQ(importer->SetFilename(path.c_str()), TV_S_OK);
        ComPtr<IMPAMetaProperty> tree;
        host.NewPropertyTree(tree.put());
        tree->AddText("Track:Name", title.c_str(), 0, true, nullptr);
        EXPECT_EQ(importer->WriteMetaProperties(tree.get(), nullptr, 1), TV_S_OK);
        auto reader = QueryAs<IMPAInterrogateFile>(importer, IID_IMPAInterrogateFile);
        ComPtr<IMPAMetaProperty> read, track;
        EXPECT_EQ(reader->Interrogate(read.put()), TV_S_OK);
        read->FindFirstChild("Track", track.put());
        return ChildText(track.get(), "Name");
    }
    std::string Packets(const std::string& path) {
        int status = -1;
        const std::string out = CommandOutput("ffmpeg -v error -i '" + path + "' -map 0 -c copy -f framecrc - 2>&1", &status);
        EXPECT_EQ(status, 0) << out;
        return out;
    }
};

TEST_F(RecordedWrite, FlvStaysAStreamWithTheSamePackets) {
    const std::string path = dir.copy(std::string(TAGVERA_TEST_DATA_DIR) + "/interrogate/clip.flv", "recorded.flv");
    const std::string before = Packets(path);
    EXPECT_EQ(WriteTitle(path, "First"), "First");
    EXPECT_EQ(WriteTitle(path, "A second, longer title"), "A second, longer title");
    EXPECT_EQ(Packets(path), before);
    const Bytes written = ReadAll(path);
    MemorySource file(written);
    const auto place = FindTrailer(file, true);
    ASSERT_TRUE(place);
    const Bytes tail = file.readExact(file.size() - 4, 4);
    EXPECT_EQ(uint32_t(tail[2]) << 8 | tail[3], place->blockLength + 23);
    EXPECT_EQ(file.readExact(place->start(), 1)[0], kFlvMetadataTagType);
}

TEST_F(RecordedWrite, RecKeepsOneTrailerAndOneTagAndStripsBack) {
    const Bytes media(300, 'r');
    const std::string path = dir.write("take.REC", media);
    EXPECT_EQ(WriteTitle(path, "Short"), "Short");
    EXPECT_EQ(WriteTitle(path, "Much longer than the first one"), "Much longer than the first one");
    const Bytes written = ReadAll(path);
    const std::string text(written.begin(), written.end());
    EXPECT_EQ(text.find("KMJE"), text.rfind("KMJE"));
    EXPECT_EQ(text.substr(text.size() - 128, 3), "TAG");
    EXPECT_EQ(text.find("TAG", 300), text.size() - 128);
    auto importer = host.CreateAs<IMPAHandleMetaProperties>(CLSID_CImportCFSFile, IID_IMPAHandleMetaProperties);
    ASSERT_EQ(importer->SetFilename(path.c_str()), TV_S_OK);
    EXPECT_EQ(importer->Prepare(0), TV_S_OK);
    EXPECT_EQ(ReadAll(path), media);
}

}  // namespace
}  // namespace tagvera::recorded
