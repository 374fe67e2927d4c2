// What a user's `set`, `rm`, `strip` and `set --picture` promise under faults, checked on the real
// command: strace makes each file call of a run fail in turn with EIO, with ENOSPC where the call
// can answer so, and kills the command there. After each run the file is the original or what a
// clean run makes of it, byte for byte, the exit status says which, and once `tagvera info` has
// opened it nothing is beside it.
#include <gtest/gtest.h>

#include <signal.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <tuple>

#include "mp3_importer/mp3_builder.h"
#include "platform/scratch_dir.h"
#include "run_cli.h"

namespace tagvera::testing {
namespace {

using test::ReadAll;
using test::WriteAll;

// The calls that touch files; "?" lets strace accept a call an architecture does not have.
const char* const kFileCalls =
    "?open,openat,read,pread64,write,pwrite64,fsync,fdatasync,?rename,renameat2,?link,linkat,?unlink,unlinkat,"
    "ftruncate,flock";
// Every call of a small walk is failed; a longer one is sampled evenly, first and last call included.
constexpr size_t kMostCallsWalked = 40;

const Bytes kAudio = PlainAudio();

// JPEG markers around bytes that differ everywhere.
Bytes Jpeg(size_t size, uint32_t seed) {
    return Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0} + test::Pattern(size, seed) +
           Bytes{0xFF, 0xD9};
}

struct Song {
    const char* name;
    const char* property;  // one it has, for `rm`
    // Puts the file at path; tagvera makes it where it can, with what art/ holds.
    void (*make)(const std::string& path, const std::string& art);
    const char* file = "song.mp3";
};

void CopySample(const std::string& sample, const std::string& path) {
    WriteAll(path, ReadAll(std::string(TAGVERA_SOURCE_DIR) + "/samples/" + sample));
}

void Tagvera(const std::vector<std::string>& args) {
    const CliResult r = RunCli(args);
    ASSERT_EQ(r.status, 0) << r.err;
}

const Song kSongs[] = {
    {"RoomInThePadding", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, kAudio), Tagvera({"set", p, "Track:Name=First"}); }},
    {"NoRoom", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, Tag(3, 0, TextFrame("TIT2", "First")) + kAudio); }},
    {"BigCover", "Album:Cover Art",
     [](const std::string& p, const std::string& art) {
         WriteAll(p, kAudio), Tagvera({"set", "--picture", "Album:Cover Art=" + art + "/big.jpg", p});
     }},
    {"Id3v1Only", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, kAudio + Id3v1("First", "Artist", "", "2001")); }},
    {"NoTag", "Track:Name", [](const std::string& p, const std::string&) { WriteAll(p, kAudio); }},
    // KorvaMedia: a trailer, an ID3v1 tag and a header copy with room (two patches and a cut);
    // and a file with its content description alone (the trailer appended).
    {"KmTagged", "Track:Name", [](const std::string& p, const std::string&) { CopySample("06-tagged-song.kmj", p); }, "song.kmj"},
    {"KmBare", "Track:Name", [](const std::string& p, const std::string&) { CopySample("05-sample-clip.km", p); }, "clip.km"},
    // Windows Media: a header with padding (written in place) and a video file without any, its
    // index after the data (rewritten).
    {"WmPadded", "Track:Name", [](const std::string& p, const std::string&) { CopySample("09-evening-tones.wma", p); }, "song.wma"},
    {"WmNoRoom", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, ReadAll(TAGVERA_TEST_DATA_DIR "/wm/wmv1-audio.wmv")); }, "clip.wmv"},
    // A recorded FLV: its jukebox trailer appended in place after the last tag.
    {"FlvTrailer", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, ReadAll(TAGVERA_TEST_DATA_DIR "/interrogate/clip.flv")); }, "clip.flv"},
    // MP4: the movie box after the media, with free space beside its items (in place, or grown at
    // the end of the file); and before the media, where a cover moves the media (rewritten).
    {"M4aFreeSpace", "Track:Name", [](const std::string& p, const std::string&) { CopySample("08-tagged-tune.m4a", p); }, "tune.m4a"},
    {"M4aMovieFirst", "Track:Name",
     [](const std::string& p, const std::string&) { WriteAll(p, ReadAll(TAGVERA_TEST_DATA_DIR "/mp4/front-png.m4a")); }, "front.m4a"},
};

struct Command {
    const char* name;
    std::vector<std::string> (*args)(const std::string& file, const Song& song, const std::string& art);
    bool batch = false;  // a copy of the song, FirstOfBatch(file), is written first in the same run
};

// A batch passes its journal file on from one edit in a folder to the next: the walk's file is
// the second of two.
std::string FirstOfBatch(const std::string& file) {
    const std::filesystem::path p(file);
    return (p.parent_path() / ("a-" + p.filename().string())).string();
}

const Command kCommands[] = {
    {"Set", [](const std::string& f, const Song&, const std::string&) -> std::vector<std::string> {
         return {"set", f, "Track:Name=Second"};
     }},
    {"Rm", [](const std::string& f, const Song& s, const std::string&) -> std::vector<std::string> {
         return {"rm", f, s.property};
     }},
    {"Strip", [](const std::string& f, const Song&, const std::string&) -> std::vector<std::string> {
         return {"strip", f};
     }},
    {"Picture", [](const std::string& f, const Song&, const std::string& art) -> std::vector<std::string> {
         return {"set", "--picture", "Album:Cover Art=" + art + "/cover.jpg", f};
     }},
};

const Command kBatchSet = {"SetTwo",
                           [](const std::string& f, const Song&, const std::string&) -> std::vector<std::string> {
                               return {"set", "-j1", FirstOfBatch(f), f, "Track:Name=Second"};
                           },
                           true};

void PrintTo(const Song& song, std::ostream* os) { *os << song.name; }
void PrintTo(const Command& command, std::ostream* os) { *os << command.name; }

// One call of a run: the nth call of a system call, as strace counts them, and the how-manieth of
// those that touch the scratch folder.
struct Call {
    std::string name;
    unsigned nth;
    unsigned nthOfOurs;
    bool mayFillTheDisk;  // a write, sync, link or create: ENOSPC is one of its answers
};

bool MayFillTheDisk(const std::string& name, const std::string& line) {
    static const std::set<std::string> kAllocating = {"write", "pwrite64", "fsync", "fdatasync", "ftruncate",
                                                      "link",  "linkat",   "rename", "renameat2"};
    return kAllocating.count(name) || line.find("O_CREAT") != std::string::npos ||
           line.find("O_TMPFILE") != std::string::npos;
}

// Lines of a strace log ("PID name(args) = result") for each call name, in order.
std::map<std::string, std::vector<std::string>> CallsByName(const std::string& log) {
    std::map<std::string, std::vector<std::string>> out;
    std::istringstream in(log);
    for (std::string line; std::getline(in, line);) {
        const size_t name = line.find_first_not_of(' ', line.find(' ')), paren = line.find('(', name);
        if (paren == std::string::npos || line.compare(name, 3, "+++") == 0) continue;
        out[line.substr(name, paren - name)].push_back(line);
    }
    return out;
}

class FaultWalk : public ::testing::TestWithParam<std::tuple<Song, Command>> {
protected:
    test::ScratchDir dir;
    const std::string music = dir.file("music"), art = dir.file("art");
    const std::string name = std::get<0>(GetParam()).file, path = music + "/" + name, log = dir.file("strace.log");
    const bool batch = std::get<1>(GetParam()).batch;
    const std::string first = FirstOfBatch(path);
    Bytes original, clean, cleanFirst;
    // The leak checker of a sanitizer build cannot run under a tracer.
    const std::map<std::string, std::string> env = {
        {"TAGVERA_LIBRARY", TAGVERA_LIBRARY_PATH},
        {"ASAN_OPTIONS", std::string(std::getenv("ASAN_OPTIONS") ? std::getenv("ASAN_OPTIONS") : "") + ":detect_leaks=0"}};

    bool Ours(const std::string& line) const { return line.find(dir.path() + "/") != std::string::npos; }

    // Where a run made the how-manieth call of ours, counted among all its calls of that name.
    std::optional<unsigned> PlaceOf(const std::vector<std::string>& lines, unsigned nthOfOurs) const {
        unsigned ours = 0;
        for (unsigned n = 1; n <= lines.size(); ++n) {
            if (Ours(lines[n - 1]) && ++ours == nthOfOurs) return n;
        }
        return std::nullopt;
    }

    std::vector<std::string> args() const { return std::get<1>(GetParam()).args(path, std::get<0>(GetParam()), art); }

    CliResult Traced(const std::string& calls, const std::string& inject = "") const {
        // -s 0: no data in the log, only names (which strace prints whole) and the files of handles.
        std::vector<std::string> strace = {"strace", "-f", "-qq", "-y", "-s", "0", "-o", log, "-e", "trace=" + calls};
        if (!inject.empty()) strace.insert(strace.end(), {"-e", "inject=" + inject});
        return RunCli(args(), env, strace);
    }

    void Reset() const {
        for (const auto& entry : std::filesystem::directory_iterator(music)) std::filesystem::remove(entry.path());
        WriteAll(path, original);
        if (batch) WriteAll(first, original);
    }

    std::set<std::string> Beside() const {
        std::set<std::string> out;
        for (const auto& entry : std::filesystem::directory_iterator(music)) out.insert(entry.path().filename());
        out.erase(name);
        if (batch) out.erase(std::filesystem::path(first).filename());
        return out;
    }

    // The calls of a clean run that touch the scratch folder's files or the folder itself.
    std::vector<Call> FileCallsOfACleanRun() {
        const CliResult run = Traced(kFileCalls);
        EXPECT_EQ(run.status, 0) << run.err;
        clean = ReadAll(path);
        if (batch) cleanFirst = ReadAll(first);
        std::vector<Call> calls;
        for (const auto& [call, lines] : CallsByName(test::ReadText(log))) {
            unsigned ours = 0;
            for (unsigned n = 1; n <= lines.size(); ++n) {
                const std::string& line = lines[n - 1];
                if (Ours(line)) calls.push_back({call, n, ++ours, MayFillTheDisk(call, line)});
            }
        }
        if (calls.size() <= kMostCallsWalked) return calls;
        std::vector<Call> spread;
        for (size_t i = 0; i < kMostCallsWalked; ++i) spread.push_back(calls[i * (calls.size() - 1) / (kMostCallsWalked - 1)]);
        return spread;
    }

    // The file after a faulted run and the next open: old or new, nothing beside it, and an exit
    // status that says which. The next open changes nothing when nothing is beside the file.
    void Check(const std::string& what, const CliResult& run, bool killed) const {
        if (!Beside().empty()) {
            const CliResult next = RunCli(batch ? std::vector<std::string>{"info", first, path} : std::vector<std::string>{"info", path}, env);
            EXPECT_EQ(next.status, 0) << what << ": the next open: " << next.err;
        }
        EXPECT_EQ(Beside(), std::set<std::string>{}) << what << ": left beside the file";
        const Bytes now = ReadAll(path);
        const bool old = now == original, written = now == clean;
        EXPECT_TRUE(old || written) << what << ": a mixed file of " << now.size() << " bytes";
        if (batch) {
            const Bytes firstNow = ReadAll(first);
            EXPECT_TRUE(firstNow == original || firstNow == cleanFirst) << what << ": a mixed first file";
        }
        if (killed) {
            EXPECT_EQ(run.status, 128 + SIGKILL) << what << ": not killed: " << run.err;
        } else if (batch) {
            // The exit status speaks for both files at once.
        } else if (written && !old) {
            // Only the batch's closing sync may fail once the file is written, and the user is told so.
            EXPECT_TRUE(run.status == 0 || run.err.find("written, but not safely on disk") != std::string::npos)
                << what << ": the file was written, yet: " << run.err;
        } else if (run.status == 0) {
            EXPECT_EQ(clean, original) << what << ": exit 0 and nothing written: " << run.out;
        }
        if (run.status != 0 && !killed) {
            EXPECT_NE(run.err, "") << what << ": failed without a word";
        }
    }
};

TEST_P(FaultWalk, EveryFileCallFailedOrKilledLeavesTheOldFileOrTheNew) {
    const CliResult probe = RunCli({"--version"}, env, {"strace", "-o", "/dev/null"});
    if (probe.status != 0)  // 127: not installed; else most often no right to trace (ptrace)
        GTEST_SKIP() << "strace cannot trace the command here (exit " << probe.status << "): " << probe.err;
    std::filesystem::create_directory(music);
    std::filesystem::create_directory(art);
    WriteAll(art + "/big.jpg", Jpeg(200 << 10, 1));
    WriteAll(art + "/cover.jpg", Jpeg(20 << 10, 2));
    std::get<0>(GetParam()).make(path, art);
    original = ReadAll(path);
    if (batch) WriteAll(first, original);
    const std::vector<Call> calls = FileCallsOfACleanRun();
    ASSERT_FALSE(calls.empty());
    for (const Call& call : calls) {
        for (const std::string fault : {"error=EIO", "error=ENOSPC", "signal=SIGKILL"}) {
            if (fault == "error=ENOSPC" && !call.mayFillTheDisk) continue;
            const std::string what = call.name + " #" + std::to_string(call.nth) + " " + fault;
            // Calls of other files (a sanitizer reading /proc/self/maps in as many pieces as the
            // map has grown to) may come in a different number, in the clean run too: a run that
            // missed is aimed again at where it made the call of ours, until the fault lands.
            CliResult run;
            bool landed = false;
            unsigned nth = call.nth;
            for (int attempt = 0; attempt < 6 && !landed; ++attempt) {
                Reset();
                run = Traced(call.name, call.name + ":" + fault + ":when=" + std::to_string(nth));
                const auto lines = CallsByName(test::ReadText(log))[call.name];
                landed = lines.size() >= nth && Ours(lines[nth - 1]);
                if (!landed) nth = PlaceOf(lines, call.nthOfOurs).value_or(nth);
            }
            ASSERT_TRUE(landed) << what << ": the faulted run made other calls than the clean run";
            Check(what, run, fault[0] == 's');
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultWalk, ::testing::Combine(::testing::ValuesIn(kSongs), ::testing::ValuesIn(kCommands)),
                         [](const auto& test) {
                             return std::string(std::get<1>(test.param).name) + "_" + std::get<0>(test.param).name;
                         });
INSTANTIATE_TEST_SUITE_P(Batches, FaultWalk,
                         ::testing::Combine(::testing::Values(kSongs[0], kSongs[2]), ::testing::Values(kBatchSet)),
                         [](const auto& test) { return std::string("SetTwo_") + std::get<0>(test.param).name; });

}  // namespace
}  // namespace tagvera::testing
