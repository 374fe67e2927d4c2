// IMPAFileProperties: typed shortcuts for the standard properties, each inside a top-level group.
#include <cstring>

#include "base/error.h"
#include "metaprop/meta_property.h"
#include "metaprop/vocabulary.h"

namespace tagvera {

HRESULT CMPAMetaProperty::StandardGroup(const char* group, ComPtr<IMPAMetaProperty>& out) {
    out.reset();
    return FindDirect(group, out);
}

// The buffer receives the text and *size its length without the NUL; on any failure an empty
// string (when the buffer has room for one) and 0.
HRESULT CMPAMetaProperty::GetStandardText(const char* group, const char* property, char* buffer, uint32_t* size) {
    if (!buffer || !size) return TV_E_POINTER;
    const uint32_t room = *size;
    const HRESULT hr = Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> groupNode, node;
        HRESULT found = StandardGroup(group, groupNode);
        if (Succeeded(found)) found = groupNode->FindFirstChild(property, node.put());
        if (Failed(found)) return found;
        uint32_t type = kTypeNone;
        node->GetType(&type);
        if (type != kTypeText) return TV_E_PROP_NOTFOUND;
        const uint8_t* data = nullptr;
        uint32_t valueSize = 0;
        node->GetValue(&data, &valueSize);
        if (!data) valueSize = 0;
        // A value without its NUL still comes out terminated.
        const size_t length = strnlen(reinterpret_cast<const char*>(data ? data : reinterpret_cast<const uint8_t*>("")),
                                      valueSize);
        if (valueSize > room || length + 1 > room) return TV_E_BUFFERTOOSMALL;
        if (length) std::memcpy(buffer, data, length);
        buffer[length] = '\0';
        *size = static_cast<uint32_t>(length);
        return TV_S_OK;
    });
    if (Failed(hr)) {
        if (room) buffer[0] = '\0';
        *size = 0;
    }
    return hr;
}

// Text is read as a decimal number, a 4-byte number as it is; anything else is E_FAIL. 0 on failure.
HRESULT CMPAMetaProperty::GetStandardNumber(const char* group, const char* property, uint32_t* value) {
    if (!value) return TV_E_POINTER;
    *value = 0;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> groupNode, node;
        HRESULT found = StandardGroup(group, groupNode);
        if (Succeeded(found)) found = groupNode->FindFirstChild(property, node.put());
        if (Failed(found)) return found;
        uint32_t type = kTypeNone;
        node->GetType(&type);
        const uint8_t* data = nullptr;
        uint32_t size = 0;
        node->GetValue(&data, &size);
        if (!data) size = 0;
        if (type == kTypeText) {
            *value = DecimalToNumber(std::string_view(reinterpret_cast<const char*>(data), size));
            return TV_S_OK;
        }
        if (type == kTypeNumber && size == 4) {
            *value = LoadNumber(data);
            return TV_S_OK;
        }
        return TV_E_FAIL;
    });
}

HRESULT CMPAMetaProperty::SetStandardText(const char* group, const char* property, const char* value, uint32_t flags) {
    if (!value) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> groupNode;
        if (Failed(StandardGroup(group, groupNode))) {
            const HRESULT hr = AddGroup(group, 0, true, groupNode.put());
            if (Failed(hr)) return hr;
            if (!groupNode) return TV_E_FAIL;
        }
        return groupNode->AddText(property, value, flags, true, nullptr);
    });
}

HRESULT CMPAMetaProperty::SetStandardNumber(const char* group, const char* property, uint32_t value, uint32_t flags) {
    return Guard([&]() -> HRESULT {
        ComPtr<IMPAMetaProperty> groupNode;
        if (Failed(StandardGroup(group, groupNode))) {
            const HRESULT hr = AddGroup(group, 0, true, groupNode.put());
            if (Failed(hr)) return hr;
            if (!groupNode) return TV_E_FAIL;
        }
        return groupNode->AddNumber(property, value, flags, true, nullptr);
    });
}

#define TV_TEXT_PROPERTY(Getter, Setter, group, property, flags)                                   \
    HRESULT CMPAMetaProperty::Getter(char* buffer, uint32_t* size) {                               \
        return GetStandardText(group, property, buffer, size);                                     \
    }                                                                                              \
    HRESULT CMPAMetaProperty::Setter(const char* value) { return SetStandardText(group, property, value, flags); }

#define TV_NUMBER_PROPERTY(Getter, Setter, group, property, flags)                                                 \
    HRESULT CMPAMetaProperty::Getter(uint32_t* value) { return GetStandardNumber(group, property, value); }        \
    HRESULT CMPAMetaProperty::Setter(uint32_t value) { return SetStandardNumber(group, property, value, flags); }

TV_TEXT_PROPERTY(GetFilename, SetFilename, kGroupStatistics, kPropFilename, kFlagReadOnly)
TV_TEXT_PROPERTY(GetTitle, SetTitle, kGroupTrack, kPropName, 0)
TV_TEXT_PROPERTY(GetArtist, SetArtist, kGroupArtist, kPropName, 0)
TV_TEXT_PROPERTY(GetAlbum, SetAlbum, kGroupAlbum, kPropName, 0)
TV_TEXT_PROPERTY(GetGenre, SetGenre, kGroupTrack, kPropGenre, 0)
TV_TEXT_PROPERTY(GetCopyright, SetCopyright, kGroupTrack, kPropCopyright, 0)
TV_TEXT_PROPERTY(GetPublisher, SetPublisher, kGroupCredits, kPropPublished, 0)
TV_TEXT_PROPERTY(GetComments, SetComments, kGroupTrack, kPropComments, 0)
TV_TEXT_PROPERTY(GetCodec, SetCodec, kGroupStatistics, kPropCodec, kFlagReadOnly)
TV_TEXT_PROPERTY(GetMimeType, SetMimeType, kGroupStatistics, kPropMimeType, kFlagReadOnly | kFlagPrivate)
TV_TEXT_PROPERTY(GetClosedLoopMarketing, SetClosedLoopMarketing, kGroupTrack, kPropClosedLoopMarketing, 0)
TV_NUMBER_PROPERTY(GetLength, SetLength, kGroupStatistics, kPropLength, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetChannels, SetChannels, kGroupStatistics, kPropChannels, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetFileSize, SetFileSize, kGroupStatistics, kPropFileSize, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetVBR, SetVBR, kGroupStatistics, kPropVBR, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetFileProtection, SetFileProtection, kGroupStatistics, kPropFileProtection, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetOriginalCopyFlag, SetOriginalCopyFlag, kGroupStatistics, kPropOriginalCopyFlag, kFlagReadOnly)
TV_NUMBER_PROPERTY(GetQuality, SetQuality, kGroupStatistics, kPropQuality, kFlagReadOnly)

#undef TV_TEXT_PROPERTY
#undef TV_NUMBER_PROPERTY

// Read as a number, written as text with at least two digits.
HRESULT CMPAMetaProperty::GetTrackNumber(uint32_t* value) {
    return GetStandardNumber(kGroupTrack, kPropCDTrackNumber, value);
}

HRESULT CMPAMetaProperty::SetTrackNumber(uint32_t value) {
    return Guard([&]() -> HRESULT { return SetStandardText(kGroupTrack, kPropCDTrackNumber, TrackNumberText(value).c_str(), 0); });
}

HRESULT CMPAMetaProperty::GetReserved22(uint32_t* a, uint32_t* b, uint32_t* c) {
    if (a) *a = 0;
    if (b) *b = 0;
    if (c) *c = 0;
    return TV_S_OK;
}

HRESULT CMPAMetaProperty::Reserved23() { return TV_E_NOTIMPL; }
HRESULT CMPAMetaProperty::Reserved43() { return TV_E_NOTIMPL; }

}  // namespace tagvera
