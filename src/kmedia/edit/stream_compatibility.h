// Whether a file's streams can follow another's in one output: the same streams in the same order,
// each with the same MIME type, packet sizes, preroll and codec header, and a video stream with
// the same maximum bit rate.
#ifndef TAGVERA_KMEDIA_EDIT_STREAM_COMPATIBILITY_H
#define TAGVERA_KMEDIA_EDIT_STREAM_COMPATIBILITY_H

#include <vector>

#include "kmedia/media_properties.h"

namespace tagvera::kmedia {

bool StreamsCompatible(const std::vector<const MediaPropertiesObject*>& first,
                       const std::vector<const MediaPropertiesObject*>& next);

}  // namespace tagvera::kmedia

#endif
