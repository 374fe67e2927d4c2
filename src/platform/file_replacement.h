// How a new file takes an old one's place, for the safe-write helper (not for other layers): the
// target examined, the temporary file beside it made and held, and the swap. What differs between
// the systems lives here; what a rewrite promises is kept in safe_write.cpp.
#ifndef TAGVERA_PLATFORM_FILE_REPLACEMENT_H
#define TAGVERA_PLATFORM_FILE_REPLACEMENT_H

#include <cstdint>
#include <string>

#include "platform/file.h"
#include "platform/file_lock.h"

namespace tagvera::platform::replacement {

struct Target {
    std::string path;  // symbolic links resolved
    std::string dir;
    bool exists = false;
    uint64_t links = 1;        // names the file has
    unsigned permissions = 0;  // its permission bits (07777); on Windows 0444 when read-only, else 0666
    uint32_t owner = 0, group = 0;
};

// The file path names now; FileError when it is there but no regular file, or cannot be examined.
Target Inspect(const std::string& path);
// The file a lock holds, as it is now: the holder may have written it through another handle.
Target Inspect(FileWriteLock& lock);
// FileError naming the target when it is read-only or this process may not write it.
void RequireWritable(const Target& t);

struct TempFile {
    File file;
    std::string path;    // the name it has, or will have
    bool named = false;  // false while anonymous
};

// A new file beside the target, held under the writers' lock for as long as the writer has it: one
// that nobody holds is litter (companion_files.h).
TempFile CreateTemp(const Target& t, unsigned permissions);
// Gives an anonymous temporary file its name, for the rename that puts it in place.
void Name(TempFile& tmp);
// The target's owner, group and permission bits onto the temporary file, where they can be set.
void CopyOwnership(const TempFile& tmp, const Target& t);
// Swaps the temporary file in under the target's name, with the folder synced unless deferred;
// after a failure the target is as it was. Afterwards tmp.file is the target's, held under the
// writers' lock, or closed where it could not be taken up again.
void PutInPlace(const Target& t, TempFile& tmp, bool deferred);
// Removes a named temporary file after a failed write.
void Discard(TempFile& tmp) noexcept;

}  // namespace tagvera::platform::replacement

#endif
