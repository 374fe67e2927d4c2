// The top-level walk and the movie tree: every box found lies inside its parent and the file.
#include <cstdint>
#include <cstdlib>

#include "mp4/atom_tree.h"

namespace {

void Check(const tagvera::mp4::Atom& box, uint64_t begin, uint64_t end) {
    if (box.offset < begin || box.size < box.header || box.size > end - box.offset) std::abort();
    for (const auto& child : box.children) Check(child, box.offset + box.header, box.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::mp4;
    tagvera::MemorySource file(std::span<const uint8_t>(data, size));
    const TopLevel top = ReadTopLevel(file);
    for (const Atom& box : top.atoms) Check(box, 0, size);
    std::string problem;
    const Atom movie = ParseMovie(std::span<const uint8_t>(data, size), 0, &problem);
    if (movie.size) Check(movie, 0, size);
    return 0;
}
