// What the format benchmarks time, through an importer as a host drives it: interrogation (create,
// SetFilename, Interrogate, release) and a title edit (the same, then "Track:Name" changed and
// WriteMetaProperties, with a count of the edits the write report calls in place and the rest,
// rewritten). newImporter makes one importer, through a host or in process.
#ifndef TAGVERA_BENCH_COMMON_IMPORTER_LOOPS_H
#define TAGVERA_BENCH_COMMON_IMPORTER_LOOPS_H

#include <cstdio>
#include <cstring>
#include <functional>

#include "tagvera/com_ptr.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/mp3.h"
#include "tagvera/vocabulary.h"

namespace tagvera::bench {

using NewImporter = std::function<ComPtr<IMPAInterrogateFile>()>;

inline int InterrogateAll(const NewImporter& newImporter, int count, char** files) {
    int failed = 0;
    for (int i = 0; i < count; ++i) {
        auto importer = newImporter();
        ComPtr<IMPAMetaProperty> tree;
        if (!importer || Failed(importer->SetFilename(files[i])) || Failed(importer->Interrogate(tree.put()))) ++failed;
    }
    return failed == 0 ? 0 : 1;
}

inline int EditTitles(const NewImporter& newImporter, const char* title, int count, char** files) {
    int inPlace = 0, rewritten = 0, failed = 0;
    for (int i = 0; i < count; ++i) {
        auto importer = newImporter();
        ComPtr<IMPAMetaProperty> tree, node;
        if (!importer || Failed(importer->SetFilename(files[i])) || Failed(importer->Interrogate(tree.put())) ||
            Failed(tree->AddText("Track:Name", title, 0, true, node.put()))) {
            ++failed;
            continue;
        }
        node->SetChanged(kChanged);
        auto handler = QueryAs<IMPAHandleMetaProperties>(importer.get(), IID_IMPAHandleMetaProperties);
        if (!handler || Failed(handler->WriteMetaProperties(tree.get(), handler.get(), 0))) {
            ++failed;
            continue;
        }
        auto report = QueryAs<IMPAWriteReport>(importer.get(), IID_IMPAWriteReport);
        char text[1024] = {};
        uint32_t size = sizeof text;
        if (report) report->GetWriteReport(text, &size);
        (std::strstr(text, "in place") ? inPlace : rewritten)++;
    }
    std::printf("in place %d, rewritten %d, failed %d\n", inPlace, rewritten, failed);
    return failed == 0 ? 0 : 1;
}

}  // namespace tagvera::bench

#endif
