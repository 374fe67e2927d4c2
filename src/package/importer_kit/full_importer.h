// The base of an importer that offers a host everything: interrogation, writing (with the write
// options), the structure report, the property catalog and the write report, and with a light form
// the interrogation that skips what is costly to read. It answers QueryInterface for that set and
// hands out the report of the last write; the importer implements the other operations and its one
// OpenFile (set_filename_shims.h).
#ifndef TAGVERA_PACKAGE_IMPORTER_KIT_FULL_IMPORTER_H
#define TAGVERA_PACKAGE_IMPORTER_KIT_FULL_IMPORTER_H

#include <string>
#include <type_traits>

#include "component/context_user.h"
#include "component/unknown.h"
#include "package/importer_kit/list_copy.h"
#include "package/importer_kit/set_filename_shims.h"
#include "tagvera/importer.h"
#include "tagvera/mp3.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"

namespace tagvera {

enum class LightForm { None, Offered };

struct NoLightForm {};

template <LightForm light>
class CFullImporter : public CUnknownIMP,
                      public CKCAContextUserMixin,
                      public SetFilenameOpens<IMPAInterrogateFile, OpenForm::Full>,
                      public SetFilenameOpens<IMPAHandleMetaProperties2, OpenForm::Full>,
                      public std::conditional_t<light == LightForm::Offered,
                                                SetFilenameOpens<IMPAInterrogateLite, OpenForm::Light>, NoLightForm>,
                      public IMPAStructureReport,
                      public IMPAPropertyCatalog,
                      public IMPAWriteReport {
public:
    TV_IMPLEMENT_IUNKNOWN

    HRESULT InternalQueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown) return Hand(static_cast<IUnknown*>(static_cast<CUnknownIMP*>(this)), out);
        if (iid == IID_IKNContextUser) return Hand(static_cast<IKNContextUser*>(this), out);
        if (iid == IID_IMPAInterrogateFile) return Hand(static_cast<IMPAInterrogateFile*>(this), out);
        if (iid == IID_IMPAHandleMetaProperties2 || iid == IID_IMPAHandleMetaProperties)
            return Hand(static_cast<IMPAHandleMetaProperties2*>(this), out);
        if constexpr (light == LightForm::Offered)
            if (iid == IID_IMPAInterrogateLite) return Hand(static_cast<IMPAInterrogateLite*>(this), out);
        if (iid == IID_IMPAStructureReport) return Hand(static_cast<IMPAStructureReport*>(this), out);
        if (iid == IID_IMPAPropertyCatalog) return Hand(static_cast<IMPAPropertyCatalog*>(this), out);
        if (iid == IID_IMPAWriteReport) return Hand(static_cast<IMPAWriteReport*>(this), out);
        return NoInterface(out);
    }

    HRESULT TV_STDCALL GetWriteReport(char* buffer, uint32_t* size) override {
        return CopyListOut(writeReport_, buffer, size);
    }

protected:
    std::string writeReport_;  // the lines of the last write
};

}  // namespace tagvera

#endif
