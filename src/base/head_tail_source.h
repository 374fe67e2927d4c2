// A ByteSource that answers small reads near the start and the end of another from two blocks,
// each read once: tag readers probe a file's head (ID3v2 headers, the tag) and its tail (ID3v1,
// Lyrics3, a footer) with many small reads, each a system call on a file. A read that starts in
// the head, or in the last small read passed on (the probe for a tag after a tag), takes what it
// holds and only the rest from the source, so that the audio after a tag is read once.
#ifndef TAGVERA_BASE_HEAD_TAIL_SOURCE_H
#define TAGVERA_BASE_HEAD_TAIL_SOURCE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "base/read_buffer.h"

namespace tagvera {

class HeadTailSource final : public ByteSource {
public:
    explicit HeadTailSource(ByteSource& source, size_t headBytes = 8 * 1024, size_t tailBytes = 4 * 1024)
        : source_(source), headWanted_(headBytes), tailWanted_(tailBytes) {}

    uint64_t size() const override { return source_.size(); }

    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        const uint64_t size = source_.size();
        if (out.empty() || offset >= size) return source_.readAt(offset, out);
        if (offset < headWanted_ && !headRead_) {
            head_ = ReadBlock(0, std::min<uint64_t>(headWanted_, size));
            headRead_ = true;
        }
        const uint64_t tailStart = size > tailWanted_ ? size - tailWanted_ : 0;
        if (offset >= tailStart) {
            if (!tailRead_) {
                tailStart_ = tailStart;
                tail_ = ReadBlock(tailStart, size - tailStart);
                tailRead_ = true;
            }
            if (Prefix(tail_, tailStart_, offset, out) == out.size()) return out.size();
        }
        size_t done = Prefix(head_, 0, offset, out);
        // A head shorter than asked for is the whole file.
        if (done > 0 && head_.size() < headWanted_) return done;
        if (done == 0) done = Prefix(recent_, recentStart_, offset, out);
        if (done == out.size()) return done;
        const size_t got = source_.readAt(offset + done, out.subspan(done));
        if (got <= kRecentBytes) {
            recent_.assign(out.begin() + static_cast<ptrdiff_t>(done), out.begin() + static_cast<ptrdiff_t>(done + got));
            recentStart_ = offset + done;
        }
        return done + got;
    }

private:
    // As many of the n bytes at offset as the source gives (fewer if it has shrunk).
    ReadBuffer ReadBlock(uint64_t offset, uint64_t n) {
        ReadBuffer block(static_cast<size_t>(n));
        block.resize(source_.readAt(offset, block));
        return block;
    }
    // Copies what the block holds of [offset, offset + out.size()) from its start; the count.
    static size_t Prefix(std::span<const uint8_t> block, uint64_t blockStart, uint64_t offset, std::span<uint8_t> out) {
        if (offset < blockStart || offset - blockStart >= block.size()) return 0;
        const size_t from = static_cast<size_t>(offset - blockStart);
        const size_t n = std::min(out.size(), block.size() - from);
        std::memcpy(out.data(), block.data() + from, n);
        return n;
    }

    // Reads up to this size are kept: the probes for a header, never the audio.
    static constexpr size_t kRecentBytes = 64;

    ByteSource& source_;
    size_t headWanted_, tailWanted_;
    ReadBuffer head_, tail_;
    std::vector<uint8_t> recent_;
    uint64_t tailStart_ = 0, recentStart_ = 0;
    bool headRead_ = false, tailRead_ = false;
};

}  // namespace tagvera

#endif
