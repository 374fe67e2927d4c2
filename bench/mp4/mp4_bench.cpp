// The MP4 benchmark's in-process readers and writers, each over every file named:
//   interrogate PLATFORM_DIR FILE...: CImportM4File as the command drives it, through the host
//     (create, SetFilename, Interrogate, release); with PLATFORM_DIR "-" the host has no media
//     platform, so the two MIME type statistics are left out and their cost with them;
//   taglib FILE...: the least TagLib program reading the same facts (tags, cover size, duration,
//     bit rate, sample rate, channels);
//   title TEXT FILE...: a title edit through the importer, then a count of edits made in place
//     and rewritten.
#include <taglib/mp4file.h>
#include <taglib/mp4tag.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "common/importer_loops.h"
#include "common/taglib_read.h"
#include "host/host.h"
#include "tagvera/importer.h"
#include "tagvera/mp3.h"
#include "tagvera/vocabulary.h"

namespace {

using namespace tagvera;

host::HostOptions Options(const char* platformDir) {
    host::HostOptions options;
    if (std::strcmp(platformDir, "-") != 0) options.directories = {{"DT_Plugins", platformDir}};
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc >= 2 ? argv[1] : "";
    if (mode == "taglib") {
        return bench::TaglibRead<TagLib::MP4::File>(argc - 2, argv + 2, [](const TagLib::MP4::Tag& tag) {
            unsigned long bytes = 0;
            if (tag.contains("covr"))
                for (const auto& cover : tag.item("covr").toCoverArtList()) bytes += cover.data().size();
            return bytes;
        });
    }
    if (argc >= 3 && mode == "interrogate") {
        const host::Host host(Options(argv[2]));
        return bench::InterrogateAll(
            [&] { return host.CreateAs<IMPAInterrogateFile>(CLSID_CImportM4File, IID_IMPAInterrogateFile); }, argc - 3,
            argv + 3);
    }
    if (argc >= 3 && mode == "title") {
        const host::Host host;
        return bench::EditTitles(
            [&] { return host.CreateAs<IMPAInterrogateFile>(CLSID_CImportM4File, IID_IMPAInterrogateFile); }, argv[2],
            argc - 3, argv + 3);
    }
    std::fprintf(stderr, "usage: bench_mp4 interrogate PLATFORM_DIR|- FILE... | taglib FILE... | title TEXT FILE...\n");
    return 2;
}
