// Line and column of a place in a document: a line feed starts a new line at column 1, every
// other character adds a column (a two-byte character counts once).
#ifndef TAGVERA_XML_TEXT_POSITION_H
#define TAGVERA_XML_TEXT_POSITION_H

#include <cstddef>
#include <cstdint>

#include "xml/charset.h"

namespace tagvera::xml {

struct Position {
    uint64_t line = 1;
    uint64_t column = 1;
};

// Moves pos over n bytes that start on a character boundary.
void AdvancePosition(Position& pos, const uint8_t* bytes, size_t n, const Charset& charset);

}  // namespace tagvera::xml

#endif
