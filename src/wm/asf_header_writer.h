// Writes a header object again with new attributes: every object it does not hold attributes in
// goes back byte for byte and in its place; the attribute objects are made anew where they stood
// (or added: the description objects at the end of the header, the metadata objects at the end of
// the header extension); padding goes last in the header as one padding object.
#ifndef TAGVERA_WM_ASF_HEADER_WRITER_H
#define TAGVERA_WM_ASF_HEADER_WRITER_H

#include <cstdint>
#include <span>
#include <vector>

#include "wm/asf_model.h"

namespace tagvera::wm {

// The smallest padding object: its head.
inline constexpr uint64_t kMinPaddingObject = 24;

// attributes must be routed (Route). padding: 0, or at least kMinPaddingObject bytes. fileSize:
// what the file properties object is to say.
std::vector<uint8_t> RenderHeader(const AsfHeader& header, std::span<const Attribute> attributes, uint64_t padding,
                                  uint64_t fileSize);

}  // namespace tagvera::wm

#endif
