#include "bench_support.h"

#include <sys/resource.h>
#include <time.h>

#include "metaprop/metaprop_component.h"

namespace tagvera::bench {

double ThreadCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double PeakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // Linux reports KiB
}

void PrintPeakMemory(const char* when) { std::printf("%-46s %9.1f MiB peak resident\n", when, PeakResidentMiB()); }

std::string TrackGroupName(uint32_t index) {
    char name[32];
    std::snprintf(name, sizeof name, "Track %06u", index);
    return name;
}

Node BuildLibrary(const LibraryShape& shape) {
    Node root;
    CreateStandaloneMetaProperty(root.put());
    Node library;
    root->AddGroup("Library", 0, true, library.put());
    for (uint32_t i = 0; i < shape.tracks; ++i) {
        Node track;
        library->AddGroup(TrackGroupName(i).c_str(), 0, true, track.put());
        const std::string n = std::to_string(i);
        track->AddText("Name", ("Title " + n).c_str(), 0, true, nullptr);
        track->AddText("Artist", ("Artist " + std::to_string(i % 700)).c_str(), 0, true, nullptr);
        track->AddText("Album", ("Album " + std::to_string(i / 12)).c_str(), 0, true, nullptr);
        track->AddText("Genre", "Rock", 0, true, nullptr);
        track->AddText("CD Track #", std::to_string(i % 12 + 1).c_str(), 0, true, nullptr);
        track->AddNumber("Length", 180000 + i, 0x01, true, nullptr);
        track->AddNumber("FileSize", 4000000 + i, 0x01, true, nullptr);
        track->AddText("Filename", ("/music/" + n + ".mp3").c_str(), 0x01, true, nullptr);
        track->AddText("Codec", "MPEG Layer 3", 0x01, true, nullptr);
        track->AddText("Comments", "", 0, true, nullptr);
    }
    return root;
}

}  // namespace tagvera::bench
