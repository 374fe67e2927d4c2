// The tree's own costs on a library of 100,000 properties: build, find, clone, merge, enumerate,
// and a single group of 100,000 children.
#include "tree_bench.h"

#include "metaprop/metaprop_component.h"

namespace tagvera::bench {

void RunTreeBenchmarks(const LibraryShape& shape) {
    const uint32_t properties = shape.properties();
    Node library;
    Measure("tree: build library", properties, [&] { library = BuildLibrary(shape); });
    PrintPeakMemory("tree: after build");

    static const char* const kLeaves[] = {"Name", "Artist", "Album", "Genre", "CD Track #",
                                          "Length", "FileSize", "Filename", "Codec", "Comments"};
    std::vector<std::string> paths;
    paths.reserve(properties);
    for (uint32_t i = 0; i < shape.tracks; ++i)
        for (const char* leaf : kLeaves) paths.push_back("Library:" + TrackGroupName(i) + ":" + leaf);
    uint32_t found = 0;
    Measure("tree: FindByPath, every property", properties, [&] {
        for (const std::string& path : paths) {
            Node node;
            if (library->FindByPath(path.c_str(), node.put()) == 0) ++found;
        }
    });
    Measure("tree: FindByPath fallback, name absent", properties, [&] {
        Node node;
        library->FindByPath("No Such Property", node.put());
    });

    uint32_t enumerated = 0;
    Measure("tree: enumerate all children", properties, [&] {
        Node group;
        library->FindFirstChild("Library", group.put());
        Node track;
        for (HRESULT hr = group->GetFirstChild(track.put()); hr == 0; hr = group->GetNextChild(track.put())) {
            Node leaf;
            for (HRESULT h = track->GetFirstChild(leaf.put()); h == 0; h = track->GetNextChild(leaf.put()))
                ++enumerated;
        }
    });

    Node copy;
    Measure("tree: Clone", properties, [&] { library->Clone(copy.put()); });
    PrintPeakMemory("tree: after clone");

    Node merged;
    CreateStandaloneMetaProperty(merged.put());
    Measure("tree: MergeFrom into empty tree, deep groups", properties,
            [&] { merged->MergeFrom(copy.get(), false, kAddDeepGroups); });
    Measure("tree: MergeFrom onto equal tree, replace", properties,
            [&] { merged->MergeFrom(library.get(), true, kAddMarkChanged); });
    Measure("tree: MergeFrom onto equal tree, keep", properties,
            [&] { merged->MergeFrom(copy.get(), false, 0); });
    PrintPeakMemory("tree: after merges");

    Measure("tree: release three trees", properties * 3, [&] {
        merged.reset();
        copy.reset();
        library.reset();
    });

    Node flat;
    CreateStandaloneMetaProperty(flat.put());
    std::vector<std::string> names;
    names.reserve(properties);
    for (uint32_t i = 0; i < properties; ++i) names.push_back(TrackGroupName(properties - 1 - i));
    Measure("tree: one group of all, added in reverse order", properties, [&] {
        for (const std::string& name : names) flat->AddNumber(name.c_str(), 1, 0, false, nullptr);
    });
    Measure("tree: FindFirstChild in that group", properties, [&] {
        for (const std::string& name : names) {
            Node node;
            if (flat->FindFirstChild(name.c_str(), node.put()) == 0) ++found;
        }
    });
    Measure("tree: RemoveChild every other one", properties / 2, [&] {
        for (uint32_t i = 0; i < properties; i += 2) flat->RemoveByPath(names[i].c_str());
    });
    flat.reset();
    PrintPeakMemory("tree: end");
    if (found != properties * 2 || enumerated != properties) std::printf("tree: UNEXPECTED COUNTS %u %u\n", found, enumerated);
}

}  // namespace tagvera::bench
