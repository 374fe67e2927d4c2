// What importers share when they fill a tree's "Statistics": 32-bit figures from 64-bit files,
// and a run of setters that does not stop at the first one refused.
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_STATISTICS_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_STATISTICS_H

#include <cstdint>
#include <limits>

#include "tagvera/abi.h"

namespace tagvera {

// Statistics are 32-bit: a figure that does not fit is given as the largest value (and the
// interrogation is then incomplete, which FitsStatistic tells).
constexpr bool FitsStatistic(uint64_t value) { return value <= std::numeric_limits<uint32_t>::max(); }
constexpr uint32_t StatisticValue(uint64_t value) {
    return FitsStatistic(value) ? static_cast<uint32_t>(value) : std::numeric_limits<uint32_t>::max();
}

// Keeps the first failure of several steps that all run: one statistic refused still leaves the
// others in the tree.
class FirstFailure {
public:
    void operator()(HRESULT step) {
        if (Failed(step) && Succeeded(result_)) result_ = step;
    }
    HRESULT result() const { return result_; }

private:
    HRESULT result_ = TV_S_OK;
};

}  // namespace tagvera

#endif
