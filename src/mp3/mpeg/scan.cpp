#include "mp3/mpeg/scan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/error.h"
#include "base/read_buffer.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v1/lyrics3.h"
#include "tags/id3v2/tag_reader.h"
#include "mp3/mpeg/bit_stream.h"

namespace tagvera {

namespace {

constexpr size_t kHeadBytes = 2048;
constexpr int kMaxStackedId3v2Tags = 64;
// A Xing header whose frame count gives a lower bit rate than this is not trusted: walk instead.
constexpr double kXingPlausibleBitRate = 50000;

uint32_t ToU32(double v, bool* clipped = nullptr) {
    if (clipped) *clipped = v >= 4294967295.0;
    if (!(v > 0)) return 0;
    return v >= 4294967295.0 ? UINT32_MAX : static_cast<uint32_t>(v);
}

ReadBuffer ReadUpTo(ByteSource& file, uint64_t offset, uint64_t limit) {
    ReadBuffer buffer(static_cast<size_t>(limit));
    if (buffer.empty()) return buffer;  // an empty buffer has no address to hand a reader
    buffer.resize(file.readAt(offset, buffer));
    return buffer;
}

// The end of the audio: before an ID3v1 tag and a Lyrics3 v2 block in front of it.
uint64_t AudioEnd(ByteSource& file) {
    if (!EndsWithId3v1Tag(file)) return file.size();
    const uint64_t end = file.size() - kId3v1Size;
    Lyrics3Tag lyrics3;
    return ReadLyrics3v2Tag(file, end, &lyrics3, false) ? lyrics3.offset : end;
}

class Scanner {
public:
    Scanner(ByteSource& file, const Mp3ScanOptions& options, Mp3AudioInfo& info)
        : file_(file), options_(options), info_(info) {}

    void Run(uint64_t startOffset) {
        const uint64_t audioEnd = AudioEnd(file_);
        uint64_t offset = SkipTags(startOffset, audioEnd);
        // One read serves the sync search (its first 32 KB) and the analysis.
        window_ = ReadUpTo(file_, offset, std::min<uint64_t>(kMp3AnalysisWindow, audioEnd - offset));
        const uint64_t first = FindFirstFrame(offset);
        if (first > offset) {
            // The analysis starts at the frame: drop what precedes it and read as much more.
            const uint64_t readEnd = offset + window_.size();
            window_.erase(window_.begin(), window_.begin() + static_cast<ptrdiff_t>(first - offset));
            const auto more = ReadUpTo(file_, readEnd, std::min(audioEnd, first + kMp3AnalysisWindow) - readEnd);
            window_.insert(window_.end(), more.begin(), more.end());
        }
        Analyse(first, audioEnd);
        if (!ReadVbrHeader(audioEnd) && info_.isVbr) CountVbrWithoutHeader(audioEnd);
    }

private:
    uint64_t SkipTags(uint64_t offset, uint64_t audioEnd) {
        if (offset >= audioEnd) throw Error(TV_E_FAIL, "no audio after the tags");
        ReadBuffer head = ReadUpTo(file_, offset, std::min<uint64_t>(10, audioEnd - offset));
        if (head.size() >= 4 && std::memcmp(head.data(), ".KMF", 4) == 0)
            throw Error(TV_E_FAIL, "a KorvaMedia file, not MPEG audio");
        // Taggers sometimes leave several ID3v2 tags in a row.
        for (int i = 0; i < kMaxStackedId3v2Tags; ++i) {
            const auto tag = id3v2::ParseTagHeader(head);
            if (!tag) break;
            // A size past the audio is a damaged tag: let the sync search pass over it instead.
            if (tag->totalSize() >= audioEnd - offset) break;
            offset += tag->totalSize();
            head = ReadUpTo(file_, offset, std::min<uint64_t>(10, audioEnd - offset));
        }
        return offset;
    }

    // The first frame in the window's first 32 KB, searched through a 2 KB ring.
    uint64_t FindFirstFrame(uint64_t offset) {
        MemorySource window(window_);
        ByteSourceCursor cursor(window, 0, kMp3SyncSearchLimit);
        CMpegBitStream stream(kHeadBytes);
        stream.SetSource(&cursor);
        for (;;) {
            const MpegStatus status = stream.GetFrame();
            if (status == MPEG_FRAME_OK) return offset + stream.SkippedBits() / 8;
            if (status == MPEG_ENDOFSTREAM) throw Error(TV_E_FAIL, "no MPEG audio frame in the first 32 KB");
        }
    }

    void Analyse(uint64_t offset, uint64_t audioEnd) {
        const int32_t skipped = AnalyzeMpegAudio(window_, &info_.waveFormat, true, &info_.firstHeader);
        if (skipped < 0) throw Error(TV_E_FAIL, "no MPEG audio frame in the analysis window");
        const MpegLayer3WaveFormat& wf = info_.waveFormat;
        if (wf.nAvgBytesPerSec == 0 || wf.nSamplesPerSec == 0) throw Error(TV_E_FAIL, "no usable MPEG audio frame");
        firstInWindow_ = static_cast<size_t>(skipped) / 8;
        info_.firstFrameOffset = offset + firstInWindow_;
        info_.audioBytes = audioEnd - offset;
        info_.isVbr = (wf.fdwFlags & kMpegFlagVariableBitRate) != 0;
        info_.bitRate = wf.nAvgBytesPerSec * 8;
        info_.channels = wf.nChannels;
        info_.sampleRate = wf.nSamplesPerSec;
        msPerFrame_ = info_.firstHeader.samplesPerFrame * 1000.0 / wf.nSamplesPerSec;
        // A first frame that carries only a VBR header is no audio.
        if (IsTagFrame() && info_.audioBytes > info_.firstHeader.frameBytes())
            info_.audioBytes -= info_.firstHeader.frameBytes();
        info_.durationMs = ToU32(double(info_.audioBytes) / wf.nAvgBytesPerSec * 1000.0, &info_.durationClipped);
    }

    std::span<const uint8_t> FirstFrameBytes() const {
        const std::span<const uint8_t> all(window_);
        const size_t from = std::min(firstInWindow_, all.size());
        return all.subspan(from, std::min(kHeadBytes, all.size() - from));
    }

    bool IsTagFrame() const {
        VbriHeader vbri;
        return info_.firstHeader.layer == 3 &&
               (HasXingOrInfoTag(FirstFrameBytes(), info_.waveFormat.nSamplesPerSec, info_.waveFormat.nChannels) ||
                Succeeded(ParseVbriHeader(FirstFrameBytes(), &vbri)));
    }

    // Duration and mean bit rate from a frame count; false (figures unchanged) for no frames.
    bool ApplyFrameCount(uint32_t frames) {
        if (frames == 0) return false;
        info_.frameCount = frames;
        info_.durationMs = ToU32(frames * msPerFrame_, &info_.durationClipped);
        if (info_.durationMs > 0) info_.bitRate = ToU32(double(info_.audioBytes) * 8.0 / (info_.durationMs / 1000.0));
        return true;
    }

    const MpegFrameWalk& Walk(uint64_t audioEnd) {
        if (!walk_) {
            walk_ = CountMpegFrames(file_, info_.firstFrameOffset, audioEnd);
            info_.framesCounted = true;
        }
        return *walk_;
    }

    // True when a Xing or VBRI header gave the figures.
    bool ReadVbrHeader(uint64_t audioEnd) {
        if (info_.firstHeader.layer != 3) return false;
        const MpegLayer3WaveFormat& wf = info_.waveFormat;
        XingHeader& xing = info_.xing;
        if (Succeeded(ParseXingHeader(FirstFrameBytes(), wf.nSamplesPerSec, wf.nChannels, &xing)) &&
            (xing.flags & kXingFrames)) {
            info_.vbrHeader = VbrHeaderKind::Xing;
            info_.isVbr = true;
            uint32_t frames = xing.frames;
            // A count of 0, or (when the file could be corrected) a TOC of zeros, is checked by a walk.
            if (frames == 0 || (!xing.tocValid && options_.fileWritable)) frames = AudioFramesOf(Walk(audioEnd));
            ApplyFrameCount(frames);
            if (info_.bitRate < kXingPlausibleBitRate && !walk_) ApplyFrameCount(AudioFramesOf(Walk(audioEnd)));
            if (walk_ && options_.fileWritable)
                info_.xingRepair = PlanXingRepair(*walk_, info_.firstFrameOffset, info_.firstHeader, &xing, true);
            return true;
        }
        info_.xing = XingHeader{};
        if (Succeeded(ParseVbriHeader(FirstFrameBytes(), &info_.vbri)) && info_.vbri.frames > 0) {
            info_.vbrHeader = VbrHeaderKind::Vbri;
            info_.isVbr = true;
            ApplyFrameCount(info_.vbri.frames);
            if (info_.bitRate < kXingPlausibleBitRate) ApplyFrameCount(AudioFramesOf(Walk(audioEnd)));
            return true;
        }
        info_.vbri = VbriHeader{};
        return false;
    }

    void CountVbrWithoutHeader(uint64_t audioEnd) {
        const MpegFrameWalk& walk = Walk(audioEnd);
        ApplyFrameCount(IsTagFrame() ? AudioFramesOf(walk) : walk.frames);
        if (options_.fileWritable)
            info_.xingRepair = PlanXingRepair(walk, info_.firstFrameOffset, info_.firstHeader, nullptr, false);
    }

    // The walk counts the header frame too; the header's own count leaves it out.
    static uint32_t AudioFramesOf(const MpegFrameWalk& walk) { return walk.frames > 0 ? walk.frames - 1 : 0; }

    ByteSource& file_;
    const Mp3ScanOptions& options_;
    Mp3AudioInfo& info_;
    ReadBuffer window_;
    size_t firstInWindow_ = 0;
    double msPerFrame_ = 0;
    std::optional<MpegFrameWalk> walk_;
};

}  // namespace

HRESULT ScanMp3Audio(ByteSource& file, uint64_t startOffset, Mp3AudioInfo* out, const Mp3ScanOptions& options) {
    if (!out) return TV_E_POINTER;
    *out = Mp3AudioInfo{};
    Mp3AudioInfo info;
    const HRESULT hr = Guard([&]() -> HRESULT {
        Scanner(file, options, info).Run(startOffset);
        return TV_S_OK;
    });
    if (Succeeded(hr)) *out = std::move(info);
    return hr;
}

}  // namespace tagvera
