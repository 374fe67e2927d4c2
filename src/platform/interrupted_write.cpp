#include "platform/interrupted_write.h"

#if defined(_WIN32)
#include "platform/native_windows.h"
#else
#include <sys/stat.h>
#endif

#include <cerrno>

#include "platform/companion_files.h"
#include "platform/file.h"
#include "platform/file_lock.h"
#include "platform/write_journal.h"

namespace tagvera::platform {
namespace {

// A path that cannot be examined counts as there: the call that uses it reports why.
bool Present(const std::string& path) {
#if defined(_WIN32)
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return ::GetFileAttributesExW(native::WidePath(path).c_str(), GetFileExInfoStandard, &data) ||
           native::LastErrno() != ENOENT;
#else
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 || errno != ENOENT;
#endif
}

}  // namespace

Recovery RecoverLocked(const std::string& path) {
    Recovery result = Recovery::Nothing;
    if (Present(JournalPathFor(path))) {
        const JournalFound found = RecoverFromJournal(path);
        if (found == JournalFound::RolledBack) result = Recovery::RolledBack;
        if (found == JournalFound::Discarded || found == JournalFound::Kept) result = Recovery::Cleaned;
    }
    const std::string temp = TempPathFor(path);
    if (Present(temp) && RemoveUnheldTemp(temp, false) && result == Recovery::Nothing) result = Recovery::Cleaned;
    return result;
}

Recovery RecoverInterruptedWrite(const std::string& path) {
    const std::string file = ResolveLastLink(path);
    // A killed batch's spare journal is no file's: whichever file of the folder opens next takes it away.
    if (const std::string spare = SpareJournalPathFor(file); !HoldsSpareJournal(spare) && Present(spare))
        RemoveUnheldTemp(spare, false);
    if (!Present(JournalPathFor(file)) && !Present(TempPathFor(file))) return Recovery::Nothing;
    try {
        const std::optional<FileWriteLock> lock = FileWriteLock::TryAcquire(file);
        return lock ? lock->recovered() : Recovery::Busy;
    } catch (const FileError& e) {
        if (e.osError() == ENOENT) return Recovery::Nothing;
        throw;
    }
}

File OpenForReading(const std::string& path) {
    try {
        RecoverInterruptedWrite(path);
    } catch (const Error&) {
    }
    return File(path, OpenMode::Read);
}

}  // namespace tagvera::platform
