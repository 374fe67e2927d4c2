// Text conversion between the interfaces' 8-bit text (UTF-8 here, the "ANSI code page" on Windows)
// and the encodings media files use. Invalid input is never dropped silently: it becomes U+FFFD
// and the caller is told through `lossy`.
#ifndef TAGVERA_PLATFORM_TEXT_H
#define TAGVERA_PLATFORM_TEXT_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tagvera::text {

inline constexpr char32_t kReplacement = 0xFFFD;

// Appends the UTF-8 form of one code point (surrogates and values past U+10FFFF become U+FFFD).
void AppendUtf8(std::string& out, char32_t cp);
// Decodes one code point at pos and advances. On an invalid sequence returns false and skips it:
// the lead byte and the continuation bytes that still fitted, so each bad sequence is one U+FFFD.
bool DecodeUtf8(std::string_view in, size_t& pos, char32_t& cp);
bool IsValidUtf8(std::string_view in);
// Returns in with every invalid sequence replaced by U+FFFD.
std::string SanitizeUtf8(std::string_view in, bool* lossy = nullptr);

std::string Latin1ToUtf8(std::span<const uint8_t> in);
// Characters outside Latin-1 become '?'.
std::string Utf8ToLatin1(std::string_view in, bool* lossy = nullptr);
bool FitsLatin1(std::string_view utf8);

// UTF-16 in the given byte order (a BOM is just U+FEFF here); an odd trailing byte and unpaired
// surrogates become U+FFFD. `lossy` is only ever set to true.
std::string Utf16ToUtf8(std::span<const uint8_t> in, bool bigEndian, bool* lossy = nullptr);
// UTF-16 that may start with a byte-order mark: the mark chooses the order and is dropped;
// without one, bigEndianWithoutBom decides.
std::string Utf16BomToUtf8(std::span<const uint8_t> in, bool bigEndianWithoutBom, bool* lossy = nullptr);
std::string Utf8ToUtf16(std::string_view in, bool bigEndian, bool* lossy = nullptr);

#if defined(_WIN32)
// Paths and names are UTF-8 inside tagvera and UTF-16 at the system's wide calls; invalid
// sequences become U+FFFD both ways.
std::wstring Utf8ToWide(std::string_view utf8);
std::string WideToUtf8(std::wstring_view wide);
#endif

// The interfaces' 8-bit text and UTF-8 are the same on this platform; kept as named steps so that
// a Windows build converts through its code page in one place.
std::string AnsiToUtf8(std::string_view ansi);
std::string Utf8ToAnsi(std::string_view utf8);

// ASCII-only case folding, for names that compare case-insensitively.
int CompareNoCase(std::string_view a, std::string_view b);
bool EqualsNoCase(std::string_view a, std::string_view b);

}  // namespace tagvera::text

#endif
