// Every operation of the public headers sits in the slot its comment promises hosts, and every
// interface is a bare table pointer. A pointer to a virtual member function holds 1 + the
// operation's byte offset in the table on the Itanium C++ ABI (GCC and Clang on x86), so the slot
// can be read back from it.
#include <gtest/gtest.h>

#include <cstring>

#include "abi_slot_list.h"
#include "tagvera/layout_checks.h"

#define TV_CHECK_INTERFACE(Interface, Operation, Slot) static_assert(tagvera::layout::kIsInterface<Interface>);
TV_ABI_SLOTS(TV_CHECK_INTERFACE)
#undef TV_CHECK_INTERFACE

namespace {

template <class Pmf>
long SlotOf(Pmf pmf) {
    struct Representation {
        uintptr_t ptr;
        ptrdiff_t adjust;
    } rep;
    static_assert(sizeof(Pmf) == sizeof(Representation));
    std::memcpy(&rep, &pmf, sizeof rep);
    if ((rep.ptr & 1) == 0 || rep.adjust != 0) return -1;  // not a virtual of this table
    return static_cast<long>((rep.ptr - 1) / sizeof(void*));
}

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
TEST(AbiLayout, EveryOperationInItsSlot) {
#define TV_CHECK_SLOT(Interface, Operation, Slot) \
    EXPECT_EQ(SlotOf(&Interface::Operation), Slot) << #Interface "::" #Operation;
    TV_ABI_SLOTS(TV_CHECK_SLOT)
#undef TV_CHECK_SLOT
}
#endif

}  // namespace
