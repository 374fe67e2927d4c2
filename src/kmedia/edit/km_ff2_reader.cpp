#include "kmedia/edit/km_ff2_reader.h"

#include <map>

#include "component/value_objects.h"
#include "kmedia/file_info_values.h"
#include "kmedia/logical_stream.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"

namespace tagvera::kmedia {
namespace {

template <class Object>
HRESULT ObjectBytes(const Object& object, IKMABuffer** out) {
    std::vector<uint8_t> bytes;
    BeWriter writer(bytes);
    object.Write(writer);
    return NewBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()), out);
}

}  // namespace

HRESULT CKMFF2Reader::InternalQueryInterface(const GUID& iid, void** out) {
    if (!out) return TV_E_POINTER;
    if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
    if (iid == IID_IKMAKMFF4Reader) return Hand(static_cast<IKMAKMFF4Reader*>(this), out);
    if (iid == IID_IKMAKMMetaInformation) return Hand(static_cast<IKMAKMMetaInformation*>(this), out);
    return NoInterface(out);
}

HRESULT CKMFF2Reader::Open(const char* path) {
    if (!path) return TV_E_POINTER;
    Close();
    return Guard([&]() -> HRESULT {
        platform::File file = platform::OpenForReading(path);
        // Too short for one object header is a short read of the first object.
        if (file.size() < ObjectHeader::kSize) return kKmNotKorvaMedia;
        headers_ = ReadKmHeaders(file);
        fileInfo_ = headers_->FileInfo();
        for (const auto& s : headers_->streams)
            if (s.header.KnownVersion()) (s.IsLogical() ? logical_ : streams_).push_back(&s);
        std::erase(logical_, fileInfo_);
        AttachLogicalStreams();
        return TV_S_OK;
    });
}

void CKMFF2Reader::AttachLogicalStreams() {
    // By number, so that the work grows with the numbers the records hold, not their product.
    std::multimap<uint16_t, size_t> byNumber;
    for (size_t i = 0; i < streams_.size(); ++i) byNumber.emplace(streams_[i]->streamNumber, i);
    attached_.assign(streams_.size(), {});
    for (const MediaPropertiesObject* logical : logical_) {
        std::vector<uint16_t> numbers;
        try {
            numbers = LogicalStreamRecord::Read(logical->typeSpecific).physicalStreams;
        } catch (const Error&) {
            continue;
        }
        for (const uint16_t n : numbers)
            for (auto [at, end] = byNumber.equal_range(n); at != end; ++at)
                if (auto& to = attached_[at->second]; to.empty() || to.back() != logical) to.push_back(logical);
    }
}

HRESULT CKMFF2Reader::Close() {
    streams_.clear();
    fileInfo_ = nullptr;
    logical_.clear();
    attached_.clear();
    headers_.reset();
    return TV_S_OK;
}

HRESULT CKMFF2Reader::GetNumStreamHeaders(uint32_t* count) {
    if (!count) return TV_E_POINTER;
    if (!headers_) return TV_E_NOTLOADED;
    *count = static_cast<uint32_t>(streams_.size());
    return TV_S_OK;
}

HRESULT CKMFF2Reader::GetStreamHeader(uint32_t index, IKMABuffer** mdpr, uint32_t* bitRate) {
    if (!mdpr) return TV_E_POINTER;
    *mdpr = nullptr;
    if (!headers_) return TV_E_NOTLOADED;
    if (index >= streams_.size()) return kKmNoSuchStream;
    if (bitRate) *bitRate = streams_[index]->avgBitRate;
    return Guard([&] { return ObjectBytes(*streams_[index], mdpr); });
}

HRESULT CKMFF2Reader::GetDuration(uint32_t* ms) {
    if (!ms) return TV_E_POINTER;
    if (!headers_) return TV_E_NOTLOADED;
    const auto& p = headers_->properties;
    *ms = p && p->header.KnownVersion() ? p->durationMs : 0;
    return TV_S_OK;
}

HRESULT CKMFF2Reader::GetProperties(IKMABuffer** prop) {
    if (!prop) return TV_E_POINTER;
    *prop = nullptr;
    if (!headers_ || !headers_->properties) return TV_E_NOTLOADED;
    return Guard([&] { return ObjectBytes(*headers_->properties, prop); });
}

HRESULT CKMFF2Reader::GetContent(IKMABuffer** cont) {
    if (!cont) return TV_E_POINTER;
    *cont = nullptr;
    if (!headers_ || !headers_->content) return TV_E_NOTLOADED;
    return Guard([&] { return ObjectBytes(*headers_->content, cont); });
}

HRESULT CKMFF2Reader::GetFlags(uint16_t* flags) {
    if (!flags) return TV_E_POINTER;
    if (!headers_) return TV_E_NOTLOADED;
    const auto& p = headers_->properties;
    *flags = p && p->header.KnownVersion() ? p->flags : 0;
    return TV_S_OK;
}

HRESULT CKMFF2Reader::GetFileKind(uint32_t* kind) {
    if (!kind) return TV_E_POINTER;
    if (!headers_) return TV_E_NOTLOADED;
    *kind = headers_->fileHeader.header.id == kIdStreamFileHeader ? 2 : 1;
    return TV_S_OK;
}

HRESULT CKMFF2Reader::GetFileInfoValues(IKMAValues** values) {
    if (!values) return TV_E_POINTER;
    *values = nullptr;
    if (!fileInfo_) return TV_E_NOTLOADED;
    return Guard([&] { return FileInfoToValues(LogicalStreamRecord::Read(fileInfo_->typeSpecific).properties, values); });
}

HRESULT NewKmReader(CKMFF2Reader** out) {
    IUnknown* unknown = nullptr;
    if (const HRESULT hr = CreateObject<CKMFF2Reader>(nullptr, &unknown); Failed(hr)) return hr;
    *out = static_cast<CKMFF2Reader*>(static_cast<CUnknownIMP*>(unknown));
    return TV_S_OK;
}

}  // namespace tagvera::kmedia
