// Whether a file system puts a renamed file's data on disk before the rename itself, so that a
// new file renamed over an old one is the old or the new after a power loss without a sync of the
// new file first. ext4 does so by default (with delayed allocation it starts writing a file's data
// when the file replaces another by rename, and orders data before metadata), unless mounted with
// noauto_da_alloc or data=writeback; tmpfs keeps nothing over a power loss anyway. Every other file
// system is assumed not to, and a write there syncs before it renames.
#ifndef TAGVERA_PLATFORM_RENAME_ORDERING_H
#define TAGVERA_PLATFORM_RENAME_ORDERING_H

#include <string>
#include <string_view>

namespace tagvera::platform {

// For the file system holding folder; false when it cannot be told.
bool RenameWritesDataFirst(const std::string& folder);

// The rule on a mount's type and its super-block options as /proc/self/mountinfo lists them.
bool MountWritesDataFirst(std::string_view type, std::string_view superOptions);

}  // namespace tagvera::platform

#endif
