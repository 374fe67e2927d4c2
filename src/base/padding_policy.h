// How much room a tag keeps around it. Growing leaves slack so that the next edit fits in place;
// excessive slack is given back only when the file is being rewritten anyway, never by itself.
#ifndef TAGVERA_BASE_PADDING_POLICY_H
#define TAGVERA_BASE_PADDING_POLICY_H

#include <cstdint>

namespace tagvera::padding {

inline constexpr uint64_t kMinPadding = 1024;
// Slack above this (and above four times what growing would leave) is shrunk on a rewrite.
inline constexpr uint64_t kMaxKeptPadding = 64 * 1024;

// The slack to leave after newSize bytes of tag when the file is rewritten: one sixteenth of the
// tag, at least kMinPadding, rounded up to a whole kilobyte.
constexpr uint64_t GrowPadding(uint64_t newSize) {
    const uint64_t wanted = newSize / 16 > kMinPadding ? newSize / 16 : kMinPadding;
    const uint64_t rounded = wanted + (kMinPadding - 1);
    if (rounded < wanted) return wanted;  // beyond any real file; only avoids wrapping
    return rounded / kMinPadding * kMinPadding;
}

// Whether padding left after newSize bytes of tag is more than is worth keeping.
constexpr bool IsExcessivePadding(uint64_t padding, uint64_t newSize) {
    const uint64_t grow = GrowPadding(newSize);
    const uint64_t limit = grow > kMaxKeptPadding / 4 ? grow * 4 : kMaxKeptPadding;
    return padding > limit;
}

struct Plan {
    bool inPlace;      // write over the old space; the rest of the file does not move
    uint64_t padding;  // slack to leave after the new tag
};

// Where a tag of newSize bytes goes when the old tag with its padding took oldSpace bytes.
// minFiller is the smallest slack the format can express (8 for an MP4 `free` atom, 0 for ID3v2
// zero padding): a leftover between 1 and minFiller - 1 cannot be filled, so it does not fit.
// rewriting: the file is rewritten for another reason, so excessive slack may be shrunk.
constexpr Plan PlanPadding(uint64_t newSize, uint64_t oldSpace, uint64_t minFiller = 0,
                           bool rewriting = false) {
    if (newSize <= oldSpace) {
        const uint64_t left = oldSpace - newSize;
        const bool fillable = left == 0 || left >= minFiller;
        if (!rewriting && fillable) return {true, left};
        if (fillable && !IsExcessivePadding(left, newSize) && left >= kMinPadding) return {false, left};
    }
    return {false, GrowPadding(newSize)};
}

}  // namespace tagvera::padding

#endif
