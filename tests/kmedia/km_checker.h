// The checker of written KorvaMedia files: every packet with its bytes, and headers, data object
// and index objects that all agree with the file.
#ifndef TAGVERA_TESTS_KMEDIA_KM_CHECKER_H
#define TAGVERA_TESTS_KMEDIA_KM_CHECKER_H

#include <cstdint>
#include <optional>
#include <vector>

#include "kmedia/header_walk.h"

namespace tagvera::kmedia::testing {

inline uint32_t Be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

// Every packet of a file, bytes included.
std::vector<std::vector<uint8_t>> Packets(const std::vector<uint8_t>& file, const KmHeaders& h);

// Expects (gtest) a file whose objects describe it: PROP, DATA and the index objects agree, each
// index record points at a packet of its stream, and the last object ends at mediaEnd (the end
// of the file unless metadata follows).
KmHeaders CheckConsistent(const std::vector<uint8_t>& file, std::optional<uint64_t> mediaEnd = std::nullopt);

}  // namespace tagvera::kmedia::testing

#endif
