// CToolsDLL: where the edit engine's reader and copiers come from, each with one reference.
#ifndef TAGVERA_KMEDIA_EDIT_TOOLS_DLL_H
#define TAGVERA_KMEDIA_EDIT_TOOLS_DLL_H

#include "tagvera/kmedia_edit.h"

namespace tagvera::kmedia {

class CToolsDLL {
public:
    static HRESULT CreateReader(IKMAKMFF4Reader** out);
    // CKMFFCopy: checks a request and picks the copier for the input's kind.
    static HRESULT CreateCopier(IKMAKMFFCopy2** out);
    // CKMFF3Copy: writes the file.
    static HRESULT CreateDirectCopier(IKMAKMFFCopy2** out);
};

}  // namespace tagvera::kmedia

#endif
