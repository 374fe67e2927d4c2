// CWMMetaEditor: the stand-in for the runtime's metadata editor over one file. Open reads the
// header object (and nothing else); OpenForWriting also takes the file's write lock, held until
// Close; Flush writes the header again: in place when it fits the old header's room, else a new
// file of the new header and an unchanged copy of everything after the old one.
#ifndef TAGVERA_WM_WM_META_EDITOR_H
#define TAGVERA_WM_WM_META_EDITOR_H

#include <optional>
#include <string>

#include "platform/file_lock.h"
#include "wm/wm_header_info.h"

namespace tagvera::wm {

struct FlushOutcome {
    bool written = false;  // false: nothing had changed
    bool inPlace = false;
    uint64_t headerSize = 0, padding = 0;
};

class CWMMetaEditor final : public CWMHeaderInfo {
public:
    ~CWMMetaEditor() override { Close(); }
    // Reading: E_UNEXPECTED without a file name; a file that is no ASF file, or whose header does
    // not add up, E_FAIL with the reason in problem().
    HRESULT Open() override;
    HRESULT OpenForWriting();
    void Close() override;
    HRESULT Flush(FlushOutcome* outcome);

    bool isOpen() const { return open_; }
    const std::string& problem() const { return problem_; }
    uint64_t fileSize() const { return fileSize_; }
    uint64_t bytesRead() const { return bytesRead_; }

private:
    HRESULT Load(ByteSource& file);

    std::optional<platform::FileWriteLock> lock_;
    std::optional<AsfHeader> header_storage_;
    std::string problem_;
    uint64_t fileSize_ = 0, bytesRead_ = 0;
    bool open_ = false;
    bool closing_ = false;
};

}  // namespace tagvera::wm

#endif
