// Whole trees to and from jukebox metadata blocks, through IMPAMetaProperty alone.
#ifndef TAGVERA_METAPROP_BLOCK_IO_H
#define TAGVERA_METAPROP_BLOCK_IO_H

#include <cstdint>
#include <functional>

#include "metaprop/block_record.h"
#include "tagvera/metaprop.h"

namespace tagvera {

struct BlockWriteOptions {
    bool keepReferences = false;  // reference data travels in the block
    bool variant = false;         // with keepReferences: "KJAD", references stored as they are
    bool bigEndian = false;
    bool databaseFields = false;  // keep the database fields ("Statistics:FileSize", ...)
};

// Writes node and everything below it as a block; *block is new[]-allocated, *size counts the
// trailing zero byte when there was room for it. Fails only for lack of memory (E_OUTOFMEMORY),
// a tree nested deeper than the block allows (E_FAIL) or a tree that cannot answer (its code).
HRESULT WriteBlock(IMPAMetaProperty* node, const BlockWriteOptions& options, uint8_t** block, uint32_t* size) noexcept;

// Makes the empty nodes that reading adds as children.
using NodeFactory = std::function<HRESULT(IMPAMetaProperty** node)>;

struct BlockReadOptions {
    bool keepReferences = false;  // read the values of reference records (type 10)
    bool bigEndian = false;
};

// Checks the header (TV_E_BLOCK_BADHEADER), then reads the root record into node: its name, type,
// flags and value are replaced and its children added. A malformed record ends reading with
// E_FAIL; children read before it stay added.
HRESULT ReadBlock(IMPAMetaProperty* node, const NodeFactory& factory, const uint8_t* block, uint32_t size,
                  const BlockReadOptions& options) noexcept;

// Reads one parsed record into node, recursively; throws Error. For the in-place view, which
// builds its full node from its own record.
void ReadRecordInto(IMPAMetaProperty* node, const block::Record& record, const NodeFactory& factory,
                    bool keepReferences, unsigned depth = 0);

}  // namespace tagvera

#endif
