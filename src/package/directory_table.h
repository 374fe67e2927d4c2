// DLLAccessPath: the process-wide table of the host's directories by kind ("DT_Codecs" -> a
// directory ending in a separator), filled by SetDLLAccessPath and passed on to the host's
// media platform in the same list form.
#ifndef TAGVERA_PACKAGE_DIRECTORY_TABLE_H
#define TAGVERA_PACKAGE_DIRECTORY_TABLE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "tagvera/entry_points.h"

namespace tagvera {

class DLLAccessPath {
public:
    static constexpr uint32_t kKindCount = kDirectoryKindCount;
    // "DT_NotDef", "DT_Plugins", ... by index; null from kKindCount on.
    static const char* KindName(uint32_t index);

    // Reads "kind=directory" strings, each NUL-terminated, up to an empty one. Entries without
    // '=', with an empty kind or an empty directory are skipped; a later entry for a kind
    // replaces an earlier one. Returns the number of entries stored.
    size_t SetFromList(const char* list);
    void Set(std::string_view kind, std::string_view directory);

    // The directory for a kind index (0..7), or null when out of range or never set. Valid until
    // the kind is set again.
    const char* Get(uint32_t kindIndex) const;
    const char* Get(std::string_view kindName) const;
    size_t size() const { return directories_.size(); }
    void Clear() { directories_.clear(); }

    // The table in SetFromList's form, ended by the extra NUL; empty for an empty table.
    std::string Block() const;
    // Hands Block() to a function of SetDLLAccessPath's shape and returns its answer; an empty
    // table calls nothing and answers 0, a failed allocation E_FAIL.
    using Receiver = HRESULT(TV_STDCALL*)(const char* list);
    HRESULT PassOn(Receiver receiver) const;

private:
    std::map<std::string, std::string, std::less<>> directories_;
};

// The library's one table: built when the library is loaded, gone when it is unloaded.
DLLAccessPath& TheDLLAccessPath();

}  // namespace tagvera

#endif
