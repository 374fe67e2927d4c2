// The implementations of IKMABuffer and IKMAValues that must behave alike: the library's own and
// the reusable host's. Contract tests run once per maker.
#ifndef TAGVERA_TESTS_COMPONENT_VALUE_MAKERS_H
#define TAGVERA_TESTS_COMPONENT_VALUE_MAKERS_H

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tagvera/values.h"

struct ValueMaker {
    std::string name;
    HRESULT (*buffer)(IKMABuffer** out);
    HRESULT (*values)(IKMAValues** out);      // sorted, names without regard to case
    HRESULT (*keyedList)(IKMAValues** out);   // insertion order, case-sensitive
};
inline std::ostream& operator<<(std::ostream& os, const ValueMaker& m) { return os << m.name; }

std::vector<ValueMaker> AllValueMakers();
inline std::string MakerName(const ::testing::TestParamInfo<ValueMaker>& param) { return param.param.name; }

#endif
