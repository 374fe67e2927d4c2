// TIFF: the first directory only (the picture a host shows); later directories are never
// followed, so a chain of a thousand of them, or a loop, costs nothing.
#include <algorithm>

#include "base/error.h"
#include "image/probe.h"
#include "image/probe_checks.h"
#include "image/tiff_ifd.h"

namespace tagvera::image {
namespace {

constexpr uint16_t kImageWidth = 256;
constexpr uint16_t kImageLength = 257;
constexpr uint16_t kBitsPerSample = 258;
constexpr uint16_t kSamplesPerPixel = 277;
constexpr size_t kMostSamples = 16;
constexpr uint16_t kStripOffsets = 273;
constexpr uint16_t kStripByteCounts = 279;
constexpr uint16_t kTileOffsets = 324;
constexpr uint16_t kTileByteCounts = 325;
// A picture in more pieces than this is read whole for its metadata.
constexpr size_t kMostPieces = 1 << 20;

// Everything in the file but the first picture's strips or tiles: where the metadata may be.
std::vector<ByteRange> AllButPixelData(const TiffIfd0& ifd, uint64_t size) {
    auto offsets = ifd.numbers(kStripOffsets, kMostPieces);
    auto counts = ifd.numbers(kStripByteCounts, kMostPieces);
    if (offsets.empty()) {
        offsets = ifd.numbers(kTileOffsets, kMostPieces);
        counts = ifd.numbers(kTileByteCounts, kMostPieces);
    }
    std::vector<ByteRange> pixels;
    for (size_t i = 0; i < offsets.size() && i < counts.size(); ++i)
        if (offsets[i] < size) pixels.push_back({offsets[i], std::min<uint64_t>(counts[i], size - offsets[i])});
    std::sort(pixels.begin(), pixels.end(), [](const auto& a, const auto& b) { return a.offset < b.offset; });
    std::vector<ByteRange> rest;
    uint64_t at = 0;
    for (const auto& p : pixels) {
        if (p.offset > at) rest.push_back({at, p.offset - at});
        at = std::max(at, p.offset + p.length);
    }
    if (at < size) rest.push_back({at, size - at});
    return rest;
}

}  // namespace

ImageFacts ProbeTiff(ByteSource& source) {
    const TiffIfd0 ifd(source, 0, source.size());
    ImageFacts facts;
    facts.format = ImageFormat::Tiff;
    const auto width = ifd.number(kImageWidth);
    const auto height = ifd.number(kImageLength);
    if (!width || !height) throw Error(TV_E_FAIL, "TIFF without its image width or length");
    facts.width = CheckedDimension(*width, "TIFF width");
    facts.height = CheckedDimension(*height, "TIFF height");
    const uint32_t samples = ifd.number(kSamplesPerPixel).value_or(1);
    if (samples == 0 || samples > kMostSamples) throw Error(TV_E_FAIL, "TIFF with an unsupported number of samples");
    const auto bits = ifd.shorts(kBitsPerSample, kMostSamples);
    const uint32_t sampleBits = bits.empty() ? 1 : bits[0];
    if (sampleBits == 0 || sampleBits > 32) throw Error(TV_E_FAIL, "TIFF with an unsupported bits per sample");
    facts.bitsPerPixel = samples * sampleBits;
    if (const auto dpi = TiffDpi(ifd)) {
        facts.xDpi = dpi->x;
        facts.yDpi = dpi->y;
    }
    facts.metadata = AllButPixelData(ifd, source.size());
    facts.metadataLayoutSize = source.size();
    return facts;
}

}  // namespace tagvera::image
