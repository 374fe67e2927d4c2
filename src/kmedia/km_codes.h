// KorvaMedia's own result codes and object identifiers.
#ifndef TAGVERA_KMEDIA_KM_CODES_H
#define TAGVERA_KMEDIA_KM_CODES_H

#include <cstdint>
#include <string>

#include "tagvera/abi.h"

namespace tagvera::kmedia {

// The first object is neither ".KMF" nor ".KMS".
inline constexpr HRESULT kKmNotKorvaMedia = static_cast<HRESULT>(0x80040081u);
// The file header's version is newer than 1.
inline constexpr HRESULT kKmFileVersionTooNew = static_cast<HRESULT>(0x80040005u);
// A bare KorvaAudio file (".ka" first), which the importer leaves to others.
inline constexpr HRESULT kKmBareKorvaAudio = static_cast<HRESULT>(0x80200003u);
// A stream header asked for past the last one.
inline constexpr HRESULT kKmNoSuchStream = static_cast<HRESULT>(0x00040012u);

constexpr uint32_t FourCC(const char (&s)[5]) {
    return uint32_t(uint8_t(s[0])) << 24 | uint32_t(uint8_t(s[1])) << 16 | uint32_t(uint8_t(s[2])) << 8 |
           uint32_t(uint8_t(s[3]));
}

inline constexpr uint32_t kIdFileHeader = FourCC(".KMF");
inline constexpr uint32_t kIdStreamFileHeader = FourCC(".KMS");
inline constexpr uint32_t kIdProperties = FourCC("PROP");
inline constexpr uint32_t kIdContent = FourCC("CONT");
inline constexpr uint32_t kIdMediaProperties = FourCC("MDPR");
inline constexpr uint32_t kIdData = FourCC("DATA");
inline constexpr uint32_t kIdIndex = FourCC("INDX");

// The four characters of an identifier, with anything unprintable as '.'.
inline std::string FourCCText(uint32_t id) {
    std::string s(4, '.');
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>((id >> (24 - 8 * i)) & 0xFF);
        if (c >= 0x20 && c < 0x7F) s[static_cast<size_t>(i)] = c;
    }
    return s;
}

}  // namespace tagvera::kmedia

#endif
