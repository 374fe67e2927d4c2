// A shared library loaded at run time (libtagvera.so by the host, the media-platform module by the
// generic interrogator). dlopen/dlsym here; LoadLibraryW/GetProcAddress in a Windows build.
#ifndef TAGVERA_PLATFORM_DYNAMIC_LIBRARY_H
#define TAGVERA_PLATFORM_DYNAMIC_LIBRARY_H

#include <string>

namespace tagvera::platform {

class DynamicLibrary {
public:
    DynamicLibrary() = default;
    // Loads path with every symbol resolved now and kept local to the library; throws Error
    // (TV_E_FAIL) with the loader's own explanation when it cannot be loaded.
    explicit DynamicLibrary(const std::string& path);
    // Unloads, unless release() gave the handle away.
    ~DynamicLibrary();
    DynamicLibrary(DynamicLibrary&& other) noexcept;
    DynamicLibrary& operator=(DynamicLibrary&& other) noexcept;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    // Like the constructor, without throwing: false and *error filled in on failure.
    static bool TryLoad(const std::string& path, DynamicLibrary* out, std::string* error);

    bool loaded() const { return handle_ != nullptr; }
    const std::string& path() const { return path_; }

    // The address of an exported symbol, or null when there is none.
    void* find(const char* name) const noexcept;
    // The address of an exported symbol; throws Error naming the symbol and the library if absent.
    void* symbol(const char* name) const;
    // symbol() cast to a function pointer type: lib.function<CreateFn>("KMACreateInstance").
    template <class Fn>
    Fn function(const char* name) const {
        return reinterpret_cast<Fn>(symbol(name));
    }

    // Unloads now; afterwards every address taken from it is invalid. Throws Error on failure.
    void close();
    // Keeps the library loaded for the rest of the process (code from it may still be running).
    void release() noexcept;

private:
    void* handle_ = nullptr;
    std::string path_;
};

}  // namespace tagvera::platform

#endif
