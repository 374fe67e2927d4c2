// Rules on the property vocabulary: type and flag names in both directions, the groups of type codes
// that behave alike, and the value conventions shared by every writer and reader of a tree.
#ifndef TAGVERA_METAPROP_VOCABULARY_H
#define TAGVERA_METAPROP_VOCABULARY_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tagvera/vocabulary.h"

namespace tagvera {

// The name a type code is written with: the first row of the table that has the code, else
// "type not defined yet".
const char* TypeName(uint32_t type);
// Reads a type name case-insensitively, first matching row winning ("reference" is 10); false when
// the name is not in the table, leaving *type alone.
bool TypeFromName(std::string_view name, uint32_t* type);

// The names of the set flag bits in writing order, joined by ","; bit 0x08 and unnamed bits are
// left out, so flags 0x0B give "readonly,private".
std::string FlagNames(uint32_t flags);
// Splits at "," and ORs the bits of the pieces that name a flag (case-insensitively); the rest is
// ignored.
uint32_t FlagsFromNames(std::string_view names);

inline bool IsReferenceType(uint32_t type) {
    return type == kTypeReference || type == kTypeFileReference || type == kTypeDataReference;
}
// Types whose value is a NUL-terminated string.
inline bool IsTextType(uint32_t type) {
    return type == kTypeText || type == kTypeTextList || type == kTypeUrl || type == kTypeDate ||
           type == kTypeFilename;
}
// Types whose value holds a live pointer of this process; readers of files must never produce a
// value for them.
inline bool IsPointerType(uint32_t type) { return type == kTypeOwnedPointer || type == kTypeInterfacePointer; }
// Whether a node of type b that replaces one of type a takes over its children: equal types, or two
// reference codes.
inline bool KeepsChildrenOnReplace(uint32_t a, uint32_t b) {
    return a == b || (IsReferenceType(a) && IsReferenceType(b));
}

// Text asked for as a number: leading white space, an optional sign, then the leading decimal
// digits (0 when there are none); a value past 32 bits stops at 0xFFFFFFFF. Never reads past
// text's end or a NUL.
uint32_t DecimalToNumber(std::string_view text);
// A track number as stored: decimal with at least two digits ("07", "12", "123").
std::string TrackNumberText(uint32_t number);

// Numbers are stored as 4 bytes little-endian whatever the machine's order.
inline void StoreNumber(uint32_t value, uint8_t out[4]) {
    out[0] = static_cast<uint8_t>(value);
    out[1] = static_cast<uint8_t>(value >> 8);
    out[2] = static_cast<uint8_t>(value >> 16);
    out[3] = static_cast<uint8_t>(value >> 24);
}
inline uint32_t LoadNumber(const uint8_t in[4]) {
    return static_cast<uint32_t>(in[0]) | static_cast<uint32_t>(in[1]) << 8 | static_cast<uint32_t>(in[2]) << 16 |
           static_cast<uint32_t>(in[3]) << 24;
}

}  // namespace tagvera

#endif
