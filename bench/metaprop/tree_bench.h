#ifndef TAGVERA_BENCH_METAPROP_TREE_BENCH_H
#define TAGVERA_BENCH_METAPROP_TREE_BENCH_H

#include <string>
#include <vector>

#include "bench_support.h"
#include "tagvera/vocabulary.h"

namespace tagvera::bench {

void RunTreeBenchmarks(const LibraryShape& shape);

}  // namespace tagvera::bench

#endif
