// The static table the package describes itself from: component rows (class id and creator),
// each followed by its attribute rows, ended by an end row.
#ifndef TAGVERA_PACKAGE_COMPONENT_TABLE_H
#define TAGVERA_PACKAGE_COMPONENT_TABLE_H

#include <cstdint>

#include "component/managed_component.h"
#include "tagvera/abi.h"

namespace tagvera {

enum ComponentRowKind : uint32_t {
    kRowComponent = 0,  // value: the class id; creator: its creator
    kRowEnd = 1,
    kRowNumber = 2,     // name, value: the number
    kRowString = 3,     // name, value: NUL-terminated text
    kRowBytes = 4,      // name, value: the bytes, size: their length
};

struct ComponentTableRow {
    uint32_t kind;
    const char* name;
    union {
        const void* pointer;
        uintptr_t number;
    } value;
    uint32_t size;
    ComponentCreator creator;

    const GUID& classId() const { return *static_cast<const GUID*>(value.pointer); }
    const char* text() const { return static_cast<const char*>(value.pointer); }
};

constexpr ComponentTableRow ComponentRow(const GUID& classId, ComponentCreator creator) {
    return {kRowComponent, nullptr, {.pointer = &classId}, 0, creator};
}
constexpr ComponentTableRow NumberRow(const char* name, uintptr_t number) {
    return {kRowNumber, name, {.number = number}, 0, nullptr};
}
constexpr ComponentTableRow StringRow(const char* name, const char* text) {
    return {kRowString, name, {.pointer = text}, 0, nullptr};
}
constexpr ComponentTableRow BytesRow(const char* name, const void* bytes, uint32_t size) {
    return {kRowBytes, name, {.pointer = bytes}, size, nullptr};
}
constexpr ComponentTableRow EndRow() { return {kRowEnd, nullptr, {.pointer = nullptr}, 0, nullptr}; }

// tagvera's eight components, ended by an end row.
extern const ComponentTableRow kTagveraComponentTable[];

// The creator of a component whose folder has not landed yet.
HRESULT CreateNotBuiltComponent(IKCAPackage_* package, IUnknown* outer, IUnknown** out);

}  // namespace tagvera

#endif
