// "INDX": one stream's index of keyframes (timestamp, packet offset, packets before it), and
// the rule that builds one while packets are written.
#ifndef TAGVERA_KMEDIA_INDEX_OBJECT_H
#define TAGVERA_KMEDIA_INDEX_OBJECT_H

#include <cstdint>
#include <span>
#include <vector>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

struct IndexRecord {
    static constexpr uint32_t kSize = 14;
    uint16_t version = 0;
    uint32_t timestampMs = 0;
    uint32_t offset = 0;
    uint32_t packetCount = 0;
    bool operator==(const IndexRecord&) const = default;
};

struct IndexObject {
    static constexpr uint32_t kHeaderSize = 20;
    ObjectHeader header{kIdIndex, kHeaderSize, 0};
    uint16_t streamNumber = 0;
    uint32_t nextIndexHeader = 0;
    std::vector<IndexRecord> records;

    // The record count must fit the object's size before any record is kept.
    static IndexObject Read(std::span<const uint8_t> object);
    void Write(BeWriter& out) const;
    uint32_t Size() const;
    bool operator==(const IndexObject&) const = default;
};

// Builds one stream's index as its packets are written.
class IndexBuilder {
public:
    // offset: where the packet starts in the output; force: index it even without the keyframe flag.
    void AddPacket(uint16_t stream, uint32_t timestampMs, bool keyframe, uint32_t offset, bool force = false);
    const IndexObject& Index() const { return index_; }
    IndexObject& Index() { return index_; }

private:
    IndexObject index_;
    uint32_t packetsSeen_ = 0;
};

}  // namespace tagvera::kmedia

#endif
