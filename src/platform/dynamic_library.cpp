#include "platform/dynamic_library.h"

#include <dlfcn.h>

#include <utility>

#include "base/error.h"

namespace tagvera::platform {
namespace {

std::string LastLoaderError() {
    const char* e = ::dlerror();
    return e ? e : "unknown loader error";
}

}  // namespace

DynamicLibrary::DynamicLibrary(const std::string& path) : path_(path) {
    ::dlerror();  // clear an old message
    handle_ = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) throw Error(TV_E_FAIL, "cannot load '" + path + "': " + LastLoaderError());
}

DynamicLibrary::~DynamicLibrary() {
    if (handle_) ::dlclose(handle_);
}

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), path_(std::move(other.path_)) {}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept {
    if (this != &other) {
        if (handle_) ::dlclose(handle_);
        handle_ = std::exchange(other.handle_, nullptr);
        path_ = std::move(other.path_);
    }
    return *this;
}

bool DynamicLibrary::TryLoad(const std::string& path, DynamicLibrary* out, std::string* error) {
    try {
        DynamicLibrary lib(path);
        if (out) *out = std::move(lib);
        return true;
    } catch (const Error& e) {
        if (error) *error = e.what();
        return false;
    }
}

void* DynamicLibrary::find(const char* name) const noexcept {
    if (!handle_ || !name) return nullptr;
    return ::dlsym(handle_, name);
}

void* DynamicLibrary::symbol(const char* name) const {
    if (!handle_) throw Error(TV_E_FAIL, std::string("no library loaded to find '") + (name ? name : "") + "' in");
    ::dlerror();
    void* address = ::dlsym(handle_, name);
    if (!address) throw Error(TV_E_FAIL, "'" + path_ + "' has no symbol '" + name + "': " + LastLoaderError());
    return address;
}

void DynamicLibrary::close() {
    if (!handle_) return;
    if (::dlclose(std::exchange(handle_, nullptr)) != 0)
        throw Error(TV_E_FAIL, "cannot unload '" + path_ + "': " + LastLoaderError());
}

void DynamicLibrary::release() noexcept { handle_ = nullptr; }

}  // namespace tagvera::platform
