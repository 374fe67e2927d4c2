// The preferences store: where the file is, reading it (cached on its identity and time stamps),
// and line-preserving edits written through the safe-write helper.
#include "platform/preferences.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <optional>

#include "base/error.h"
#include "platform/file.h"
#include "platform/preferences_format.h"
#include "platform/safe_write.h"
#include "platform/text.h"

namespace tagvera::platform::prefs {
namespace {

constexpr uint64_t kMaxFileSize = 1 << 20;
// A file changed this recently may change again within the same time-stamp tick: read it anew.
constexpr time_t kRacySeconds = 2;

std::string Env(const char* name) {
    const char* v = std::getenv(name);
    return v ? std::string(v) : std::string();
}

std::string HomeDirectory() {
    std::string home = Env("HOME");
    if (!home.empty()) return home;
    if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir) return pw->pw_dir;
    return "";
}

// ---- the file as last read ----

struct Snapshot {
    std::string path;
    bool exists = false;
    struct stat st {};
    std::string text;
    ParsedFile parsed;
};

bool SameFile(const Snapshot& s, const std::string& path, bool exists, const struct stat& st) {
    if (s.path != path || s.exists != exists) return false;
    if (!exists) return true;
    if (std::time(nullptr) - st.st_mtim.tv_sec < kRacySeconds) return false;
    return s.st.st_dev == st.st_dev && s.st.st_ino == st.st_ino && s.st.st_size == st.st_size &&
           s.st.st_mtim.tv_sec == st.st_mtim.tv_sec && s.st.st_mtim.tv_nsec == st.st_mtim.tv_nsec &&
           s.st.st_ctim.tv_sec == st.st_ctim.tv_sec && s.st.st_ctim.tv_nsec == st.st_ctim.tv_nsec;
}

ParsedFile Damaged(std::string message) {
    ParsedFile f;
    f.ok = false;
    f.message = std::move(message);
    return f;
}

std::shared_ptr<const Snapshot> ReadSnapshot(const std::string& path, bool exists, const struct stat& st) {
    auto s = std::make_shared<Snapshot>();
    s->path = path;
    s->exists = exists;
    s->st = st;
    if (!exists) return s;
    try {
        File file(path, OpenMode::Read);
        if (file.size() > kMaxFileSize) {
            s->parsed = Damaged("the file is larger than 1 MB");
            return s;
        }
        const std::vector<uint8_t> bytes = file.readExact(0, static_cast<size_t>(file.size()));
        s->text.assign(bytes.begin(), bytes.end());
        s->parsed = Parse(s->text);
    } catch (const Error& e) {
        s->parsed = Damaged(std::string("cannot be read: ") + e.what());
    }
    return s;
}

std::mutex g_mutex;
std::shared_ptr<const Snapshot> g_cache;

std::shared_ptr<const Snapshot> Current() {
    const std::string path = PreferencesPath();
    struct stat st {};
    bool exists = !path.empty() && ::stat(path.c_str(), &st) == 0;
    if (!path.empty() && !exists && errno != ENOENT && errno != ENOTDIR) exists = true;  // let the read say why
    std::lock_guard lock(g_mutex);
    if (g_cache && SameFile(*g_cache, path, exists, st)) return g_cache;
    g_cache = ReadSnapshot(path, exists, st);
    return g_cache;
}

void Forget() {
    std::lock_guard lock(g_mutex);
    g_cache.reset();
}

const ParsedValue* FindValue(const Snapshot& s, std::string_view name) {
    const std::vector<ParsedValue>* values = s.parsed.preferences();
    if (!values) return nullptr;
    for (const ParsedValue& v : *values)
        if (text::EqualsNoCase(v.name, name)) return &v;
    return nullptr;
}

// ---- editing ----

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t nl = text.find('\n', start);
        const size_t end = nl == std::string::npos ? text.size() : nl;
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::string JoinLines(const std::vector<std::string>& lines) {
    std::string out;
    for (const std::string& l : lines) out += l + "\n";
    return out;
}

const ParsedFile::Section* OurSection(const ParsedFile& f) {
    for (const ParsedFile::Section& s : f.sections)
        if (text::EqualsNoCase(s.key, kKey)) return &s;
    return nullptr;
}

std::shared_ptr<const Snapshot> EditableSnapshot() {
    auto s = Current();
    if (s->path.empty()) throw Error(TV_E_FAIL, "preferences: no file location (HOME is not set)");
    if (!s->parsed.ok) {
        throw Error(TV_E_FAIL, "preferences file '" + s->path + "' is damaged" +
                                   (s->parsed.line ? " at line " + std::to_string(s->parsed.line) : "") +
                                   ": " + s->parsed.message + "; fix it or reset the preferences");
    }
    return s;
}

void MakeParentDirectories(const std::string& path) {
    const std::string dir = DirectoryOf(path);
    if (dir == "." || dir == "/" || IsDirectory(dir)) return;
    MakeParentDirectories(dir);
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) throw FileError("create folder", dir, errno);
}

void Store(const std::string& path, const std::string& text) {
    MakeParentDirectories(path);
    WriteFileAtomically(path, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), 0644);
    Forget();
}

// Writes value over its old line, after the section's last line, or in a new section.
void Put(const ParsedValue& value) {
    if (std::string err = CheckName(value.name); !err.empty()) throw Error(TV_E_INVALIDARG, "preferences: " + err);
    const auto s = EditableSnapshot();
    const ParsedFile::Section* section = OurSection(s->parsed);
    if (!section) {
        ParsedFile f;
        f.sections.push_back(ParsedFile::Section{std::string(kKey), {value}});
        Store(s->path, s->text.empty() ? Format(f) : s->text + (s->text.back() == '\n' ? "" : "\n") +
                                                          "\n[" + std::string(kKey) + "]\n" + FormatValue(value) + "\n");
        return;
    }
    std::vector<std::string> lines = SplitLines(s->text);
    if (const ParsedValue* old = FindValue(*s, value.name)) {
        ParsedValue renamed = value;
        renamed.name = old->name;  // the spelling already in the file stays
        lines[static_cast<size_t>(old->line - 1)] = FormatValue(renamed);
    } else {
        lines.insert(lines.begin() + section->lastLine, FormatValue(value));
    }
    Store(s->path, JoinLines(lines));
}

}  // namespace

std::string PreferencesPath() {
    if (std::string p = Env("TAGVERA_PREFERENCES"); !p.empty()) return p;
    // A relative XDG_CONFIG_HOME is invalid and ignored, as the base-directory rules say.
    if (std::string x = Env("XDG_CONFIG_HOME"); !x.empty() && x[0] == '/') return x + "/tagvera/preferences";
    const std::string home = HomeDirectory();
    return home.empty() ? "" : home + "/.config/tagvera/preferences";
}

std::string GetString(std::string_view name) {
    try {
        const auto s = Current();
        if (const ParsedValue* v = FindValue(*s, name)) return v->text;
    } catch (...) {
        // Readers answer the default whatever went wrong.
    }
    return DefaultText(FindKnown(name));
}

uint32_t GetNumber(std::string_view name) {
    try {
        const auto s = Current();
        if (const ParsedValue* v = FindValue(*s, name)) {
            if (v->type == ValueType::Dword) return v->number;
            if (uint32_t n; NumberFromText(v->text, n)) return n;
        }
    } catch (...) {
    }
    return DefaultNumber(FindKnown(name));
}

std::vector<Entry> List() {
    std::shared_ptr<const Snapshot> s;
    try {
        s = Current();
    } catch (...) {
        s = std::make_shared<Snapshot>();
    }
    std::vector<Entry> out;
    for (const Definition& d : KnownValues()) {
        Entry e{std::string(d.name), d.type, DefaultText(&d), DefaultNumber(&d), true};
        if (const ParsedValue* v = FindValue(*s, d.name)) e = Entry{std::string(d.name), v->type, v->text, v->number, false};
        out.push_back(std::move(e));
    }
    if (const std::vector<ParsedValue>* values = s->parsed.preferences()) {
        for (const ParsedValue& v : *values)
            if (!FindKnown(v.name)) out.push_back(Entry{v.name, v.type, v.text, v.number, false});
    }
    return out;
}

Status Check() {
    Status st;
    st.path = PreferencesPath();
    try {
        const auto s = Current();
        st.exists = s->exists;
        st.ok = s->parsed.ok;
        st.line = s->parsed.line;
        st.message = s->parsed.message;
    } catch (const std::exception& e) {
        st.ok = false;
        st.message = e.what();
    }
    if (st.path.empty()) st.message = "no file location (HOME is not set); defaults in force";
    return st;
}

void SetString(std::string_view name, std::string_view value) {
    if (value.find('\0') != std::string_view::npos) throw Error(TV_E_INVALIDARG, "preferences: a string cannot hold a NUL character");
    ParsedValue v;
    v.name = std::string(name);
    v.type = ValueType::String;
    v.text = std::string(value);
    Put(v);
}

void SetNumber(std::string_view name, uint32_t value) {
    ParsedValue v;
    v.name = std::string(name);
    v.type = ValueType::Dword;
    v.number = value;
    v.text = std::to_string(value);
    Put(v);
}

bool Remove(std::string_view name) {
    const auto s = EditableSnapshot();
    const ParsedValue* old = FindValue(*s, name);
    if (!old) return false;
    std::vector<std::string> lines = SplitLines(s->text);
    lines.erase(lines.begin() + (old->line - 1));
    Store(s->path, JoinLines(lines));
    return true;
}

void ResetAll() {
    const std::string path = PreferencesPath();
    if (!path.empty()) RemoveFile(path);
    Forget();
}

}  // namespace tagvera::platform::prefs
