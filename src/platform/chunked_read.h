// Reading a long range of a file in bounded chunks, for the writers that copy, journal and check
// ranges far larger than they may hold.
#ifndef TAGVERA_PLATFORM_CHUNKED_READ_H
#define TAGVERA_PLATFORM_CHUNKED_READ_H

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "platform/file.h"

namespace tagvera::platform {

inline constexpr size_t kChunk = size_t(1) << 20;  // copy, journal and write-buffer size

// The chunk buffer of a thread (chunked_read.cpp), lent to one ReadInChunks at a time and kept,
// uncleared, between them: a fresh megabyte costs its page faults on every copy. A call made
// inside another's `each` gets one of its own.
class ChunkBuffer {
public:
    explicit ChunkBuffer(size_t size);
    ~ChunkBuffer();
    ChunkBuffer(const ChunkBuffer&) = delete;
    ChunkBuffer& operator=(const ChunkBuffer&) = delete;
    std::span<uint8_t> span() const { return span_; }

private:
    bool lent_;
    std::vector<uint8_t> own_;
    std::span<uint8_t> span_;
};

// Calls each(chunk) on length bytes of source from offset, a chunk at a time; a source may answer
// a read in parts. A range that ends early throws FileError("read", name, shortReason).
template <class Each>
void ReadInChunks(ByteSource& source, const std::string& name, uint64_t offset, uint64_t length, const char* shortReason,
                  Each&& each) {
    const ChunkBuffer buffer(static_cast<size_t>(std::min<uint64_t>(length, kChunk)));
    const std::span<uint8_t> chunk = buffer.span();
    while (length > 0) {
        const size_t want = static_cast<size_t>(std::min<uint64_t>(length, chunk.size()));
        size_t got = 0;
        while (got < want) {
            const size_t n = source.readAt(offset + got, std::span(chunk).subspan(got, want - got));
            if (n == 0) throw FileError("read", name, shortReason);
            got += n;
        }
        each(std::span<const uint8_t>(chunk).first(want));
        offset += want;
        length -= want;
    }
}

}  // namespace tagvera::platform

#endif
