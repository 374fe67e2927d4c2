// The four text encodings of ID3v2 fields, decoded from the raw field bytes and encoded back.
#ifndef TAGVERA_TAGS_ID3V2_TEXT_ENCODING_H
#define TAGVERA_TAGS_ID3V2_TEXT_ENCODING_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tagvera::id3v2 {

enum class TextEncoding : uint8_t { Latin1 = 0, Utf16 = 1, Utf16BE = 2, Utf8 = 3 };

// Throws Error for a byte above 3.
TextEncoding EncodingFromByte(uint8_t b);
const char* EncodingName(TextEncoding e);
// Bytes of one character unit, and of the terminator: 2 for the UTF-16 forms, else 1.
inline size_t UnitSize(TextEncoding e) { return (e == TextEncoding::Utf16 || e == TextEncoding::Utf16BE) ? 2 : 1; }

// Length of the string at the start of bytes up to its terminator (not included); the whole
// span when there is none. UTF-16 terminators count only on even offsets.
size_t TerminatedLength(std::span<const uint8_t> bytes, TextEncoding e);

// One string's bytes (no terminator) to UTF-8. UTF-16 uses its BOM when there is one; without
// one it is taken as little-endian unless the zero bytes say big-endian. An odd trailing zero
// byte is dropped; other broken units become U+FFFD.
std::string DecodeText(std::span<const uint8_t> bytes, TextEncoding e);

// Splits bytes into NUL-separated strings and decodes each; one trailing terminator (and
// trailing empty values) are dropped. Empty input gives no values.
std::vector<std::string> DecodeTextList(std::span<const uint8_t> bytes, TextEncoding e);

// UTF-8 to field bytes, without terminator. Utf16 writes a little-endian BOM first (not for an
// empty string); Latin1 turns characters it cannot hold into '?'.
std::vector<uint8_t> EncodeText(std::string_view utf8, TextEncoding e);
// The same bytes appended to out, as a frame's fields are put together.
void AppendEncodedText(std::vector<uint8_t>& out, std::string_view utf8, TextEncoding e);
void AppendTerminator(std::vector<uint8_t>& out, TextEncoding e);

}  // namespace tagvera::id3v2

#endif
