// CKMFF3Copy: writes the output file of a copy request through the edit engine's stream converter:
// the first input's packets unchanged, with the request's headers.
#ifndef TAGVERA_KMEDIA_EDIT_KM_FF3_COPY_H
#define TAGVERA_KMEDIA_EDIT_KM_FF3_COPY_H

#include "kmedia/edit/km_copier.h"

namespace tagvera::kmedia {

class CKMFF3Copy : public CKMCopier {
public:
    // No input: 0x800403C3. Several inputs are checked against the first (E_FAIL when they differ)
    // and then refused with 0x80004001: joining files is not built.
    HRESULT TV_STDCALL Run() override;
};

}  // namespace tagvera::kmedia

#endif
