#include "mp4/es_descriptor.h"

namespace tagvera::mp4 {
namespace {

constexpr uint8_t kEsTag = 3;
constexpr uint8_t kDecoderConfigTag = 4;
constexpr uint8_t kSpecificInfoTag = 5;
constexpr uint8_t kSlConfigTag = 6;

// A cursor that never reads past its end: a read beyond it marks the cursor failed and gives 0.
struct Cursor {
    std::span<const uint8_t> bytes;
    size_t pos = 0;
    bool failed = false;

    size_t left() const { return bytes.size() - pos; }
    uint32_t take(size_t n) {
        if (n > left()) {
            failed = true;
            pos = bytes.size();
            return 0;
        }
        uint32_t v = 0;
        for (size_t i = 0; i < n; ++i) v = v << 8 | bytes[pos++];
        return v;
    }
    // The expandable size: 7 bits a byte while bit 7 is set, at most four bytes.
    uint32_t size() {
        uint32_t v = 0;
        for (int i = 0; i < 4 && left() > 0; ++i) {
            const uint8_t b = bytes[pos++];
            v = v << 7 | (b & 0x7F);
            if (!(b & 0x80)) break;
        }
        return v;
    }
};

bool ParseSpecificInfo(Cursor& c, bool shortened, DecoderConfig& out) {
    if (c.left() < 1 || c.take(1) != kSpecificInfoTag) return false;
    uint32_t size = c.size();
    if (shortened && size > 2) size -= 2;
    if (size > c.left()) return false;
    out.specificInfo.assign(c.bytes.begin() + c.pos, c.bytes.begin() + c.pos + size);
    out.hasSpecificInfo = true;
    c.pos += size;
    return true;
}

bool ParseDecoderConfig(Cursor& c, bool shortened, DecoderConfig& out) {
    if (c.left() <= 14) return false;
    c.take(1);  // the tag, checked by the caller
    c.size();
    if (c.left() < 13) return false;
    out.objectType = uint8_t(c.take(1));
    out.streamType = uint8_t(c.take(1) >> 2);
    out.bufferSize = c.take(3);
    out.maxBitrate = c.take(4);
    out.avgBitrate = c.take(4);
    if (c.left() > 0 && c.bytes[c.pos] == kSpecificInfoTag) return ParseSpecificInfo(c, shortened, out);
    return !c.failed;
}

bool SkipSlConfig(Cursor& c) {
    c.take(1);
    c.size();
    const uint32_t predefined = c.take(1);
    if (predefined == 0) {
        const uint32_t flags = c.take(1);
        c.take(4 + 4);  // timeStampResolution, OCRResolution
        const uint32_t timeStampLength = c.take(1);
        c.take(1 + 1 + 1);  // OCRLength, AU_Length, instantBitrateLength
        c.take(1);          // degradationPriorityLength, AU_seqNumLength
        const bool durationFlag = flags & 0x01, useTimeStamps = flags & 0x04;
        if (durationFlag) c.take(4 + 2 + 2);
        if (!useTimeStamps) c.take(2 * ((timeStampLength + 7) / 8));
    }
    return !c.failed;
}

// The sub-descriptors after the ES header; the decoder configuration ends them.
bool ParseChildren(Cursor c, bool shortened, EsDescriptor& out, size_t& endPos) {
    while (c.left() > 0) {
        const uint8_t tag = c.bytes[c.pos];
        if (tag == kDecoderConfigTag) {
            DecoderConfig config;
            if (!ParseDecoderConfig(c, shortened, config)) return false;
            out.decoder = std::move(config);
            break;
        }
        if (tag != kSlConfigTag || !SkipSlConfig(c)) return false;
        out.slConfig = true;
    }
    endPos = c.pos;
    return true;
}

}  // namespace

std::optional<EsDescriptor> ParseEsDescriptor(std::span<const uint8_t> bytes) {
    Cursor c{bytes};
    if (c.left() <= 4 || c.take(1) != kEsTag) return std::nullopt;
    if (c.left() <= 3) return std::nullopt;
    const uint32_t declared = c.size();
    const size_t start = c.pos;
    if (c.left() <= 2) return std::nullopt;
    EsDescriptor es;
    es.esId = uint16_t(c.take(2));
    const uint32_t flags = c.take(1);
    if (flags & 0x80) c.take(2);
    if (flags & 0x40) c.take(c.take(1));
    const size_t beforeOcr = c.pos;
    if (flags & 0x20) c.take(2);
    if (c.failed) return std::nullopt;
    size_t end = 0;
    for (bool shortened : {false, true}) {
        es.decoder.reset();
        es.slConfig = false;
        Cursor children = c;
        if (ParseChildren(children, shortened, es, end)) {
            es.consistent = end - start == declared;
            return es;
        }
        // An OCR stream flag with no OCR id behind it: read on as if the flag were clear.
        if (flags & 0x20) {
            Cursor withoutOcr = c;
            withoutOcr.pos = beforeOcr;
            if (ParseChildren(withoutOcr, shortened, es, end)) return es;
        }
    }
    return std::nullopt;
}

std::optional<uint32_t> ChannelsOfAudioConfig(std::span<const uint8_t> config) {
    // A big-endian bit reader over the config bytes.
    struct Bits {
        std::span<const uint8_t> bytes;
        size_t bit = 0;
        bool failed = false;
        size_t left() const { return bytes.size() * 8 - bit; }
        uint32_t read(int n) {
            if (size_t(n) > left()) {
                failed = true;
                return 0;
            }
            uint32_t v = 0;
            for (int i = 0; i < n; ++i, ++bit) v = v << 1 | ((bytes[bit / 8] >> (7 - bit % 8)) & 1);
            return v;
        }
        bool frequency() {
            const uint32_t index = read(4);
            if (index == 13 || index == 14) return false;
            if (index == 15) read(24);
            return true;
        }
    } bits{config};
    uint32_t objectType = bits.read(5);
    if (!bits.frequency()) return std::nullopt;
    const uint32_t configuration = bits.read(4);
    if (objectType == 5) {
        if (!bits.frequency()) return std::nullopt;
        objectType = bits.read(5);
    }
    if (objectType != 1 && objectType != 2 && objectType != 4) return std::nullopt;
    bits.read(1);                 // frameLengthFlag
    if (bits.read(1)) bits.read(14);  // dependsOnCoreCoder, coreCoderDelay
    bits.read(1);                 // extensionFlag
    if (bits.failed) return std::nullopt;
    static constexpr uint32_t kChannels[8] = {0, 1, 2, 3, 4, 5, 6, 8};
    if (configuration > 7) return std::nullopt;
    if (configuration > 0) return kChannels[configuration];
    // program_config_element: count single and pair elements in front, side and back, and LFE.
    bits.read(4);  // element_instance_tag
    bits.read(2);  // object_type
    bits.read(4);  // sampling_frequency_index
    const uint32_t front = bits.read(4), side = bits.read(4), back = bits.read(4), lfe = bits.read(2);
    bits.read(3 + 4);  // assoc_data and cc element counts
    if (bits.read(1)) bits.read(4);  // mono mixdown
    if (bits.read(1)) bits.read(4);  // stereo mixdown
    if (bits.read(1)) bits.read(3);  // matrix mixdown
    uint32_t channels = lfe;
    for (uint32_t n = front + side + back; n > 0; --n) {
        channels += bits.read(1) ? 2 : 1;  // is_cpe
        bits.read(4);
    }
    if (bits.failed) return std::nullopt;
    return channels;
}

}  // namespace tagvera::mp4
