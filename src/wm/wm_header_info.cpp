#include "wm/wm_header_info.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "base/byte_reader.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"
#include "wm/asf_attributes.h"
#include "wm/wm_codes.h"

namespace tagvera::wm {
namespace {

constexpr const char* kPictureName = "WM/Picture";
constexpr uint8_t kFrontCover = 3;

Attribute Derived(const char* name, AttrType type, uint64_t value) {
    Attribute a;
    a.name = name;
    a.type = type;
    const size_t width = type == AttrType::Qword ? 8 : 4;
    for (size_t i = 0; i < width; ++i) a.value.push_back(uint8_t(value >> (8 * i)));
    return a;
}

bool IsDerived(const std::string& name) {
    for (const char* d : {"Duration", "Bitrate", "HasAudio", "HasVideo", "Seekable"})
        if (name == d) return true;
    return false;
}

size_t Utf16zLength(std::span<const uint8_t> bytes) {
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        if (bytes[i] == 0 && bytes[i + 1] == 0) return i + 2;
    throw Error(TV_E_FAIL, "picture text without its end");
}

}  // namespace

std::vector<uint8_t> PictureRecord(const Picture& picture) {
    if (picture.data.size() > 0xFFFFFFFFu - 1024) throw Error(TV_E_FAIL, "a picture of 4 GB or more");
    std::vector<uint8_t> out{kFrontCover};
    const uint32_t n = uint32_t(picture.data.size());
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(n >> (8 * i)));
    const auto mime = WString(picture.mime).utf16le();
    out.insert(out.end(), mime.begin(), mime.end());
    out.insert(out.end(), {0, 0});  // the description, empty
    out.insert(out.end(), picture.data.begin(), picture.data.end());
    return out;
}

std::optional<Picture> ParsePictureRecord(std::span<const uint8_t> record, bool frontCoverOnly) {
    try {
        ByteReader r(record, TV_E_FAIL);
        const uint8_t type = r.u8();
        const uint32_t length = r.u32le();
        if (frontCoverOnly && type != kFrontCover) return std::nullopt;
        Picture p;
        const size_t mimeBytes = Utf16zLength(std::span(r.current(), r.remaining()));
        p.mime = WString::FromUtf16le(r.bytes(mimeBytes)).narrow();
        r.skip(Utf16zLength(std::span(r.current(), r.remaining())));
        const auto data = r.bytes(length);
        p.data.assign(data.begin(), data.end());
        return p;
    } catch (const Error&) {
        return std::nullopt;
    }
}

void CWMHeaderInfo::SetFileName(const WString& name) {
    fileName_ = name;
    nameIsUrl_ = name.contains("http:");
}

void CWMHeaderInfo::DeriveAttributes() {
    derived_.clear();
    if (!header_) return;
    const FileProperties& f = header_->file;
    const uint64_t preroll = f.preroll > UINT64_MAX / 10000 ? UINT64_MAX : f.preroll * 10000;
    const uint64_t duration = f.playDuration > preroll ? f.playDuration - preroll : 0;
    const bool audio = std::any_of(header_->streams.begin(), header_->streams.end(), [](auto& s) { return s.audio; });
    const bool video = std::any_of(header_->streams.begin(), header_->streams.end(), [](auto& s) { return s.video; });
    derived_.push_back(Derived("Duration", AttrType::Qword, duration));
    derived_.push_back(Derived("Bitrate", AttrType::Dword, f.maxBitrate));
    derived_.push_back(Derived("HasAudio", AttrType::Bool, audio));
    derived_.push_back(Derived("HasVideo", AttrType::Bool, video));
    derived_.push_back(Derived("Seekable", AttrType::Bool, (f.flags & 2) != 0));
}

const Attribute* CWMHeaderInfo::Find(const std::string& name) const {
    for (const auto& a : derived_)
        if (a.name == name) return &a;
    for (const auto& a : header_->attributes)
        if (a.stream == 0 && a.name == name) return &a;
    return nullptr;
}

std::optional<AttrType> CWMHeaderInfo::TypeOfAttribute(const std::string& name) const {
    if (!header_) return std::nullopt;
    const Attribute* a = Find(name);
    return a ? std::optional(a->type) : std::nullopt;
}

HRESULT CWMHeaderInfo::GetNumber(const char* name, uint32_t* out) const {
    if (!out) return TV_E_POINTER;
    *out = 0;
    if (!header_) return TV_E_POINTER;
    const Attribute* a = Find(name);
    if (!a) return TV_E_PROP_NOTFOUND;
    return CWMMetaProperty(*a).Number(out);
}

HRESULT CWMHeaderInfo::GetStringAttribute(const char* name, std::string* out) const {
    if (!out) return TV_E_POINTER;
    out->clear();
    if (!header_) return TV_E_POINTER;
    const Attribute* a = Find(name);
    if (!a) return TV_E_PROP_NOTFOUND;
    if (a->value.empty()) return kEmptyValue;
    return CWMMetaProperty(*a).Text(out);
}

HRESULT CWMHeaderInfo::HasVideo() const {
    if (!header_) return TV_E_POINTER;
    const Attribute* a = Find("HasVideo");
    if (!a || a->value.empty()) return kNoValue;
    return a->value[0] ? TV_S_OK : kFlagIsZero;
}

HRESULT CWMHeaderInfo::GetMimeTypes(std::string* out) const {
    if (!out) return TV_E_POINTER;
    *out = "audio/x-ms-wma;";
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::NextAttribute(CWMMetaProperty* out) {
    if (!out) return TV_E_POINTER;
    if (!header_) return TV_E_POINTER;
    while (next_ < derived_.size() + header_->attributes.size()) {
        const size_t i = next_++;
        const Attribute& a = i < derived_.size() ? derived_[i] : header_->attributes[i - derived_.size()];
        if (a.stream != 0) continue;
        *out = CWMMetaProperty(a);
        return TV_S_OK;
    }
    return TV_E_PROP_ENDOFLIST;
}

HRESULT CWMHeaderInfo::GetAttributeCount(uint32_t* out) const {
    if (!out) return TV_E_POINTER;
    if (!header_) return TV_E_POINTER;
    *out = uint32_t(derived_.size() + std::count_if(header_->attributes.begin(), header_->attributes.end(),
                                                    [](const Attribute& a) { return a.stream == 0; }));
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::AddAttributeToTree(const char* name, IMPAMetaProperty* root) const {
    if (!header_) return TV_E_POINTER;
    const Attribute* a = name ? Find(name) : nullptr;
    if (!a) return TV_E_PROP_NOTFOUND;
    return CWMMetaProperty(*a).AddToTree(root);
}

std::optional<Picture> CWMHeaderInfo::FrontCover() const {
    if (!header_) return std::nullopt;
    for (const auto& a : header_->attributes)
        if (a.stream == 0 && a.name == kPictureName && a.type == AttrType::Binary)
            if (auto p = ParsePictureRecord(a.value, true)) return p;
    return std::nullopt;
}

HRESULT CWMHeaderInfo::ReadCoverArt(IMPAMetaProperty* root) const {
    if (!root) return TV_E_POINTER;
    if (!header_) return TV_E_POINTER;
    const auto picture = FrontCover();
    if (!picture) return TV_E_PROP_NOTFOUND;
    ComPtr<IMPAMetaProperty> album;
    if (Failed(root->FindFirstChild("Album", album.put())) || !album) {
        if (const HRESULT hr = root->AddGroup("Album", 0, true, album.put()); Failed(hr) || !album) return TV_E_FAIL;
    }
    ComPtr<IMPAMetaProperty> cover;
    const uint8_t empty = 0;
    if (const HRESULT hr = album->AddProperty("Cover Art", kTypeReference, kFlagReadOnly, &empty, 1, true, cover.put());
        Failed(hr) || !cover)
        return Failed(hr) ? hr : TV_E_FAIL;
    HRESULT hr = cover->AddText(kPropMimeType, picture->mime.c_str(), 0, true, nullptr);
    if (Succeeded(hr)) hr = cover->AddText(kPropExtension, "", kFlagType, true, nullptr);
    if (Succeeded(hr)) hr = cover->AddNumber(kPropDataSize, uint32_t(picture->data.size()), kFlagType, true, nullptr);
    if (Succeeded(hr)) hr = cover->AddNumber("SingleLine", 1, kFlagType, true, nullptr);
    return hr;
}

HRESULT CWMHeaderInfo::CopyCoverArt(uint8_t* buffer, uint32_t size) const {
    if (!buffer) return TV_E_POINTER;
    if (!header_) return TV_E_POINTER;
    const auto picture = FrontCover();
    if (!picture) return TV_E_PROP_NOTFOUND;
    std::copy_n(picture->data.begin(), std::min<size_t>(size, picture->data.size()), buffer);
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::SaveCoverArtToFile(const char* path) const {
    if (!path) return TV_E_POINTER;
    if (!header_) return TV_E_POINTER;
    const auto picture = FrontCover();
    if (!picture) return TV_E_PROP_NOTFOUND;
    std::unique_ptr<FILE, int (*)(FILE*)> out(std::fopen(path, "wb"), std::fclose);
    if (!out) return TV_E_FAIL;
    if (std::fwrite(picture->data.data(), 1, picture->data.size(), out.get()) != picture->data.size()) return TV_E_FAIL;
    return std::fclose(out.release()) == 0 ? TV_S_OK : TV_E_FAIL;
}

HRESULT CWMHeaderInfo::SetCoverArt(const Picture& picture) {
    if (!header_) return TV_E_POINTER;
    Attribute a;
    a.name = kPictureName;
    a.type = AttrType::Binary;
    a.value = PictureRecord(picture);
    for (auto& old : header_->attributes)
        if (old.stream == 0 && old.name == kPictureName && ParsePictureRecord(old.value, true)) {
            old.value = std::move(a.value);
            changed_ = true;
            return TV_S_OK;
        }
    const bool second = Find(kPictureName) != nullptr;
    a.home = HomeFor(a, second);
    header_->attributes.push_back(std::move(a));
    changed_ = true;
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::DeleteCoverArt() {
    if (!header_) return TV_E_POINTER;
    auto& all = header_->attributes;
    const auto gone = std::remove_if(all.begin(), all.end(), [](const Attribute& a) {
        return a.stream == 0 && a.name == kPictureName && ParsePictureRecord(a.value, true);
    });
    if (gone == all.end()) return TV_E_PROP_NOTFOUND;
    all.erase(gone, all.end());
    changed_ = true;
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::SetAttribute(const Attribute& attribute) {
    if (!header_) return TV_E_POINTER;
    if (IsDerived(attribute.name)) return MapRuntimeResult(static_cast<HRESULT>(0xC00D0BBDu));
    for (auto& old : header_->attributes)
        if (old.stream == 0 && old.name == attribute.name) {
            old.type = attribute.type;
            old.value = attribute.value;
            changed_ = true;
            return TV_S_OK;
        }
    Attribute a = attribute;
    a.home = HomeFor(a, false);
    header_->attributes.push_back(std::move(a));
    changed_ = true;
    return TV_S_OK;
}

HRESULT CWMHeaderInfo::DeleteAttribute(const std::string& name) {
    if (!header_) return TV_E_POINTER;
    if (IsDerived(name)) return MapRuntimeResult(static_cast<HRESULT>(0xC00D0BBDu));
    auto& all = header_->attributes;
    const auto gone = std::remove_if(all.begin(), all.end(), [&](const Attribute& a) { return a.stream == 0 && a.name == name; });
    if (gone == all.end()) return TV_E_PROP_NOTFOUND;
    all.erase(gone, all.end());
    changed_ = true;
    return TV_S_OK;
}

size_t CWMHeaderInfo::RemoveFileAttributes() {
    if (!header_) return 0;
    auto& all = header_->attributes;
    const auto gone = std::remove_if(all.begin(), all.end(), [](const Attribute& a) { return a.stream == 0; });
    const size_t count = size_t(all.end() - gone);
    all.erase(gone, all.end());
    changed_ = changed_ || count > 0;
    return count;
}

}  // namespace tagvera::wm
