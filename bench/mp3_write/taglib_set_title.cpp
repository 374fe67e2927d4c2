// Sets the title of every file named on the command line with TagLib, for the write benchmark.
#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <cstdio>

int main(int argc, char** argv) {
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        TagLib::FileRef f(argv[i]);
        if (f.isNull() || !f.tag()) {
            ++failed;
            continue;
        }
        f.tag()->setTitle(TagLib::String("Benchmark title", TagLib::String::UTF8));
        if (!f.save()) ++failed;
    }
    if (failed) std::fprintf(stderr, "%d files failed\n", failed);
    return failed ? 1 : 0;
}
