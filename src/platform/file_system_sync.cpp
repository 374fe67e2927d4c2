#include "platform/file_system_sync.h"

#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <cerrno>
#include <optional>
#include <set>

#include "platform/fault_injection.h"
#include "platform/file.h"
#include "platform/write_journal.h"

namespace tagvera::platform {

FileSystemSyncs::FileSystem& FileSystemSyncs::systemOf(const std::string& path) {
    // Files of one folder are on one file system: a batch asks the OS once per folder.
    const std::string folder = DirectoryOf(path);
    if (!systems_.empty() && folder == lastFolder_) return systems_[lastSystem_];
    const std::optional<FileIdentity> id = IdentityOf(path);
    const bool known = id.has_value();
    const uint64_t device = known ? id->device : 0;
    size_t i = 0;
    while (i < systems_.size() && !(known && systems_[i].known && systems_[i].device == device)) ++i;
    if (i == systems_.size()) systems_.push_back(FileSystem{device, known, false, {}});
    lastFolder_ = known ? folder : std::string();
    lastSystem_ = i;
    return systems_[i];
}

void FileSystemSyncs::add(const std::string& path) {
    FileSystem& fs = systemOf(path);
    if (fs.whole) return;
    fs.paths.push_back(path);
#if !defined(_WIN32)  // a volume is flushed only with administrator rights there: file by file always
    if (fs.paths.size() > kFilesSyncedOneByOne) {
        fs.whole = true;
        fs.paths.resize(1);
    }
#endif
}

void FileSystemSyncs::syncAll() {
    ReleaseSpareJournals();
    std::optional<FileError> first;
    for (const FileSystem& fs : systems_) {
        std::set<std::string> folders;
        for (const std::string& path : fs.paths) {
            try {
#if defined(_WIN32)
                File file(path, OpenMode::ReadWrite);  // FlushFileBuffers needs a handle that may write
#else
                File file(path, OpenMode::Read);
#endif
                if (!fs.whole) {
                    file.sync();
                    // A file renamed into place is there for good once its folder is synced too.
                    if (folders.insert(DirectoryOf(path)).second) SyncFolder(DirectoryOf(path));
                    continue;
                }
                // Any descriptor on the file system will do; a file written is sure to be there.
                if (const int err = fault::Check(fault::Step::Fsync)) throw FileError("sync file system", path, err);
#if !defined(_WIN32)
                if (::syncfs(file.nativeHandle()) != 0) throw FileError("sync file system", path, errno);
#endif
            } catch (const FileError& e) {
                if (!first) first = e;
            }
        }
    }
    systems_.clear();
    lastFolder_.clear();
    lastSystem_ = 0;
    if (first) throw *first;
}

}  // namespace tagvera::platform
