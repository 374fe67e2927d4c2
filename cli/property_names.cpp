#include "cli/property_names.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "cli/command.h"
#include "host/component_info.h"
#include "tagvera/property_catalog.h"

namespace tagvera::cli {
namespace {

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// How many single-character edits turn a into b (case ignored).
size_t Distance(const std::string& a, const std::string& b) {
    const std::string x = Lower(a), y = Lower(b);
    std::vector<size_t> row(y.size() + 1);
    for (size_t j = 0; j <= y.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= x.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= y.size(); ++j) {
            const size_t next = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
            diagonal = row[j];
            row[j] = next;
        }
    }
    return row[y.size()];
}

std::string CatalogOf(IUnknown* importer) {
    auto catalog = QueryAs<IMPAPropertyCatalog>(importer, IID_IMPAPropertyCatalog);
    uint32_t size = 0;
    if (!catalog || Failed(catalog->GetPropertyCatalog(nullptr, &size)) || size <= 1) return {};
    std::string text(size, '\0');
    if (Failed(catalog->GetPropertyCatalog(text.data(), &size))) return {};
    text.resize(size - 1);
    return text;
}

bool Matches(const host::ComponentInfo& c, const std::string& format) {
    if (format.empty()) return true;
    const std::string f = Lower(format);
    if (std::find(c.extensions.begin(), c.extensions.end(), f) != c.extensions.end()) return true;
    return c.known && Lower(c.known->handles).find(f) != std::string::npos;
}

// Digits, then optionally a slash and digits.
bool IsTrack(const std::string& v) {
    const size_t slash = v.find('/');
    const auto digits = [](std::string_view s) { return !s.empty() && std::all_of(s.begin(), s.end(), ::isdigit); };
    return slash == std::string::npos ? digits(v) : digits(std::string_view(v).substr(0, slash)) && digits(std::string_view(v).substr(slash + 1));
}

}  // namespace

const std::vector<std::pair<const char*, const char*>>& PropertyAliases() {
    static const std::vector<std::pair<const char*, const char*>> aliases = {
        {"title", "Track:Name"},          {"artist", "Artist:Name"},        {"album", "Album:Name"},
        {"albumartist", "Artist:Band"},   {"track", "Track:CD Track #"},    {"disc", "Track:Part In Set"},
        {"year", "Track:Year"},           {"genre", "Track:Genre"},         {"comment", "Track:Comments"},
        {"composer", "Artist:Composer"},  {"conductor", "Artist:Conductor"}, {"lyrics", "Track:Lyrics"},
        {"cover", "Album:Cover Art"},     {"copyright", "Track:Copyright"}, {"publisher", "Credits:Publisher"},
        {"encodedby", "Credits:Encoded By"}, {"language", "Track:Language"}, {"subtitle", "Track:Description"},
        {"lyricist", "Credits:Text Author"}, {"originalartist", "Credits:Original Artist"},
        {"url", "Web Links:Web Page"},
    };
    return aliases;
}

bool IsAlias(const std::string& name) {
    const std::string n = Lower(name);
    return std::any_of(PropertyAliases().begin(), PropertyAliases().end(), [&](const auto& a) { return n == a.first; });
}

PropertyNames::PropertyNames(const host::Host& host, const std::string& format) {
    for (const host::ComponentInfo& c : host.components()) {
        if (!c.known || !Matches(c, format)) continue;
        HRESULT hr = TV_S_OK;
        auto importer = host.CreateAs<IUnknown>(c.classId, IID_IUnknown, &hr);
        if (!importer) continue;
        const std::string label = c.known->handles;
        std::istringstream lines(CatalogOf(importer.get()));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream fields(line);
            std::string path, type, access, where;
            if (!std::getline(fields, path, '\t') || !std::getline(fields, type, '\t') || !std::getline(fields, access, '\t'))
                continue;
            std::getline(fields, where);
            if (path == "*") {
                open_.push_back(label + ": " + where);
                continue;
            }
            KnownProperty& p = known_[path];
            if (p.type.empty() || p.type == "text") p.type = type;
            p.writable = p.writable || access == "rw";
            p.places.emplace_back(label, where + (access == "rw" ? "" : " (read only)"));
        }
    }
    // A format with a block for any property writes every property it names into that block.
    for (auto& [path, p] : known_)
        for (const auto& place : p.places)
            if (std::any_of(open_.begin(), open_.end(), [&](const std::string& o) { return o.rfind(place.first + ": ", 0) == 0; }))
                p.writable = true;
}

const KnownProperty* PropertyNames::Find(const std::string& path) const {
    const auto it = known_.find(path);
    return it == known_.end() ? nullptr : &it->second;
}

std::string PropertyNames::Resolve(const std::string& name, bool custom) const {
    const std::string lower = Lower(name);
    for (const auto& [alias, path] : PropertyAliases())
        if (lower == alias) return path;
    if (known_.count(name)) return name;
    if (custom && name.find(':') != std::string::npos) return name;
    std::vector<std::pair<size_t, std::string>> close;
    for (const auto& [path, p] : known_) {
        const size_t d = Lower(path) == lower ? 0 : Distance(name, path);
        if (d <= 3) close.emplace_back(d, path);
    }
    // "Track:Title": the name part may be an alias a tagger user knows.
    if (const size_t colon = name.find(':'); colon != std::string::npos) {
        const std::string part = Lower(name.substr(colon + 1));
        for (const auto& alias : PropertyAliases()) {
            const std::string target = alias.second;
            if (part == alias.first && std::none_of(close.begin(), close.end(), [&](const auto& c) { return c.second == target; }))
                close.emplace_back(1, target);
        }
    }
    std::sort(close.begin(), close.end());
    std::string message = "\"" + name + "\" is not a property tagvera knows";
    if (!close.empty()) {
        message += "; did you mean";
        for (size_t i = 0; i < close.size() && i < 3; ++i) message += (i ? " or " : " ") + close[i].second;
        message += "?";
    }
    message += " (tagvera names lists them; --custom writes a name of your own into the jukebox block)";
    throw UsageError(message);
}

void PropertyNames::CheckValue(const std::string& path, const std::string& value) const {
    const KnownProperty* p = Find(path);
    if (!p) return;
    if (!p->writable) throw UsageError(path + " is read only: no tag tagvera writes holds it");
    if (p->type == "track" && !IsTrack(value))
        throw UsageError("\"" + value + "\" is not a value for " + path + ": a number, or a number/total (3 or 3/12)");
    if (p->type == "year" && (value.size() != 4 || !std::all_of(value.begin(), value.end(), ::isdigit)))
        throw UsageError("\"" + value + "\" is not a year for " + path + " (four digits, 1999)");
    if (p->type == "number" && (value.empty() || !std::all_of(value.begin(), value.end(), ::isdigit)))
        throw UsageError("\"" + value + "\" is not a number for " + path);
    if (p->type == "picture") throw UsageError(path + " is a picture: set it with --picture \"" + path + "=FILE\"");
}

}  // namespace tagvera::cli
