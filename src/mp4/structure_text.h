// The box tree of an MP4 file for people and for tools: every top-level box with its offset and
// size, the movie box's boxes nested inside it, the items' data types, and what is wrong.
#ifndef TAGVERA_MP4_STRUCTURE_TEXT_H
#define TAGVERA_MP4_STRUCTURE_TEXT_H

#include <string>

#include "mp4/mp4_editor.h"

namespace tagvera::mp4 {

std::string AtomsText(const CMp4Editor& editor);
std::string AtomsJson(const CMp4Editor& editor);

}  // namespace tagvera::mp4

#endif
