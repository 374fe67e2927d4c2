// A small tmpfs of a test's own over a scratch folder, for a full disk or a read-only folder.
// Needs root (or the right to mount); a test skips with why() otherwise.
#ifndef TAGVERA_TESTS_PLATFORM_TMPFS_MOUNT_H
#define TAGVERA_TESTS_PLATFORM_TMPFS_MOUNT_H

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace tagvera::test {

class TmpfsMount {
public:
    TmpfsMount(const std::string& dir, const std::string& options) : dir_(dir) {
        if (::geteuid() != 0) {
            why_ = "mounting a tmpfs needs root";
        } else if (::mount("tmpfs", dir.c_str(), "tmpfs", 0, options.c_str()) != 0) {
            why_ = std::string("cannot mount a tmpfs here: ") + std::strerror(errno);
        }
    }
    ~TmpfsMount() {
        if (why_.empty()) ::umount2(dir_.c_str(), MNT_DETACH);
    }
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;

    bool mounted() const { return why_.empty(); }
    const std::string& why() const { return why_; }
    bool makeReadOnly() { return ::mount(nullptr, dir_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0; }

private:
    std::string dir_;
    std::string why_;
};

}  // namespace tagvera::test

#endif
