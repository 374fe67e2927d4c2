// "PROP": file-wide rates, packet figures, duration and where the data and index objects are.
#ifndef TAGVERA_KMEDIA_PROPERTIES_H
#define TAGVERA_KMEDIA_PROPERTIES_H

#include <cstdint>
#include <span>

#include "kmedia/km_codes.h"
#include "kmedia/object_header.h"

namespace tagvera::kmedia {

struct PropertiesObject {
    // The flag bits a rewritten file keeps.
    static constexpr uint16_t kKeptFlags = 1 | 2 | 8;

    ObjectHeader header{kIdProperties, 50, 0};
    uint32_t maxBitRate = 0, avgBitRate = 0;
    uint32_t maxPacketSize = 0, avgPacketSize = 0;
    uint32_t numPackets = 0;
    uint32_t durationMs = 0, prerollMs = 0;
    uint32_t indexOffset = 0, dataOffset = 0;
    uint16_t numStreams = 0;
    uint16_t flags = 0;

    // An unknown version gives the header alone.
    static PropertiesObject Read(std::span<const uint8_t> object);
    void Write(BeWriter& out) const;
    uint32_t Size() const { return header.KnownVersion() ? 50 : ObjectHeader::kSize; }
    bool operator==(const PropertiesObject&) const = default;
};

}  // namespace tagvera::kmedia

#endif
