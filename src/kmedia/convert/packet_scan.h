// Walks the packets of a DATA object in bounded chunks: each packet's header and where it lies,
// checked against the object; never more than one chunk in memory.
#ifndef TAGVERA_KMEDIA_CONVERT_PACKET_SCAN_H
#define TAGVERA_KMEDIA_CONVERT_PACKET_SCAN_H

#include <cstdint>
#include <functional>
#include <vector>

#include "base/byte_source.h"
#include "kmedia/data_header.h"

namespace tagvera::kmedia {

struct ScannedPacket {
    uint64_t offset = 0;  // in the input file
    PacketHeader header;
};

class PacketScan {
public:
    static constexpr size_t kChunk = 1u << 20;
    // A walk that copies nothing reads the packet headers alone, this much at a time.
    static constexpr size_t kHeaderWindow = 4096;

    // dataOffset/data: the DATA object as the header walk found it.
    PacketScan(ByteSource& file, uint64_t dataOffset, const DataHeaderObject& data);

    // Calls visit for each packet in order; payload(n, sink) inside visit streams the packet's
    // bytes (header included) to a consumer in pieces. Throws Error (E_FAIL) for a packet of an
    // unknown version, shorter than its header, running past the object, or fewer packets than
    // the object claims.
    using Consumer = std::function<void(std::span<const uint8_t>)>;
    void Walk(const std::function<void(const ScannedPacket&)>& visit, const Consumer* copyTo = nullptr);

private:
    // Throws when fewer than n bytes of the object remain at pos_.
    void Require(uint64_t n) const;
    // Makes the next n bytes (n <= window <= kChunk) available at pos_, reading up to window.
    std::span<const uint8_t> Take(size_t n, size_t window = kChunk);

    ByteSource& file_;
    uint64_t begin_, end_;
    uint32_t count_;
    std::vector<uint8_t> chunk_;
    uint64_t chunkStart_ = 0;
    uint64_t pos_ = 0;
};

}  // namespace tagvera::kmedia

#endif
