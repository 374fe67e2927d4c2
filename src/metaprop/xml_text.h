// How values are spelled inside "KJMETADATA" attributes: the five escaped characters, and the
// radix-41 text of binary values.
#ifndef TAGVERA_METAPROP_XML_TEXT_H
#define TAGVERA_METAPROP_XML_TEXT_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "metaprop/output_buffer.h"

namespace tagvera::xmltext {

// Apostrophe, double quote, less-than, greater-than and ampersand as entities; every other byte
// as it is.
void AppendEscaped(TextOutputBuffer& out, std::string_view text);

// Each group of 4 bytes (the last one padded with zero bytes) read as a big-endian number and
// written as 6 base-41 digits, least significant first.
void AppendRadix41(TextOutputBuffer& out, std::span<const uint8_t> bytes);
// 4 bytes per complete group of 6 characters; characters outside the alphabet count as 0.
std::vector<uint8_t> DecodeRadix41(std::string_view text);

}  // namespace tagvera::xmltext

#endif
