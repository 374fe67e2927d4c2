// What every file-format plug-in of the platform shares: the one interface it answers for, and
// notifications posted to the calling thread's queue, each holding the response it goes to.
#ifndef TAGVERA_MEDIAPLATFORM_FILE_FORMAT_BASE_H
#define TAGVERA_MEDIAPLATFORM_FILE_FORMAT_BASE_H

#include "host/ref_counted.h"
#include "mediaplatform/message_queue.h"
#include "tagvera/com_ptr.h"
#include "tagvera/media_platform.h"

namespace tagvera::mediaplatform {

class FileFormatBase : public host::RefCounted<IKMAFileFormat> {
protected:
    template <class Notify>
    void Post(Notify notify) {
        PostToThisThread([response = response_, notify] { notify(response.get()); });
    }

    ComPtr<IKMAFormatResponse> response_;

private:
    void* find(const GUID& iid) override { return iid == IID_IKMAFileFormat ? static_cast<IKMAFileFormat*>(this) : nullptr; }
};

}  // namespace tagvera::mediaplatform

#endif
