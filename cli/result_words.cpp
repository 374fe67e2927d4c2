#include "cli/result_words.h"

#include "host/result_text.h"
#include "tagvera/xml.h"

namespace tagvera::cli {
namespace {

bool g_showCodes = false;

const char* Words(HRESULT hr) {
    switch (hr) {
        case TV_E_OUTOFMEMORY: return "out of memory";
        case TV_E_NOTIMPL: return "not built yet";
        case TV_E_NOINTERFACE: return "its importer does not offer that";
        case TV_E_INVALIDARG:
        case TV_E_POINTER: return "the library refused an argument";
        case TV_E_NOTLOADED: return "the file is not open";
        case TV_E_BUFFERTOOSMALL: return "a value larger than the library hands out";
        case TV_E_XML_BADDECLARATION: return "a declaration (<!...) that cannot be read";
        case TV_E_XML_TAGMISMATCH: return "an end tag that does not match its element";
        case TV_E_XML_UNTERMINATEDTAG: return "the text ends inside a tag";
        case TV_E_XML_EMPTYNAME: return "a tag without a name";
        case TV_E_XML_BADPROCESSINGINSTRUCTION: return "a processing instruction (<?...) that cannot be read";
        case TV_E_XML_BADATTRIBUTEVALUE: return "an attribute value that cannot be read";
        case TV_E_XML_MISSINGVALUE: return "an attribute without a value";
        case TV_E_XML_DUPLICATEATTRIBUTE: return "an attribute given twice";
        case TV_E_XML_LIMIT: return "nested too deep, or a tag or text too long";
        default: return "failed";
    }
}

}  // namespace

std::string Why(HRESULT hr) {
    std::string words = Words(hr);
    if (g_showCodes) words += " (" + host::ResultText(hr) + ")";
    return words;
}

void ShowResultCodes(bool on) { g_showCodes = on; }

}  // namespace tagvera::cli
