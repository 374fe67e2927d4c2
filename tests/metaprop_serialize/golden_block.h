// Blocks laid out by hand, byte by byte, from a description of their records: the tests' own
// encoder, written from the layout alone, against which the library's writer and reader are held.
#ifndef TAGVERA_TESTS_METAPROP_SERIALIZE_GOLDEN_BLOCK_H
#define TAGVERA_TESTS_METAPROP_SERIALIZE_GOLDEN_BLOCK_H

#include <cstdint>
#include <string>
#include <vector>

namespace tagvera::testing {

struct GoldenRecord {
    std::string name;
    uint32_t type = 0;
    uint32_t flags = 0;
    std::vector<uint8_t> value = {0};  // what a node without a value stores
    // In table order; consecutive records of one name share a table entry.
    std::vector<GoldenRecord> children;
};

inline void Put32(std::vector<uint8_t>& out, uint32_t v, bool bigEndian) {
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(v >> (bigEndian ? 24 - 8 * i : 8 * i)));
}

inline std::vector<uint8_t> EncodeRecord(const GoldenRecord& r, bool bigEndian) {
    std::vector<std::vector<uint8_t>> kids;
    for (const GoldenRecord& c : r.children) kids.push_back(EncodeRecord(c, bigEndian));
    std::vector<std::pair<size_t, uint32_t>> entries;  // first child index, count
    for (size_t i = 0; i < r.children.size(); ++i) {
        if (i > 0 && r.children[i].name == r.children[i - 1].name)
            ++entries.back().second;
        else
            entries.push_back({i, 1});
    }
    const uint32_t nameLength = uint32_t(r.name.size() + 1);
    const uint32_t valueOffset = 28 + nameLength;
    const uint32_t tableOffset = valueOffset + 4 + uint32_t(r.value.size());
    uint32_t length = tableOffset + 8 * uint32_t(entries.size());
    std::vector<uint32_t> childOffsets;
    for (const auto& k : kids) {
        childOffsets.push_back(length);
        length += uint32_t(k.size());
    }
    std::vector<uint8_t> out;
    for (uint32_t field : {length, r.type, r.flags, valueOffset, tableOffset, uint32_t(entries.size()), nameLength})
        Put32(out, field, bigEndian);
    out.insert(out.end(), r.name.begin(), r.name.end());
    out.push_back(0);
    Put32(out, uint32_t(r.value.size()), bigEndian);
    out.insert(out.end(), r.value.begin(), r.value.end());
    for (const auto& [first, count] : entries) {
        Put32(out, childOffsets[first], bigEndian);
        Put32(out, count, bigEndian);
    }
    for (const auto& k : kids) out.insert(out.end(), k.begin(), k.end());
    return out;
}

// Header, root record and the trailing zero byte the writer adds.
inline std::vector<uint8_t> EncodeBlock(const GoldenRecord& root, bool bigEndian, const char* magic = "KJMD",
                                        bool trailingZero = true) {
    std::vector<uint8_t> out(magic, magic + 4);
    Put32(out, 1, bigEndian);
    const std::vector<uint8_t> record = EncodeRecord(root, bigEndian);
    out.insert(out.end(), record.begin(), record.end());
    if (trailingZero) out.push_back(0);
    return out;
}

inline std::vector<uint8_t> TextValue(const std::string& text) {
    std::vector<uint8_t> v(text.begin(), text.end());
    v.push_back(0);
    return v;
}
inline std::vector<uint8_t> NumberValue(uint32_t n) {
    return {uint8_t(n), uint8_t(n >> 8), uint8_t(n >> 16), uint8_t(n >> 24)};
}

}  // namespace tagvera::testing

#endif
