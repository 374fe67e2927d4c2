#include "platform/chunked_read.h"

namespace tagvera::platform {
namespace {

// Out of line: MinGW gives an inline thread_local with a constructor one TLS init function per
// object file, and the DLL's link then finds it defined twice.
thread_local std::vector<uint8_t> tChunkBuffer;
thread_local bool tChunkBufferLent = false;

}  // namespace

ChunkBuffer::ChunkBuffer(size_t size) : lent_(!tChunkBufferLent) {
    std::vector<uint8_t>& buffer = lent_ ? tChunkBuffer : own_;
    if (buffer.size() < size) buffer.resize(size);
    tChunkBufferLent = true;
    span_ = std::span(buffer).first(size);
}

ChunkBuffer::~ChunkBuffer() {
    if (lent_) tChunkBufferLent = false;
}

}  // namespace tagvera::platform
