// CImportMP3File's structure report: a file's ID3 tags frame by frame, and the frames its tree
// leaves out, read afresh from any path.
#include <string>

#include "mp3/mp3_importer.h"
#include "package/importer_kit/property_tree.h"
#include "package/importer_kit/structure_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tags/id3v2/frame_report.h"
#include "tags/id3v2/json_report.h"
#include "tags/id3v2/tag_reader.h"

namespace tagvera {
namespace {

platform::File OpenRegular(const char* path) {
    platform::File opened = platform::OpenForReading(path);
    if (!opened.regular()) throw Error(TV_E_FAIL, "not a regular file");
    return opened;
}

}  // namespace

HRESULT CImportMP3File::GetStructureReport(const char* path, uint32_t form, IKMABuffer** report,
                                           IKMABuffer** reason) {
    if (form == kStructureLeftOut) {
        return AnswerLeftOutReport(path, report, reason, [&](const char* file) {
            std::string lines;
            // The tree just read from the same file knows; another file is read into a tree of its own.
            if (id3v2_ && file == path_ && Succeeded(id3v2_->GetLeftOutLines(&lines))) return lines;
            ComPtr<IMPAID3v2Parser> parser;
            ComPtr<IMPAMetaProperty> tree;
            platform::File opened = OpenRegular(file);
            uint32_t tagSize = 0;
            HRESULT hr = CreateID3v2Parser(classFactory(), parser.put());
            if (Succeeded(hr)) hr = parser->LinkSource(&opened, file, &tagSize, kLinkId3v2Only);
            if (Succeeded(hr)) hr = NewPropertyTree(classFactory(), tree);
            if (Succeeded(hr)) hr = parser->ReadProperties(tree.get());
            if (Succeeded(hr)) hr = parser->GetLeftOutLines(&lines);
            if (Failed(hr)) throw Error(hr, "its ID3v2 tags cannot be read");
            return lines;
        });
    }
    return AnswerStructureReport(path, form, report, reason, [](const char* file, bool json) {
        platform::File opened = OpenRegular(file);
        const id3v2::FileTags tags = id3v2::ReadFileTags(opened);
        return json ? id3v2::FramesJson(tags) : id3v2::FramesText(tags, file);
    });
}

}  // namespace tagvera
