// bench_metaprop_serialize [rounds] [scaling|100k|fast]: the block and XML forms of property trees (bench/README.md,
// "Property store: block and XML forms").
//   1. block write and read of library-shaped trees at about 1 MB and 10 MB;
//   2. a tree of 100,000 properties built, written and read as block and as XML, with heap peaks;
//   3. CFastMetaProperty fetching one property of a 1 MB block against a full ReadBinary.
// Times are this thread's CPU time (the machine is shared), best and median of the rounds.
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "heap_meter.h"
#include "metaprop/fast_meta_property.h"
#include "metaprop/metaprop_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/vocabulary.h"

using namespace tagvera;
using Node = ComPtr<IMPAMetaProperty>;
using Bytes = std::vector<uint8_t>;

namespace {

double CpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

struct Timing {
    double best = 0, median = 0;
};

// Runs body rounds times; prepare runs before each round outside the clock.
template <class Prepare, class Body>
Timing Time(int rounds, Prepare&& prepare, Body&& body) {
    std::vector<double> ms;
    for (int i = 0; i < rounds; ++i) {
        prepare();
        const double start = CpuMs();
        body();
        ms.push_back(CpuMs() - start);
    }
    std::sort(ms.begin(), ms.end());
    return {ms.front(), ms[ms.size() / 2]};
}
template <class Body>
Timing Time(int rounds, Body&& body) {
    return Time(rounds, [] {}, body);
}

Node NewTree() {
    Node n;
    if (Failed(CreateStandaloneMetaProperty(n.put()))) std::abort();
    return n;
}

void Text(IMPAMetaProperty* at, const char* name, const std::string& value) {
    at->AddText(name, value.c_str(), 0, true, nullptr);
}

// A track as the host keeps it, and a library of them: root -> "Track", "Album", "Artist",
// "Statistics" for the current track, and "Library" -> one group of 10 properties per track.
Node BuildLibrary(uint32_t tracks) {
    Node root = NewTree();
    Node track, album, stats, library;
    root->AddGroup("Track", 0, true, track.put());
    Text(track.get(), "Name", "So What");
    Text(track.get(), "Genre", "Jazz");
    root->AddGroup("Album", 0, true, album.put());
    Text(album.get(), "Name", "Kind of Blue");
    root->AddGroup("Statistics", kFlagReadOnly, true, stats.put());
    stats->AddNumber("Length", 545, kFlagReadOnly, true, nullptr);
    root->AddGroup("Library", 0, true, library.put());
    char name[32];
    const uint8_t thumb[16] = {0x89, 'P', 'N', 'G', 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    for (uint32_t i = 0; i < tracks; ++i) {
        std::snprintf(name, sizeof name, "Track %06u", i);
        Node t;
        library->AddGroup(name, 0, true, t.put());
        Text(t.get(), "Name", "Title of track number " + std::to_string(i));
        Text(t.get(), "Artist", "Some Artist & Band");
        Text(t.get(), "Album", "An Album <Deluxe>");
        Text(t.get(), "Genre", "Jazz");
        Text(t.get(), "CD Track #", std::to_string(i % 20 + 1));
        t->AddNumber("Length", 180 + i % 300, kFlagReadOnly, true, nullptr);
        t->AddNumber("Bitrate", 256000, kFlagReadOnly, true, nullptr);
        t->AddFlag("Favourite", i % 2, 0, true, nullptr);
        t->AddNumber("Plays", i, 0, true, nullptr);
        t->AddProperty("Thumb", kTypeBinary, 0, thumb, sizeof thumb, true, nullptr);
    }
    return root;
}

// The block as the library hands it out: new[]-allocated, freed by the caller.
struct Block {
    uint8_t* data = nullptr;
    uint32_t size = 0;
    ~Block() { delete[] data; }
};

void WriteBlockInto(IMPAMetaProperty* tree, Block& out) {
    auto s = QueryAs<IMPAMetaPropertySerialize2>(tree, IID_IMPAMetaPropertySerialize2);
    if (s->WriteBinaryEx(&out.data, &out.size, false, false, false, true) != TV_S_OK) std::abort();
}

Bytes WriteBlock(IMPAMetaProperty* tree) {
    Block b;
    WriteBlockInto(tree, b);
    return Bytes(b.data, b.data + b.size);
}

// Times writing only: the block is freed outside the clock.
Timing TimeWrite(int rounds, IMPAMetaProperty* tree) {
    std::unique_ptr<Block> out;
    return Time(
        rounds, [&] { out = std::make_unique<Block>(); }, [&] { WriteBlockInto(tree, *out); });
}

void ReadBlock(IMPAMetaProperty* tree, const Bytes& block) {
    auto s = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    if (s->ReadBinary(block.data(), uint32_t(block.size()), false, false) != TV_S_OK) std::abort();
}

std::string WriteXml(IMPAMetaProperty* tree) {
    auto s = QueryAs<IMPAMetaPropertySerialize>(tree, IID_IMPAMetaPropertySerialize);
    char* text = nullptr;
    uint32_t length = 0;
    if (s->WriteXML(&text, &length, true) != TV_S_OK) std::abort();
    std::string out(text, length - 1);
    delete[] text;
    return out;
}

void ReadXml(IMPAMetaProperty* tree, const std::string& xml) {
    auto s = QueryAs<IMPAMetaPropertySerialize2>(tree, IID_IMPAMetaPropertySerialize2);
    if (s->ReadXMLWithEncoding(xml.data(), uint32_t(xml.size()), "US-ASCII") != TV_S_OK) std::abort();
}

double MiB(size_t bytes) { return bytes / 1048576.0; }

// Block sizes of about 1 MB and 10 MB, found from the size of a small library.
uint32_t TracksFor(size_t bytes) {
    Node probe = BuildLibrary(1000);
    const size_t perThousand = WriteBlock(probe.get()).size();
    return uint32_t(bytes * 1000 / perThousand);
}

void BlockScaling(int rounds) {
    std::printf("\n== block write and read, 1 MB and 10 MB ==\n");
    std::printf("%-10s %9s %7s | %-17s | %-17s\n", "size", "tracks", "nodes", "write best/median", "read best/median");
    Timing write[2], read[2];
    for (int i = 0; i < 2; ++i) {
        const uint32_t tracks = TracksFor(i == 0 ? 1 << 20 : 10 << 20);
        Node tree = BuildLibrary(tracks);
        const Bytes block = WriteBlock(tree.get());
        write[i] = TimeWrite(rounds, tree.get());
        Node target;
        read[i] = Time(
            rounds, [&] { target = NewTree(); }, [&] { ReadBlock(target.get(), block); });
        target.reset();
        std::printf("%7.2f MB %9u %7u | %7.1f / %7.1f ms | %7.1f / %7.1f ms\n", MiB(block.size()), tracks,
                    tracks * 11 + 8, write[i].best, write[i].median, read[i].best, read[i].median);
    }
    std::printf("10 MB / 1 MB time: write %.2fx, read %.2fx (best); %.2fx, %.2fx (median)\n",
                write[1].best / write[0].best, read[1].best / read[0].best, write[1].median / write[0].median,
                read[1].median / read[0].median);
}

void HundredThousand(int rounds) {
    std::printf("\n== 100,000 properties (10,000 tracks x 10) ==\n");
    std::printf("%-22s %10s %10s %12s\n", "stage", "best ms", "median ms", "heap peak MB");
    auto stage = [&](const char* what, Timing t, size_t peak) {
        std::printf("%-22s %10.1f %10.1f %12.1f\n", what, t.best, t.median, MiB(peak));
    };
    auto peakOf = [](auto&& body) {
        const size_t base = bench::HeapInUse();
        bench::ResetHeapPeak();
        body();
        return bench::HeapPeak() - base;
    };

    Node tree;
    const size_t buildPeak = peakOf([&] { tree = BuildLibrary(10000); });
    stage("build tree", Time(rounds, [&] { BuildLibrary(10000); }), buildPeak);

    Bytes block;
    const size_t writePeak = peakOf([&] { block = WriteBlock(tree.get()); });
    stage("write block", TimeWrite(rounds, tree.get()), writePeak);
    Node target;
    const size_t readPeak = peakOf([&] {
        Node t = NewTree();
        ReadBlock(t.get(), block);
        target = t;
    });
    target.reset();
    stage("read block", Time(rounds, [&] { target = NewTree(); }, [&] { ReadBlock(target.get(), block); }),
          readPeak);
    target.reset();

    std::string xml;
    const size_t xmlWritePeak = peakOf([&] { xml = WriteXml(tree.get()); });
    stage("write XML", Time(rounds, [&] { WriteXml(tree.get()); }), xmlWritePeak);
    const size_t xmlReadPeak = peakOf([&] {
        Node t = NewTree();
        ReadXml(t.get(), xml);
        target = t;
    });
    target.reset();
    stage("read XML", Time(rounds, [&] { target = NewTree(); }, [&] { ReadXml(target.get(), xml); }),
          xmlReadPeak);
    target.reset();
    std::printf("tree in memory %.1f MB; block %.2f MB; XML %.2f MB\n", MiB(buildPeak), MiB(block.size()),
                MiB(xml.size()));
}

ComPtr<IMPAMetaPropertyBuffer> ViewOf(const Bytes& block) {
    ComPtr<IMPAMetaPropertyBuffer> view;
    if (Failed(CreateFastMetaProperty(view.put()))) std::abort();
    auto* copy = new uint8_t[block.size()];
    std::memcpy(copy, block.data(), block.size());
    if (view->SetBuffer(copy, uint32_t(block.size()), false) != TV_S_OK) std::abort();
    return view;
}

void Fetch(IMPAMetaProperty* view, const char* path) {
    Node found;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (view->FindByPath(path, found.put()) != TV_S_OK || found->GetValue(&data, &size) != TV_S_OK) std::abort();
}

void FastFetch(int rounds) {
    std::printf("\n== CFastMetaProperty: one property of a 1 MB block ==\n");
    const uint32_t tracks = TracksFor(1 << 20);
    Node tree = BuildLibrary(tracks);
    const Bytes block = WriteBlock(tree.get());
    char late[48];
    std::snprintf(late, sizeof late, "Library:Track %06u:Plays", tracks - 1);

    Node target;
    const Timing full = Time(
        rounds, [&] { target = NewTree(); }, [&] { ReadBlock(target.get(), block); });
    target.reset();
    constexpr int kReps = 200;
    auto view = ViewOf(block);
    const Timing first = Time(rounds, [&] {
        for (int i = 0; i < kReps; ++i) Fetch(view.get(), "Track:Name");
    });
    const Timing last = Time(rounds, [&] {
        for (int i = 0; i < kReps; ++i) Fetch(view.get(), late);
    });
    const Timing withCopy = Time(rounds, [&] {
        for (int i = 0; i < kReps; ++i) Fetch(ViewOf(block).get(), "Track:Name");
    });
    std::printf("block %.2f MB, %u tracks\n", MiB(block.size()), tracks);
    std::printf("%-44s %10.3f ms\n", "full ReadBinary (best)", full.best);
    auto row = [&](const char* what, const Timing& t) {
        const double each = t.best / kReps;
        std::printf("%-44s %10.4f ms  %6.3f%% of ReadBinary\n", what, each, 100 * each / full.best);
    };
    row("\"Track:Name\" from a view", first);
    row("last track's \"Plays\" (end of the Library table)", last);
    row("copy block + SetBuffer + \"Track:Name\"", withCopy);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    const std::string only = argc > 2 ? argv[2] : "";
    // Keep freed memory in the process: otherwise every round pays the kernel again for the pages
    // of a tree the size of the last one, and the first sizes measured pay the most.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    std::printf("rounds: %d; times are this thread's CPU time\n", rounds);
    if (only.empty() || only == "scaling") BlockScaling(rounds);
    if (only.empty() || only == "100k") HundredThousand(rounds);
    if (only.empty() || only == "fast") FastFetch(rounds);
    return 0;
}
