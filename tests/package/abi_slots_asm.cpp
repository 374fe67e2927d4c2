// Compiled to assembly for a 32-bit target by abi_32bit.sh, which cannot run 32-bit programs here:
// each pointer-to-operation constant below is emitted as data holding 1 + the slot's byte offset,
// and the script reads it back from the symbol, whose name carries the expected slot.
#include "abi_slot_list.h"
#include "tagvera/layout_checks.h"

#define TV_EMIT_SLOT(Interface, Operation, Slot)                                        \
    static_assert(tagvera::layout::kIsInterface<Interface>);                               \
    extern const decltype(&Interface::Operation) tv_slot_##Interface##_##Operation##_##Slot; \
    const decltype(&Interface::Operation) tv_slot_##Interface##_##Operation##_##Slot = &Interface::Operation;
TV_ABI_SLOTS(TV_EMIT_SLOT)
