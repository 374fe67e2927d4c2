// SHA-1 of a byte span as 40 lower-case hex digits: how frame payloads are named in reports.
#ifndef TAGVERA_TAGS_ID3V2_SHA1_H
#define TAGVERA_TAGS_ID3V2_SHA1_H

#include <cstdint>
#include <span>
#include <string>

namespace tagvera::id3v2 {

std::string Sha1Hex(std::span<const uint8_t> bytes);

}  // namespace tagvera::id3v2

#endif
