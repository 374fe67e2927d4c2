// Reading the platform's headers: a number, or a text given as a string or else as a buffer.
#ifndef TAGVERA_INTERROGATE_HEADER_VALUES_H
#define TAGVERA_INTERROGATE_HEADER_VALUES_H

#include <cstdint>
#include <optional>
#include <string>

#include "tagvera/values.h"

namespace tagvera::interrogate {

std::optional<uint32_t> HeaderNumber(IKMAValues* header, const char* name);
std::optional<std::string> HeaderText(IKMAValues* header, const char* name);
// StartTime + Duration, absent ones counted as 0.
uint64_t HeaderEndTime(IKMAValues* header);

}  // namespace tagvera::interrogate

#endif
