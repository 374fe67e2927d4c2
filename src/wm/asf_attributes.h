// The four attribute objects: each read into Attributes and written from them, and the rule of
// which object can hold which attribute.
#ifndef TAGVERA_WM_ASF_ATTRIBUTES_H
#define TAGVERA_WM_ASF_ATTRIBUTES_H

#include <span>
#include <vector>

#include "base/byte_reader.h"
#include "wm/asf_model.h"

namespace tagvera::wm {

// Each reads an object's body (after its 24-byte head) and appends what it holds.
void ReadContentDescription(ByteReader body, std::vector<Attribute>& out);
void ReadExtendedContent(ByteReader body, std::vector<Attribute>& out);
void ReadMetadata(ByteReader body, Home home, std::vector<Attribute>& out);

// The least limited object that is still needed for this attribute: the content description for
// its five strings, the extended content description for a first value of stream 0 without a
// language under 64 KB, the metadata object for a stream's value, the library for the rest
// (a language, a second value of one name, a GUID, a large value). sameNameBefore: an earlier
// attribute of the same stream and name exists.
Home HomeFor(const Attribute& a, bool sameNameBefore);

// The whole object (head included) for the attributes routed to home; when there are none, an
// empty object if keepEmpty (one stood in the file), else no bytes.
std::vector<uint8_t> RenderAttributeObject(Home home, std::span<const Attribute> attributes, bool keepEmpty = false);

// Puts each attribute where HomeFor says, keeping their order.
void Route(std::vector<Attribute>& attributes);

}  // namespace tagvera::wm

#endif
