// A file name inside a media file's block is data: no command opens it, whatever it names. Only a
// file the user hands over (--picture) is read, and only a regular one of bounded size.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "cli/run_cli.h"
#include "golden_block.h"
#include "mp3_importer/mp3_builder.h"
#include "platform/scratch_dir.h"
#include "serialize_support.h"

namespace tagvera::testing {
namespace {

constexpr char kSecret[] = "secret-bytes-that-must-stay-put";

// A block whose cover art and lyrics are file references naming path.
Bytes BlockNaming(const std::string& path, bool big, const char* magic) {
    const auto reference = [&](const char* name) {
        return GoldenRecord{.name = name, .type = kTypeFileReference, .value = TextValue(path)};
    };
    const GoldenRecord album{.name = "Album", .type = kTypeGroup, .children = {reference("Cover Art")}};
    const GoldenRecord track{.name = "Track", .type = kTypeGroup,
                             .children = {reference("Lyrics"), {.name = "Name", .type = kTypeText, .value = TextValue("old")}}};
    return EncodeBlock({.name = "Root", .type = kTypeGroup, .children = {album, track}}, big, magic, false);
}

bool Holds(const Bytes& bytes, const std::string& what) {
    return std::search(bytes.begin(), bytes.end(), what.begin(), what.end()) != bytes.end();
}

class FileReferences : public ::testing::Test {
protected:
    void SetUp() override {
        dir_.write("secret", B(kSecret));
        std::filesystem::create_symlink(dir_.file("secret"), dir_.file("link"));
        ASSERT_EQ(mkfifo(dir_.file("fifo").c_str(), 0600), 0);
        std::filesystem::create_directory(dir_.file("dir"));
        std::filesystem::resize_file(dir_.write("huge.jpg", B(kSecret)), (uint64_t(1) << 30));
    }
    CliResult Cli(const std::vector<std::string>& args) {
        return RunCli(args, {{"TAGVERA_LIBRARY", TAGVERA_LIBRARY_PATH}, {"TAGVERA_PREFERENCES", dir_.file("prefs")}});
    }
    test::ScratchDir dir_;
};

TEST_F(FileReferences, NamesInABlockAreNeverOpened) {
    const struct {
        const char* target;
        const char* marker;  // bytes of the target that must not show up anywhere
    } kTargets[] = {
        {"/etc/passwd", "root:"}, {"link", kSecret}, {"fifo", kSecret}, {"huge.jpg", kSecret},
    };
    for (const auto& t : kTargets) {
        for (const bool big : {false, true}) {
            for (const char* magic : {"KJMD", "KJAD"}) {
                const std::string path = t.target[0] == '/' ? t.target : dir_.file(t.target);
                SCOPED_TRACE(path + (big ? " big-endian " : " little-endian ") + magic);
                const Bytes block = BlockNaming(path, big, magic);

                // The tree read from the block holds a reference without a value, in place or copied.
                Node tree = NewTree();
                ASSERT_EQ(ReadBlock(tree.get(), block, true, big), TV_S_OK);
                Node lyrics;
                ASSERT_EQ(tree->FindFirstChild("Track:Lyrics", lyrics.put()), TV_S_OK);
                EXPECT_EQ(TypeOf(lyrics.get()), uint32_t(kTypeReference));
                EXPECT_FALSE(Holds(WriteBlock(tree.get(), {.keepReferences = true, .bigEndian = big}), t.marker));

                const std::string mp3 = dir_.write("v.mp3", Mp3File(JukeboxFrame(block)));
                const std::string blk = dir_.write("in.blk", block), out = dir_.file("out.blk");
                const CliResult extract = Cli({"extract", mp3, "Track:Lyrics", "-o", "-"});
                EXPECT_NE(extract.status, 0);
                EXPECT_FALSE(extract.err.empty());
                EXPECT_FALSE(Holds(B(extract.out), t.marker));
                // A little-endian block does not read in an MP3 file: replacing it is a loss to allow.
                EXPECT_EQ(Cli({"set", mp3, "Track:Name=x", "--allow-loss"}).status, 0);
                EXPECT_EQ(Cli({"rm", mp3, "Track:Name", "--allow-loss"}).status, 0);
                const Bytes written = test::ReadAll(mp3);
                EXPECT_FALSE(Holds(written, t.marker));
                EXPECT_LT(written.size(), block.size() + PlainAudio().size() + 4096);
                for (const char* variant : {"--keep-references", "--variant"}) {
                    const CliResult convert =
                        Cli({"tree", "convert", blk, out, "--to", "block", "--keep-references", variant});
                    EXPECT_EQ(convert.status, 0) << convert.err;
                    EXPECT_FALSE(Holds(test::ReadAll(out), t.marker));
                }
            }
        }
    }
}

TEST_F(FileReferences, PictureMustBeARegularFileOfBoundedSize) {
    for (const char* source : {"fifo", "dir", "huge.jpg"}) {
        const std::string mp3 = dir_.write("p.mp3", Mp3File({}));
        const CliResult r = Cli({"set", mp3, "--picture", "Album:Cover Art=" + dir_.file(source)});
        EXPECT_NE(r.status, 0) << source;
        EXPECT_NE(r.err.find(dir_.file(source)), std::string::npos) << r.err;
        EXPECT_EQ(test::ReadAll(mp3), Mp3File({})) << source;
    }
}

}  // namespace
}  // namespace tagvera::testing
