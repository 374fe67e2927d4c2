#include <cstdio>
#include <string>
#include <string_view>

#include "metaprop/block_format.h"
#include "metaprop/node_access.h"
#include "metaprop/output_buffer.h"
#include "metaprop/reference_stand_in.h"
#include "metaprop/vocabulary.h"
#include "metaprop/xml_io.h"
#include "metaprop/xml_text.h"

namespace tagvera {
namespace {

// A number from the first four bytes of a value, little-endian, missing bytes counting as 0.
uint32_t LeadingNumber(std::span<const uint8_t> value) {
    uint8_t four[4] = {0, 0, 0, 0};
    for (size_t i = 0; i < 4 && i < value.size(); ++i) four[i] = value[i];
    return LoadNumber(four);
}

class XmlWriter {
public:
    explicit XmlWriter(bool pretty) : pretty_(pretty) {}

    void writeDocument(IMPAMetaProperty* root) {
        lineBreak(0);
        out_.append('<');
        out_.append(std::string_view(kXmlDocumentElement));
        out_.append('>');
        if (writeChildren(root, 1)) lineBreak(0);
        out_.append("</");
        out_.append(std::string_view(kXmlDocumentElement));
        out_.append('>');
        out_.append('\0');
    }

    uint32_t size() const { return static_cast<uint32_t>(out_.size()); }
    char* release() { return out_.release(); }

private:
    // True when at least one child element was written.
    bool writeChildren(IMPAMetaProperty* node, unsigned depth) {
        bool wroteAny = false;
        bool haveFailedName = false;
        std::string failedName;
        ComPtr<IMPAMetaProperty> child;
        for (HRESULT hr = node->GetFirstChild(child.put()); Succeeded(hr) && child;
             hr = node->GetNextChild(child.put())) {
            const std::string_view name = NameOf(child.get());
            if (haveFailedName && name == failedName) continue;
            const size_t mark = out_.size();
            try {
                if (writeElement(child.get(), depth)) wroteAny = true;
            } catch (const Error& e) {
                if (e.code() == TV_E_OUTOFMEMORY) throw;
                // Leave this child out, and its name's other nodes with it.
                out_.truncate(mark);
                failedName = name;
                haveFailedName = true;
            }
        }
        return wroteAny;
    }

    // False when the node is marked deleted and nothing was written.
    bool writeElement(IMPAMetaProperty* node, unsigned depth) {
        if (ChangedOf(node) == kDeleted) return false;
        if (depth > block::kMaxDepth) throw Error(TV_E_FAIL, "tree nested too deep");
        const uint32_t type = TypeOf(node);
        const uint32_t flags = FlagsOf(node);

        lineBreak(depth);
        out_.append('<');
        out_.append(std::string_view(kXmlPropertyElement));
        attribute("name", NameOf(node));
        attribute("type", TypeName(type));
        if (flags != 0) attribute("flags", FlagNames(flags));
        if (!IsReferenceType(type)) {
            const std::span<const uint8_t> value = ValueOf(node);
            if (!value.empty()) valueAttribute(type, value);
        }

        // References show what they refer to through the children of a stand-in.
        ComPtr<IMPAMetaProperty> standIn;
        IMPAMetaProperty* childrenOf = node;
        if (type == kTypeFileReference || type == kTypeDataReference) {
            standIn = MakeReferenceStandIn(node, type, false);
            childrenOf = standIn.get();
        }

        out_.append('>');
        const size_t afterOpenTag = out_.size();
        if (writeChildren(childrenOf, depth + 1)) {
            lineBreak(depth);
            out_.append("</");
            out_.append(std::string_view(kXmlPropertyElement));
            out_.append('>');
        } else {
            out_.truncate(afterOpenTag - 1);
            out_.append(" />");
        }
        return true;
    }

    void valueAttribute(uint32_t type, std::span<const uint8_t> value) {
        if (IsTextType(type)) return attribute("value", ValueText(value));
        beginAttribute("value");
        if (type == kTypeFlag || type == kTypeNumber) {
            const uint32_t number = type == kTypeFlag && value.size() == 1 ? value[0] : LeadingNumber(value);
            char digits[16];
            const int n = std::snprintf(digits, sizeof digits, "%lu", static_cast<unsigned long>(number));
            out_.append(digits, static_cast<size_t>(n));
        } else if (type == kTypeBinary) {
            xmltext::AppendRadix41(out_, value);
        }
        // Any other type with a value gets an empty attribute.
        out_.append('"');
    }

    void attribute(std::string_view name, std::string_view text) {
        beginAttribute(name);
        xmltext::AppendEscaped(out_, text);
        out_.append('"');
    }

    void beginAttribute(std::string_view name) {
        out_.append(' ');
        out_.append(name);
        out_.append("=\"");
    }

    void lineBreak(unsigned depth) {
        if (!pretty_) return;
        out_.append("\r\n");
        for (unsigned i = 0; i < depth; ++i) out_.append('\t');
    }

    bool pretty_;
    TextOutputBuffer out_;
};

}  // namespace

HRESULT WriteXmlDocument(IMPAMetaProperty* root, bool pretty, char** text, uint32_t* length) noexcept {
    if (!text || !length) return TV_E_POINTER;
    *text = nullptr;
    *length = 0;
    if (!root) return TV_E_POINTER;
    return Guard([&] {
        XmlWriter writer(pretty);
        writer.writeDocument(root);
        *length = writer.size();
        *text = writer.release();
        return TV_S_OK;
    });
}

}  // namespace tagvera
