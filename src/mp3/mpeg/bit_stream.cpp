#include "mp3/mpeg/bit_stream.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/error.h"

namespace tagvera {

size_t ByteSourceCursor::Read(uint8_t* out, size_t count) {
    if (AtEnd()) return 0;
    const size_t n = static_cast<size_t>(std::min<uint64_t>(count, end_ - position_));
    const size_t got = source_.readAt(position_, std::span<uint8_t>(out, n));
    position_ += got;
    // A short read means the file ended early (it shrank since its size was taken).
    if (got < n) end_ = position_;
    return got;
}

namespace {

uint32_t RingCapacity(uint32_t requested) {
    uint32_t capacity = 1;
    while (capacity < requested && capacity < CBitStream::kMaxCapacity) capacity <<= 1;
    return capacity;
}

}  // namespace

// The ring is not cleared: only bytes put in are read, and a peek shifts out what lies past them.
CBitStream::CBitStream(uint32_t requestedBytes)
    : storage_(new uint8_t[RingCapacity(requestedBytes)]), ring_(storage_.get()),
      capacity_(RingCapacity(requestedBytes)) {}

CBitStream::CBitStream(std::span<const uint8_t> bytes) : capacity_(1) {
    const uint32_t n = static_cast<uint32_t>(std::min<size_t>(bytes.size(), kMaxCapacity));
    if (n > 0 && RingCapacity(n) == n) {
        // A full ring of the caller's bytes: nothing to copy (the analysis window is 64 KB).
        ring_ = bytes.data();
        capacity_ = n;
        bitsAvailable_ = n * 8;
    } else {
        storage_.reset(new uint8_t[RingCapacity(n)]);
        ring_ = storage_.get();
        capacity_ = RingCapacity(n);
        PutBytes(bytes.data(), n);
    }
    SetEndOfStream();
}

void CBitStream::Reset() {
    writePos_ = readPos_ = bitsAvailable_ = 0;
    bitsConsumed_ = 0;
    endOfStream_ = false;
}

uint32_t CBitStream::PutBytes(const uint8_t* data, uint32_t count) {
    if (!storage_) return 0;  // the caller's bytes are read, never written
    const uint32_t n = std::min(count, FreeBytes());
    for (uint32_t done = 0; done < n;) {
        const uint32_t piece = std::min(n - done, capacity_ - writePos_);
        std::memcpy(storage_.get() + writePos_, data + done, piece);
        writePos_ = (writePos_ + piece) & (capacity_ - 1);
        done += piece;
    }
    bitsAvailable_ += n * 8;
    return n;
}

uint32_t CBitStream::FillFromSource() {
    if (!source_ || !storage_) return 0;
    uint32_t total = 0;
    while (FreeBytes() > 0) {
        const uint32_t want = std::min(FreeBytes(), capacity_ - writePos_);
        const size_t got = source_->Read(storage_.get() + writePos_, want);
        writePos_ = (writePos_ + static_cast<uint32_t>(got)) & (capacity_ - 1);
        bitsAvailable_ += static_cast<uint32_t>(got) * 8;
        total += static_cast<uint32_t>(got);
        if (got < want) break;
    }
    if (source_->AtEnd()) SetEndOfStream();
    return total;
}

uint32_t CBitStream::PeekBitsAt(uint32_t ahead, uint32_t n) const {
    if (n > 32 || uint64_t(ahead) + n > bitsAvailable_) throw Error(TV_E_FAIL, "bit stream read past its data");
    if (n == 0) return 0;
    // The five ring bytes under the position hold any 32 bits starting in the first of them;
    // bytes past the data are in the ring too, and their bits are shifted out.
    const uint32_t mask = capacity_ - 1;
    const uint32_t position = (readPos_ + ahead) & (CapacityBits() - 1);
    const uint32_t byte = position >> 3;
    uint64_t window = 0;
    if (byte + 5 <= capacity_) {
        // The five bytes lie in one piece (all but the last four of a ring's positions).
        const uint8_t* at = ring_ + byte;
        window = uint64_t(at[0]) << 32 | uint64_t(at[1]) << 24 | uint64_t(at[2]) << 16 | uint64_t(at[3]) << 8 | at[4];
    } else {
        for (uint32_t i = 0; i < 5; ++i) window = (window << 8) | ring_[(byte + i) & mask];
    }
    const uint32_t shift = 40 - (position & 7) - n;
    return static_cast<uint32_t>((window >> shift) & ((uint64_t(1) << n) - 1));
}

uint32_t CBitStream::ReadBits(uint32_t n) {
    const uint32_t value = PeekBits(n);
    Skip(n);
    return value;
}

void CBitStream::Skip(uint32_t bits) {
    if (bits > bitsAvailable_) throw Error(TV_E_FAIL, "bit stream skip past its data");
    readPos_ = (readPos_ + bits) & (CapacityBits() - 1);
    bitsAvailable_ -= bits;
    bitsConsumed_ += bits;
}

void CBitStream::Unskip(uint32_t bits) {
    if (bits > CapacityBits() - bitsAvailable_ || bits > bitsConsumed_)
        throw Error(TV_E_FAIL, "bit stream put back more than it holds");
    readPos_ = (readPos_ - bits) & (CapacityBits() - 1);
    bitsAvailable_ += bits;
    bitsConsumed_ -= bits;
}

void CMpegBitStream::Reset() {
    CBitStream::Reset();
    header_ = CMpegHeader{};
    reference_ = lookAhead_ = skippedBits_ = 0;
    status_ = MPEG_NOSYNC_NEEDDATA;
}

MpegStatus CMpegBitStream::SearchSync() {
    while (BitsAvailable() >= 32) {
        // Eleven set bits starting inside this byte run through its last bits: a start before the
        // byte's trailing ones is impossible, so those positions are passed over at once.
        const uint32_t firstPossible = 8 - static_cast<uint32_t>(std::countr_one(CurrentByte()));
        if (BitInByte() < firstPossible) {
            const uint32_t pass = firstPossible - BitInByte();
            Skip(pass);
            skippedBits_ += pass;
            continue;
        }
        const uint32_t available = BitsAvailable();
        const uint32_t h = PeekBits(32);
        if ((h >> 21) == 0x7FF && header_.Decode(h) && FitsRing(header_)) {
            if (available >= header_.frameBits + 32) {
                const uint32_t next = PeekBitsAt(header_.frameBits, 32);
                if ((next & kMpegStableHeaderMask) == (h & kMpegStableHeaderMask)) {
                    reference_ = h & kMpegStableHeaderMask;
                    lookAhead_ = 10;
                    return MPEG_FRAME_OK;
                }
            } else if (!IsEndOfStream()) {
                // More data decides; at the end of the stream a frame running past it is none.
                return MPEG_NOSYNC_NEEDDATA;
            }
        }
        // Frames need not start on a byte boundary in a damaged stream: move on by one bit.
        Skip(1);
        ++skippedBits_;
    }
    header_ = CMpegHeader{};
    return MPEG_NOSYNC_NEEDDATA;
}

MpegStatus CMpegBitStream::NextFrame() {
    skippedBits_ = 0;
    const uint32_t available = BitsAvailable();
    const uint32_t h = PeekBits(32);
    if ((h & kMpegStableHeaderMask) != reference_ || !header_.Decode(h) || !FitsRing(header_)) return MPEG_LOSTSYNC;
    if (available < header_.frameBits) return MPEG_SYNC_NEEDDATA;
    // The first frames after sync are each confirmed by the header that follows them.
    if (lookAhead_ > 0 && available >= header_.frameBits + 32) {
        if ((PeekBitsAt(header_.frameBits, 32) & kMpegStableHeaderMask) != reference_) return MPEG_LOSTSYNC;
        --lookAhead_;
    }
    return MPEG_FRAME_OK;
}

MpegStatus CMpegBitStream::GetFrame() {
    if (status_ == MPEG_ENDOFSTREAM) return status_;
    const bool needData = status_ == MPEG_NOSYNC_NEEDDATA || status_ == MPEG_SYNC_NEEDDATA;
    if (HasSource() && (needData || BitsAvailable() == 0 || (header_.valid && BitsAvailable() < header_.frameBits)))
        FillFromSource();
    if (BitsAvailable() >= 32) {
        status_ = (status_ == MPEG_NOSYNC_NEEDDATA || status_ == MPEG_LOSTSYNC) ? SearchSync() : NextFrame();
    } else {
        status_ = (status_ == MPEG_FRAME_OK || status_ == MPEG_SYNC_NEEDDATA) ? MPEG_SYNC_NEEDDATA
                                                                              : MPEG_NOSYNC_NEEDDATA;
    }
    if (IsEndOfStream() && (status_ == MPEG_NOSYNC_NEEDDATA || status_ == MPEG_SYNC_NEEDDATA))
        status_ = MPEG_ENDOFSTREAM;
    return status_;
}

MpegStatus CMpegFrameReader::ReadFrame(uint8_t* out, uint32_t outSize, uint32_t* frameBytes) {
    if (frameBytes) *frameBytes = 0;
    const MpegStatus status = GetFrame();
    if (status == MPEG_ENDOFSTREAM) finished_ = true;
    if (status != MPEG_FRAME_OK) return status;
    const uint32_t bytes = Header().frameBytes();
    if (frameBytes) *frameBytes = bytes;
    if (out) {
        if (outSize < bytes) return MPEG_BUFFER_TOO_SMALL;
        for (uint32_t i = 0; i < bytes; ++i) out[i] = static_cast<uint8_t>(ReadBits(8));
        Skip(Header().frameBits - bytes * 8);
    } else {
        Skip(Header().frameBits);
    }
    return MPEG_FRAME_OK;
}

}  // namespace tagvera
