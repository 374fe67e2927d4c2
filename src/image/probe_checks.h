// Checks every probe shares: a dimension a host can show, and a resolution from stored units.
#ifndef TAGVERA_IMAGE_PROBE_CHECKS_H
#define TAGVERA_IMAGE_PROBE_CHECKS_H

#include <cstdint>
#include <limits>

#include "base/error.h"

namespace tagvera::image {

inline uint32_t CheckedDimension(uint64_t value, const char* what) {
    if (value == 0) throw Error(TV_E_FAIL, std::string(what) + " is zero");
    if (value > uint64_t(std::numeric_limits<int32_t>::max())) throw Error(TV_E_FAIL, std::string(what) + " is too large");
    return static_cast<uint32_t>(value);
}

inline constexpr double kMetresPerInch = 0.0254;
inline constexpr double kCentimetresPerInch = 2.54;

}  // namespace tagvera::image

#endif
