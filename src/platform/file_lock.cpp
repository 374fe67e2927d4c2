#include "platform/file_lock.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/companion_files.h"

namespace tagvera::platform {
namespace {

// A file replaced this many times while we waited is being rewritten in a loop: give up.
constexpr int kAttempts = 64;

// The files this process holds locks on, by thread: the same thread locking one twice would wait
// for itself forever, so that is refused instead.
struct Held {
    FileIdentity file;
    std::thread::id owner;
};
std::mutex g_heldMutex;
std::vector<Held> g_held;

bool HeldByThisThread(const FileIdentity& id) {
    std::lock_guard guard(g_heldMutex);
    return std::any_of(g_held.begin(), g_held.end(),
                       [&](const Held& h) { return h.file == id && h.owner == std::this_thread::get_id(); });
}

void Register(const FileIdentity& id) {
    std::lock_guard guard(g_heldMutex);
    g_held.push_back(Held{id, std::this_thread::get_id()});
}

void Unregister(const FileIdentity& id) {
    std::lock_guard guard(g_heldMutex);
    const auto it = std::find_if(g_held.begin(), g_held.end(), [&](const Held& h) { return h.file == id; });
    if (it != g_held.end()) g_held.erase(it);
}

}  // namespace

FileWriteLock::FileWriteLock(const std::string& path) { acquire(path, true); }

std::optional<FileWriteLock> FileWriteLock::TryAcquire(const std::string& path) {
    FileWriteLock lock;
    if (!lock.acquire(path, false)) return std::nullopt;
    return lock;
}

bool FileWriteLock::acquire(const std::string& path, bool wait) {
    path_ = ResolveLastLink(path);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        File file(path_, OpenMode::Read);
        if (!file.regular()) throw FileError("open", path, "not a regular file");
        const FileIdentity locked = file.identity();
        if (HeldByThisThread(locked)) {
            if (!wait) return false;
            throw FileError("lock", path, EDEADLK);
        }
        if (!file.lockForWriters(wait)) return false;
        if (IdentityOf(path_) != locked) continue;  // replaced while we waited: lock the file the name has now
        Register(locked);
        held_ = locked;
        file_.emplace(std::move(file));
        try {
            recovered_ = RecoverLocked(path_);
            // Opened before the wait: another writer may have changed it since.
            file_->refresh();
        } catch (...) {
            Unregister(held_);
            file_.reset();
            throw;
        }
        return true;
    }
    throw FileError("lock", path, "the file was replaced again and again while waiting for it");
}

FileWriteLock::~FileWriteLock() {
    if (file_) Unregister(held_);
}

FileWriteLock::FileWriteLock(FileWriteLock&& other) noexcept
    : path_(std::move(other.path_)), file_(std::move(other.file_)), held_(other.held_), recovered_(other.recovered_) {
    other.file_.reset();
}

void FileWriteLock::follow(File&& replacement) {
    const FileIdentity id = replacement.identity();
    if (file_) Unregister(held_);
    file_.emplace(std::move(replacement));
    Register(id);
    held_ = id;
}

}  // namespace tagvera::platform
