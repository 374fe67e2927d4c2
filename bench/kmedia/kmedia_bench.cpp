// bench_kmedia corpus DIR COUNT   KorvaMedia files of six kinds, 1 to 50 MB (log-uniform, fixed seed)
// bench_kmedia big FILE MB        one audio + video file of about MB megabytes
// bench_kmedia floor FILE...      what any reader must do per file: open, read the header objects
//                                 (up to "DATA") and the last 140 bytes, close; prints the bytes read
// bench_kmedia interrogate FILE... what a host does per file, through the library's entry points:
//                                 the importer, SetFilename, Interrogate, release (no printing)
// bench_kmedia save IN OUT        the edit engine's Save of IN to OUT; prints seconds and peak memory
// bench_kmedia strip FILE         the importer's Prepare through the entry points (the whole file
//                                 rewritten without its metadata); prints seconds and peak memory
// bench_kmedia copy IN OUT        a plain copy with fsync, the yardstick for Save and strip
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/host.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "kmedia/km_edit.h"
#include "kmedia/km_generator.h"

using namespace tagvera::kmedia;
using namespace tagvera::kmedia::testing;

namespace {

struct Kind {
    const char* name;
    const char* extension;
};
const Kind kKinds[] = {{"audio", "kmj"},   {"audio_video", "km"},    {"two_audio", "ka"},
                       {"file_info", "kmj"}, {"trailer_id3v1", "kmj"}, {"stream_header", "kms"}};

KmFileSpec Spec(size_t kind, uint64_t bytes) {
    KmFileSpec spec;
    spec.durationMs = 240000;
    spec.content = ContentObject{.title = "Bench Title", .author = "Bench Artist", .copyright = "2026", .comment = "bench"};
    spec.streams = {AudioStream(0, 128000, "kaac", 2)};
    switch (kind) {
        case 1: spec.streams.push_back(VideoStream(1, 900000, "KV40", 640, 480, 0x3000)); break;
        case 2: spec.streams.push_back(AudioStream(1, 32000, "sipr", 1, 4)); break;
        case 3:
            spec.streams.push_back(FileInfoStream({NameValueProperty::Text("File ID", "bench"),
                                                   NameValueProperty::Number("Indexable", 1),
                                                   NameValueProperty::Buffer("KJMDTag", JukeboxBlock("Header Copy"))}));
            break;
        case 4:
            spec.trailerBlock = JukeboxBlock("Trailer Title");
            spec.id3v1 = Id3v1Bytes("Id3 Title", "Id3 Artist", 8, 3, "1999");
            break;
        case 5: spec.streamFileHeader = true; break;
    }
    spec.payloadSize = 32000;
    const uint64_t media = 0 + (kind == 1 || kind == 2 ? 2 : 1);
    spec.packetsPerStream = static_cast<uint32_t>(std::max<uint64_t>(1, bytes / (spec.payloadSize + 12) / media));
    return spec;
}

uint64_t ReadAt(int fd, uint64_t offset, size_t size) {
    std::vector<uint8_t> buffer(size);
    const ssize_t n = ::pread(fd, buffer.data(), size, static_cast<off_t>(offset));
    return n > 0 ? static_cast<uint64_t>(n) : 0;
}

uint32_t Be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

// The header objects are read one by one by their 10-byte headers, up to "DATA" (or "INDX").
uint64_t Floor(const char* path) {
    const int fd = ::open(path, O_RDONLY);
    if (fd < 0) return 0;
    uint64_t bytes = 0, at = 0;
    const off_t size = ::lseek(fd, 0, SEEK_END);
    for (int objects = 0; objects < 64 && at + 10 <= uint64_t(size); ++objects) {
        uint8_t head[10];
        if (::pread(fd, head, sizeof head, static_cast<off_t>(at)) != 10) break;
        bytes += 10;
        const uint32_t length = Be32(head + 4);
        if (!std::memcmp(head, "DATA", 4) || !std::memcmp(head, "INDX", 4) || length < 10) break;
        bytes += ReadAt(fd, at + 10, length - 10);
        at += length;
    }
    if (size > 140) bytes += ReadAt(fd, uint64_t(size) - 140, 140);
    ::close(fd);
    return bytes;
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

long PeakKb() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

int Copy(const char* in, const char* out) {
    const int from = ::open(in, O_RDONLY), to = ::open(out, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (from < 0 || to < 0) return 1;
    std::vector<char> buffer(1 << 20);
    for (ssize_t n; (n = ::read(from, buffer.data(), buffer.size())) > 0;) {
        if (::write(to, buffer.data(), static_cast<size_t>(n)) != n) return 1;
    }
    const int synced = ::fsync(to);
    ::close(from);
    ::close(to);
    return synced == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "corpus" && argc == 4) {
        std::mt19937 random(20261124);
        std::uniform_real_distribution<double> logSize(std::log(1.0), std::log(50.0));
        const int count = std::atoi(argv[3]);
        for (int i = 0; i < count; ++i) {
            const size_t kind = static_cast<size_t>(i) % std::size(kKinds);
            const auto bytes = static_cast<uint64_t>(std::exp(logSize(random)) * 1024 * 1024);
            char name[64];
            std::snprintf(name, sizeof name, "/%04d_%s.%s", i, kKinds[kind].name, kKinds[kind].extension);
            WriteFile(argv[2] + std::string(name), BuildKmFile(Spec(kind, bytes)));
        }
        return 0;
    }
    if (command == "big" && argc == 4) {
        WriteFile(argv[2], BuildKmFile(Spec(1, std::strtoull(argv[3], nullptr, 10) << 20)));
        return 0;
    }
    if (command == "floor" && argc > 2) {
        uint64_t bytes = 0;
        for (int i = 2; i < argc; ++i) bytes += Floor(argv[i]);
        std::printf("%.0f bytes read per file\n", double(bytes) / (argc - 2));
        return 0;
    }
    if (command == "interrogate" && argc > 2) {
        tagvera::host::Host host;
        int failed = 0;
        for (int i = 2; i < argc; ++i) {
            const auto* info = host.ImporterForFile(argv[i]);
            auto importer = info ? host.CreateAs<IMPAInterrogateFile>(info->classId, tagvera::IID_IMPAInterrogateFile)
                                 : nullptr;
            tagvera::ComPtr<IMPAMetaProperty> tree;
            if (!importer || tagvera::Failed(importer->SetFilename(argv[i])) ||
                tagvera::Failed(importer->Interrogate(tree.put())))
                ++failed;
        }
        std::printf("%d files, %d failed\n", argc - 2, failed);
        return failed ? 1 : 0;
    }
    if (command == "save" && argc == 4) {
        const auto start = std::chrono::steady_clock::now();
        KmEditEngine edit;
        HRESULT hr = edit.SetInputFile(argv[2], true);
        if (tagvera::Succeeded(hr)) hr = edit.SetOutputFile(argv[3]);
        if (tagvera::Succeeded(hr)) hr = edit.Save();
        std::printf("save: %.3f s, peak %ld KB, result %08x\n", Seconds(start), PeakKb(), static_cast<unsigned>(hr));
        return tagvera::Succeeded(hr) ? 0 : 1;
    }
    if (command == "strip" && argc == 3) {
        const auto start = std::chrono::steady_clock::now();
        tagvera::host::Host host;
        const auto* info = host.ImporterForFile(argv[2]);
        auto importer = info ? host.CreateAs<IMPAHandleMetaProperties>(info->classId, tagvera::IID_IMPAHandleMetaProperties)
                             : nullptr;
        HRESULT hr = importer ? importer->SetFilename(argv[2]) : tagvera::TV_E_FAIL;
        if (tagvera::Succeeded(hr)) hr = importer->Prepare(0);
        std::printf("strip: %.3f s, peak %ld KB, result %08x\n", Seconds(start), PeakKb(), static_cast<unsigned>(hr));
        return tagvera::Succeeded(hr) ? 0 : 1;
    }
    if (command == "copy" && argc == 4) {
        const auto start = std::chrono::steady_clock::now();
        const int rc = Copy(argv[2], argv[3]);
        std::printf("copy: %.3f s, peak %ld KB\n", Seconds(start), PeakKb());
        return rc;
    }
    std::fprintf(stderr, "usage: see the top of bench/kmedia/kmedia_bench.cpp\n");
    return 2;
}
