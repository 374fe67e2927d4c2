// Finds the character set a document names in its XML declaration, before any of it is parsed.
#ifndef TAGVERA_XML_ENCODING_DECLARATION_H
#define TAGVERA_XML_ENCODING_DECLARATION_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tagvera::xml {

enum class DeclarationStatus {
    Found,     // the declaration names an encoding
    Absent,    // no declaration, or one without an encoding
    NeedMore,  // the bytes so far do not decide it
};

struct DeclaredEncoding {
    DeclarationStatus status = DeclarationStatus::Absent;
    std::string name;
};

// Only this many bytes at the head of a document are looked at.
inline constexpr size_t kDeclarationSearchLimit = 1024;

// Skips white space and comments, requires "<?xml" and returns its "encoding" value. complete says
// that no more bytes will follow, so NeedMore is never the answer.
DeclaredEncoding FindDeclaredEncoding(std::span<const uint8_t> head, bool complete);

}  // namespace tagvera::xml

#endif
