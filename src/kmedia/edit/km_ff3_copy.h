// CKMFF3Copy: writes the output file of a copy request through the edit engine's stream converter:
// the packets of every input in turn, unchanged in payload, with the request's headers over the
// first input's.
#ifndef TAGVERA_KMEDIA_EDIT_KM_FF3_COPY_H
#define TAGVERA_KMEDIA_EDIT_KM_FF3_COPY_H

#include "kmedia/edit/km_copier.h"

namespace tagvera::kmedia {

class CKMFF3Copy : public CKMCopier {
public:
    // No input: 0x800403C3. Several inputs are checked against the first (E_FAIL when they differ,
    // nothing written) and joined, each later one's time running on from the ones before it.
    HRESULT TV_STDCALL Run() override;
};

}  // namespace tagvera::kmedia

#endif
