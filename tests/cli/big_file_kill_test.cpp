// `tagvera set` on a 500 MB MP3 file killed at 30 random moments of a clean run's time, not only at
// its file calls, once where the new tag means a rewrite and once where it fits in place: after
// each kill and the next open, the file is the old or the new one by checksum, nothing beside it.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "platform/scratch_dir.h"
#include "run_cli.h"

namespace tagvera::testing {
namespace {

constexpr uint64_t kSize = 500ull << 20;
constexpr int kKills = 30;

// The CRC and size cksum gives: a pass over 500 MB at the disk cache's speed in any build.
std::string Sum(const std::string& path) {
    int status = -1;
    const std::string line = CommandOutput("cksum < '" + path + "'", &status);
    return status == 0 && !line.empty() ? line : "?";
}

// Starts the command with its output discarded.
pid_t Start(const std::vector<std::string>& args) {
    std::vector<std::string> argv{TAGVERA_CLI_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 1);
        ::dup2(null, 2);
        ::execv(cargv[0], cargv.data());
        ::_exit(127);
    }
    return pid;
}

// Writes the file's cached pages out, so that each run starts alike and its own sync is short.
void Settle(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    ::fsync(fd);
    ::close(fd);
}

int Wait(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return status;
}

class KillABigFilesWrite : public ::testing::Test {
protected:
    test::ScratchDir music, spare;
    const std::string path = music.file("big.mp3"), pristine = spare.file("big.mp3");

    // Whole copies of a fixture's frames, which stay valid MPEG audio end to end.
    void SetUp() override {
        const auto audio = test::ReadAll(std::string(TAGVERA_TEST_DATA_DIR) + "/mp3/cbr_96k_44k_notag.mp3");
        std::ofstream out(path, std::ios::binary);
        for (uint64_t size = 0; size < kSize; size += audio.size())
            out.write(reinterpret_cast<const char*>(audio.data()), static_cast<std::streamsize>(audio.size()));
        out.close();
        Settle(path);
    }

    void Restore() const {
        std::filesystem::copy_file(pristine, path, std::filesystem::copy_options::overwrite_existing);
        Settle(path);
    }

    // how: what a clean run says it did ("in place", "file rewritten").
    void KillAtRandomMoments(const std::vector<std::string>& args, const std::string& how) {
        std::filesystem::copy_file(path, pristine);
        Settle(path);
        const std::string old = Sum(path);
        ASSERT_NE(old, "?");
        const auto start = std::chrono::steady_clock::now();
        const CliResult clean = RunCli(args);
        ASSERT_EQ(clean.status, 0) << clean.err;
        ASSERT_NE(clean.out.find(how), std::string::npos) << clean.out;
        const auto took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
        const std::string written = Sum(path);
        ASSERT_NE(written, old);
        Restore();
        std::mt19937 random(kKills);
        std::uniform_int_distribution<int64_t> moment(0, took.count());
        for (int i = 0; i < kKills; ++i) {
            const std::chrono::microseconds after(moment(random));
            const std::string what = "killed after " + std::to_string(after.count()) + " us";
            const pid_t pid = Start(args);
            std::this_thread::sleep_for(after);
            ::kill(pid, SIGKILL);
            const int status = Wait(pid);
            EXPECT_TRUE(WIFSIGNALED(status) || status == 0) << what << ": status " << status;
            const CliResult next = RunCli({"info", path});
            EXPECT_EQ(next.status, 0) << what << ": the next open: " << next.err;
            EXPECT_EQ(music.entries(), std::set<std::string>{"big.mp3"}) << what << ": left beside the file";
            const std::string now = Sum(path);
            EXPECT_TRUE(now == old || now == written) << what << ": a mixed file, " << now;
            if (now != old) Restore();
        }
    }
};

TEST_F(KillABigFilesWrite, Rewrite) { KillAtRandomMoments({"set", path, "Track:Name=Killed"}, "file rewritten"); }

TEST_F(KillABigFilesWrite, InPlace) {
    const CliResult tagged = RunCli({"set", path, "Track:Name=Room to spare"});
    ASSERT_EQ(tagged.status, 0) << tagged.err;
    KillAtRandomMoments({"set", path, "Track:Name=Killed"}, "in place");
}

}  // namespace
}  // namespace tagvera::testing
