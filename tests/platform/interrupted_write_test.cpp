// Old or new, whatever happens: each kind of write, failed at each of its file calls in turn (EIO,
// ENOSPC), killed at each call and at random moments, and run on a full file system, leaves the
// file as it was or as the write makes it, byte for byte, and nothing beside it once tagvera has
// opened the file again.
#include <gtest/gtest.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <windows.h>

#include "platform/text.h"
#else
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "platform/fault_injection.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "platform/scratch_dir.h"
#if !defined(_WIN32)
#include "platform/tmpfs_mount.h"
#endif

namespace tagvera::platform {
namespace {

using test::Pattern;
using test::ReadAll;
using test::ScratchDir;
using test::WriteAll;
using Bytes = std::vector<uint8_t>;
using Names = std::set<std::string>;

const Bytes kHead = Pattern(3000, 11), kTail = Pattern(256, 12);

// A new tag over the old one at the head, a record over the last 128 bytes and 128 more after.
void PatchHeadAndTail(const std::string& path, Durability durability) {
    const uint64_t size = FileSize(path);
    const Patch patches[] = {{0, kHead}, {size - 128, kTail}};
    PatchInPlace(path, patches, durability);
}

// A tag grown by 100 bytes in place, the picture after it shifted through the journal.
void ShiftInPlace(const std::string& path) {
    const Patch patches[] = {{0, kHead}, {3100, {}, 3000, 150'000}, {3000, std::span(kTail).first(100)}};
    PatchInPlace(path, patches);
}

// A trailer replaced by a shorter one: new bytes over the old start, the rest cut off.
void ShortenInPlace(const std::string& path) {
    const uint64_t at = FileSize(path) - 1000;
    const Patch patch{at, kTail};
    InPlaceEdit(path).apply(std::span(&patch, 1), Durability::Synced, {at + kTail.size()});
}

void Rewrite(const std::string& path) { RewriteFile(path, FileLayout().bytes(kHead).copy(2000, FileSize(path) - 2000)); }

struct Scenario {
    const char* name;
    void (*write)(const std::string& path);
    bool secondName = false;  // b.mp3 is a hard link, and must show what a.mp3 shows
    bool namedTemp = false;   // as on a file system without anonymous temporary files
};

const Scenario kScenarios[] = {
    {"Patch", [](const std::string& p) { PatchHeadAndTail(p, Durability::Synced); }},
    {"DeferredPatch", [](const std::string& p) { PatchHeadAndTail(p, Durability::Deferred); }},
    {"PatchThatShiftsARange", ShiftInPlace},
    {"PatchThatShortensTheFile", ShortenInPlace},
    {"Rewrite", Rewrite},
    {"RewriteThroughANamedTemporaryFile", Rewrite, false, true},
    {"RewriteOfAFileWithTwoNames", Rewrite, true},
    {"WholeFileReplaced", [](const std::string& p) { WriteFileAtomically(p, kTail); }},
};

const fault::Step kSteps[] = {fault::Step::Open,    fault::Step::Read,    fault::Step::Write, fault::Step::Fsync,
                              fault::Step::Rename,  fault::Step::Dirsync, fault::Step::Journal, fault::Step::Link};

class Writes : public ::testing::TestWithParam<Scenario> {
protected:
    ScratchDir dir;
    const std::string path = dir.file("a.mp3");
    Bytes original = Pattern(300'000, 7);
    Bytes written;                          // what a clean run makes of it,
    std::map<fault::Step, unsigned> calls;  // the calls it makes,
    std::chrono::microseconds took{};       // and how long it takes

    void SetUp() override { MeasureACleanRun(); }

    void MeasureACleanRun() {
        Reset();
        Arm();
        fault::StartCounting();
        const auto start = std::chrono::steady_clock::now();
        Run();
        took = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
        for (const fault::Step step : kSteps) {
            if (!GetParam().namedTemp || step != fault::Step::Link) calls[step] = fault::Calls(step);
        }
        fault::Reset();
        written = ReadAll(path);
        ASSERT_NE(written, original);
    }

    void Reset() const {
        for (const auto& name : dir.entries()) RemoveFile(dir.file(name));
        WriteAll(path, original);
        ::chmod(path.c_str(), 0640);
        if (GetParam().secondName) std::filesystem::create_hard_link(path, dir.file("b.mp3"));
    }
    void Arm() const {
        if (GetParam().namedTemp) fault::FailNth(fault::Step::Link, 1, EOPNOTSUPP);
    }
    void Run() const { GetParam().write(path); }
    Names names() const { return GetParam().secondName ? Names{"a.mp3", "b.mp3"} : Names{"a.mp3"}; }

    // Old (or, when allowed, new) byte for byte under every name, and nothing beside it.
    void ExpectWhole(const std::string& what, bool mayBeNew, const Names& others = {}) const {
        const Bytes now = ReadAll(path);
        EXPECT_TRUE(now == original || (mayBeNew && now == written)) << what << ": a mixed file of " << now.size();
        if (GetParam().secondName) {
            EXPECT_EQ(ReadAll(dir.file("b.mp3")), now) << what;
        }
        Names want = names();
        want.insert(others.begin(), others.end());
        EXPECT_EQ(dir.entries(), want) << what;
        struct stat st {};
        const unsigned mode = ::stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
        EXPECT_EQ(test::kPosixModes ? mode : 0640u, 0640u) << what;
    }

#if defined(_WIN32)
    // The same with the write in a copy of this program (no fork there), which runs the test
    // RunsAsAChild below with what to do in its environment and its output thrown away.
    void KillAndReopen(const std::string& what, fault::Step step, unsigned nth, std::chrono::microseconds delay) const {
        Reset();
        wchar_t self[MAX_PATH];
        ASSERT_GT(::GetModuleFileNameW(nullptr, self, MAX_PATH), 0u);
        std::wstring line = L"\"" + std::wstring(self) + L"\" --gtest_filter=Kinds/Writes.RunsAsAChild/" +
                            text::Utf8ToWide(GetParam().name);
        const std::string job = path + "|" + std::to_string(static_cast<int>(step)) + "|" + std::to_string(nth);
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        const HANDLE nul = ::CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0, nullptr);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = start.hStdError = nul;
        PROCESS_INFORMATION child{};
        ::SetEnvironmentVariableW(L"TAGVERA_WRITE_CHILD", text::Utf8ToWide(job).c_str());
        // Wine now and then fails to start a process while the last one is still going away;
        // that is the harness, not the write under test, so it is tried again.
        bool started = false;
        DWORD whyNot = 0;
        for (int attempt = 0; attempt < 5 && !started; ++attempt) {
            if (attempt) std::this_thread::sleep_for(std::chrono::milliseconds(50 * attempt));
            started = ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &child);
            if (!started) whyNot = ::GetLastError();
        }
        ::SetEnvironmentVariableW(L"TAGVERA_WRITE_CHILD", nullptr);
        ::CloseHandle(nul);
        ASSERT_TRUE(started) << what << ": CreateProcessW failed with error " << whyNot;
        if (!nth) {
            std::this_thread::sleep_for(delay);
            ::TerminateProcess(child.hProcess, 128 + 9);
        }
        ::WaitForSingleObject(child.hProcess, INFINITE);
        DWORD status = 0;
        ::GetExitCodeProcess(child.hProcess, &status);
        ::CloseHandle(child.hProcess);
        ::CloseHandle(child.hThread);
        EXPECT_TRUE(status == 128 + 9 || (!nth && status == 0)) << what << ": status " << status;
        EXPECT_NO_THROW(RecoverInterruptedWrite(path)) << what;
        ExpectWhole(what, true);
    }
#else

    // Runs the write in a child killed at a call (kill armed) or after a delay, then opens the file.
    void KillAndReopen(const std::string& what, fault::Step step, unsigned nth, std::chrono::microseconds delay) const {
        Reset();
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            Arm();
            if (nth) fault::FailNth(step, nth, fault::kKillProcess);
            try {
                Run();
            } catch (...) {
                ::_exit(2);
            }
            ::_exit(0);
        }
        if (!nth) {
            std::this_thread::sleep_for(delay);
            ::kill(pid, SIGKILL);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        EXPECT_TRUE(nth ? WIFSIGNALED(status) : !WIFEXITED(status) || WEXITSTATUS(status) == 0)
            << what << ": status " << status;
        EXPECT_NO_THROW(RecoverInterruptedWrite(path)) << what;
        ExpectWhole(what, true);
    }
#endif
};

std::string Label(fault::Step step, unsigned n) { return std::string(fault::StepName(step)) + " #" + std::to_string(n); }

TEST_P(Writes, AFailureAtAnyCallLeavesTheOldFile) {
    for (const auto& [step, count] : calls) {
        for (unsigned n = 1; n <= count; ++n) {
            Reset();
            const int err = n % 2 ? EIO : ENOSPC;
            Arm();
            fault::FailNth(step, n, err);
            try {
                Run();
                ADD_FAILURE() << Label(step, n) << " did not fail";
            } catch (const FileError& e) {
                EXPECT_EQ(e.osError(), err) << Label(step, n) << ": " << e.what();
                EXPECT_NE(std::string(e.what()).find(std::strerror(err)), std::string::npos) << e.what();
            }
            fault::Reset();
            ExpectWhole(Label(step, n), false);
        }
    }
}

#if defined(_WIN32)
// The child of KillAndReopen: the write on its parent's file, killed at the call it names.
TEST_P(Writes, RunsAsAChild) {
    wchar_t job[4096];
    const DWORD n = ::GetEnvironmentVariableW(L"TAGVERA_WRITE_CHILD", job, 4096);
    if (n == 0 || n >= 4096) GTEST_SKIP() << "the child of a kill test";
    const std::string text = text::WideToUtf8(std::wstring_view(job, n));
    const size_t bar = text.find('|'), bar2 = text.rfind('|');
    Arm();
    if (const unsigned nth = std::stoul(text.substr(bar2 + 1)))
        fault::FailNth(static_cast<fault::Step>(std::stoi(text.substr(bar + 1))), nth, fault::kKillProcess);
    try {
        GetParam().write(text.substr(0, bar));
    } catch (...) {
        ::ExitProcess(2);
    }
    ::ExitProcess(0);
}
#endif

TEST_P(Writes, AKillAtAnyCallLeavesTheOldFileOrTheNew) {
    for (const auto& [step, count] : calls) {
        for (unsigned n = 1; n <= count; ++n) KillAndReopen("kill at " + Label(step, n), step, n, {});
    }
}

TEST_P(Writes, AKillAtARandomMomentLeavesTheOldFileOrTheNew) {
    original = Pattern(8 << 20, 5);  // long enough to be caught in the middle of its copies
    MeasureACleanRun();
    std::mt19937 random(static_cast<uint32_t>(std::hash<std::string>{}(GetParam().name)));
    std::uniform_int_distribution<int64_t> delay(0, took.count());
    for (int i = 0; i < 5; ++i) {
        const std::chrono::microseconds after(delay(random));
        KillAndReopen("kill after " + std::to_string(after.count()) + " us", fault::Step::Open, 0, after);
    }
}

#if !defined(_WIN32)  // a full disk needs a tmpfs of the test's own

TEST_P(Writes, OnAFullFileSystemFailsWithNothingChanged) {
    test::TmpfsMount mount(dir.path(), "size=400k");
    if (!mount.mounted()) GTEST_SKIP() << mount.why();
    Reset();
    {
        File filler = File::CreateNew(dir.file("filler"), 0600);
        const Bytes block(4096, 1);
        try {
            for (uint64_t at = 0;; at += block.size()) filler.writeAt(at, block);
        } catch (const FileError& e) {
            ASSERT_EQ(e.osError(), ENOSPC);
        }
    }
    Arm();
    try {
        Run();
        ADD_FAILURE() << "wrote on a full file system";
    } catch (const FileError& e) {
        EXPECT_EQ(e.osError(), ENOSPC) << e.what();
    }
    fault::Reset();
    ExpectWhole("full", false, {"filler"});
}
#endif

INSTANTIATE_TEST_SUITE_P(Kinds, Writes, ::testing::ValuesIn(kScenarios),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace tagvera::platform
