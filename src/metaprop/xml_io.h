// Whole trees to and from "KJMETADATA" documents, through IMPAMetaProperty alone.
#ifndef TAGVERA_METAPROP_XML_IO_H
#define TAGVERA_METAPROP_XML_IO_H

#include <cstdint>
#include <string>
#include <vector>

#include "metaprop/block_io.h"
#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"
#include "tagvera/values.h"
#include "tagvera/xml.h"

namespace tagvera {

// The children of root as a document; *text is new[]-allocated and NUL-terminated, *length counts
// the NUL. A child that cannot be written is left out with the rest of its name; only lack of
// memory fails the whole document (E_OUTOFMEMORY).
HRESULT WriteXmlDocument(IMPAMetaProperty* root, bool pretty, char** text, uint32_t* length) noexcept;

// Feeds text (length bytes and a NUL) to a strict XML parser that reports to response, which
// builds the tree. The parser's failure is the result; what was added before it stays.
HRESULT ReadXmlDocument(IKMAXMLParserResponse* response, const char* text, uint32_t length,
                        const char* encoding) noexcept;

// The state of one document being read into a tree: the nodes of the open elements.
class XmlTreeBuilder {
public:
    // "KJMETADATA" opens the document on root; "PROP" inside it adds (or reuses) a child of the
    // innermost open node; every other element is ignored.
    HRESULT BeginElement(IMPAMetaProperty* root, const NodeFactory& factory, const char* element,
                         IKMAValues* attributes) noexcept;
    HRESULT EndElement(const char* element) noexcept;
    // Drops the open nodes (the root among them) and leaves the document.
    void Clear() noexcept;

private:
    // One per open "KJMETADATA" or "PROP" element; null for an element that was ignored.
    std::vector<ComPtr<IMPAMetaProperty>> open_;
    bool inside_ = false;
};

// The preferences that choose how trees are stored.
std::string XmlEncodingPreference();
bool DatabaseFieldsPreference();

}  // namespace tagvera

#endif
