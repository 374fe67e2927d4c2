#include "kmedia/edit/stream_compatibility.h"

#include "kmedia/mime_types.h"

namespace tagvera::kmedia {

bool StreamsCompatible(const std::vector<const MediaPropertiesObject*>& first,
                       const std::vector<const MediaPropertiesObject*>& next) {
    if (first.size() != next.size()) return false;
    for (size_t i = 0; i < first.size(); ++i) {
        const MediaPropertiesObject &a = *first[i], &b = *next[i];
        if (a.mimeType != b.mimeType || a.maxPacketSize != b.maxPacketSize || a.avgPacketSize != b.avgPacketSize ||
            a.prerollMs != b.prerollMs)
            return false;
        const StreamKind kind = ClassifyMimeType(a.mimeType);
        if (kind == StreamKind::Video && a.maxBitRate != b.maxBitRate) return false;
        // Codec headers (the KorvaAudio header, the video format) compare byte for byte.
        if ((kind == StreamKind::Audio || kind == StreamKind::Video) && a.typeSpecific != b.typeSpecific) return false;
    }
    return true;
}

}  // namespace tagvera::kmedia
