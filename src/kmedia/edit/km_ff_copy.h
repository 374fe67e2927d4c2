// CKMFFCopy: checks a copy request and hands it to the copier for the input's kind.
#ifndef TAGVERA_KMEDIA_EDIT_KM_FF_COPY_H
#define TAGVERA_KMEDIA_EDIT_KM_FF_COPY_H

#include "kmedia/edit/km_copier.h"

namespace tagvera::kmedia {

class CKMFFCopy : public CKMCopier {
public:
    // 0x800403C3 no input, 0x800403C4 no output, 0x800403D6 an output that cannot be opened or
    // created, 0x800403C2 an end not after the start, 0x800403C5 an output that is an input,
    // 0x80040005 an input of a kind no copier takes; else the copier's result.
    HRESULT TV_STDCALL Run() override;
};

}  // namespace tagvera::kmedia

#endif
