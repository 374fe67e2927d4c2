// Writers of one file: two edits read before either is written both land (the second is applied
// to the file as the first left it), concurrent writers take turns, and every name of a file with
// several hard links sees the new tags.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "mp3_write/write_support.h"

namespace tagvera::testing {
namespace {

class Writers : public Mp3WriteTest {
protected:
    static Mp3Session Edit(const std::string& path, const char* property, const std::string& value) {
        Mp3Session s = OpenMp3(path);
        SetText(s.tree.get(), property, value);
        return s;
    }
};

TEST_F(Writers, TwoEditsReadBeforeEitherIsWrittenBothLand) {
    // Sequential writes are the lost update at its plainest; threads add the race for the lock.
    for (const bool threads : {false, true}) {
        for (int pair = 0; pair < (threads ? 20 : 1); ++pair) {
            SCOPED_TRACE((threads ? "threads, pair " : "one after the other, pair ") + std::to_string(pair));
            const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"), "song.mp3");
            Mp3Session title = Edit(path, "Track:Name", "Title " + std::to_string(pair));
            Mp3Session album = Edit(path, "Album:Name", "Album " + std::to_string(pair));
            HRESULT a = TV_E_FAIL, b = TV_E_FAIL;
            if (threads) {
                std::thread first([&] { a = title.Write(); });
                std::thread second([&] { b = album.Write(); });
                first.join();
                second.join();
            } else {
                a = title.Write();
                b = album.Write();
            }
            EXPECT_EQ(a, TV_S_OK);
            EXPECT_EQ(b, TV_S_OK);
            const Mp3Session after = OpenMp3(path);
            EXPECT_EQ(after.text("Track:Name"), "Title " + std::to_string(pair));
            EXPECT_EQ(after.text("Album:Name"), "Album " + std::to_string(pair));
        }
    }
}

TEST_F(Writers, EveryHardLinkSeesTheNewTags) {
    // No tag: the write rewrites the file; then a tag with room: in place.
    const std::string path = dir.copy(DataFile("cbr_96k_44k_notag.mp3"), "song.mp3");
    const std::string other = dir.file("other name.mp3");
    ASSERT_EQ(::link(path.c_str(), other.c_str()), 0);
    for (const char* title : {"Rewritten", "In place"}) {
        ASSERT_EQ(Edit(path, "Track:Name", title).Write(), TV_S_OK);
        EXPECT_EQ(OpenMp3(other).text("Track:Name"), title);
        struct stat st {};
        ASSERT_EQ(::stat(other.c_str(), &st), 0);
        EXPECT_EQ(st.st_nlink, 2u);
    }
}

}  // namespace
}  // namespace tagvera::testing
