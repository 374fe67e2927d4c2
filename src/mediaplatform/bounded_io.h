// libavformat's I/O over a platform file object, with a budget: past it every read ends the
// stream, so no file, however large or hostile, makes an open read more than the budget.
#ifndef TAGVERA_MEDIAPLATFORM_BOUNDED_IO_H
#define TAGVERA_MEDIAPLATFORM_BOUNDED_IO_H

#include <cstdint>
#include <memory>

#include "tagvera/com_ptr.h"
#include "tagvera/media_platform.h"

struct AVIOContext;

namespace tagvera::mediaplatform {

class BoundedIo {
public:
    // Null when libavformat cannot allocate its context.
    static std::unique_ptr<BoundedIo> Open(IKMAFileObject* file, uint64_t budget);
    ~BoundedIo();
    BoundedIo(const BoundedIo&) = delete;
    BoundedIo& operator=(const BoundedIo&) = delete;

    AVIOContext* context() const { return context_; }
    uint64_t bytesRead() const { return bytesRead_; }

private:
    BoundedIo(IKMAFileObject* file, uint64_t budget);
    static int Read(void* self, uint8_t* buffer, int size);
    static int64_t Seek(void* self, int64_t offset, int whence);

    ComPtr<IKMAFileObject> file_;
    uint64_t budget_;
    uint64_t size_ = 0;
    uint64_t position_ = 0;
    uint64_t bytesRead_ = 0;
    AVIOContext* context_ = nullptr;
};

}  // namespace tagvera::mediaplatform

#endif
