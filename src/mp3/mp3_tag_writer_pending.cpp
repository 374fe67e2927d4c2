// Writing MP3 tags is not built yet: both operations answer E_NOTIMPL until the tag writer's own
// sources replace this file.
#include "mp3/mp3_tag_writer.h"

namespace tagvera {

HRESULT WriteMp3Tags(CImportMP3File&, IMPAMetaProperty*, IMPAHandleMetaProperties*, uint32_t, uint32_t) {
    return TV_E_NOTIMPL;
}

HRESULT RemoveMp3Tags(CImportMP3File&) { return TV_E_NOTIMPL; }

}  // namespace tagvera
