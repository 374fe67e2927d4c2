// bench_metaprop [tracks]: the property store's benchmarks on a library of tracks x 10 properties
// (10,000 tracks by default: 100,000 properties). Each stage prints its time and items.
#include <cstdlib>

#include "tree_bench.h"

int main(int argc, char** argv) {
    tagvera::bench::LibraryShape shape;
    if (argc > 1) shape.tracks = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    std::printf("library: %u tracks, %u properties\n", shape.tracks, shape.properties());
    tagvera::bench::RunTreeBenchmarks(shape);
    return 0;
}
