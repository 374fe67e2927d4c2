#include "platform/rename_ordering.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <sys/sysmacros.h>
#endif

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

namespace tagvera::platform {
namespace {

bool HasOption(std::string_view options, std::string_view wanted) {
    while (!options.empty()) {
        const size_t comma = options.find(',');
        if (options.substr(0, comma) == wanted) return true;
        if (comma == std::string_view::npos) break;
        options.remove_prefix(comma + 1);
    }
    return false;
}

#if !defined(_WIN32)
// "ID PARENT MAJOR:MINOR ROOT MOUNT-POINT OPTIONS [TAGS...] - TYPE SOURCE SUPER-OPTIONS" per line;
// the last mount of a device is the one in effect.
bool DeviceWritesDataFirst(dev_t device) {
    std::ifstream mounts("/proc/self/mountinfo");
    const std::string wanted = std::to_string(major(device)) + ":" + std::to_string(minor(device));
    bool answer = false;
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string id, parent, numbers, field;
        if (!(fields >> id >> parent >> numbers) || numbers != wanted) continue;
        while (fields >> field && field != "-") {
        }
        std::string type, source, options;
        if (fields >> type >> source >> options) answer = MountWritesDataFirst(type, options);
    }
    return answer;
}
#endif

}  // namespace

bool MountWritesDataFirst(std::string_view type, std::string_view superOptions) {
    if (type == "tmpfs") return true;
    return type == "ext4" && !HasOption(superOptions, "noauto_da_alloc") && !HasOption(superOptions, "data=writeback");
}

bool RenameWritesDataFirst(const std::string& folder) {
#if defined(_WIN32)
    (void)folder;
    return false;  // NTFS promises no order of data and rename: flush first, always
#else
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) return false;
    // Mounts do not change under a running batch often enough to read the table per file.
    static std::mutex mutex;
    static std::map<dev_t, bool> known;
    std::lock_guard lock(mutex);
    const auto [at, added] = known.try_emplace(st.st_dev, false);
    if (added) at->second = DeviceWritesDataFirst(st.st_dev);
    return at->second;
#endif
}

}  // namespace tagvera::platform
