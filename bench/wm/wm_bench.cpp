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

int TaglibRead(int count, char** files) {
    int failed = 0;
    unsigned long sum = 0;  // keeps the reads from being optimised away
    for (int i = 0; i < count; ++i) {
        TagLib::ASF::File file(files[i], true, TagLib::AudioProperties::Average);
        if (!file.isValid()) {
            ++failed;
            continue;
        }
        const TagLib::ASF::Tag* tag = file.tag();
        sum += tag->title().size() + tag->artist().size() + tag->album().size() + tag->genre().size() + tag->track();
        if (tag->contains("WM/Picture"))
            for (const auto& a : tag->attribute("WM/Picture")) sum += a.toPicture().picture().size();
        if (const auto* p = file.audioProperties())
            sum += unsigned(p->lengthInMilliseconds() + p->bitrate() + p->sampleRate() + p->channels());
    }
    std::printf("%lu\n", sum);
    return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "interrogate") == 0) return bench::InterrogateAll(Importer, argc - 2, argv + 2);
    if (argc >= 2 && std::strcmp(argv[1], "taglib") == 0) return TaglibRead(argc - 2, argv + 2);
    if (argc >= 2 && std::strcmp(argv[1], "title") == 0)
        return bench::EditTitles(Importer, "A New Title For The Benchmark", argc - 2, argv + 2);
    std::fprintf(stderr, "usage: bench_wm interrogate|taglib|title FILE...\n");
    return 2;
}
