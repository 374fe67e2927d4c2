#include "mediaplatform/bounded_io.h"

#include <algorithm>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace tagvera::mediaplatform {
namespace {
constexpr int kBufferBytes = 32 << 10;
}

BoundedIo::BoundedIo(IKMAFileObject* file, uint64_t budget)
    : file_(ComPtr<IKMAFileObject>::Share(file)), budget_(budget) {
    if (Failed(file_->GetSize(&size_))) size_ = 0;
}

std::unique_ptr<BoundedIo> BoundedIo::Open(IKMAFileObject* file, uint64_t budget) {
    std::unique_ptr<BoundedIo> io(new (std::nothrow) BoundedIo(file, budget));
    if (!io) return io;
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    if (!buffer) return nullptr;
    io->context_ = avio_alloc_context(buffer, kBufferBytes, 0, io.get(), &BoundedIo::Read, nullptr, &BoundedIo::Seek);
    if (!io->context_) {
        av_free(buffer);
        return nullptr;
    }
    return io;
}

BoundedIo::~BoundedIo() {
    if (!context_) return;
    av_freep(&context_->buffer);
    avio_context_free(&context_);
}

int BoundedIo::Read(void* opaque, uint8_t* buffer, int size) {
    auto* self = static_cast<BoundedIo*>(opaque);
    if (size <= 0 || self->bytesRead_ >= self->budget_ || self->position_ >= self->size_) return AVERROR_EOF;
    const uint64_t wanted = std::min<uint64_t>({uint64_t(size), self->budget_ - self->bytesRead_,
                                                self->size_ - self->position_});
    uint32_t read = 0;
    if (Failed(self->file_->ReadAt(self->position_, buffer, uint32_t(wanted), &read))) return AVERROR(EIO);
    if (read == 0) return AVERROR_EOF;
    self->position_ += read;
    self->bytesRead_ += read;
    return int(read);
}

int64_t BoundedIo::Seek(void* opaque, int64_t offset, int whence) {
    auto* self = static_cast<BoundedIo*>(opaque);
    int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE: return int64_t(self->size_);
    case SEEK_SET: base = 0; break;
    case SEEK_CUR: base = int64_t(self->position_); break;
    case SEEK_END: base = int64_t(self->size_); break;
    default: return AVERROR(EINVAL);
    }
    if ((offset > 0 && base > INT64_MAX - offset) || base + offset < 0) return AVERROR(EINVAL);
    self->position_ = uint64_t(base + offset);
    return int64_t(self->position_);
}

}  // namespace tagvera::mediaplatform
