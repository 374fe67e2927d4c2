// Counts the bytes the process has on the heap through operator new, so that each stage of a
// benchmark can report the peak it reached. Linking heap_meter.cpp replaces the global operators.
#ifndef TAGVERA_BENCH_METAPROP_SERIALIZE_HEAP_METER_H
#define TAGVERA_BENCH_METAPROP_SERIALIZE_HEAP_METER_H

#include <cstddef>

namespace tagvera::bench {

size_t HeapInUse();
// The highest HeapInUse() since the last ResetHeapPeak().
size_t HeapPeak();
void ResetHeapPeak();

}  // namespace tagvera::bench

#endif
