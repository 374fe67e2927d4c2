// The package's event-driven XML reader: fed bytes in pieces, it reports tags, text and the rest to
// a response object. Strings are 8-bit and NUL-terminated, in the document's character set.
#ifndef TAGVERA_XML_H
#define TAGVERA_XML_H

#include "tagvera/abi.h"
#include "tagvera/values.h"

// What the parser calls while it reads. Buffers and value lists handed in belong to the caller:
// keep a reference (AddRef) to hold on to one past the call. A failing result stops the parse and
// becomes the result of Parse.
struct IKMAXMLParserResponse : IUnknown {
    // A start tag at the given position of its "<". Each attribute is a string value (a buffer
    // holding the decoded text with its NUL) under the attribute's name.
    TV_METHOD(OnBeginElement)(const char* name, IKMAValues* attributes, uint32_t line, uint32_t column) = 0;  // 3
    // An end tag, or the end of an element written "<name/>". Both numbers are 0.
    TV_METHOD(OnEndElement)(const char* name, uint32_t, uint32_t) = 0;  // 4
    // A run of text exactly as written (no reference is replaced), or the content of a CDATA
    // section; the buffer holds the bytes followed by a NUL that its size counts.
    TV_METHOD(OnCharacterData)(IKMABuffer* text, uint32_t, uint32_t) = 0;  // 5
    // "<?target name='value' ...?>"; items without a name are not passed on.
    TV_METHOD(OnProcessingInstruction)(const char* target, IKMAValues* attributes, uint32_t, uint32_t) = 0;  // 6
    // Around the character data of a "<![CDATA[...]]>" section, at the position of its "<".
    TV_METHOD(OnBeginCDataSection)(uint32_t line, uint32_t column) = 0;  // 7
    TV_METHOD(OnEndCDataSection)(uint32_t, uint32_t) = 0;                // 8
    // The text between "<!--" and "-->".
    TV_METHOD(OnComment)(const char* text, uint32_t, uint32_t) = 0;  // 9
    // "<!DOCTYPE root SYSTEM 'sys'>" or "<!DOCTYPE root PUBLIC 'pub' 'sys'>", strict mode only;
    // an id that is not given arrives as "".
    TV_METHOD(OnDocumentType)(const char* rootName, const char* systemId, const char* publicId, uint32_t line,
                              uint32_t column) = 0;  // 10
    // The last piece has been read without a failure, at the position where the document ends.
    TV_METHOD(OnEndDocument)(uint32_t line, uint32_t column) = 0;  // 11
};

struct IKMAXMLParser : IUnknown {
    // Keeps the response (with a reference) and starts a document in strict or loose mode. A null
    // or empty encoding means "US-ASCII"; the document's own declaration may switch it.
    TV_METHOD(Init)(IKMAXMLParserResponse* response, const char* encoding, bool strict) = 0;  // 3
    // Releases the response and the document state; Init may follow.
    TV_METHOD(Close)() = 0;  // 4
    // Reads the next piece; last marks the final one. A tag cut by the end of a piece waits for the
    // next piece; after a failure every later call gives the same failure.
    TV_METHOD(Parse)(IKMABuffer* data, bool last) = 0;  // 5
    // Position of the next byte to read (1-based); after a failure, the position of the fault.
    TV_METHOD(GetCurrentLineNumber)(uint32_t* line) = 0;      // 6
    TV_METHOD(GetCurrentColumnNumber)(uint32_t* column) = 0;  // 7
    // Not kept: E_NOTIMPL in strict mode, S_OK leaving *index alone in loose mode.
    TV_METHOD(GetCurrentByteIndex)(uint32_t* index) = 0;  // 8
    // The last failure as text in a new buffer (with its NUL); E_FAIL when nothing failed.
    TV_METHOD(GetCurrentErrorText)(IKMABuffer** text) = 0;  // 9
};

namespace tagvera {

inline constexpr GUID IID_IKMAXMLParser = TV_GUID(1A39E773, FE28, 4CA9, 93, 18, 9D, 21, EE, 85, E4, 7A);
inline constexpr GUID IID_IKMAXMLParserResponse = TV_GUID(00002D01, 0901, 11D1, 8B, 06, 00, A0, 24, 40, 6D, 59);

// Results of Parse.
enum : HRESULT {
    // A declaration ("<!...") that cannot be read.
    TV_E_XML_BADDECLARATION = static_cast<HRESULT>(0x80040480u),
    // An end tag that does not match the open element, or with none open; in strict mode also an
    // element still open when the last piece ends.
    TV_E_XML_TAGMISMATCH = static_cast<HRESULT>(0x80040481u),
    // The last piece ends inside a tag.
    TV_E_XML_UNTERMINATEDTAG = static_cast<HRESULT>(0x80040482u),
    // A tag without a name ("<>", "</>", "</ a>").
    TV_E_XML_EMPTYNAME = static_cast<HRESULT>(0x80040483u),
    // A processing instruction that cannot be read (no target, or a quote that is not closed).
    TV_E_XML_BADPROCESSINGINSTRUCTION = static_cast<HRESULT>(0x80040484u),
    // An attribute value that cannot be read: unquoted in strict mode, or a quote not closed.
    TV_E_XML_BADATTRIBUTEVALUE = static_cast<HRESULT>(0x80040485u),
    // An "=" with no value before the tag ends.
    TV_E_XML_MISSINGVALUE = static_cast<HRESULT>(0x80040486u),
    // The same attribute twice in one start tag (strict mode).
    TV_E_XML_DUPLICATEATTRIBUTE = static_cast<HRESULT>(0x80040487u),
    // A limit that protects the reader: elements nested too deep, or one tag or text run too long.
    TV_E_XML_LIMIT = static_cast<HRESULT>(0x80040488u),
};

}  // namespace tagvera

#endif
