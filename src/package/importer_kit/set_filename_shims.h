// Each importer interface has its own SetFilename slot, and an importer may open a file another
// way through one of them (IMPAInterrogateLite skips what is costly to read). C++ would give all
// of them one body, so each interface comes in through a shim that routes its slot, with the form
// it stands for, to the importer's one OpenFile.
//
//     class CImportXFile : public CUnknownIMP, public CKCAContextUserMixin,
//                          public SetFilenameOpens<IMPAInterrogateFile, OpenForm::Full>,
//                          public SetFilenameOpens<IMPAInterrogateLite, OpenForm::Light> {
//         HRESULT OpenFile(const char* path, OpenForm form) override;
//     };
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_SET_FILENAME_SHIMS_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_SET_FILENAME_SHIMS_H

#include "tagvera/abi.h"

namespace tagvera {

enum class OpenForm { Full, Light };

template <class Interface, OpenForm form>
struct SetFilenameOpens : Interface {
    HRESULT TV_STDCALL SetFilename(const char* path) final { return OpenFile(path, form); }
    virtual HRESULT OpenFile(const char* path, OpenForm how) = 0;
};

}  // namespace tagvera

#endif
