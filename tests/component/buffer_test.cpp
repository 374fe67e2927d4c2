// IKMABuffer: the same contract for the library's CZNBuffer and the host's buffer, plus the
// library's text buffers.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include "component/value_objects.h"
#include "tagvera/com_ptr.h"
#include "value_makers.h"

using namespace tagvera;

namespace {

std::vector<uint8_t> Bytes(size_t n, uint8_t first = 1) {
    std::vector<uint8_t> v(n);
    std::iota(v.begin(), v.end(), first);
    return v;
}

std::vector<uint8_t> Content(IKMABuffer* b) {
    uint8_t* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(b->Get(&data, &size), TV_S_OK);
    EXPECT_EQ(data, b->GetBuffer());
    EXPECT_EQ(size, b->GetSize());
    return std::vector<uint8_t>(data, data + size);
}

class BufferContract : public MakerTest {};

TEST_P(BufferContract, StartsEmptyAndSetReplacesTheContentAtEverySize) {
    auto b = MakeBuffer();
    EXPECT_EQ(b->GetSize(), 0u);
    EXPECT_NE(b->GetBuffer(), nullptr);
    EXPECT_EQ(b->AddRef(), 2u);
    EXPECT_EQ(b->Release(), 1u);
    for (size_t n : {0u, 1u, 15u, 16u, 17u, 4096u, 3u, 15u, 100000u, 0u}) {
        const auto bytes = Bytes(n, static_cast<uint8_t>(n));
        ASSERT_EQ(b->Set(bytes.data(), static_cast<uint32_t>(n)), TV_S_OK) << n;
        EXPECT_EQ(Content(b.get()), bytes) << n;
    }
    // Its own interfaces only, with one identity.
    auto unknown = QueryAs<IUnknown>(b, IID_IUnknown);
    EXPECT_EQ(QueryAs<IUnknown>(unknown, IID_IUnknown).get(), unknown.get());
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(b->QueryInterface(IID_IKMAValues, &out), TV_E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_P(BufferContract, SetSizeKeepsTheContentAndZeroesWhatGrows) {
    // The sizes cross the library's 15 inline bytes both ways: inline to heap, heap back inline.
    auto b = MakeBuffer();
    const auto bytes = Bytes(10);
    ASSERT_EQ(b->Set(bytes.data(), 10), TV_S_OK);
    std::vector<uint8_t> want = bytes;
    for (uint32_t size : {4u, 40u, 12u, 3u, 10u, 64u}) {
        ASSERT_EQ(b->SetSize(size), TV_S_OK) << size;
        want.resize(size, 0);
        EXPECT_EQ(Content(b.get()), want) << size;
    }
}

TEST_P(BufferContract, SharedBufferCannotBeResized) {
    auto b = MakeBuffer();
    const auto bytes = Bytes(20);
    ASSERT_EQ(b->Set(bytes.data(), 20), TV_S_OK);
    auto second = b;  // a second reference
    EXPECT_EQ(b->SetSize(5), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(b->SetSize(50), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(b->Set(bytes.data(), 3), TV_E_NOCLASSFACTORY);
    EXPECT_EQ(Content(b.get()), bytes);
    second.reset();
    EXPECT_EQ(b->SetSize(5), TV_S_OK);
}

TEST_P(BufferContract, SetFromItsOwnContentAndBadArguments) {
    auto b = MakeBuffer();
    const auto bytes = Bytes(40);
    ASSERT_EQ(b->Set(bytes.data(), 40), TV_S_OK);
    ASSERT_EQ(b->Set(b->GetBuffer() + 30, 10), TV_S_OK);
    EXPECT_EQ(Content(b.get()), std::vector<uint8_t>(bytes.begin() + 30, bytes.end()));
    // A source running past the content is refused rather than read out of bounds.
    EXPECT_EQ(b->Set(b->GetBuffer() + 5, 6), TV_E_INVALIDARG);

    EXPECT_EQ(b->Set(nullptr, 3), TV_E_POINTER);
    EXPECT_EQ(b->Set(nullptr, 0), TV_S_OK);
    EXPECT_EQ(b->GetSize(), 0u);
    uint32_t size = 0;
    uint8_t* data = nullptr;
    EXPECT_EQ(b->Get(nullptr, &size), TV_E_POINTER);
    EXPECT_EQ(b->Get(&data, nullptr), TV_E_POINTER);
}

INSTANTIATE_TEST_SUITE_P(Implementations, BufferContract, ::testing::ValuesIn(AllValueMakers()), MakerName);

TEST(CZNBufferStorage, TextBuffersCarryTheirNul) {
    ComPtr<IKMABuffer> b;
    ASSERT_EQ(NewTextBuffer("audio/mp3", b.put()), TV_S_OK);
    EXPECT_EQ(b->GetSize(), 10u);
    EXPECT_EQ(b->GetBuffer()[9], 0);
    EXPECT_EQ(BufferText(b.get()), "audio/mp3");
    // A buffer without a NUL reads up to its size and no further.
    ASSERT_EQ(b->Set(reinterpret_cast<const uint8_t*>("abc"), 3), TV_S_OK);
    EXPECT_EQ(BufferText(b.get()), "abc");
    EXPECT_EQ(BufferText(nullptr), "");
}

}  // namespace
