#include <string>
#include <string_view>
#include <vector>

#include "metaprop/block_io.h"
#include "metaprop/node_access.h"
#include "metaprop/output_buffer.h"
#include "metaprop/reference_stand_in.h"
#include "metaprop/vocabulary.h"
#include "platform/text.h"

namespace tagvera {
namespace {

// Fields the jukebox's database keeps for itself; they stay out of blocks unless asked for.
struct DatabaseField {
    std::string_view parent;
    std::string_view child;
    bool variantOnly;
};
constexpr DatabaseField kDatabaseFields[] = {
    {kGroupStatistics, kPropFileSize, false},
    {kGroupStatistics, kPropFilename, false},
    {kGroupTrack, kPropCDTOC, true},
};

const uint8_t kEmptyValue[1] = {0};

class BlockWriter {
public:
    explicit BlockWriter(const BlockWriteOptions& options) : options_(options) {}

    void writeBlock(IMPAMetaProperty* root) {
        const bool variant = options_.keepReferences && options_.variant;
        out_.append(variant ? kBlockMagicVariant : kBlockMagic, 4);
        put32(out_.appendZeros(4), kBlockVersion);
        writeRecord(root, 0);
        // Readers ignore it; kept because blocks have always ended so when there was room.
        if (out_.hasRoom(1)) out_.append('\0');
    }

    uint32_t size() const { return static_cast<uint32_t>(out_.size()); }
    uint8_t* release() { return out_.release(); }

private:
    // The children of one node, grouped by name in enumeration order.
    struct Children {
        std::vector<ComPtr<IMPAMetaProperty>> nodes;
        std::vector<uint32_t> countPerName;
    };

    bool storesReferencesAsTheyAre() const { return options_.keepReferences && options_.variant; }

    bool isLeftOutDatabaseField(std::string_view parent, std::string_view child) const {
        if (options_.databaseFields) return false;
        for (const DatabaseField& f : kDatabaseFields)
            if ((!f.variantOnly || options_.variant) && text::EqualsNoCase(parent, f.parent) &&
                text::EqualsNoCase(child, f.child))
                return true;
        return false;
    }

    Children collectChildren(IMPAMetaProperty* node, std::string_view nodeName) const {
        Children kids;
        std::string currentName;
        bool haveName = false;
        bool skipping = false;
        ComPtr<IMPAMetaProperty> child;
        for (HRESULT hr = node->GetFirstChild(child.put()); Succeeded(hr) && child;
             hr = node->GetNextChild(child.put())) {
            const std::string_view name = NameOf(child.get());
            if (!haveName || name != currentName) {
                // A name is written or left out as a whole, by its first node.
                haveName = true;
                currentName = name;
                skipping = isLeftOutDatabaseField(nodeName, name) || ChangedOf(child.get()) == kDeleted;
                if (!skipping) kids.countPerName.push_back(0);
            }
            if (skipping) continue;
            kids.nodes.push_back(child);
            ++kids.countPerName.back();
        }
        return kids;
    }

    void writeRecord(IMPAMetaProperty* node, unsigned depth) {
        if (depth > block::kMaxDepth) throw Error(TV_E_FAIL, "tree nested too deep for a metadata block");
        const uint32_t type = TypeOf(node);
        if ((type == kTypeFileReference || type == kTypeDataReference) && !storesReferencesAsTheyAre()) {
            const ComPtr<IMPAMetaProperty> standIn = MakeReferenceStandIn(node, type, options_.keepReferences);
            writeRecord(standIn.get(), depth);
            return;
        }
        const std::string_view name = NameOf(node);
        const uint32_t flags = FlagsOf(node);

        const size_t start = out_.appendZeros(block::kNameAt);
        out_.append(name);
        out_.append('\0');
        const size_t nameLength = name.size() + 1;

        // Pointers mean nothing outside this process; a value-less node stores an empty string.
        std::span<const uint8_t> value;
        if (!IsPointerType(type) && (type != kTypeReference || options_.keepReferences)) value = ValueOf(node);
        if (value.empty()) value = kEmptyValue;
        put32(out_.appendZeros(4), static_cast<uint32_t>(value.size()));
        out_.append(value.data(), value.size());
        const size_t tableOffset = out_.size() - start;

        const Children kids = collectChildren(node, name);
        const size_t table = out_.appendZeros(block::kEntrySize * kids.countPerName.size());
        size_t next = 0;
        for (size_t entry = 0; entry < kids.countPerName.size(); ++entry) {
            const uint32_t count = kids.countPerName[entry];
            put32(table + entry * block::kEntrySize, static_cast<uint32_t>(out_.size() - start));
            put32(table + entry * block::kEntrySize + 4, count);
            for (uint32_t i = 0; i < count; ++i) writeRecord(kids.nodes[next++].get(), depth + 1);
        }

        put32(start + block::kLengthAt, static_cast<uint32_t>(out_.size() - start));
        put32(start + block::kTypeAt, type);
        put32(start + block::kFlagsAt, flags);
        put32(start + block::kValueOffsetAt, static_cast<uint32_t>(block::kNameAt + nameLength));
        put32(start + block::kTableOffsetAt, static_cast<uint32_t>(tableOffset));
        put32(start + block::kEntryCountAt, static_cast<uint32_t>(kids.countPerName.size()));
        put32(start + block::kNameLengthAt, static_cast<uint32_t>(nameLength));
    }

    void put32(size_t at, uint32_t v) { block::Store32(out_.data() + at, v, options_.bigEndian); }

    BlockWriteOptions options_;
    OutputBuffer out_;
};

}  // namespace

HRESULT WriteBlock(IMPAMetaProperty* node, const BlockWriteOptions& options, uint8_t** block,
                   uint32_t* size) noexcept {
    if (!block || !size) return TV_E_POINTER;
    *block = nullptr;
    *size = 0;
    if (!node) return TV_E_POINTER;
    return Guard([&] {
        BlockWriter writer(options);
        writer.writeBlock(node);
        *size = writer.size();
        *block = writer.release();
        return TV_S_OK;
    });
}

}  // namespace tagvera
