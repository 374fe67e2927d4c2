// Which bytes start a two-byte character in a document's character set. The byte after such a
// lead byte is copied with it and never read as markup.
#ifndef TAGVERA_XML_CHARSET_H
#define TAGVERA_XML_CHARSET_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tagvera::xml {

class Charset {
public:
    // "US-ASCII".
    Charset();
    // Looks the name up ignoring case (and '-' against '_'); an unknown name gets the "Default"
    // lead bytes 0x81-0xFF.
    static Charset ForName(std::string_view name);

    const std::string& name() const { return name_; }
    bool isLead(uint8_t b) const { return lead_[b]; }
    // No lead bytes at all: markup can be searched for byte by byte.
    bool singleByte() const { return singleByte_; }
    // UTF-8 has no lead bytes in this sense (no byte of a sequence is below 0x80), but its
    // continuation bytes do not start a new column.
    bool utf8() const { return utf8_; }

    // Same character set, whatever spelling named it.
    bool sameAs(const Charset& other) const { return table_ == other.table_; }

private:
    Charset(int tableIndex, std::string_view name);

    std::string name_;
    int table_ = 0;
    std::array<bool, 256> lead_{};
    bool singleByte_ = true;
    bool utf8_ = false;
};

// ASCII case-insensitive equality that compares two-byte characters byte for byte, so a trail byte
// that happens to be a letter is not folded.
bool EqualNamesNoCase(std::string_view a, std::string_view b, const Charset& charset);

}  // namespace tagvera::xml

#endif
