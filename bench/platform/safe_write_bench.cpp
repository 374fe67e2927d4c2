// What a tag edit costs on disk: a full rewrite of a large media file next to a plain copy of it,
// an in-place patch synced and deferred, small rewrites in a crowded folder, and preference reads.
// Usage: bench_safe_write [folder] [megabytes]
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/preferences.h"
#include "platform/safe_write.h"

using namespace tagvera::platform;
using Clock = std::chrono::steady_clock;

namespace {

double Seconds(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The machine is shared: the process's own CPU time shows work that waiting on the disk hides.
double CpuSeconds() {
    timespec ts{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

struct Cost {
    double clock, cpu;
};

void MakeFile(const std::string& path, uint64_t size) {
    RemoveFile(path);
    File f = File::CreateNew(path, 0644);
    std::vector<uint8_t> block(1 << 20);
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<uint8_t>(i * 131 + 7);
    for (uint64_t at = 0; at < size; at += block.size()) f.writeAt(at, block);
    f.sync();
}

// The floor for any rewrite: read every byte once, write it once, fsync.
void PlainCopy(const std::string& from, const std::string& to) {
    RemoveFile(to);
    File in(from, OpenMode::Read);
    File out = File::CreateNew(to, 0644);
    std::vector<uint8_t> chunk(1 << 20);
    for (uint64_t at = 0; at < in.size(); at += chunk.size()) {
        const size_t n = in.readAt(at, chunk);
        out.writeAt(at, std::span(chunk).first(n));
    }
    out.sync();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : "/tmp";
    const uint64_t megabytes = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 512;
    const std::string path = dir + "/bench-safe-write.bin";
    const std::string copy = dir + "/bench-safe-write.copy";
    const uint64_t size = megabytes << 20;
    MakeFile(path, size);

    // Alternated and the best of three kept: the first large fsync after creating the file pays
    // for write-back that is not the copy's own.
    const std::vector<uint8_t> tag(4096, 'T');
    double plain = 1e9, rewrite = 1e9;
    for (int round = 0; round < 3; ++round) {
        auto start = Clock::now();
        PlainCopy(path, copy);
        plain = std::min(plain, Seconds(start));
        RemoveFile(copy);
        start = Clock::now();
        RewriteFile(path, FileLayout().bytes(tag).fill(1024).copy(0, size));
        rewrite = std::min(rewrite, Seconds(start));
    }

    auto t = Clock::now();
    const Patch patch{0, tag};
    const int patches = 20;
    for (int i = 0; i < patches; ++i) PatchInPlace(path, {&patch, 1});
    const double inPlace = Seconds(t) / patches;
    t = Clock::now();
    const int deferredPatches = 200;
    for (int i = 0; i < deferredPatches; ++i) PatchInPlace(path, {&patch, 1}, Durability::Deferred);
    const double deferred = Seconds(t) / deferredPatches;
    RemoveFile(path);

    // A song among many: what a rewrite costs beyond its own bytes must not grow with the folder.
    const std::string crowd = dir + "/bench-safe-write-crowd";
    const int neighbours = 10000;
    auto smallRewrites = [&](int others) {
        std::filesystem::create_directory(crowd);
        for (int i = 1; i <= others; ++i) File::CreateNew(crowd + "/song" + std::to_string(i) + ".mp3", 0644);
        const std::string song = crowd + "/song0.mp3";
        MakeFile(song, 64 << 10);
        const int rewrites = 100;
        const auto start = Clock::now();
        const double cpuStart = CpuSeconds();
        const FileLayout newTag = FileLayout().bytes(tag).copy(tag.size(), (64 << 10) - tag.size());
        for (int i = 0; i < rewrites; ++i) RewriteFile(song, newTag);
        const Cost each{Seconds(start) / rewrites, (CpuSeconds() - cpuStart) / rewrites};
        std::filesystem::remove_all(crowd);
        return each;
    };
    const Cost alone = smallRewrites(0), crowded = smallRewrites(neighbours);

    const std::string prefs = dir + "/bench-preferences";
    ::setenv("TAGVERA_PREFERENCES", prefs.c_str(), 1);
    prefs::SetNumber(prefs::kTagEditID3V1, 0);
    const int reads = 100000;
    uint32_t sum = 0;
    auto timeReads = [&] {
        const auto start = Clock::now();
        for (int i = 0; i < reads; ++i) sum += prefs::GetNumber(prefs::kTagEditID3V1);
        return Seconds(start) / reads;
    };
    // Within two seconds of a change the file is read every time; after that the cache answers.
    const double freshRead = timeReads();
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    const double cachedRead = timeReads();
    RemoveFile(prefs);

    std::printf("file size                  %8llu MB\n", static_cast<unsigned long long>(megabytes));
    std::printf("plain copy + fsync         %8.2f s  (%6.0f MB/s)\n", plain, megabytes / plain);
    std::printf("RewriteFile (4 KB tag)     %8.2f s  (%6.0f MB/s)\n", rewrite, megabytes / rewrite);
    std::printf("PatchInPlace 4 KB + fsync  %8.2f ms\n", inPlace * 1e3);
    std::printf("PatchInPlace 4 KB deferred %8.2f us\n", deferred * 1e6);
    std::printf("RewriteFile 64 KB, alone   %8.2f ms  (CPU %5.0f us)\n", alone.clock * 1e3, alone.cpu * 1e6);
    std::printf("RewriteFile 64 KB among %d %6.2f ms  (CPU %5.0f us)\n", neighbours, crowded.clock * 1e3,
                crowded.cpu * 1e6);
    std::printf("prefs::GetNumber, changed  %8.2f us per read\n", freshRead * 1e6);
    std::printf("prefs::GetNumber, cached   %8.2f us per read%s\n", cachedRead * 1e6, sum ? " (!)" : "");
    return 0;
}
