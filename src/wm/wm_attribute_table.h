// The fixed table from Windows Media attribute names to properties of the tree, both ways.
#ifndef TAGVERA_WM_WM_ATTRIBUTE_TABLE_H
#define TAGVERA_WM_WM_ATTRIBUTE_TABLE_H

#include <cstdint>
#include <span>
#include <string_view>

#include "wm/asf_model.h"

namespace tagvera::wm {

struct AttributeRow {
    const char* attribute;
    AttrType type;
    const char* property;
    const char* group;
    uint32_t flags;
    uint32_t propertyType;
};

std::span<const AttributeRow> AttributeRows();
const AttributeRow* RowForAttribute(std::string_view attribute);
// The first row for a property ("Track" "Promotion" stands for two attributes: the first is written).
const AttributeRow* RowForProperty(std::string_view group, std::string_view property);

// This system's own attributes: "KORVA/" GROUP ":" PROPERTY, with ":<n>of<count>" for one of several.
inline constexpr std::string_view kOwnPrefix = "KORVA/";

}  // namespace tagvera::wm

#endif
