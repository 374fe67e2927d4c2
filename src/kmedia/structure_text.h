// A KorvaMedia file's objects as a format tool shows them: each with its offset, size, version
// and decoded fields, the trailer and the ID3v1 tag, then what is wrong.
#ifndef TAGVERA_KMEDIA_STRUCTURE_TEXT_H
#define TAGVERA_KMEDIA_STRUCTURE_TEXT_H

#include <optional>
#include <string>

#include "kmedia/header_walk.h"
#include "kmedia/trailer.h"

namespace tagvera::kmedia {

struct FileLayout {
    KmHeaders headers;
    uint64_t fileSize = 0;
    std::optional<TrailerPlace> trailer;
    bool id3v1 = false;
};

// Reads what a report shows: headers, index objects, trailer, tag; throws Error when the
// headers cannot be read.
FileLayout ReadFileLayout(ByteSource& file);
std::string LayoutText(const FileLayout& layout, const std::string& path);
std::string LayoutJson(const FileLayout& layout);

}  // namespace tagvera::kmedia

#endif
