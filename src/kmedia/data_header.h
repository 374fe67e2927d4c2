// "DATA", the object that holds the packets, and the 12-byte header of each packet.
#ifndef TAGVERA_KMEDIA_DATA_HEADER_H
#define TAGVERA_KMEDIA_DATA_HEADER_H

#include <cstdint>
#include <span>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

struct DataHeaderObject {
    static constexpr uint32_t kHeaderSize = 18;
    ObjectHeader header{kIdData, kHeaderSize, 0};
    uint32_t numPackets = 0;
    uint32_t nextDataHeader = 0;

    // bytes: the 18 header bytes (the packets follow them and are not read here); header.size is
    // the whole object, packets included, and is checked by the caller against the file.
    static DataHeaderObject Read(std::span<const uint8_t> bytes, uint64_t bytesAvailable);
    void Write(BeWriter& out) const;
    bool operator==(const DataHeaderObject&) const = default;
};

struct PacketHeader {
    static constexpr uint32_t kSize = 12;
    uint16_t version = 0;
    uint16_t length = kSize;  // header included
    uint16_t streamNumber = 0;
    uint32_t timestampMs = 0;
    uint16_t groupAndFlags = 0;  // reserved byte, then flags (2 = keyframe)

    static constexpr uint16_t kKeyframe = 2;
    bool Keyframe() const { return (groupAndFlags & 0xFF) == kKeyframe; }
    // A version other than 0 gives the version alone.
    static PacketHeader Read(ByteReader& in);
    void Write(BeWriter& out) const;
    bool operator==(const PacketHeader&) const = default;
};

}  // namespace tagvera::kmedia

#endif
