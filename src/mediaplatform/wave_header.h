// What a RIFF/WAVE file's header says, read chunk by chunk through a platform file object: the
// format chunk's figures, how much of the data chunk the file really holds, and the INFO texts.
#ifndef TAGVERA_MEDIAPLATFORM_WAVE_HEADER_H
#define TAGVERA_MEDIAPLATFORM_WAVE_HEADER_H

#include <cstdint>
#include <optional>
#include <string>

#include "tagvera/media_platform.h"

namespace tagvera::mediaplatform {

struct WaveHeader {
    uint16_t formatTag = 0;
    uint16_t channels = 0;
    uint32_t sampleRate = 0;
    uint32_t byteRate = 0;
    uint16_t bitsPerSample = 0;
    uint64_t dataBytes = 0;  // the data chunk's size, cut to the end of the file
    std::string title, artist, copyright;

    uint32_t DurationMilliseconds() const;
};

// Nullopt for a file that is not RIFF/WAVE or lacks a usable format or data chunk. At most 64
// chunks are looked at and 4 KB of an INFO list read, whatever the file declares.
std::optional<WaveHeader> ReadWaveHeader(IKMAFileObject* file);

}  // namespace tagvera::mediaplatform

#endif
