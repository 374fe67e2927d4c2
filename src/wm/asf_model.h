// What the header layer reads out of an ASF header object and what its writer puts back: the
// objects as they stand (raw, so that those it does not change go back byte for byte), the
// figures of the file and stream properties, and the attributes of the four objects that hold them.
#ifndef TAGVERA_WM_ASF_MODEL_H
#define TAGVERA_WM_ASF_MODEL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wm/asf_guid.h"

namespace tagvera::wm {

// Attribute data types as the runtime numbers them (the objects in the file number them otherwise).
enum class AttrType : uint16_t { Dword = 0, String = 1, Binary = 2, Bool = 3, Qword = 4, Word = 5, Guid = 6 };
const char* AttrTypeName(AttrType type);

// The four objects that hold attributes, from the most limited to the least.
enum class Home : uint8_t { ContentDescription, ExtendedContent, Metadata, MetadataLibrary };
const char* HomeName(Home home);

struct Attribute {
    Home home = Home::ExtendedContent;
    uint16_t stream = 0;
    uint16_t language = 0;
    std::string name;  // UTF-8
    AttrType type = AttrType::String;
    // As the runtime hands values out: DWORD and BOOL 4 bytes, WORD 2, QWORD 8, GUID 16, strings
    // UTF-16LE with their NUL, binary as stored.
    std::vector<uint8_t> value;
};

// One object of the header or of its extension, whole (its 24-byte head included).
struct AsfObject {
    Guid id;
    uint64_t offset = 0;  // in the file
    std::vector<uint8_t> bytes;
};

struct FileProperties {
    uint64_t fileSize = 0;
    uint64_t playDuration = 0;  // 100 ns
    uint64_t preroll = 0;       // ms
    uint32_t flags = 0;         // 1 broadcast, 2 seekable
    uint32_t maxBitrate = 0;
};

struct StreamInfo {
    uint16_t number = 0;
    bool audio = false, video = false;
    // Audio: the WAVEFORMATEX fields.
    uint16_t formatTag = 0, channels = 0;
    uint32_t sampleRate = 0, avgBytesPerSecond = 0;
    // Video: the BITMAPINFOHEADER fields.
    uint32_t width = 0, height = 0, compression = 0;
    // From the extended stream properties and the stream bitrate properties, when present.
    uint32_t bitrate = 0;
    uint64_t avgTimePerFrame = 0;  // 100 ns
};

struct AsfHeader {
    uint64_t headerSize = 0;
    uint8_t reserved1 = 1, reserved2 = 2;
    std::vector<AsfObject> objects;    // the header's children in order
    std::vector<AsfObject> extension;  // the header extension's children in order
    std::optional<size_t> extensionAt;  // index of the header extension in objects
    FileProperties file;
    std::vector<StreamInfo> streams;
    std::vector<std::string> languages;
    std::vector<Attribute> attributes;  // in the order the objects hold them
    uint64_t paddingBytes = 0;         // held by padding objects, heads included
};

}  // namespace tagvera::wm

#endif
