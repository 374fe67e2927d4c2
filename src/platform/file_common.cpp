// The parts of file.h that are the same on every system: the error and the names in a path.
#include <system_error>

#include "platform/file.h"

namespace tagvera::platform {
namespace {

std::string Describe(const std::string& step, const std::string& path, const std::string& reason) {
    return step + " '" + path + "': " + reason;
}

#if defined(_WIN32)
constexpr char kSeparators[] = "/\\";
#else
constexpr char kSeparators[] = "/";
#endif

}  // namespace

FileError::FileError(const std::string& step, const std::string& path, int osError)
    : Error(TV_E_FAIL, Describe(step, path, std::generic_category().message(osError))),
      step_(step), path_(path), osError_(osError) {}

FileError::FileError(const std::string& step, const std::string& path, const std::string& reason)
    : Error(TV_E_FAIL, Describe(step, path, reason)), step_(step), path_(path) {}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.find_last_of(kSeparators);
    if (slash == std::string::npos) return ".";
    if (slash == 0) return path.substr(0, 1);
#if defined(_WIN32)
    if (slash == 2 && path[1] == ':') return path.substr(0, 3);  // a drive's root
#endif
    return path.substr(0, slash);
}

std::string BaseNameOf(const std::string& path) {
    const size_t slash = path.find_last_of(kSeparators);
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string ExtensionOf(const std::string& path) {
    const std::string name = BaseNameOf(path);
    const size_t dot = name.find_last_of('.');
    if (dot == std::string::npos || dot == 0) return "";
    return name.substr(dot);
}

}  // namespace tagvera::platform
