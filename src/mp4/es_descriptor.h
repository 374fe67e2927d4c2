// The MPEG-4 Systems descriptors of an "esds" box (ES_Descriptor, DecoderConfigDescriptor,
// DecoderSpecificInfo, SLConfigDescriptor) and the channel count of an AudioSpecificConfig: what
// the movie's sound track says of its bit rates and channels.
#ifndef TAGVERA_MP4_ES_DESCRIPTOR_H
#define TAGVERA_MP4_ES_DESCRIPTOR_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tagvera::mp4 {

struct DecoderConfig {
    uint8_t objectType = 0;  // objectTypeIndication; 0x40 is MPEG-4 Audio
    uint8_t streamType = 0;
    uint32_t bufferSize = 0;
    uint32_t maxBitrate = 0;
    uint32_t avgBitrate = 0;
    std::vector<uint8_t> specificInfo;
    bool hasSpecificInfo = false;
};

struct EsDescriptor {
    uint16_t esId = 0;
    std::optional<DecoderConfig> decoder;
    bool slConfig = false;
    bool consistent = false;  // the bytes read add up to the declared size
};

// Parses the payload of an "esds" box after its version word; nullopt for short input or a tag
// out of place. A DecoderSpecificInfo whose length is 2 too large (an old muxer's habit) is
// taken on a second try.
std::optional<EsDescriptor> ParseEsDescriptor(std::span<const uint8_t> bytes);

// The channels an AudioSpecificConfig announces (front, side, back and LFE, a program config
// element counted); nullopt for an object type or frequency index it cannot describe.
std::optional<uint32_t> ChannelsOfAudioConfig(std::span<const uint8_t> config);

}  // namespace tagvera::mp4

#endif
