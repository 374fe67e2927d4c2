#include "kmedia/header_walk.h"

#include <algorithm>
#include <set>

namespace tagvera::kmedia {
namespace {

constexpr size_t kMaxIndexObjects = 65536;

// The walk's reads: each object is read with the header of the one after it (and the 18 bytes a
// "DATA" header needs), so a file costs one system call per object instead of two.
class ObjectReads {
public:
    explicit ObjectReads(ByteSource& file) : file_(file) {}
    uint64_t size() const { return file_.size(); }

    std::span<const uint8_t> Get(uint64_t offset, size_t n, HRESULT failCode = TV_E_FAIL, size_t ahead = kAhead) {
        if (offset > file_.size() || n > file_.size() - offset) throw Error(failCode, "read beyond end of file");
        if (offset < start_ || offset - start_ > window_.size() || n > window_.size() - (offset - start_)) {
            const size_t wanted = static_cast<size_t>(std::min<uint64_t>(n + ahead, file_.size() - offset));
            window_.resize(wanted);
            window_.resize(file_.readAt(offset, window_));
            start_ = offset;
            if (window_.size() < n) throw Error(failCode, "short read");
        }
        return std::span<const uint8_t>(window_).subspan(static_cast<size_t>(offset - start_), n);
    }

    static constexpr size_t kAhead = DataHeaderObject::kHeaderSize;

private:
    ByteSource& file_;
    std::vector<uint8_t> window_;
    uint64_t start_ = 0;
};

std::span<const uint8_t> ReadObject(ObjectReads& file, uint64_t offset, const ObjectHeader& h) {
    if (h.size > kMaxHeaderObject) throw Error(TV_E_FAIL, FourCCText(h.id) + " object larger than 16 MB");
    return file.Get(offset, h.size);
}

ObjectHeader PeekHeader(ObjectReads& file, uint64_t offset) {
    ByteReader in(file.Get(offset, ObjectHeader::kSize));
    ObjectHeader h;
    h.id = in.u32be();
    h.size = in.u32be();
    h.version = in.u16be();
    if (h.size < ObjectHeader::kSize)
        throw Error(TV_E_FAIL, FourCCText(h.id) + " object at " + std::to_string(offset) + " has size below 10");
    if (h.size > file.size() - offset)
        throw Error(TV_E_FAIL, FourCCText(h.id) + " object at " + std::to_string(offset) + " runs past the end of the file");
    return h;
}

void ReadIndexes(ObjectReads& file, KmHeaders& km) {
    uint64_t offset = km.properties ? km.properties->indexOffset : 0;
    std::set<uint64_t> seen;
    const uint64_t dataEnd = km.data ? km.dataOffset + km.data->header.size : 0;
    while (offset != 0) {
        if (!seen.insert(offset).second) throw Error(TV_E_FAIL, "INDX chain loops back to " + std::to_string(offset));
        if (seen.size() > kMaxIndexObjects) throw Error(TV_E_FAIL, "too many INDX objects");
        const ObjectHeader h = PeekHeader(file, offset);
        if (h.id != kIdIndex) throw Error(TV_E_FAIL, "index offset " + std::to_string(offset) + " holds no INDX");
        IndexObject x = IndexObject::Read(ReadObject(file, offset, h));
        km.places.push_back({offset, h});
        for (const auto& r : x.records)
            if (r.version == 0 && (r.offset < km.dataOffset + DataHeaderObject::kHeaderSize || r.offset >= dataEnd)) {
                km.problems.push_back("INDX at " + std::to_string(offset) + " points outside the DATA object (" +
                                      std::to_string(r.offset) + ")");
                break;
            }
        offset = x.nextIndexHeader;
        km.indexOffsets.push_back(km.places.back().offset);
        km.indexes.push_back(std::move(x));
    }
}

}  // namespace

const MediaPropertiesObject* KmHeaders::FileInfo() const {
    const MediaPropertiesObject* found = nullptr;
    for (const auto& s : streams)
        if (s.header.KnownVersion() && s.IsFileInfo() && (!found || s.streamNumber < found->streamNumber)) found = &s;
    return found;
}

const ObjectPlace* KmHeaders::FileInfoPlace() const {
    const MediaPropertiesObject* info = FileInfo();
    if (!info) return nullptr;
    // The walk adds a stream for every MDPR it meets, in file order.
    size_t nth = static_cast<size_t>(info - streams.data());
    for (const auto& place : places)
        if (place.header.id == kIdMediaProperties && nth-- == 0) return &place;
    return nullptr;
}

uint64_t KmHeaders::End() const {
    uint64_t end = 0;
    for (const auto& place : places) end = std::max(end, place.offset + place.header.size);
    return end;
}

KmHeaders ReadKmHeaders(ByteSource& source, const WalkOptions& options) {
    KmHeaders km;
    ObjectReads file(source);
    const uint64_t size = file.size();
    if (size < 4) throw Error(kKmNotKorvaMedia, "file shorter than an object identifier");
    {
        // The identifier decides the code before any size is believed.
        // With the file header and the next object's header, so that the walk starts from memory.
        const auto id = file.Get(0, 4, kKmNotKorvaMedia, FileHeaderObject{}.Size() + ObjectReads::kAhead);
        const uint32_t v = uint32_t(id[0]) << 24 | uint32_t(id[1]) << 16 | uint32_t(id[2]) << 8 | id[3];
        if (v != kIdFileHeader && v != kIdStreamFileHeader)
            throw Error(kKmNotKorvaMedia, "first object is not .KMF or .KMS");
    }
    const ObjectHeader first = PeekHeader(file, 0);
    if (first.version > 1) throw Error(kKmFileVersionTooNew, "file header version above 1");
    km.fileHeader = FileHeaderObject::Read(ReadObject(file, 0, first));
    km.places.push_back({0, first});

    uint64_t offset = first.size;
    const std::optional<uint32_t> limit = km.fileHeader.WalkLimit();
    size_t walked = 0;
    while (offset < size && (!limit || walked < *limit)) {
        if (++walked > kMaxHeaderObjects) throw Error(TV_E_FAIL, "more than 4096 header objects");
        const ObjectHeader h = PeekHeader(file, offset);
        km.places.push_back({offset, h});
        if (h.id == kIdData) {
            const auto bytes = file.Get(offset, std::min<uint64_t>(h.size, DataHeaderObject::kHeaderSize));
            km.data = DataHeaderObject::Read(bytes, size - offset);
            km.dataOffset = offset;
            if (km.data->header.KnownVersion() &&
                km.data->numPackets > (h.size - DataHeaderObject::kHeaderSize) / PacketHeader::kSize)
                km.problems.push_back("DATA claims " + std::to_string(km.data->numPackets) +
                                      " packets, more than its " + std::to_string(h.size) + " bytes hold");
            break;  // the packets are never walked
        }
        if (h.id == kIdProperties && !km.properties) {
            km.properties = PropertiesObject::Read(ReadObject(file, offset, h));
        } else if (h.id == kIdContent && !km.content) {
            km.content = ContentObject::Read(ReadObject(file, offset, h));
        } else if (h.id == kIdMediaProperties) {
            km.streams.push_back(MediaPropertiesObject::Read(ReadObject(file, offset, h)));
        } else if (h.id == kIdFileHeader || h.id == kIdStreamFileHeader) {
            throw Error(TV_E_FAIL, "a second file header at " + std::to_string(offset));
        }
        offset += h.size;
    }
    // A walk that ended early (the header count) still finds the data object where PROP says.
    if (!km.data && km.properties && km.properties->dataOffset != 0 && km.properties->dataOffset < size) {
        const uint64_t at = km.properties->dataOffset;
        const ObjectHeader h = PeekHeader(file, at);
        if (h.id == kIdData) {
            km.data = DataHeaderObject::Read(file.Get(at, std::min<uint64_t>(h.size, 18)), size - at);
            km.dataOffset = at;
            km.places.push_back({at, h});
        }
    }
    if (km.properties && km.properties->header.KnownVersion() && km.data && km.properties->dataOffset != km.dataOffset)
        km.problems.push_back("PROP data offset " + std::to_string(km.properties->dataOffset) +
                              " is not where DATA is (" + std::to_string(km.dataOffset) + ")");
    if (options.readIndexes && km.properties && km.properties->header.KnownVersion()) ReadIndexes(file, km);
    return km;
}

}  // namespace tagvera::kmedia
