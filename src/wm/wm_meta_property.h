// CWMMetaProperty: one header attribute on its way into the property tree or out of it. Reading
// names the node from the attribute table, else from a "KORVA/" name, else after the attribute
// itself in "Track"; writing goes the other way.
#ifndef TAGVERA_WM_WM_META_PROPERTY_H
#define TAGVERA_WM_WM_META_PROPERTY_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tagvera/metaprop.h"
#include "wm/asf_model.h"
#include "wm/wm_attribute_table.h"
#include "wm/wstring.h"

namespace tagvera::wm {

class CWMMetaProperty {
public:
    CWMMetaProperty() = default;
    explicit CWMMetaProperty(const Attribute& attribute);
    virtual ~CWMMetaProperty() = default;

    uint16_t stream() const { return stream_; }
    const WString& name() const { return name_; }
    AttrType type() const { return type_; }
    const std::vector<uint8_t>& value() const { return value_; }

    // The value as a number: strings in decimal, QWORD from 100 ns to ms, BOOL 0 or 1, WORD, and
    // the first 4 bytes of DWORD and binary values. kGuidNotNumber for a GUID, kNoValue without a value.
    HRESULT Number(uint32_t* out) const;
    // The value as 8-bit text: strings as they are, numbers in decimal; kNoValue without a value.
    HRESULT Text(std::string* out) const;

    // Adds the attribute as a node under its group (made when missing). replace: an existing node
    // of the name goes; otherwise a second one is added (the later items of a "KORVA/" name).
    HRESULT AddToTree(IMPAMetaProperty* root) const;

    // The attribute a changed node stands for. group: the first part of the node's path; item and
    // count: the node's place among siblings of its name (count 1 for a lone one). existing: the
    // type of a stream-0 attribute of the node's own name, for a node in "Track" without a row.
    static CWMMetaProperty FromNode(IMPAMetaProperty* node, const std::string& group, uint32_t item, uint32_t count,
                                    const std::function<std::optional<AttrType>(const std::string&)>& existing);
    Attribute ToAttribute() const;
    const AttributeRow* row() const { return row_; }

private:
    uint16_t stream_ = 0xFFFF;
    WString name_;
    AttrType type_ = AttrType::String;
    std::vector<uint8_t> value_;
    const AttributeRow* row_ = nullptr;
    std::optional<std::string> group_, property_;
    uint32_t nodeType_ = 0, nodeFlags_ = 0;
    uint16_t language_ = 0;
    uint32_t item_ = 1;
};

// "KORVA/Track:Mood:2of3" -> group "Track", property "Mood", item 2; nullopt for other names.
struct OwnName {
    std::string group, property;
    uint32_t item = 1, count = 1;
};
std::optional<OwnName> ParseOwnName(const std::string& attribute);
std::string MakeOwnName(const std::string& group, const std::string& property, uint32_t item, uint32_t count);

}  // namespace tagvera::wm

#endif
