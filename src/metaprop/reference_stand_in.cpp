#include "metaprop/reference_stand_in.h"

#include <string>
#include <vector>

#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "metaprop/vocabulary.h"
#include "platform/file.h"

namespace tagvera {
namespace {

const uint8_t kEmptyString[1] = {0};

// The file's size and, when asked, its bytes; false when it cannot be opened or is larger than a
// reference may be. Only regular files: a host's name must not make writing wait on a pipe or
// read a device.
bool ReadReferencedFile(const std::string& path, bool wantBytes, uint32_t* size, std::vector<uint8_t>* bytes,
                        bool* bytesRead) {
    *bytesRead = false;
    if (!platform::IsRegularFile(path)) return false;
    try {
        platform::File file(path, platform::OpenMode::Read);
        if (file.size() > kMaxReferenceBytes) return false;
        *size = static_cast<uint32_t>(file.size());
        if (wantBytes) {
            try {
                *bytes = file.readExact(0, *size);
                *bytesRead = true;
            } catch (const Error&) {
                // Opened but unreadable: the size still stands, the bytes do not.
            }
        }
        return true;
    } catch (const Error&) {
        return false;
    }
}

}  // namespace

ComPtr<IMPAMetaProperty> MakeReferenceStandIn(IMPAMetaProperty* node, uint32_t type, bool embedFile) {
    ComPtr<IMPAMetaProperty> clone;
    ThrowIfFailed(node->Clone(clone.put()), "cannot clone a reference");
    if (!clone) throw Error(TV_E_FAIL, "cannot clone a reference");
    ThrowIfFailed(clone->SetType(kTypeReference), "cannot retype a reference");

    if (type == kTypeFileReference) {
        const std::string path(ValueText(ValueOf(node)));
        const std::string extension = platform::ExtensionOf(path);
        ThrowIfFailed(clone->AddText(kPropExtension, extension.c_str(), kFlagType, true, nullptr),
                      "cannot add a reference's extension");
        uint32_t size = 0;
        std::vector<uint8_t> bytes;
        bool haveBytes = false;
        if (!path.empty() && ReadReferencedFile(path, embedFile, &size, &bytes, &haveBytes))
            ThrowIfFailed(clone->AddNumber(kPropDataSize, size, kFlagType, true, nullptr),
                          "cannot add a reference's size");
        if (embedFile) {
            const HRESULT hr = haveBytes && !bytes.empty() ? clone->SetValue(bytes.data(), size)
                                                           : clone->SetValue(kEmptyString, sizeof kEmptyString);
            ThrowIfFailed(hr, "cannot store a referenced file's bytes");
        }
    } else {
        const uint32_t size = static_cast<uint32_t>(ValueOf(node).size());
        ThrowIfFailed(clone->AddNumber(kPropDataSize, size, kFlagType, true, nullptr),
                      "cannot add a reference's size");
    }
    return clone;
}

}  // namespace tagvera
