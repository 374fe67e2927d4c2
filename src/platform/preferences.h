// The user's preferences, kept where the Windows build keeps them in the registry (the current
// user's key below) and here in a small hand-editable text file:
//
//     ; tagvera preferences
//     [Software\KorvaNetworks\KorvaJukebox\1.0\Preferences]
//     TagReadPriority = string:V2,K1,V1
//     TagEditID3V1 = dword:0
//
// Lines: "[key]" starts a section; "Name = dword:N" is a 32-bit number (decimal, or hex with 0x);
// "Name = string:text" is text to the end of the line (surrounding blanks dropped), or
// string:"..." with \\ \" \n \r \t \xHH escapes when blanks or control characters matter; a bare
// "Name = text" is a string too. ';' or '#' starts a comment line. Names compare without regard to
// case, as registry value names do. Only the section named by kKey is read; others are kept.
//
// The file: $TAGVERA_PREFERENCES when set (a full path), else $XDG_CONFIG_HOME/tagvera/preferences,
// else ~/.config/tagvera/preferences. It is read again whenever its size or time stamp changes,
// so a change made by another process (the command line, a test) is seen by the next read.
// A missing file or value means the default. A damaged file makes every reader answer the
// defaults; Check() says what is wrong and where. Readers never throw.
//
// On Windows the store is the registry itself: the values under HKEY_CURRENT_USER\kKey, strings
// and 32-bit numbers with the same names and defaults, written one by one (no file, no cache).
// There $TAGVERA_PREFERENCES names another key below HKEY_CURRENT_USER, and PreferencesPath() is
// "HKEY_CURRENT_USER\<key>".
#ifndef TAGVERA_PLATFORM_PREFERENCES_H
#define TAGVERA_PLATFORM_PREFERENCES_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tagvera::platform::prefs {

inline constexpr std::string_view kKey = "Software\\KorvaNetworks\\KorvaJukebox\\1.0\\Preferences";

// The value names the library reads.
inline constexpr std::string_view kTagReadPriority = "TagReadPriority";  // string, "K1,V2,V1"
inline constexpr std::string_view kTagEditKorvaOne = "TagEditKorvaOne";  // dword, 1
inline constexpr std::string_view kTagEditID3V2 = "TagEditID3V2";        // dword, 1
inline constexpr std::string_view kTagEditID3V1 = "TagEditID3V1";        // dword, 1
inline constexpr std::string_view kXMLEncoding = "XMLEncoding";          // string, "US-ASCII"
inline constexpr std::string_view kWriteDBFields = "WriteDBFields";      // string, "0"

enum class ValueType { String, Dword };

struct Definition {
    std::string_view name;
    ValueType type;
    std::string_view defaultText;  // String values
    uint32_t defaultNumber;        // Dword values
};
// Every value name the library reads, with its type and default.
std::span<const Definition> KnownValues();
// The definition of a known name (case-insensitive), or null.
const Definition* FindKnown(std::string_view name);

// The value, or the known default when the file, the value or its well-formedness is missing
// ("" and 0 for a name the library does not know). A number stored for a string is given as
// decimal text; a string holding a decimal or 0x number is given as that number, any other text
// stored for a number gives the default.
std::string GetString(std::string_view name);
uint32_t GetNumber(std::string_view name);

// One value as listing shows it: every known name, then any other name the file holds.
struct Entry {
    std::string name;
    ValueType type;
    std::string text;     // the value as text (a number in decimal)
    uint32_t number = 0;  // Dword values
    bool isDefault = true;  // not in the file: the default is in force
};
std::vector<Entry> List();

// The outcome of reading the file.
struct Status {
    std::string path;
    bool exists = false;
    bool ok = true;   // false: damaged, every reader answers defaults
    int line = 0;     // the first bad line (1-based), 0 when not about one line
    std::string message;  // what is wrong, "" when ok
};
Status Check();

// Changes are written atomically (a new file renamed over the old one), creating the file and its
// folder when needed. They throw Error when the file is damaged (fix it or ResetAll first) or
// cannot be written. A name is at most 255 characters without '=', '[', ']' or control characters;
// strings hold no NUL.
void SetString(std::string_view name, std::string_view value);
void SetNumber(std::string_view name, uint32_t value);
// True when the value was there.
bool Remove(std::string_view name);
// Removes the file (whatever is in it): every value is its default again.
void ResetAll();

// Where the file is, as chosen from the environment now.
std::string PreferencesPath();

// The parser on its own, for the fuzzer and tests: parses text as a preferences file.
struct ParsedValue {
    std::string name;
    ValueType type = ValueType::String;
    std::string text;     // a number in decimal
    uint32_t number = 0;  // Dword values
    int line = 0;         // where it stands in the text, 1-based
};
struct ParsedFile {
    struct Section {
        std::string key;
        std::vector<ParsedValue> values;
        int headerLine = 0;
        int lastLine = 0;  // the header or the section's last value
    };
    std::vector<Section> sections;
    bool ok = true;
    int line = 0;
    std::string message;
    // The values of kKey's section (empty when absent or when the file is damaged).
    const std::vector<ParsedValue>* preferences() const;
};
ParsedFile Parse(std::string_view text);
// The text form of a parsed file; Parse(Format(f)) gives the same sections and values back.
std::string Format(const ParsedFile& file);

}  // namespace tagvera::platform::prefs

#endif
