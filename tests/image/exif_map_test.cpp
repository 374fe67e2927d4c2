// EXIF items to properties by their own item type, and back: which nodes of an edited tree a
// write takes.
#include <gtest/gtest.h>

#include "image/exif_map.h"
#include "image/exif_table.h"
#include "image/image_bytes.h"
#include "image/image_support.h"
#include "metaprop/tree_test_support.h"

namespace tagvera::image::testing {
namespace {

using tagvera::testing::NewTree;

struct ItemCase {
    const char* name;
    ExifItem item;
    const char* path;
    uint32_t type;  // kTypeNone: no property
    Bytes value;
};

TEST(ExifMap, EachItemByItsOwnType) {
    const Bytes rational = Le32(1) + Le32(250);
    const ItemCase rows[] = {
        {"ASCII is text up to its NUL", {0x010F, kExifAscii, Text(std::string("ACME\0\0", 6))}, "Statistics:EquipmentMake", kTypeText, Text(std::string("ACME\0", 5))},
        {"SHORT of one value is a number", {0x0112, kExifShort, Le16(6)}, "Statistics:Orientation", kTypeNumber, Le32(6)},
        {"SHORT of two values is skipped", {0x0112, kExifShort, Le16(6) + Le16(1)}, "Statistics:Orientation", kTypeNone, {}},
        {"a SHORT where the table says LONG", {0xA002, kExifShort, Le16(640)}, "Statistics:PixelXDimension", kTypeNumber, Le32(640)},
        {"LONG of one value is a number", {0xA003, kExifLong, Le32(480)}, "Statistics:PixelYDimension", kTypeNumber, Le32(480)},
        {"LONG of two values is skipped", {0xA003, kExifLong, Le32(480) + Le32(1)}, "Statistics:PixelYDimension", kTypeNone, {}},
        {"RATIONAL is binary", {0x829A, kExifRational, rational}, "Statistics:ExposureTime", kTypeBinary, rational},
        {"UNDEFINED is binary", {0x9000, kExifUndefined, Text("0232")}, "Statistics:Version", kTypeBinary, Text("0232")},
        {"ASCII where the table says SHORT", {0x0128, kExifAscii, Text("2")}, "Statistics:ResolutionUnit", kTypeText, Text(std::string("2\0", 2))},
        {"FLOAT is skipped", {0x829D, 11, Le32(0)}, "Statistics:FNumber", kTypeNone, {}},
        {"an empty item is skipped", {0x010F, kExifAscii, {}}, "Statistics:EquipmentMake", kTypeNone, {}},
        {"a tag outside the table is skipped", {0x010E, kExifAscii, Text("description")}, "Statistics:ImageDescription", kTypeNone, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto tree = NewTree();
        ASSERT_EQ(AddExifProperties(tree.get(), std::span(&row.item, 1)), TV_S_OK);
        ImageSession s;
        s.tree = tree;
        EXPECT_EQ(s.type(row.path), row.type);
        if (row.type != kTypeNone) {
            EXPECT_EQ(s.value(row.path), row.value);
        }
    }
}

struct EditCase {
    const char* name;
    const char* path;
    uint32_t changed;
    size_t edits;
};

// Rows match under their group, in any case; only what the host changed or deleted is written.
TEST(ExifMap, EditsAreTheChangedRowsUnderTheirGroup) {
    const EditCase rows[] = {
        {"changed", "Statistics:EquipmentMake", kChanged, 1},
        {"deleted", "Statistics:EquipmentMake", kDeleted, 1},
        {"unchanged", "Statistics:EquipmentMake", kUnchanged, 0},
        {"another case", "statistics:equipmentmake", kChanged, 1},
        {"another group", "Track:EquipmentMake", kChanged, 0},
        {"deeper", "Statistics:Extra:EquipmentMake", kChanged, 0},
        {"not in the table", "Statistics:Title", kChanged, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto tree = NewTree();
        ComPtr<IMPAMetaProperty> node;
        ASSERT_EQ(tree->AddText(row.path, "ACME", 0, true, node.put()), TV_S_OK);
        node->SetChanged(row.changed);
        const auto edits = CollectExifEdits(tree.get());
        ASSERT_EQ(edits.size(), row.edits);
        if (!edits.empty()) {
            EXPECT_EQ(edits[0].tag, 0x010F);
            EXPECT_EQ(edits[0].type, kExifAscii);
            EXPECT_EQ(edits[0].remove, row.changed == kDeleted);
        }
    }
}

}  // namespace
}  // namespace tagvera::image::testing
