// The MPEG audio scan on arbitrary bytes: a file as a MemorySource, and the analysis window. The
// importer scans through a HeadTailSource with small probe blocks; the same bytes give the
// same figures either way.
#include <cstdint>
#include <cstdlib>

#include "base/head_tail_source.h"
#include "mp3/mpeg/analysis.h"
#include "mp3/mpeg/scan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    const std::span<const uint8_t> bytes(data, size);
    MemorySource file(bytes);
    // The first byte picks the start offset and whether a repair may be worked out.
    const uint64_t start = size ? data[0] % 16 : 0;
    Mp3AudioInfo info;
    const HRESULT hr = ScanMp3Audio(file, start, &info, {.fileWritable = size && (data[0] & 0x80)});
    if (hr != TV_S_OK && hr != TV_E_FAIL) std::abort();
    if (hr == TV_S_OK) {
        if (info.firstFrameOffset >= size || info.audioBytes > size || !info.firstHeader.valid) std::abort();
        // A repair always rewrites bytes that exist, never grows the file.
        if (info.xingRepair && (info.xingRepair->bytes.empty() || info.xingRepair->offset > size ||
                                info.xingRepair->bytes.size() > size - info.xingRepair->offset))
            std::abort();
    }
    // Probe blocks small enough for a fuzzer's inputs to run past them.
    HeadTailSource probes(file, size ? data[size - 1] % 512 : 0, size > 1 ? data[size - 2] % 160 : 0);
    Mp3AudioInfo viaProbes;
    const HRESULT probed = ScanMp3Audio(probes, start, &viaProbes, {.fileWritable = size && (data[0] & 0x80)});
    if (probed != hr) std::abort();
    if (hr == TV_S_OK && (viaProbes.durationMs != info.durationMs || viaProbes.bitRate != info.bitRate ||
                          viaProbes.firstFrameOffset != info.firstFrameOffset || viaProbes.frameCount != info.frameCount))
        std::abort();
    MpegLayer3WaveFormat wf;
    const int32_t skipped = AnalyzeMpegAudio(bytes, &wf, true);
    if (skipped >= 0 && (uint64_t(skipped) / 8 >= size || wf.nSamplesPerSec == 0)) std::abort();
    return 0;
}
