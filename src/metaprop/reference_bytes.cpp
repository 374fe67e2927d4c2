#include "metaprop/reference_bytes.h"

#include <string>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "platform/file.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

std::optional<std::vector<uint8_t>> ReferenceBytes(IMPAMetaProperty* property, uint32_t type,
                                                   IMPAHandleMetaProperties* dataSource) {
    if (type == kTypeDataReference) {
        const auto v = ValueOf(property);
        return std::vector<uint8_t>(v.begin(), v.end());
    }
    if (type == kTypeFileReference) {
        const std::string path(ValueText(ValueOf(property)));
        // Only a host puts a file name here (names read from blocks arrive without one); a pipe,
        // device or directory would block or never end.
        if (path.empty() || !platform::IsRegularFile(path)) return std::nullopt;
        try {
            platform::File file(path, platform::OpenMode::Read);
            if (file.size() > kMaxReferenceBytes) return std::nullopt;
            return file.readExact(0, static_cast<size_t>(file.size()));
        } catch (const Error&) {
            return std::nullopt;
        }
    }
    if (type != kTypeReference || !dataSource) return std::nullopt;
    uint32_t size = 0;
    if (!ChildNumber(property, "DataSize", &size) || size == 0 || size > kMaxReferenceBytes) return std::nullopt;
    std::vector<uint8_t> bytes(size, 0);
    if (Failed(dataSource->GetPropertyData(property, bytes.data(), size))) return std::nullopt;
    return bytes;
}

}  // namespace tagvera
