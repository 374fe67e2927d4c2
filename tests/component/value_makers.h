// The implementations of IKMABuffer and IKMAValues that must behave alike: the library's own and
// the reusable host's. Contract tests run once per maker.
#ifndef TAGVERA_TESTS_COMPONENT_VALUE_MAKERS_H
#define TAGVERA_TESTS_COMPONENT_VALUE_MAKERS_H

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "tagvera/com_ptr.h"
#include "tagvera/values.h"

struct ValueMaker {
    std::string name;
    HRESULT (*buffer)(IKMABuffer** out);
    HRESULT (*values)(IKMAValues** out);      // sorted, names without regard to case
    HRESULT (*keyedList)(IKMAValues** out);   // insertion order, case-sensitive
};
inline std::ostream& operator<<(std::ostream& os, const ValueMaker& m) { return os << m.name; }

std::vector<ValueMaker> AllValueMakers();

// Every number as "name=value", in enumeration order.
inline std::vector<std::string> NumberValues(IKMAValues* v) {
    std::vector<std::string> out;
    const char* name = nullptr;
    uint32_t value = 0;
    for (HRESULT hr = v->GetFirstNumberValue(&name, &value); tagvera::Succeeded(hr);
         hr = v->GetNextNumberValue(&name, &value))
        out.push_back(std::string(name) + "=" + std::to_string(value));
    return out;
}
inline std::string MakerName(const ::testing::TestParamInfo<ValueMaker>& param) { return param.param.name; }

// A contract test, run once per maker, with the maker's objects at hand.
class MakerTest : public ::testing::TestWithParam<ValueMaker> {
protected:
    // Empty, or holding text and its NUL.
    tagvera::ComPtr<IKMABuffer> MakeBuffer(const char* text = nullptr) {
        tagvera::ComPtr<IKMABuffer> b;
        EXPECT_EQ(GetParam().buffer(b.put()), tagvera::TV_S_OK);
        if (text) {
            EXPECT_EQ(b->Set(reinterpret_cast<const uint8_t*>(text), uint32_t(std::strlen(text) + 1)), tagvera::TV_S_OK);
        }
        return b;
    }
    tagvera::ComPtr<IKMAValues> MakeValues() { return Make(GetParam().values); }
    tagvera::ComPtr<IKMAValues> MakeKeyedList() { return Make(GetParam().keyedList); }

private:
    tagvera::ComPtr<IKMAValues> Make(HRESULT (*maker)(IKMAValues**)) {
        tagvera::ComPtr<IKMAValues> v;
        EXPECT_EQ(maker(v.put()), tagvera::TV_S_OK);
        return v;
    }
};

#endif
