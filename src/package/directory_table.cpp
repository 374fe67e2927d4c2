#include "package/directory_table.h"

#include <cstring>
#include <new>

#include "base/error.h"
#include "tagvera/entry_points.h"

namespace tagvera {

namespace {

// Hosts hand over Windows directories ("C:\x") or POSIX ones ("/opt/x"); a directory keeps the
// separator it already uses, and one without any gets this platform's.
#if defined(_WIN32)
constexpr char kNativeSeparator = '\\';
#else
constexpr char kNativeSeparator = '/';
#endif

std::string WithTrailingSeparator(std::string_view directory) {
    std::string out(directory);
    const char last = out.back();
    if (last == '\\' || last == '/') return out;
    const bool backslash = out.find('\\') != std::string::npos;
    const bool slash = out.find('/') != std::string::npos;
    out.push_back(backslash ? '\\' : slash ? '/' : kNativeSeparator);
    return out;
}

DLLAccessPath g_table;

}  // namespace

const char* DLLAccessPath::KindName(uint32_t index) { return index < kKindCount ? kDirectoryKindNames[index] : nullptr; }

void DLLAccessPath::Set(std::string_view kind, std::string_view directory) {
    if (kind.empty() || directory.empty()) return;
    std::string value = WithTrailingSeparator(directory);
    auto it = directories_.find(kind);
    if (it != directories_.end())
        it->second = std::move(value);
    else
        directories_.emplace(std::string(kind), std::move(value));
}

size_t DLLAccessPath::SetFromList(const char* list) {
    size_t stored = 0;
    if (!list) return stored;
    for (const char* p = list; *p;) {
        const std::string_view entry(p);
        p += entry.size() + 1;
        const size_t eq = entry.find('=');
        if (eq == std::string_view::npos) continue;
        const std::string_view kind = entry.substr(0, eq);
        const std::string_view directory = entry.substr(eq + 1);
        if (kind.empty() || directory.empty()) continue;
        Set(kind, directory);
        ++stored;
    }
    return stored;
}

const char* DLLAccessPath::Get(uint32_t kindIndex) const {
    const char* name = KindName(kindIndex);
    return name ? Get(std::string_view(name)) : nullptr;
}

const char* DLLAccessPath::Get(std::string_view kindName) const {
    auto it = directories_.find(kindName);
    return it == directories_.end() ? nullptr : it->second.c_str();
}

std::string DLLAccessPath::Block() const { return directories_.empty() ? std::string() : DirectoryListBlock(directories_); }

HRESULT DLLAccessPath::PassOn(Receiver receiver) const {
    if (!receiver) return TV_E_POINTER;
    if (directories_.empty()) return TV_S_OK;
    std::string block;
    try {
        block = Block();
    } catch (const std::bad_alloc&) {
        return TV_E_FAIL;
    }
    return receiver(block.c_str());
}

DLLAccessPath& TheDLLAccessPath() { return g_table; }

}  // namespace tagvera
