// The files a write keeps beside its target for a moment: the undo journal of an in-place write
// and the new file of a rewrite before it takes the target's name. Their names derive from the
// target's name alone, so finding what a killed write left is one look at a known name, however
// many files the folder holds; no folder is ever listed.
//
// Each exists only while its writer holds a lock: the target's write lock (file_lock.h) for the
// journal, a lock on the temporary file itself for the new file. One nobody holds is litter.
#ifndef TAGVERA_PLATFORM_COMPANION_FILES_H
#define TAGVERA_PLATFORM_COMPANION_FILES_H

#include <string>

namespace tagvera::platform {

// ".<name>.tagvera-undo" beside file. Not a *.tmp: a cleaner that deleted it after a crash would
// keep a half-written file.
std::string JournalPathFor(const std::string& file);
// ".<name>.tagvera-new.tmp" beside file.
std::string TempPathFor(const std::string& file);
// ".tagvera-undo-spare" in file's folder: a batch's journal file between two edits there
// (write_journal.h), locked like a temporary file; unlike either name above, no file's own.
std::string SpareJournalPathFor(const std::string& file);

// path, or the file its last component links to: companion files go beside the file itself, and
// the link stays a link.
std::string ResolveLastLink(const std::string& path);

// Removes the temporary file at tempPath when no writer holds its lock; with wait, first waits
// for a writer that does. True when the name is free afterwards.
bool RemoveUnheldTemp(const std::string& tempPath, bool wait);

}  // namespace tagvera::platform

#endif
