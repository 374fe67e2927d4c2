// A ByteSource that answers small reads near the start and the end of another from two blocks,
// each read once: tag readers probe a file's head (ID3v2 headers, the tag) and its tail (ID3v1,
// Lyrics3, a footer) with many small reads, each a system call on a file. Reads elsewhere, or
// not wholly inside a block, go to the source.
#ifndef TAGVERA_BASE_HEAD_TAIL_SOURCE_H
#define TAGVERA_BASE_HEAD_TAIL_SOURCE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "base/byte_source.h"

namespace tagvera {

class HeadTailSource final : public ByteSource {
public:
    explicit HeadTailSource(ByteSource& source, size_t headBytes = 8 * 1024, size_t tailBytes = 4 * 1024)
        : source_(source), headWanted_(headBytes), tailWanted_(tailBytes) {}

    uint64_t size() const override { return source_.size(); }

    size_t readAt(uint64_t offset, std::span<uint8_t> out) override {
        const uint64_t size = source_.size();
        if (out.empty() || offset >= size) return source_.readAt(offset, out);
        if (offset < headWanted_ && out.size() <= headWanted_ - offset) {
            if (!headRead_) {
                head_ = ReadBlock(0, std::min<uint64_t>(headWanted_, size));
                headRead_ = true;
            }
            if (Serve(head_, 0, offset, out)) return out.size();
        }
        const uint64_t tailStart = size > tailWanted_ ? size - tailWanted_ : 0;
        if (offset >= tailStart) {
            if (!tailRead_) {
                tailStart_ = tailStart;
                tail_ = ReadBlock(tailStart, size - tailStart);
                tailRead_ = true;
            }
            if (Serve(tail_, tailStart_, offset, out)) return out.size();
        }
        return source_.readAt(offset, out);
    }

private:
    // As many of the n bytes at offset as the source gives (fewer if it has shrunk).
    std::vector<uint8_t> ReadBlock(uint64_t offset, uint64_t n) {
        std::vector<uint8_t> block(static_cast<size_t>(n));
        block.resize(source_.readAt(offset, block));
        return block;
    }
    // Copies out of the block when it holds all of [offset, offset + out.size()).
    static bool Serve(const std::vector<uint8_t>& block, uint64_t blockStart, uint64_t offset, std::span<uint8_t> out) {
        if (offset < blockStart || offset - blockStart > block.size() || out.size() > block.size() - (offset - blockStart))
            return false;
        std::memcpy(out.data(), block.data() + (offset - blockStart), out.size());
        return true;
    }

    ByteSource& source_;
    size_t headWanted_, tailWanted_;
    std::vector<uint8_t> head_, tail_;
    uint64_t tailStart_ = 0;
    bool headRead_ = false, tailRead_ = false;
};

}  // namespace tagvera

#endif
