// One case per bug found so far: the file that shows it (tests/data/regress/<what broke>.mp3, made
// by tools/make-id3-fixtures.py; a .kmj is a sample that make_kmedia_files writes; a .wma is the
// fuzzer's input as it found it) through the
// built library as a host drives it, and the fixed behaviour checked.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/byte_source.h"
#include "mp3/mpeg/scan.h"
#include "mp3_importer/importer_support.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"
#include "cli/run_cli.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/tag_reader.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {
namespace {

std::string WriteReport(IMPAInterrogateFile* importer) {
    char report[1024];
    uint32_t size = sizeof report;
    if (Failed(QueryAs<IMPAWriteReport>(importer, IID_IMPAWriteReport)->GetWriteReport(report, &size))) return {};
    return report;
}

// A copy of path in dir whose title a new importer sets to "new" and writes back; the importer
// stays open on it.
struct TitleWritten {
    std::string copy;
    ComPtr<IMPAInterrogateFile> importer;
    HRESULT result = TV_E_FAIL;
};

TitleWritten WriteTitleToACopy(const test::ScratchDir& dir, const std::string& path) {
    TitleWritten w{dir.copy(path), NewImporter()};
    ComPtr<IMPAMetaProperty> tree, title;
    if (Failed(w.importer->SetFilename(w.copy.c_str())) || Failed(w.importer->Interrogate(tree.put()))) return w;
    tree->AddText("Track:Name", "new", 0, true, title.put());
    title->SetChanged(kChanged);
    auto writer = QueryAs<IMPAHandleMetaProperties2>(w.importer.get(), IID_IMPAHandleMetaProperties2);
    w.result = writer->WriteMetaProperties2(tree.get(), writer.get(), 0, 0);
    return w;
}

// Descriptors of this process open on path.
int HandlesOn(const std::string& path) {
    int n = 0;
    std::error_code ec;
    for (const auto& fd : std::filesystem::directory_iterator("/proc/self/fd", ec))
        n += std::filesystem::read_symlink(fd.path(), ec) == std::filesystem::canonical(path);
    return n;
}

void FailedOpenKeptTheFileOpen(const std::string& path) {
    auto importer = NewImporter();
    ASSERT_EQ(importer->SetFilename(TAGVERA_TEST_DATA_DIR "/mp3/cbr_96k_44k_notag.mp3"), TV_S_OK);
    EXPECT_TRUE(Failed(importer->SetFilename(path.c_str())));
    EXPECT_EQ(HandlesOn(path), 0);
    ComPtr<IMPAMetaProperty> tree;
    EXPECT_TRUE(Failed(importer->Interrogate(tree.put())));
    EXPECT_FALSE(tree);
}

void SizeAfterWriteWasTheOldOne(const std::string& path) {
    test::ScratchDir dir;
    const auto [copy, importer, result] = WriteTitleToACopy(dir, path);
    ASSERT_EQ(result, TV_S_OK);
    ComPtr<IMPAMetaProperty> again;
    ASSERT_TRUE(Succeeded(importer->Interrogate(again.put())));
    EXPECT_GT(platform::FileSize(copy), std::filesystem::file_size(path));
    EXPECT_EQ(NumberAt(again.get(), "Statistics:FileSize"), platform::FileSize(copy));
}

void EmptyUrlFrameSurvivedAWrite(const std::string& path) {
    test::ScratchDir dir;
    const auto [copy, importer, result] = WriteTitleToACopy(dir, path);
    ASSERT_EQ(result, TV_S_OK);
    const std::string report = WriteReport(importer.get());
    EXPECT_NE(report.find("lost: WOAR"), std::string::npos) << report;
    // Readers skip an empty frame with a warning.
    platform::File file(copy, platform::OpenMode::Read);
    const std::string frames = id3v2::FramesJson(file);
    EXPECT_EQ(frames.find("warnings"), std::string::npos) << frames;
}

void GarbageBeforeAShortStream(const std::string& path) {
    const Bytes bytes = test::ReadAll(path);
    MemorySource source(bytes);
    Mp3AudioInfo info;
    ASSERT_EQ(ScanMp3Audio(source, 0, &info), TV_S_OK);
    EXPECT_GT(info.durationMs, 0u);
}

void DataAskedOfATextProperty(const std::string& path) {
    const auto got = Interrogate(path);
    ASSERT_TRUE(Succeeded(got.result));
    auto title = NodeAt(got.tree.get(), "Track:Name");
    ASSERT_TRUE(title);
    uint8_t buffer[64];
    EXPECT_EQ(got.handler()->GetPropertyData(title.get(), buffer, sizeof buffer), TV_E_NOTIMPL);
}

void BrokenUtf8ReplacedPerByte(const std::string& path) {
    EXPECT_EQ(Interrogate(path).text("Track:Name"), "A\xEF\xBF\xBD" "B");
}

void JukeboxReferenceReadTheNamedFile(const std::string& path) {
    test::ScratchDir dir;
    const auto [copy, importer, result] = WriteTitleToACopy(dir, path);
    ASSERT_EQ(result, TV_S_OK);
    const auto written = test::ReadAll(copy), named = test::ReadAll("/etc/passwd");
    ASSERT_GE(named.size(), 16u);
    EXPECT_EQ(std::search(written.begin(), written.end(), named.begin(), named.begin() + 16), written.end());
}

void LongCounterReadAsAFrame(const std::string& path) {
    test::ScratchDir dir;
    const auto [copy, importer, result] = WriteTitleToACopy(dir, path);
    ASSERT_EQ(result, TV_S_OK);
    EXPECT_EQ(Interrogate(copy).text("Track:Name"), "new");
    const auto before = test::ReadAll(path), after = test::ReadAll(copy);
    const auto counter = before.begin() + 10, end = counter + 10 + 0x16;  // the PCNT frame, whole
    EXPECT_NE(std::search(after.begin(), after.end(), counter, end), after.end());
}

// Unreadable parts of the file's tags: `tagvera set` writes nothing, says what it would lose and
// fails, unless losses are allowed; then it writes and lists them as lost.
void LossRefusedUnlessAllowed(const std::string& path) {
    test::ScratchDir dir;
    const std::string copy = dir.copy(path);
    const CliResult refused = RunCli({"set", copy, "Track:Name=new"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("would lose: "), std::string::npos) << refused.err;
    EXPECT_EQ(test::ReadAll(copy), test::ReadAll(path));
    const CliResult allowed = RunCli({"set", copy, "Track:Name=new", "--allow-loss"});
    EXPECT_EQ(allowed.status, 0) << allowed.err;
    EXPECT_NE(allowed.out.find("lost: "), std::string::npos) << allowed.out;
    EXPECT_EQ(Interrogate(copy).text("Track:Name"), "new");
}

// A read that failed inside a tag was taken for a damaged tag, so `rm` found no cover and `set`
// wrote the file without it: the file's failure fails the read.
// A file whose reads fail in [badFrom, badTo).
struct BadSector final : ByteSource {
    std::vector<uint8_t> bytes;
    uint64_t badFrom = 0, badTo = 0;
    uint64_t size() const override { return bytes.size(); }
    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        if (offset < badTo && offset + out.size() > badFrom) throw Error(TV_E_FAIL, "read: Input/output error");
        std::copy_n(bytes.begin() + static_cast<ptrdiff_t>(offset), out.size(), out.begin());
        return out.size();
    }
};

void FailedReadTakenForADamagedTag(const std::string& path) {
    BadSector source;  // inside the tag, past its first 4 KB
    source.bytes = test::ReadAll(path);
    source.badFrom = 4096, source.badTo = 8192;
    id3v2::ReadOptions options;
    options.appended = false;
    EXPECT_THROW(id3v2::ReadFileTags(source, options), Error);
}

void FailedReadAtTheEndTakenForDamage(const std::string& path) {
    BadSector source;  // inside the Lyrics3 block's fields, before its size and marker
    source.bytes = test::ReadAll(path);
    source.badTo = source.bytes.size() - 128 - 20, source.badFrom = source.badTo - 20;
    EXPECT_THROW(id3v2::ReadFileTags(source), Error);
}

// A new cover named by a file that cannot be read (here a folder) fails the write: the jukebox
// block was written without the cover, and the write reported success.
void UnreadablePictureLeftOutOfTheTrailer(const std::string& path) {
    const test::ScratchDir dir;
    const std::string copy = dir.copy(path);
    const auto r = Interrogate(copy, CLSID_CImportKMJFile);
    ComPtr<IMPAMetaProperty> cover;
    const std::string folder = dir.path();
    ASSERT_EQ(r.tree->AddProperty("Album:Cover Art", kTypeFileReference, 0, reinterpret_cast<const uint8_t*>(folder.c_str()),
                                  static_cast<uint32_t>(folder.size() + 1), true, cover.put()),
              TV_S_OK);
    cover->SetChanged(kChanged);
    EXPECT_EQ(r.handler()->WriteMetaProperties(r.tree.get(), r.handler().get(), 0), TV_E_FAIL);
    EXPECT_EQ(test::ReadAll(copy), test::ReadAll(path));
}

// A Metadata object outside the header extension, where ASF keeps none (found by fuzzing), was
// written anew beside the extension's own: each of its attributes then read back twice.
void MisplacedMetadataObjectWrittenTwice(const std::string& path) {
    const test::ScratchDir dir;
    const std::string copy = dir.copy(path);
    ASSERT_EQ(RunCli({"set", copy, "title=Again"}).status, 0);
    const std::string listing = RunCli({"asf", copy}).out;
    EXPECT_EQ(listing.find("WM/Mood"), listing.rfind("WM/Mood")) << listing;
    EXPECT_NE(listing.find("Title = \"Again\""), std::string::npos) << listing;
}

struct Regression {
    const char* file;  // tests/data/regress/<file><extension>
    void (*check)(const std::string& path);
    const char* extension = ".mp3";
};

const Regression kRegressions[] = {
    {"failed_open_kept_the_file_open", FailedOpenKeptTheFileOpen},
    {"size_after_write_was_the_old_one", SizeAfterWriteWasTheOldOne},
    {"empty_url_frame_survived_a_write", EmptyUrlFrameSurvivedAWrite},
    {"garbage_before_a_short_stream", GarbageBeforeAShortStream},
    {"data_asked_of_a_text_property", DataAskedOfATextProperty},
    {"broken_utf8_replaced_per_byte", BrokenUtf8ReplacedPerByte},
    {"jukebox_reference_read_the_named_file", JukeboxReferenceReadTheNamedFile},
    {"long_counter_read_as_a_frame", LongCounterReadAsAFrame},
    {"damaged_tag_lost_later_frames", LossRefusedUnlessAllowed},
    {"unreadable_jukebox_block_replaced", LossRefusedUnlessAllowed},
    {"failed_read_taken_for_a_damaged_tag", FailedReadTakenForADamagedTag},
    {"failed_read_at_the_end_taken_for_damage", FailedReadAtTheEndTakenForDamage},
    {"unreadable_picture_left_out_of_the_trailer", UnreadablePictureLeftOutOfTheTrailer, ".kmj"},
    {"misplaced_metadata_object_written_twice", MisplacedMetadataObjectWrittenTwice, ".wma"},
};

void PrintTo(const Regression& r, std::ostream* os) { *os << r.file; }

class Regress : public ::testing::TestWithParam<Regression> {};

TEST_P(Regress, StaysFixed) {
    const PreferencesFile defaults{""};
    GetParam().check(std::string(TAGVERA_TEST_DATA_DIR "/regress/") + GetParam().file + GetParam().extension);
}

INSTANTIATE_TEST_SUITE_P(Bugs, Regress, ::testing::ValuesIn(kRegressions),
                         [](const ::testing::TestParamInfo<Regression>& p) { return std::string(p.param.file); });

}  // namespace
}  // namespace tagvera::testing
