#include <cstring>
#include <string>
#include <string_view>

#include "base/error.h"
#include "component/value_objects.h"
#include "metaprop/block_format.h"
#include "metaprop/node_access.h"
#include "metaprop/vocabulary.h"
#include "metaprop/xml_io.h"
#include "metaprop/xml_text.h"
#include "platform/preferences.h"
#include "platform/text.h"
#include "xml/kma_xml_parser.h"

namespace tagvera {
namespace {

// The attributes of one "PROP", names matched without regard to case.
struct PropAttributes {
    bool hasName = false, hasType = false, hasFlags = false, hasValue = false;
    std::string name, type, flags, value;

    explicit PropAttributes(IKMAValues* attributes) {
        if (!attributes) return;
        const char* key = nullptr;
        ComPtr<IKMABuffer> text;
        for (HRESULT hr = attributes->GetFirstStringValue(&key, text.put()); Succeeded(hr) && key;
             hr = attributes->GetNextStringValue(&key, text.put())) {
            if (take(key, "name", &hasName, &name, text.get())) continue;
            if (take(key, "type", &hasType, &type, text.get())) continue;
            if (take(key, "flags", &hasFlags, &flags, text.get())) continue;
            take(key, "value", &hasValue, &value, text.get());
        }
    }

private:
    static bool take(const char* key, std::string_view wanted, bool* has, std::string* into, IKMABuffer* text) {
        if (!text::EqualsNoCase(key, wanted)) return false;
        if (!*has) {
            *has = true;
            *into = BufferText(text);
        }
        return true;
    }
};

// The value a "value" attribute gives a node of type, or nothing for types that take none.
void SetValueFromText(IMPAMetaProperty* node, uint32_t type, const std::string& text) {
    if (IsTextType(type)) {
        ThrowIfFailed(node->SetValue(reinterpret_cast<const uint8_t*>(text.c_str()),
                                     static_cast<uint32_t>(text.size() + 1)),
                      "cannot set a text value");
    } else if (type == kTypeFlag) {
        const uint8_t flag = DecimalToNumber(text) != 0 ? 1 : 0;
        ThrowIfFailed(node->SetValue(&flag, 1), "cannot set a flag value");
    } else if (type == kTypeNumber) {
        uint8_t number[4];
        StoreNumber(DecimalToNumber(text), number);
        ThrowIfFailed(node->SetValue(number, 4), "cannot set a number value");
    } else if (type == kTypeBinary) {
        const std::vector<uint8_t> bytes = xmltext::DecodeRadix41(text);
        ThrowIfFailed(node->SetValue(bytes.empty() ? nullptr : bytes.data(), static_cast<uint32_t>(bytes.size())),
                      "cannot set a binary value");
    }
}

}  // namespace

HRESULT XmlTreeBuilder::BeginElement(IMPAMetaProperty* root, const NodeFactory& factory, const char* element,
                                     IKMAValues* attributes) noexcept {
    if (!element) return TV_S_OK;
    return Guard([&]() -> HRESULT {
        if (text::EqualsNoCase(element, kXmlDocumentElement)) {
            if (open_.size() > block::kMaxDepth) return TV_E_XML_LIMIT;
            inside_ = true;
            open_.push_back(ComPtr<IMPAMetaProperty>::Share(root));
            return TV_S_OK;
        }
        if (!text::EqualsNoCase(element, kXmlPropertyElement)) return TV_S_OK;

        IMPAMetaProperty* parent = nullptr;
        if (inside_)
            for (auto it = open_.rbegin(); it != open_.rend() && !parent; ++it) parent = it->get();
        if (!parent) {
            open_.push_back(nullptr);
            return TV_S_OK;
        }
        // The block form has the same bound; a tree read here can always be stored as a block.
        if (open_.size() > block::kMaxDepth) return TV_E_XML_LIMIT;

        const PropAttributes a(attributes);
        ComPtr<IMPAMetaProperty> node;
        bool reused = false;
        // A name with ":" would be looked up as a path, not as a child.
        if (a.hasName && a.name.find(kPathSeparator) == std::string::npos &&
            Succeeded(parent->FindFirstChild(a.name.c_str(), node.put())) && node) {
            reused = true;
        } else {
            ThrowIfFailed(factory(node.put()), "cannot create a node");
            if (!node) return TV_E_OUTOFMEMORY;
        }
        if (a.hasName) ThrowIfFailed(node->SetName(a.name.c_str()), "cannot name a node");
        uint32_t type = kTypeText;
        if (a.hasType && !TypeFromName(a.type, &type)) type = kTypeText;
        RetypeNode(node.get(), type);
        ThrowIfFailed(node->SetFlags(a.hasFlags ? FlagsFromNames(a.flags) : 0), "cannot set flags");
        if (a.hasValue) SetValueFromText(node.get(), type, a.value);
        // A reused node is already in place: adding it to its own chain again would change nothing.
        if (!reused) ThrowIfFailed(parent->AddChild(node.get(), true, nullptr, 0), "cannot add a child");
        open_.push_back(std::move(node));
        return TV_S_OK;
    });
}

HRESULT XmlTreeBuilder::EndElement(const char* element) noexcept {
    if (!element) return TV_S_OK;
    const bool document = text::EqualsNoCase(element, kXmlDocumentElement);
    if (!document && !text::EqualsNoCase(element, kXmlPropertyElement)) return TV_S_OK;
    if (document) inside_ = false;
    if (!open_.empty()) open_.pop_back();
    return TV_S_OK;
}

void XmlTreeBuilder::Clear() noexcept {
    open_.clear();
    inside_ = false;
}

HRESULT ReadXmlDocument(IKMAXMLParserResponse* response, const char* text, uint32_t length,
                        const char* encoding) noexcept {
    if (!response || (!text && length)) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        ComPtr<IKMAXMLParser> parser;
        HRESULT hr = CreateXMLParser(parser.put());
        if (Failed(hr)) return hr;
        // The document goes in as one final piece, followed by a NUL as it always has been.
        if (length == UINT32_MAX) return TV_E_OUTOFMEMORY;
        ComPtr<IKMABuffer> piece;
        hr = NewBuffer(piece.put());
        if (Succeeded(hr)) hr = piece->SetSize(length + 1);
        if (Failed(hr)) return hr;
        uint8_t* bytes = piece->GetBuffer();
        if (length) std::memcpy(bytes, text, length);
        bytes[length] = 0;
        hr = parser->Init(response, encoding, true);
        if (Succeeded(hr)) hr = parser->Parse(piece.get(), true);
        parser->Close();
        return hr;
    });
}

std::string XmlEncodingPreference() {
    // The registry value was read into 260 bytes; anything longer was never an encoding name.
    constexpr size_t kMaxLength = 259;
    std::string encoding = platform::prefs::GetString(platform::prefs::kXMLEncoding);
    if (encoding.empty() || encoding.size() > kMaxLength) encoding = "US-ASCII";
    return encoding;
}

bool DatabaseFieldsPreference() { return platform::prefs::GetString(platform::prefs::kWriteDBFields) != "0"; }

}  // namespace tagvera
