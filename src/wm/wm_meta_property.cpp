#include "wm/wm_meta_property.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"
#include "wm/wm_codes.h"

namespace tagvera::wm {
namespace {

uint64_t LittleEndian(const std::vector<uint8_t>& v, size_t n) {
    uint64_t out = 0;
    for (size_t i = 0; i < n && i < v.size(); ++i) out |= uint64_t(v[i]) << (8 * i);
    return out;
}

std::vector<uint8_t> LittleEndianBytes(uint64_t v, size_t n) {
    std::vector<uint8_t> out(n);
    for (size_t i = 0; i < n; ++i) out[i] = uint8_t(v >> (8 * i));
    return out;
}

uint32_t NodeTypeFor(AttrType t) {
    switch (t) {
        case AttrType::Dword:
        case AttrType::Word: return kTypeNumber;
        case AttrType::String: return kTypeText;
        case AttrType::Bool: return kTypeFlag;
        default: return kTypeBinary;
    }
}

AttrType AttrTypeFor(uint32_t nodeType) {
    switch (nodeType) {
        case kTypeText:
        case kTypeTextList: return AttrType::String;
        case kTypeFlag: return AttrType::Bool;
        case kTypeNumber: return AttrType::Dword;
        default: return AttrType::Binary;
    }
}

// A node's value in the form an attribute of type t holds.
std::vector<uint8_t> ValueFor(AttrType t, uint32_t nodeType, const uint8_t* data, uint32_t size) {
    std::string text;
    uint64_t number = 0;
    const bool textual = nodeType == kTypeText || nodeType == kTypeTextList || nodeType == kTypeUrl || nodeType == kTypeDate;
    if (textual) {
        text.assign(reinterpret_cast<const char*>(data), size);
        if (const size_t nul = text.find('\0'); nul != std::string::npos) text.resize(nul);
        number = std::strtoull(text.c_str(), nullptr, 10);
    } else if (nodeType == kTypeNumber || nodeType == kTypeFlag) {
        for (uint32_t i = 0; i < size && i < 4; ++i) number |= uint64_t(data[i]) << (8 * i);
        text = std::to_string(number);
    }
    switch (t) {
        case AttrType::String: return WString(text).utf16le();
        case AttrType::Dword: return LittleEndianBytes(number, 4);
        case AttrType::Qword: return LittleEndianBytes(number, 8);
        case AttrType::Word: return LittleEndianBytes(number, 2);
        case AttrType::Bool: return LittleEndianBytes(number != 0, 4);
        case AttrType::Binary:
        case AttrType::Guid:
            if (textual) return {text.begin(), text.end()};
            if (t == AttrType::Guid && size != 16) throw Error(TV_E_INVALIDARG, "a GUID value must be 16 bytes");
            return {data, data + size};
    }
    return {};
}

}  // namespace

std::optional<OwnName> ParseOwnName(const std::string& attribute) {
    const size_t at = attribute.find(kOwnPrefix);
    if (at == std::string::npos) return std::nullopt;
    const std::string rest = attribute.substr(at + kOwnPrefix.size());
    const size_t colon = rest.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == rest.size()) return std::nullopt;
    OwnName own{rest.substr(0, colon), rest.substr(colon + 1)};
    if (const size_t suffix = own.property.rfind(':'); suffix != std::string::npos) {
        unsigned item = 0, count = 0;
        char tail = 0;
        if (std::sscanf(own.property.c_str() + suffix + 1, "%uof%u%c", &item, &count, &tail) == 2 && item >= 1 &&
            item <= count) {
            own.item = item;
            own.count = count;
            own.property.resize(suffix);
        }
    }
    return own;
}

std::string MakeOwnName(const std::string& group, const std::string& property, uint32_t item, uint32_t count) {
    std::string name = std::string(kOwnPrefix) + group + ":" + property;
    if (count > 1) name += ":" + std::to_string(item) + "of" + std::to_string(count);
    return name;
}

CWMMetaProperty::CWMMetaProperty(const Attribute& a)
    : stream_(a.stream), name_(a.name), type_(a.type), value_(a.value), row_(RowForAttribute(a.name)),
      language_(a.language) {
    if (row_) return;
    nodeType_ = NodeTypeFor(a.type);
    if (auto own = ParseOwnName(a.name)) {
        group_ = own->group;
        property_ = own->property;
        item_ = own->item;
    }
}

HRESULT CWMMetaProperty::Number(uint32_t* out) const {
    if (!out) return TV_E_POINTER;
    *out = 0;
    if (value_.empty()) return kNoValue;
    switch (type_) {
        case AttrType::String: {
            const std::string text = WString::FromUtf16le(value_).narrow();
            *out = uint32_t(std::strtoul(text.c_str(), nullptr, 10));
            return TV_S_OK;
        }
        case AttrType::Qword: *out = uint32_t(LittleEndian(value_, 8) / 10000); return TV_S_OK;
        case AttrType::Bool: *out = LittleEndian(value_, 4) != 0; return TV_S_OK;
        case AttrType::Word: *out = uint32_t(LittleEndian(value_, 2)); return TV_S_OK;
        case AttrType::Guid: return kGuidNotNumber;
        case AttrType::Dword:
        case AttrType::Binary: *out = uint32_t(LittleEndian(value_, 4)); return TV_S_OK;
    }
    return kNoValue;
}

HRESULT CWMMetaProperty::Text(std::string* out) const {
    if (!out) return TV_E_POINTER;
    out->clear();
    if (value_.empty()) return kNoValue;
    if (type_ == AttrType::String) {
        *out = WString::FromUtf16le(value_).narrow();
        return TV_S_OK;
    }
    uint32_t n = 0;
    if (type_ == AttrType::Qword) {
        *out = std::to_string(LittleEndian(value_, 8));
        return TV_S_OK;
    }
    const HRESULT hr = Number(&n);
    if (Succeeded(hr)) *out = std::to_string(n);
    return hr;
}

HRESULT CWMMetaProperty::AddToTree(IMPAMetaProperty* root) const {
    if (!root) return TV_E_POINTER;
    const std::string attr = name_.narrow();
    const std::string group = row_ ? row_->group : group_ ? *group_ : "Track";
    const std::string property = row_ ? row_->property : property_ ? *property_ : attr;
    const uint32_t type = row_ ? row_->propertyType : nodeType_;
    const uint32_t flags = row_ ? row_->flags : nodeFlags_;
    ComPtr<IMPAMetaProperty> groupNode;
    if (Failed(root->FindFirstChild(group.c_str(), groupNode.put())) || !groupNode) {
        if (const HRESULT hr = root->AddGroup(group.c_str(), 0, true, groupNode.put()); Failed(hr) || !groupNode)
            return Failed(hr) ? hr : TV_E_FAIL;
    }
    std::vector<uint8_t> data;
    if (type == kTypeText || type == kTypeUrl) {
        std::string text;
        if (const HRESULT hr = Text(&text); Failed(hr)) return hr;
        data.assign(text.begin(), text.end());
        data.push_back(0);
    } else if (type == kTypeNumber || type == kTypeFlag) {
        uint32_t n = 0;
        if (const HRESULT hr = Number(&n); Failed(hr) || hr == kNoValue) return hr;
        if (attr == "Bitrate") {
            n = n / 1024 * 1024;
            if (n >= 64001 && n <= 64999) n = 64000;
        } else if (attr == "Duration") {
            n = n / 1000 * 1000;
        }
        data = type == kTypeFlag ? std::vector<uint8_t>{uint8_t(n != 0)} : LittleEndianBytes(n, 4);
    } else {
        data = value_;
    }
    if (data.size() > UINT32_MAX) return TV_E_OUTOFMEMORY;
    return groupNode->AddProperty(property.c_str(), type, flags, data.data(), uint32_t(data.size()), item_ <= 1, nullptr);
}

CWMMetaProperty CWMMetaProperty::FromNode(IMPAMetaProperty* node, const std::string& group, uint32_t item, uint32_t count,
                                          const std::function<std::optional<AttrType>(const std::string&)>& existing) {
    CWMMetaProperty p;
    p.stream_ = 0;
    const std::string property = NameOf(node);
    p.nodeType_ = TypeOf(node);
    p.group_ = group;
    p.property_ = property;
    p.item_ = item;
    p.row_ = RowForProperty(group, property);
    std::string attr;
    if (p.row_) {
        attr = p.row_->attribute;
        p.type_ = p.row_->type;
    } else if (auto type = group == "Track" ? existing(property) : std::nullopt) {
        attr = property;
        p.type_ = *type;
    } else {
        attr = MakeOwnName(group, property, item, count);
        p.type_ = AttrTypeFor(p.nodeType_);
    }
    p.name_ = WString(attr);
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Succeeded(node->GetValue(&data, &size)) && data) p.value_ = ValueFor(p.type_, p.nodeType_, data, size);
    return p;
}

Attribute CWMMetaProperty::ToAttribute() const {
    Attribute a;
    a.stream = stream_ == 0xFFFF ? 0 : stream_;
    a.language = language_;
    a.name = name_.narrow();
    a.type = type_;
    a.value = value_;
    return a;
}

}  // namespace tagvera::wm
