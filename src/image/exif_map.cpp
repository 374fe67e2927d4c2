#include "image/exif_map.h"

#include <strings.h>

#include <optional>
#include <string>

#include "image/exif_table.h"
#include "metaprop/node_access.h"
#include "metaprop/vocabulary.h"
#include "package/importer_kit/statistics.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::image {
namespace {

// Host trees are shallow; a deeper one is not walked further.
constexpr int kDeepestWalk = 32;

bool SameText(const char* a, const char* b) { return a && b && ::strcasecmp(a, b) == 0; }

const char* PathOf(IMPAMetaProperty* node) {
    const char* path = nullptr;
    return Succeeded(node->GetPath(&path)) && path ? path : "";
}

// A row's property stands under its group: its parent's path is the group. (The node's own path
// is "Statistics:Name" and never equals the group, so matching it would write nothing.)
const ExifRow* RowOf(IMPAMetaProperty* node, const char* parentPath) {
    for (const auto& row : kExifRows)
        if (SameText(NameOf(node), row.property) && SameText(parentPath, row.group)) return &row;
    return nullptr;
}

std::optional<ExifEdit> EditOf(IMPAMetaProperty* node, const ExifRow& row) {
    const uint32_t changed = ChangedOf(node);
    ExifEdit edit;
    edit.tag = static_cast<uint16_t>(row.tag);
    edit.type = static_cast<uint16_t>(row.type);
    if (changed == kDeleted) {
        edit.remove = true;
        return edit;
    }
    const auto value = ValueOf(node);
    if (value.empty()) return std::nullopt;
    const uint32_t type = TypeOf(node);
    if (type == kTypeBinary) {
        edit.bytes.assign(value.begin(), value.end());
    } else if (type == kTypeNumber && value.size() == 4) {
        edit.fromText = true;
        edit.text = std::to_string(LoadNumber(value.data()));
    } else if (IsTextType(type)) {
        edit.fromText = true;
        edit.text = std::string(ValueText(value));
    } else {
        return std::nullopt;
    }
    return edit;
}

void Walk(IMPAMetaProperty* parent, int depth, std::vector<ExifEdit>& edits) {
    if (depth > kDeepestWalk) return;
    const std::string parentPath = PathOf(parent);
    ComPtr<IMPAMetaProperty> child;
    for (HRESULT hr = parent->GetFirstChild(child.put()); Succeeded(hr) && child; hr = parent->GetNextChild(child.put())) {
        // Only what the host changed: writing back every value read would retype untouched items
        // (a PixelXDimension stored as SHORT would become a LONG).
        const uint32_t changed = ChangedOf(child.get());
        if (const ExifRow* row = RowOf(child.get(), parentPath.c_str()); row && changed != kUnchanged) {
            if (auto edit = EditOf(child.get(), *row)) edits.push_back(std::move(*edit));
        }
        Walk(child.get(), depth + 1, edits);
    }
}

}  // namespace

HRESULT AddExifProperties(IMPAMetaProperty* tree, std::span<const ExifItem> items) {
    FirstFailure step;
    for (const ExifItem& item : items) {
        const ExifRow* row = FindExifRow(item.tag);
        if (!row || item.value.empty()) continue;
        const std::string path = std::string(row->group) + ":" + row->property;
        const auto& v = item.value;
        switch (item.type) {
        case kExifByte:
        case kExifRational:
        case kExifUndefined:
        case kExifSLong:
        case kExifSRational:
            step(tree->AddProperty(path.c_str(), kTypeBinary, 0, v.data(), uint32_t(v.size()), true, nullptr));
            break;
        case kExifAscii:
            step(tree->AddText(path.c_str(), std::string(ValueText(v)).c_str(), 0, true, nullptr));
            break;
        case kExifShort:
            if (v.size() == 2) step(tree->AddNumber(path.c_str(), uint32_t(v[0] | v[1] << 8), 0, true, nullptr));
            break;
        case kExifLong:
            if (v.size() == 4) step(tree->AddNumber(path.c_str(), LoadNumber(v.data()), 0, true, nullptr));
            break;
        default:
            break;
        }
    }
    return step.result();
}

std::vector<ExifEdit> CollectExifEdits(IMPAMetaProperty* tree) {
    std::vector<ExifEdit> edits;
    if (tree) Walk(tree, 0, edits);
    return edits;
}

}  // namespace tagvera::image
