// The property names people type: what each importer says it reads and writes (its catalog), the
// short aliases a tagger user guesses ("title", "artist", "cover"), and the checks that refuse a
// mistyped name or a value its property cannot take, before any file is touched.
#ifndef TAGVERA_CLI_PROPERTY_NAMES_H
#define TAGVERA_CLI_PROPERTY_NAMES_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/host.h"

namespace tagvera::cli {

struct KnownProperty {
    std::string type;  // "text", "number", "year", "track", "url", "picture", "data"
    bool writable = false;
    // (format, what holds it there), in the order the importers answered.
    std::vector<std::pair<std::string, std::string>> places;
};

class PropertyNames {
public:
    // Asks every importer the package has built for its catalog; format filters them by an
    // extension they list ("mp3") or a word of what they handle ("korvamedia").
    explicit PropertyNames(const host::Host& host, const std::string& format = "");

    const std::map<std::string, KnownProperty>& known() const { return known_; }
    // Formats whose importer holds any property besides the ones it names (a jukebox block).
    const std::vector<std::string>& openFormats() const { return open_; }

    // The GROUP:NAME an argument stands for: itself when known, the property of an alias. A name
    // that is not known is refused (UsageError) with the closest known ones, unless custom.
    std::string Resolve(const std::string& name, bool custom) const;
    // Refuses (UsageError) a value its property's type cannot take.
    void CheckValue(const std::string& path, const std::string& value) const;
    const KnownProperty* Find(const std::string& path) const;

private:
    std::map<std::string, KnownProperty> known_;
    std::vector<std::string> open_;
};

// Alias -> GROUP:NAME, in the order `names` lists them.
const std::vector<std::pair<const char*, const char*>>& PropertyAliases();
// True when the name before '=' (or the whole argument) is an alias.
bool IsAlias(const std::string& name);

}  // namespace tagvera::cli

#endif
