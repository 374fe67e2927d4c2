// The ids of the ASF objects this layer knows and their names. An object that is not here is
// still kept, byte for byte, wherever it stood.
#ifndef TAGVERA_WM_ASF_OBJECTS_H
#define TAGVERA_WM_ASF_OBJECTS_H

#include "wm/asf_guid.h"

namespace tagvera::wm::ids {

inline constexpr Guid kHeader = GuidOf("75B22630-668E-11CF-A6D9-00AA0062CE6C");
inline constexpr Guid kData = GuidOf("75B22636-668E-11CF-A6D9-00AA0062CE6C");
inline constexpr Guid kSimpleIndex = GuidOf("33000890-E5B1-11CF-89F4-00A0C90349CB");
inline constexpr Guid kIndex = GuidOf("D6E229D3-35DA-11D1-9034-00A0C90349BE");
inline constexpr Guid kFileProperties = GuidOf("8CABDCA1-A947-11CF-8EE4-00C00C205365");
inline constexpr Guid kStreamProperties = GuidOf("B7DC0791-A9B7-11CF-8EE6-00C00C205365");
inline constexpr Guid kHeaderExtension = GuidOf("5FBF03B5-A92E-11CF-8EE3-00C00C205365");
inline constexpr Guid kContentDescription = GuidOf("75B22633-668E-11CF-A6D9-00AA0062CE6C");
inline constexpr Guid kExtendedContentDescription = GuidOf("D2D0A440-E307-11D2-97F0-00A0C95EA850");
inline constexpr Guid kStreamBitrateProperties = GuidOf("7BF875CE-468D-11D1-8D82-006097C9A2B2");
inline constexpr Guid kPadding = GuidOf("1806D474-CADF-4509-A4BA-9AABCB96AAE8");
inline constexpr Guid kExtendedStreamProperties = GuidOf("14E6A5CB-C672-4332-8399-A96952065B5A");
inline constexpr Guid kLanguageList = GuidOf("7C4346A9-EFE0-4BFC-B229-393EDE415C85");
inline constexpr Guid kMetadata = GuidOf("C5F8CBEA-5BAF-4877-8467-AA8C44FA4CCA");
inline constexpr Guid kMetadataLibrary = GuidOf("44231C94-9498-49D1-A141-1D134E457054");
// The first reserved field of a header extension holds this id.
inline constexpr Guid kHeaderExtensionReserved = GuidOf("ABD3D211-A9BA-11CF-8EE6-00C00C205365");
inline constexpr Guid kAudioMedia = GuidOf("F8699E40-5B4D-11CF-A8FD-00805F5C442B");
inline constexpr Guid kVideoMedia = GuidOf("BC19EFC0-5B4D-11CF-A8FD-00805F5C442B");

// "Content Description", or null for an id not in the table.
const char* ObjectName(const Guid& id);

}  // namespace tagvera::wm::ids

#endif
