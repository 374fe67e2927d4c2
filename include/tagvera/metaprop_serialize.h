// A property tree in its two stored forms: the jukebox metadata block (binary) and the "KJMETADATA"
// XML document. Blocks and documents handed out are allocated by the library with new[] and belong
// to the caller, who frees them with delete[].
#ifndef TAGVERA_METAPROP_SERIALIZE_H
#define TAGVERA_METAPROP_SERIALIZE_H

#include "tagvera/abi.h"
#include "tagvera/metaprop.h"

// Answered by every tree node (class CMPAMetaProperty).
struct IMPAMetaPropertySerialize : IUnknown {
    // The tree below this node as a document; *length counts the terminating NUL. pretty puts each
    // element on its own line, indented by tabs.
    TV_METHOD(WriteXML)(char** text, uint32_t* length, bool pretty) = 0;  // 3
    // ReadXMLWithEncoding with the encoding of the preference "XMLEncoding" ("US-ASCII" by default).
    TV_METHOD(ReadXML)(const char* text, uint32_t length) = 0;  // 4
    // WriteBinaryEx with database fields on when the preference "WriteDBFields" is other than "0".
    TV_METHOD(WriteBinary)(uint8_t** block, uint32_t* size, bool keepReferences, bool variant,
                           bool bigEndian) = 0;  // 5
    // Replaces this node's name, type, flags and value with the block's root and adds its children.
    TV_METHOD(ReadBinary)(const uint8_t* block, uint32_t size, bool keepReferences, bool bigEndian) = 0;  // 6
};

struct IMPAMetaPropertySerialize2 : IUnknown {
    // Adds the elements of a "KJMETADATA" document below this node; text need not end in a NUL.
    TV_METHOD(ReadXMLWithEncoding)(const char* text, uint32_t length, const char* encoding) = 0;  // 3
    // keepReferences: reference data travels in the block. variant with keepReferences: magic "KJAD"
    // and reference nodes stored as they are. databaseFields: keep "Statistics:FileSize",
    // "Statistics:Filename" (and, in the variant, "Track:CD TOC") in the block.
    TV_METHOD(WriteBinaryEx)(uint8_t** block, uint32_t* size, bool keepReferences, bool variant, bool bigEndian,
                             bool databaseFields) = 0;  // 4
};

// A node that answers from a block in place (class CFastMetaProperty) and builds a full tree node
// only when it is changed. Slots 3 to 37 are those of IMPAMetaProperty.
struct IMPAMetaPropertyBuffer : IMPAMetaProperty {
    // Takes ownership of block (allocated with new[]), also when it is refused.
    TV_METHOD(SetBuffer)(uint8_t* block, uint32_t size, bool bigEndian) = 0;  // 38
};

namespace tagvera {

// The block's first four bytes, in this character order whatever the byte order.
inline constexpr char kBlockMagic[] = "KJMD";
// The magic of the variant that keeps reference nodes as they are (keepReferences and variant).
inline constexpr char kBlockMagicVariant[] = "KJAD";
inline constexpr uint32_t kBlockVersion = 1;

// The document element of the XML form and the element of one node.
inline constexpr char kXmlDocumentElement[] = "KJMETADATA";
inline constexpr char kXmlPropertyElement[] = "PROP";

enum : HRESULT {
    // ReadBinary: the block does not begin with a known magic and version 1.
    TV_E_BLOCK_BADHEADER = static_cast<HRESULT>(0x80040005u),
};

// IID_IMPAMetaPropertySerialize, IID_IMPAMetaPropertySerialize2 and IID_IMPAMetaPropertyBuffer are
// declared with the tree's own ids in tagvera/metaprop.h.

}  // namespace tagvera

#endif
