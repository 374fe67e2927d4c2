// IKMAToolServices for the package object: the platform's safe write, file-system sync and
// preference store, handed to tools through the ABI so that they keep no copy of their own.
#ifndef TAGVERA_PACKAGE_TOOL_SERVICES_H
#define TAGVERA_PACKAGE_TOOL_SERVICES_H

#include "tagvera/tool_services.h"

namespace tagvera {

// IUnknown is left to the object that derives from it.
class PackageToolServices : public IKMAToolServices {
public:
    HRESULT TV_STDCALL WriteFileSafely(const char* path, const uint8_t* bytes, uint32_t size,
                                       IKMABuffer** reason) override;
    HRESULT TV_STDCALL SyncFiles(const char* const* paths, uint32_t count, IKMABuffer** reason) override;
    HRESULT TV_STDCALL GetPreferencesLocation(IKMABuffer** location) override;
    HRESULT TV_STDCALL GetPreferences(IKMAValues** list, IKMABuffer** reason) override;
    HRESULT TV_STDCALL SetPreferenceNumber(const char* name, uint32_t value, IKMABuffer** reason) override;
    HRESULT TV_STDCALL SetPreferenceText(const char* name, const char* value, IKMABuffer** reason) override;
    HRESULT TV_STDCALL RemovePreference(const char* name, IKMABuffer** reason) override;
    HRESULT TV_STDCALL RenameFile(const char* from, const char* to, IKMABuffer** reason) override;

protected:
    ~PackageToolServices() = default;
};

}  // namespace tagvera

#endif
