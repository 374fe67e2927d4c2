#include "metaprop/block_io.h"
#include "metaprop/node_access.h"
#include "metaprop/vocabulary.h"
#include "tagvera/com_ptr.h"

namespace tagvera {

void ReadRecordInto(IMPAMetaProperty* node, const block::Record& record, const NodeFactory& factory,
                    bool keepReferences, unsigned depth) {
    if (depth > block::kMaxDepth) throw Error(TV_E_FAIL, "metadata block nested too deep");
    const uint32_t type = record.type();
    ThrowIfFailed(node->SetName(record.name()), "cannot name a node");
    // Bytes from a block are never taken for a live pointer: pointer types come without a value.
    RetypeNode(node, type);
    ThrowIfFailed(node->SetFlags(record.flags()), "cannot set a node's flags");
    if (!IsPointerType(type) && (type != kTypeReference || keepReferences)) {
        const std::span<const uint8_t> value = record.value();
        ThrowIfFailed(node->SetValue(value.data(), static_cast<uint32_t>(value.size())), "cannot set a value");
    }

    block::ChildWalker walker(record);
    block::Record childRecord;
    bool firstOfName = false;
    while (walker.next(&childRecord, &firstOfName)) {
        ComPtr<IMPAMetaProperty> child;
        ThrowIfFailed(factory(child.put()), "cannot create a node");
        if (!child) throw Error(TV_E_OUTOFMEMORY, "cannot create a node");
        ReadRecordInto(child.get(), childRecord, factory, keepReferences, depth + 1);
        // The first record of a name replaces; the others merge into groups or are dropped.
        ThrowIfFailed(node->AddChild(child.get(), firstOfName, nullptr, 0), "cannot add a child");
    }
}

HRESULT ReadBlock(IMPAMetaProperty* node, const NodeFactory& factory, const uint8_t* block, uint32_t size,
                  const BlockReadOptions& options) noexcept {
    if (!node || !block) return TV_E_POINTER;
    if (!block::HeaderMatches(block, size, options.bigEndian)) return TV_E_BLOCK_BADHEADER;
    return Guard([&] {
        const block::Record root =
            block::Record::Parse({block + block::kHeaderSize, size - block::kHeaderSize}, options.bigEndian);
        ReadRecordInto(node, root, factory, options.keepReferences);
        return TV_S_OK;
    });
}

}  // namespace tagvera
