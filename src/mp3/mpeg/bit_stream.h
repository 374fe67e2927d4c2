// A ring buffer read in bits, and on top of it the frame-sync state machine that finds MPEG audio
// frames in a byte stream: from memory (the analysis window) or pulled from a ByteSource.
#ifndef TAGVERA_MP3_MPEG_BIT_STREAM_H
#define TAGVERA_MP3_MPEG_BIT_STREAM_H

#include <cstdint>
#include <memory>
#include <span>

#include "base/byte_source.h"
#include "mp3/mpeg/header.h"

namespace tagvera {

// A window [begin, end) of a ByteSource read front to back; what a stream pulls its bytes from.
class ByteSourceCursor {
public:
    ByteSourceCursor(ByteSource& source, uint64_t begin, uint64_t end)
        : source_(source), position_(begin), end_(end < source.size() ? end : source.size()) {}
    // Up to count bytes; fewer only at the end of the window.
    size_t Read(uint8_t* out, size_t count);
    bool AtEnd() const { return position_ >= end_; }
    uint64_t position() const { return position_; }

private:
    ByteSource& source_;
    uint64_t position_;
    uint64_t end_;
};

class CBitStream {
public:
    static constexpr uint32_t kMaxCapacity = 65536;

    // A ring of the smallest power of two not below requestedBytes (at most 64 KB), fed by
    // PutBytes or from a source.
    explicit CBitStream(uint32_t requestedBytes);
    // A ring holding exactly these bytes (the first 64 KB of them), already at end of stream.
    // A power-of-two count of bytes is read where it lies (the caller keeps it alive).
    explicit CBitStream(std::span<const uint8_t> bytes);
    virtual ~CBitStream() = default;
    CBitStream(const CBitStream&) = delete;
    CBitStream& operator=(const CBitStream&) = delete;

    // Empties the ring (the source, if any, stays attached).
    virtual void Reset();

    void SetSource(ByteSourceCursor* source) { source_ = source; }
    // Copies as many of the bytes as fit; returns how many.
    uint32_t PutBytes(const uint8_t* data, uint32_t count);
    // Fills the free part of the ring from the source; end of stream when the source is exhausted.
    uint32_t FillFromSource();

    void SetEndOfStream() { endOfStream_ = true; }
    bool IsEndOfStream() const { return endOfStream_; }

    // Up to 32 bits, big-endian, from the read position; never more than BitsAvailable().
    uint32_t ReadBits(uint32_t n);
    // The same without consuming them.
    uint32_t PeekBits(uint32_t n) const { return PeekBitsAt(0, n); }
    // n bits that start ahead bits past the read position, without consuming anything.
    uint32_t PeekBitsAt(uint32_t ahead, uint32_t n) const;
    void Skip(uint32_t bits);
    void Unskip(uint32_t bits);

    uint32_t BitsAvailable() const { return bitsAvailable_; }
    uint32_t CapacityBits() const { return capacity_ * 8; }
    uint32_t FreeBytes() const { return (CapacityBits() - bitsAvailable_) / 8; }
    // Bits consumed since the stream began (wraps at 2^64, which a file never reaches).
    uint64_t BitsConsumed() const { return bitsConsumed_; }

protected:
    bool HasSource() const { return source_ != nullptr; }
    // The byte under the read position, and how many of its bits are already consumed.
    uint8_t CurrentByte() const { return ring_[readPos_ >> 3]; }
    uint32_t BitInByte() const { return readPos_ & 7; }

private:
    std::unique_ptr<uint8_t[]> storage_;  // none when the ring is the caller's bytes
    const uint8_t* ring_ = nullptr;
    uint32_t capacity_;       // bytes, a power of two
    uint32_t writePos_ = 0;   // byte index
    uint32_t readPos_ = 0;    // bit index
    uint32_t bitsAvailable_ = 0;
    uint64_t bitsConsumed_ = 0;
    bool endOfStream_ = false;
    ByteSourceCursor* source_ = nullptr;
};

enum MpegStatus : uint32_t {
    MPEG_FRAME_OK = 0,
    MPEG_NOSYNC_NEEDDATA = 0x81010001u,
    MPEG_LOSTSYNC = 0x81010002u,
    MPEG_SYNC_NEEDDATA = 0x81010003u,
    MPEG_ENDOFSTREAM = 0x81010004u,
    MPEG_BUFFER_TOO_SMALL = 0xC1010001u,
};

// The two top bits 00 or 01.
inline bool MpegStatusSucceeded(uint32_t status) { return (status >> 31) == 0; }

class CMpegBitStream : public CBitStream {
public:
    using CBitStream::CBitStream;

    void Reset() override;

    // Advances the state machine; on MPEG_FRAME_OK Header() describes the frame at the read
    // position, which the caller consumes with Skip(Header().frameBits).
    MpegStatus GetFrame();

    const CMpegHeader& Header() const { return header_; }
    MpegStatus Status() const { return status_; }
    // Bits passed over while searching for the frame just found.
    uint32_t SkippedBits() const { return skippedBits_; }

private:
    MpegStatus SearchSync();
    MpegStatus NextFrame();
    // A frame this ring could never hold whole, with its successor's header, cannot be confirmed.
    bool FitsRing(const CMpegHeader& h) const { return uint64_t(h.frameBits) + 40 <= CapacityBits(); }

    CMpegHeader header_;
    uint32_t reference_ = 0;
    uint32_t lookAhead_ = 0;
    uint32_t skippedBits_ = 0;
    MpegStatus status_ = MPEG_NOSYNC_NEEDDATA;
};

// Walks frame after frame for the frame counter.
class CMpegFrameReader : public CMpegBitStream {
public:
    using CMpegBitStream::CMpegBitStream;

    // Gets the next frame, copies it into out when out is given (MPEG_BUFFER_TOO_SMALL, nothing
    // consumed, when it does not fit), reports its length and consumes it.
    MpegStatus ReadFrame(uint8_t* out, uint32_t outSize, uint32_t* frameBytes);
    bool Finished() const { return finished_; }

private:
    bool finished_ = false;
};

}  // namespace tagvera

#endif
