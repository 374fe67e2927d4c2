// What the property-store benchmarks share: a stopwatch that prints one figure per stage, the peak
// resident memory, and the library-shaped tree they all work on.
#ifndef TAGVERA_BENCH_METAPROP_BENCH_SUPPORT_H
#define TAGVERA_BENCH_METAPROP_BENCH_SUPPORT_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"

namespace tagvera::bench {

using Node = ComPtr<IMPAMetaProperty>;

// CPU time of the calling thread, in milliseconds: the machine is shared, so wall time alone
// measures the neighbours as well.
double ThreadCpuMs();

// Runs body once and prints "stage  cpu ms  wall ms  cpu per item" (items: operations body did).
template <class Body>
double Measure(const char* stage, uint64_t items, Body&& body) {
    const double cpuStart = ThreadCpuMs();
    const auto start = std::chrono::steady_clock::now();
    body();
    const double wall = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    const double cpu = ThreadCpuMs() - cpuStart;
    std::printf("%-46s %9.1f ms cpu %9.1f ms wall %8.0f ns/item  (%llu items)\n", stage, cpu, wall,
                cpu * 1e6 / static_cast<double>(items ? items : 1), static_cast<unsigned long long>(items));
    std::fflush(stdout);
    return cpu;
}

// Peak resident set size of the process so far, in MiB.
double PeakResidentMiB();
void PrintPeakMemory(const char* when);

// The shape of a jukebox library: root -> "Library" -> tracks groups, each with the standard
// properties of a track; tracks x 10 properties in all.
struct LibraryShape {
    uint32_t tracks = 10000;
    static constexpr uint32_t kPropertiesPerTrack = 10;
    uint32_t properties() const { return tracks * kPropertiesPerTrack; }
};
std::string TrackGroupName(uint32_t index);
Node BuildLibrary(const LibraryShape& shape);

}  // namespace tagvera::bench

#endif
