// What a killed writer leaves beside a file, and the look every open by tagvera takes for it.
//
// A write killed (or cut off by a power loss) in the middle leaves at most two things, both under
// names derived from the file's own (companion_files.h): the undo journal of an in-place write,
// and the new file of a rewrite not yet put in place; a killed batch may also leave its spare
// journal file in the folder (write_journal.h), which holds no write and the next open removes. The next open puts the file back as it was
// before the write (or keeps the write, if it had completed) and removes both, so nothing a
// killed write leaves outlives the next open. Finding nothing costs a look at three known names.
#ifndef TAGVERA_PLATFORM_INTERRUPTED_WRITE_H
#define TAGVERA_PLATFORM_INTERRUPTED_WRITE_H

#include <string>

#include "platform/file.h"

namespace tagvera::platform {

enum class Recovery {
    Nothing,     // no write of this file was interrupted
    Busy,        // a writer is at work on the file right now: what is beside it is its own
    RolledBack,  // an interrupted in-place write was undone: the file is as it was before
    Cleaned,     // what an interrupted write left was removed; the file was whole already
};

// For every open of a file by tagvera, reader or writer, before it reads a byte. A symbolic link
// is followed. Takes the file's write lock (file_lock.h) only when there is something to recover,
// and then without waiting. A missing file is Nothing: the caller's own open reports it. Throws
// FileError when an interrupted write cannot be undone (the file or its folder not writable, the
// disk failing): a reader may go on, knowing the file may hold part of a write; a writer must not.
Recovery RecoverInterruptedWrite(const std::string& path);

// The same for a caller that holds the file's write lock; path with links resolved.
Recovery RecoverLocked(const std::string& path);

// How an importer opens a file to read it: after RecoverInterruptedWrite, whose failure it lets
// pass (the reader may see part of a write it could not undo). Throws FileError as File does.
File OpenForReading(const std::string& path);

}  // namespace tagvera::platform

#endif
