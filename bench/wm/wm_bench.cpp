// The Windows Media benchmark's in-process readers and writer, each over every file named:
//   interrogate: the importer as a host drives it (create, SetFilename, Interrogate, release);
//   taglib: the least TagLib program reading the same facts (tags, cover size, duration, bit
//           rate, sample rate, channels);
//   title: a title edit through the importer, then a count of edits made in place and rewritten.
#include <taglib/asffile.h>
#include <taglib/asftag.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "common/importer_loops.h"
#include "common/taglib_read.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"
#include "wm/wm_importer.h"

namespace {

using namespace tagvera;

ComPtr<IMPAInterrogateFile> Importer() {
    ComPtr<IUnknown> unknown;
    if (Failed(CreateImportWMAFile(nullptr, nullptr, unknown.put()))) return {};
    return QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "interrogate") == 0) return bench::InterrogateAll(Importer, argc - 2, argv + 2);
    if (argc >= 2 && std::strcmp(argv[1], "taglib") == 0) {
        return bench::TaglibRead<TagLib::ASF::File>(argc - 2, argv + 2, [](const TagLib::ASF::Tag& tag) {
            unsigned long bytes = 0;
            if (tag.contains("WM/Picture"))
                for (const auto& a : tag.attribute("WM/Picture")) bytes += a.toPicture().picture().size();
            return bytes;
        });
    }
    if (argc >= 2 && std::strcmp(argv[1], "title") == 0)
        return bench::EditTitles(Importer, "A New Title For The Benchmark", argc - 2, argv + 2);
    std::fprintf(stderr, "usage: bench_wm interrogate|taglib|title FILE...\n");
    return 2;
}
