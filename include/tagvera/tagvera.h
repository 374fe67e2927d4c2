// Everything a host needs: the ABI, the entry points, every interface and id, the components.
#ifndef TAGVERA_TAGVERA_H
#define TAGVERA_TAGVERA_H

#include "tagvera/abi.h"
#include "tagvera/buffer_text.h"
#include "tagvera/com_ptr.h"
#include "tagvera/components.h"
#include "tagvera/entry_points.h"
#include "tagvera/importer.h"
#include "tagvera/kmedia_edit.h"
#include "tagvera/media_platform.h"
#include "tagvera/metaprop.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/mp3.h"
#include "tagvera/plugin.h"
#include "tagvera/property_catalog.h"
#include "tagvera/structure_report.h"
#include "tagvera/tool_services.h"
#include "tagvera/values.h"
#include "tagvera/vocabulary.h"
#include "tagvera/xml.h"

#endif
