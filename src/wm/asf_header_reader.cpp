#include "wm/asf_header_reader.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "platform/text.h"
#include "wm/asf_attributes.h"
#include "wm/asf_objects.h"

namespace tagvera::wm {
namespace {

constexpr uint64_t kObjectHead = 24;
constexpr uint64_t kHeaderHead = 30;
constexpr size_t kMostTopObjects = 256;

[[noreturn]] void Fail(const std::string& why) { throw Error(TV_E_FAIL, why); }

std::string Named(const Guid& id) {
    const char* name = ids::ObjectName(id);
    return name ? std::string(name) + " object" : "object " + GuidText(id);
}

// The children of a header or header extension, each whole; base is where body starts in the file.
std::vector<AsfObject> Children(ByteReader body, uint64_t base, const char* parent, std::optional<uint32_t> count) {
    std::vector<AsfObject> out;
    while (!body.empty()) {
        if (body.remaining() < kObjectHead)
            Fail(std::to_string(body.remaining()) + " stray bytes at the end of the " + parent);
        const uint64_t at = base + body.offset();
        ByteReader head(body.current(), kObjectHead);
        AsfObject o;
        o.id = GuidFrom(head.bytes(16));
        const uint64_t size = head.u64le();
        if (size < kObjectHead) Fail(Named(o.id) + " at " + std::to_string(at) + " claims " + std::to_string(size) + " bytes, below 24");
        if (size > body.remaining()) Fail(Named(o.id) + " at " + std::to_string(at) + " runs past the end of the " + parent);
        const auto whole = body.bytes(size_t(size));
        o.offset = at;
        o.bytes.assign(whole.begin(), whole.end());
        out.push_back(std::move(o));
    }
    if (count && out.size() != *count)
        Fail("the header says it holds " + std::to_string(*count) + " objects, but holds " + std::to_string(out.size()));
    return out;
}

ByteReader BodyOf(const AsfObject& o) { return ByteReader(std::span(o.bytes).subspan(kObjectHead), TV_E_FAIL); }

StreamInfo& StreamNumbered(AsfHeader& h, uint16_t number) {
    for (auto& s : h.streams)
        if (s.number == number) return s;
    h.streams.push_back({});
    h.streams.back().number = number;
    return h.streams.back();
}

void ReadFileProperties(const AsfObject& o, AsfHeader& h) {
    ByteReader r = BodyOf(o);
    if (r.remaining() < 80) Fail("the file properties object is shorter than 104 bytes");
    r.skip(16);
    h.file.fileSize = r.u64le();
    r.skip(16);  // creation date, packet count
    h.file.playDuration = r.u64le();
    r.skip(8);
    h.file.preroll = r.u64le();
    h.file.flags = r.u32le();
    r.skip(8);
    h.file.maxBitrate = r.u32le();
}

void ReadStreamProperties(const AsfObject& o, AsfHeader& h) {
    ByteReader r = BodyOf(o);
    r.require(54, "stream properties object too short");
    const Guid type = GuidFrom(r.bytes(16));
    r.skip(24);  // error correction type, time offset
    const uint32_t specificLength = r.u32le();
    r.skip(4);
    const uint16_t flags = r.u16le();
    r.skip(4);
    r.require(specificLength, "stream format past its stream properties object");
    ByteReader fmt = r.sub(specificLength);
    StreamInfo& s = StreamNumbered(h, flags & 0x7F);
    if (type == ids::kAudioMedia && fmt.remaining() >= 16) {
        s.audio = true;
        s.formatTag = fmt.u16le();
        s.channels = fmt.u16le();
        s.sampleRate = fmt.u32le();
        s.avgBytesPerSecond = fmt.u32le();
    } else if (type == ids::kVideoMedia && fmt.remaining() >= 11 + 40) {
        s.video = true;
        fmt.skip(11);  // encoded width and height, reserved, format size: the bitmap header repeats them
        fmt.skip(4);
        s.width = fmt.u32le();
        s.height = fmt.u32le();
        fmt.skip(4);
        s.compression = fmt.u32le();
    }
}

void ReadExtendedStream(const AsfObject& o, AsfHeader& h) {
    ByteReader r = BodyOf(o);
    if (r.remaining() < 64) Fail("extended stream properties object too short");
    r.skip(16);
    const uint32_t bitrate = r.u32le();
    r.skip(28);
    StreamInfo& s = StreamNumbered(h, r.u16le() & 0x7F);
    r.skip(2);
    s.avgTimePerFrame = r.u64le();
    if (!s.bitrate) s.bitrate = bitrate;
}

void ReadStreamBitrates(const AsfObject& o, AsfHeader& h) {
    ByteReader r = BodyOf(o);
    const uint16_t count = r.u16le();
    for (uint16_t i = 0; i < count; ++i) {
        const uint16_t flags = r.u16le();
        StreamNumbered(h, flags & 0x7F).bitrate = r.u32le();
    }
}

void ReadLanguages(const AsfObject& o, AsfHeader& h) {
    ByteReader r = BodyOf(o);
    const uint16_t count = r.u16le();
    for (uint16_t i = 0; i < count; ++i) {
        const uint8_t length = r.u8();
        const auto raw = r.bytes(length);
        if (length % 2) Fail("odd-length UTF-16 text in the language list");
        std::string name = text::Utf16ToUtf8(raw, false);
        if (const size_t nul = name.find('\0'); nul != std::string::npos) name.resize(nul);
        h.languages.push_back(std::move(name));
    }
}

void InterpretUnnamed(const AsfObject& o, AsfHeader& h) {
    if (o.id == ids::kFileProperties) ReadFileProperties(o, h);
    else if (o.id == ids::kStreamProperties) ReadStreamProperties(o, h);
    else if (o.id == ids::kContentDescription) ReadContentDescription(BodyOf(o), h.attributes);
    else if (o.id == ids::kExtendedContentDescription) ReadExtendedContent(BodyOf(o), h.attributes);
    else if (o.id == ids::kMetadata) ReadMetadata(BodyOf(o), Home::Metadata, h.attributes);
    else if (o.id == ids::kMetadataLibrary) ReadMetadata(BodyOf(o), Home::MetadataLibrary, h.attributes);
    else if (o.id == ids::kExtendedStreamProperties) ReadExtendedStream(o, h);
    else if (o.id == ids::kStreamBitrateProperties) ReadStreamBitrates(o, h);
    else if (o.id == ids::kLanguageList) ReadLanguages(o, h);
    else if (o.id == ids::kPadding) h.paddingBytes += o.bytes.size();
}

// A field cut short is named by the object it is in.
void Interpret(const AsfObject& o, AsfHeader& h) {
    try {
        InterpretUnnamed(o, h);
    } catch (const Error& e) {
        const std::string what = e.what();
        if (what.find("object") != std::string::npos || what.find("header") != std::string::npos) throw;
        Fail(what + " in the " + Named(o.id));
    }
}

}  // namespace

AsfHeader ParseAsfHeader(std::span<const uint8_t> bytes) {
    ByteReader r(bytes, TV_E_FAIL);
    if (r.remaining() < kHeaderHead) Fail("not an ASF file: shorter than a header object");
    if (GuidFrom(r.bytes(16)) != ids::kHeader) Fail("not an ASF file: it does not start with a header object");
    AsfHeader h;
    h.headerSize = r.u64le();
    const uint32_t count = r.u32le();
    h.reserved1 = r.u8();
    h.reserved2 = r.u8();
    if (h.headerSize < kHeaderHead) Fail("the header object claims " + std::to_string(h.headerSize) + " bytes, below 30");
    if (h.headerSize > bytes.size()) Fail("the header object runs past the end of the file");
    r = ByteReader(bytes.first(size_t(h.headerSize)), TV_E_FAIL);
    r.skip(kHeaderHead);
    h.objects = Children(r, 0, "header object", count);
    for (size_t i = 0; i < h.objects.size(); ++i) {
        const AsfObject& o = h.objects[i];
        if (o.id == ids::kHeaderExtension) {
            if (h.extensionAt) Fail("a second header extension object");
            ByteReader body = BodyOf(o);
            body.require(22, "header extension object too short");
            body.skip(18);
            const uint32_t dataSize = body.u32le();
            if (dataSize != body.remaining())
                Fail("the header extension says it holds " + std::to_string(dataSize) + " bytes, but holds " +
                     std::to_string(body.remaining()));
            h.extensionAt = i;
            h.extension = Children(body, o.offset + kObjectHead, "header extension", std::nullopt);
            for (const auto& child : h.extension) Interpret(child, h);
        } else {
            Interpret(o, h);
        }
    }
    if (std::none_of(h.objects.begin(), h.objects.end(), [](const AsfObject& o) { return o.id == ids::kFileProperties; }))
        Fail("the header has no file properties object");
    // The description objects first, then the metadata objects: a name's first value is the one
    // readers show, wherever in the header each object stands.
    std::stable_sort(h.attributes.begin(), h.attributes.end(),
                     [](const Attribute& x, const Attribute& y) { return x.home < y.home; });
    return h;
}

AsfHeader ReadAsfHeader(ByteSource& file) {
    // One read of 4 KB for a small header; for a larger one, a second read of the rest of it.
    std::vector<uint8_t> head = file.readExact(0, size_t(std::min<uint64_t>(file.size(), 4096)));
    if (head.size() < kHeaderHead) Fail("not an ASF file: shorter than a header object");
    ByteReader r(head, TV_E_FAIL);
    if (GuidFrom(r.bytes(16)) != ids::kHeader) Fail("not an ASF file: it does not start with a header object");
    const uint64_t size = r.u64le();
    if (size > file.size()) Fail("the header object runs past the end of the file");
    if (size > kMostHeaderBytes) Fail("a header object larger than 256 MB");
    if (size > head.size()) {
        const auto rest = file.readExact(head.size(), size_t(size - head.size()));
        head.insert(head.end(), rest.begin(), rest.end());
    }
    return ParseAsfHeader(std::span(head).first(size_t(std::max<uint64_t>(size, kHeaderHead))));
}

TopObjects ReadTopObjects(ByteSource& file, uint64_t headerSize) {
    TopObjects out;
    uint64_t at = headerSize;
    while (at < file.size() && out.objects.size() < kMostTopObjects) {
        if (file.size() - at < kObjectHead) {
            out.problem = std::to_string(file.size() - at) + " stray bytes at the end of the file";
            break;
        }
        const auto head = file.readExact(at, kObjectHead);
        ByteReader r(head, TV_E_FAIL);
        TopObject o{GuidFrom(r.bytes(16)), at, r.u64le()};
        out.objects.push_back(o);
        if (o.size < kObjectHead) {
            out.problem = Named(o.id) + " at " + std::to_string(at) + " claims " + std::to_string(o.size) + " bytes, below 24";
            break;
        }
        if (o.size > file.size() - at) {
            out.problem = Named(o.id) + " at " + std::to_string(at) + " runs past the end of the file (cut short)";
            break;
        }
        at += o.size;
    }
    return out;
}

}  // namespace tagvera::wm
