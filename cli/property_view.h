// Reading a property tree through IMPAMetaProperty, as a host does: names, types, values and
// children, and the value of a property as people read it.
#ifndef TAGVERA_CLI_PROPERTY_VIEW_H
#define TAGVERA_CLI_PROPERTY_VIEW_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tagvera/com_ptr.h"
#include "tagvera/metaprop.h"

namespace tagvera::cli {

std::string NameOf(IMPAMetaProperty* node);
uint32_t TypeOf(IMPAMetaProperty* node);
std::vector<uint8_t> ValueOf(IMPAMetaProperty* node);
// A string value up to its NUL.
std::string TextOf(IMPAMetaProperty* node);
// A 4-byte number, or decimal text; nothing for other values.
std::optional<uint32_t> NumberOf(IMPAMetaProperty* node);

// Every child in enumeration order (names in byte order, each name's nodes in order).
std::vector<ComPtr<IMPAMetaProperty>> ChildrenOf(IMPAMetaProperty* node);
// The node at a ":"-path below node, without the tree's search by plain name.
ComPtr<IMPAMetaProperty> ChildAt(IMPAMetaProperty* node, const std::string& path);

bool IsGroup(IMPAMetaProperty* node);
// Types 10 to 12: data that the importer hands out on demand (10) or that the node holds.
bool IsReference(IMPAMetaProperty* node);
// The entries of a people list (type 2): NUL-separated text.
std::vector<std::string> ListEntries(IMPAMetaProperty* node);

// A value for one line of text: control characters escaped (a newline as "\n").
std::string OneLine(const std::string& text);

}  // namespace tagvera::cli

#endif
