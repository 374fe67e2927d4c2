// What the package says about each component, read once through GetComponentInfo, and the choice
// of importer for a file by its extension or MIME type.
#ifndef TAGVERA_HOST_COMPONENT_INFO_H
#define TAGVERA_HOST_COMPONENT_INFO_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tagvera/components.h"
#include "tagvera/plugin.h"

namespace tagvera::host {

// Every value of a value list, in the list's enumeration order.
struct ValueSnapshot {
    std::vector<std::pair<std::string, uint32_t>> numbers;
    std::vector<std::pair<std::string, std::vector<uint8_t>>> buffers;
    std::vector<std::pair<std::string, std::string>> strings;  // without their NUL

    const uint32_t* number(std::string_view name) const;
    const std::vector<uint8_t>* buffer(std::string_view name) const;
    const std::string* string(std::string_view name) const;
};
ValueSnapshot SnapshotValues(IKMAValues* values);

struct ComponentInfo {
    uint32_t index = 0;
    GUID classId{};
    const KnownComponent* known = nullptr;  // null for a class this host has no name for
    bool loadMultiple = false;
    std::vector<std::string> mimeTypes;   // the '|'-separated lists, split
    std::vector<std::string> extensions;
    ValueSnapshot values;                 // everything the package answered

    std::string className() const { return known ? known->className : "(unknown)"; }
};

// Reads one component's description; throws HostError naming the index and the failure.
ComponentInfo ReadComponentInfo(IKMAComponentPlugin* package, uint32_t index);

std::vector<std::string> SplitList(std::string_view list, char separator);

// The extension of a path's last name, lower case, without its dot; "" when there is none.
std::string ExtensionOf(std::string_view path);

// The first component listing the extension or MIME type (case does not matter; MIME parameters
// after ';' are ignored), or null.
const ComponentInfo* FindByExtension(const std::vector<ComponentInfo>& components, std::string_view extension);
const ComponentInfo* FindByMimeType(const std::vector<ComponentInfo>& components, std::string_view mimeType);
const ComponentInfo* FindByClassId(const std::vector<ComponentInfo>& components, const GUID& classId);

}  // namespace tagvera::host

#endif
