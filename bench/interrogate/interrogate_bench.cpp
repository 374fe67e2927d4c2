// The generic interrogation benchmark's two in-process readers, each over every file named:
//   tagvera PLATFORM_DIR FILE...: the interrogator as the command drives it, through the host
//     and the media platform library in PLATFORM_DIR;
//   floor FILE...: the least libavformat program under the same probe limits, reading the
//     stream parameters and nothing else.
#include <cstdio>
#include <cstring>
#include <string>

#include "common/importer_loops.h"
#include "host/host.h"
#include "mediaplatform/av_file_format.h"
#include "tagvera/importer.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

using namespace tagvera;

int Interrogate(const char* platformDir, int count, char** files) {
    host::HostOptions options;
    options.directories = {{"DT_Plugins", platformDir}};
    const host::Host host(options);
    return bench::InterrogateAll(
        [&] { return host.CreateAs<IMPAInterrogateFile>(CLSID_KMAInterrogatePlugin, IID_IMPAInterrogateFile); }, count,
        files);
}

int Floor(int count, char** files) {
    av_log_set_level(AV_LOG_QUIET);
    int failed = 0;
    unsigned long sum = 0;  // keeps the reads from being optimised away
    for (int i = 0; i < count; ++i) {
        AVFormatContext* input = avformat_alloc_context();
        input->probesize = mediaplatform::kProbeBytes;
        input->max_analyze_duration = mediaplatform::kAnalyzeMicroseconds;
        if (avformat_open_input(&input, files[i], nullptr, nullptr) < 0) {
            ++failed;
            continue;
        }
        avformat_find_stream_info(input, nullptr);
        sum += uint64_t(input->duration);
        for (unsigned s = 0; s < input->nb_streams; ++s) {
            const AVCodecParameters* codec = input->streams[s]->codecpar;
            sum += uint64_t(codec->bit_rate) + codec->width + codec->height + codec->ch_layout.nb_channels;
        }
        avformat_close_input(&input);
    }
    std::printf("%lu\n", sum);
    return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "tagvera") == 0) return Interrogate(argv[2], argc - 3, argv + 3);
    if (argc >= 2 && std::strcmp(argv[1], "floor") == 0) return Floor(argc - 2, argv + 2);
    std::fprintf(stderr, "usage: bench_interrogate tagvera PLATFORM_DIR FILE... | floor FILE...\n");
    return 2;
}
