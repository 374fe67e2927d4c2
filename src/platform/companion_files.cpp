#include "platform/companion_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/checksum.h"
#include "platform/file.h"

namespace tagvera::platform {
namespace {

// Names up to this long are kept whole; longer ones are cut and end in a hash of the whole name,
// so that the companion's name stays under NAME_MAX and two long names never share it.
constexpr size_t kWholeName = 200;
constexpr size_t kCutName = 180;

std::string CompanionPath(const std::string& file, const char* suffix) {
    const std::string dir = DirectoryOf(file);
    std::string name = BaseNameOf(file);
    if (name.size() > kWholeName) {
        Checksum sum;
        sum.add({reinterpret_cast<const uint8_t*>(name.data()), name.size()});
        static const char digits[] = "0123456789abcdef";
        std::string hex(16, '0');
        uint64_t v = sum.value();
        for (char& c : hex) c = digits[v & 0xF], v >>= 4;
        name = name.substr(0, kCutName) + "~" + hex;
    }
    const std::string prefix = dir == "/" ? "/" : (file.find('/') == std::string::npos ? "" : dir + "/");
    return prefix + "." + name + suffix;
}

bool SameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

}  // namespace

std::string JournalPathFor(const std::string& file) { return CompanionPath(file, ".tagvera-undo"); }
std::string TempPathFor(const std::string& file) { return CompanionPath(file, ".tagvera-new.tmp"); }

std::string ResolveLastLink(const std::string& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return path;
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? std::string(real.get()) : path;
}

bool RemoveUnheldTemp(const std::string& tempPath, bool wait) {
    const int fd = ::open(tempPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return errno == ENOENT;
    int rc;
    do {
        rc = ::flock(fd, wait ? LOCK_EX : LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    bool free = false;
    struct stat held {}, named {};
    if (rc == 0 && ::fstat(fd, &held) == 0) {
        // The writer we waited for may have renamed its file away, and another taken the name.
        if (::lstat(tempPath.c_str(), &named) != 0) {
            free = errno == ENOENT;
        } else if (SameFile(held, named)) {
            free = ::unlink(tempPath.c_str()) == 0 || errno == ENOENT;
        }
    }
    ::close(fd);
    return free;
}

}  // namespace tagvera::platform
