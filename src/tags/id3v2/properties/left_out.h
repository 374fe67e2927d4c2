// Frames the property tree does not show: where several frames name one property (a comment in
// each language, a front and a back cover), the first one read is the property and the others are
// left out of the tree (the parser notes which). People should still learn that the file holds them.
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_LEFT_OUT_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_LEFT_OUT_H

#include <string>
#include <vector>

#include "tags/id3v2/tag.h"

namespace tagvera::id3v2 {

struct LeftOutFrame {
    std::string property;  // the path the tree shows another frame's value under
    const Frame* frame;
};

// One line per frame: the property, the frame id and what its fields say, separated by tabs.
std::string LeftOutLines(const std::vector<LeftOutFrame>& leftOut);

}  // namespace tagvera::id3v2

#endif
