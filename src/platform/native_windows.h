// What the Windows forms of the file layer share: UTF-8 paths handed to the wide calls, the
// system's error codes told as the errno values FileError carries everywhere, and the writers'
// lock on one byte far past any real end of file.
#ifndef TAGVERA_PLATFORM_NATIVE_WINDOWS_H
#define TAGVERA_PLATFORM_NATIVE_WINDOWS_H

#include <windows.h>

#include <string>

namespace tagvera::platform::native {

// The path as the wide calls take it: '/' becomes '\', and a long absolute path gets the "\\?\"
// prefix that lifts the 260-character limit.
std::wstring WidePath(const std::string& utf8);
// WidePath made absolute against the current folder: ReplaceFileW finds the folder for its own
// work from the replaced file's path, and a bare file name gives it none.
std::wstring FullWidePath(const std::string& utf8);

// The errno value that stands for a system error code (EIO for one without a counterpart).
int ErrnoFrom(DWORD error);
// ErrnoFrom(GetLastError()).
int LastErrno();

// The writers' lock (file_lock.h): exclusive, on a byte no reader ever reads, so that Windows,
// which enforces range locks, never holds a reader up. False when another handle holds it and
// wait is false; any other failure gives its errno through error.
bool LockForWriters(HANDLE file, bool wait, int& error);

}  // namespace tagvera::platform::native

#endif
