// CImportWMAFile: writing an edited tree back as header attributes, or removing them all. Only the
// header object changes; the editor writes it in place or rewrites the file around it.
#include <string>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "metaprop/property_access.h"
#include "package/importer_kit/write_report.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "tagvera/vocabulary.h"
#include "wm/wm_codes.h"
#include "wm/wm_importer.h"

namespace tagvera {
namespace {

std::string HowWritten(const wm::FlushOutcome& done) {
    if (!done.written) return "";
    return std::string(done.inPlace ? "header written in place, " : "file rewritten, header ") +
           std::to_string(done.headerSize) + " bytes with " + std::to_string(done.padding) + " of padding\n";
}

// A picture named by a reference the host put in its tree: a regular file of at most 256 MB.
wm::Picture PictureFromNode(IMPAMetaProperty* node) {
    const std::string path(ValueText(ValueOf(node)));
    platform::File file(path, platform::OpenMode::Read);
    if (!file.regular()) throw Error(TV_E_FAIL, "the picture is not a regular file");
    if (file.size() > kMaxReferenceBytes) throw Error(TV_E_FAIL, "the picture is larger than 256 MB");
    wm::Picture p;
    p.mime = ChildText(node, kPropMimeType);
    p.data = file.readExact(0, size_t(file.size()));
    return p;
}

}  // namespace

void CImportWMAFile::WriteGroup(IMPAMetaProperty* group, const std::string& groupName, bool force, std::string& report) {
    const auto children = ChildrenOf(group);
    const auto sameNamed = [&](const char* name, size_t upTo) {
        uint32_t n = 0;
        for (size_t i = 0; i < upTo; ++i)
            if (std::string_view(NameOf(children[i].get())) == name && TypeOf(children[i].get()) < kTypeGroup) ++n;
        return n;
    };
    for (size_t i = 0; i < children.size(); ++i) {
        IMPAMetaProperty* node = children[i].get();
        const std::string name = NameOf(node);
        const uint32_t type = TypeOf(node);
        const uint32_t changed = ChangedOf(node);
        const std::string path = groupName + ":" + name;
        if (name == "Cover Art" && (type == kTypeReference || type == kTypeFileReference)) {
            if (type == kTypeFileReference && changed != kDeleted && !ValueText(ValueOf(node)).empty()) {
                editor_.SetCoverArt(PictureFromNode(node));
                report += "set: " + path + " (WM/Picture)\n";
            } else if (changed == kDeleted || type == kTypeFileReference) {
                if (Succeeded(editor_.DeleteCoverArt())) report += "removed: " + path + " (WM/Picture)\n";
            }
            continue;
        }
        if (type == kTypeGroup || type == kTypeReference) {
            WriteGroup(node, groupName, force, report);
            continue;
        }
        if (type > kTypeGroup || (!force && !changed)) continue;
        if (FlagsOf(node) & kFlagReadOnly) {
            if (changed) report += "not written: " + path + " is read from the file, not a tag\n";
            continue;
        }
        const auto prop = wm::CWMMetaProperty::FromNode(
            node, groupName, sameNamed(name.c_str(), i) + 1, sameNamed(name.c_str(), children.size()),
            [&](const std::string& attr) { return editor_.TypeOfAttribute(attr); });
        const std::string attribute = prop.name().narrow();
        if (changed == kDeleted) {
            if (Succeeded(editor_.DeleteAttribute(attribute))) report += "removed: " + path + " (" + attribute + ")\n";
        } else if (Succeeded(editor_.SetAttribute(prop.ToAttribute()))) {
            report += "set: " + path + " (" + attribute + ")\n";
        } else {
            report += "not written: " + path + " (" + attribute + ") is read only\n";
        }
    }
}

HRESULT CImportWMAFile::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties*, uint32_t force) {
    if (!tree) return TV_E_POINTER;
    writeReport_.clear();
    try {
        if (const HRESULT hr = editor_.OpenForWriting(); Failed(hr)) {
            NotWritten(writeReport_, editor_.problem().empty() ? "the file cannot be opened" : editor_.problem());
            return TV_E_FAIL;
        }
        std::string report;
        for (const auto& group : ChildrenOf(tree)) {
            const uint32_t type = TypeOf(group.get());
            if (type == kTypeGroup || type == kTypeReference) WriteGroup(group.get(), NameOf(group.get()), force != 0, report);
        }
        wm::FlushOutcome done;
        const HRESULT flushed = editor_.Flush(&done);
        if (Failed(flushed)) {
            NotWritten(writeReport_, editor_.problem());
            editor_.Close();
            return flushed;
        }
        editor_.Close();
        writeReport_ = report + HowWritten(done);
        loaded_ = false;
        tree_.reset();
        ComPtr<IMPAMetaProperty> again;
        Interrogate(again.put());
        return TV_S_INCOMPLETE;
    } catch (const std::bad_alloc&) {
        editor_.Close();
        NotWritten(writeReport_, "out of memory");
        return TV_E_OUTOFMEMORY;
    } catch (const std::exception& e) {
        editor_.Close();
        NotWritten(writeReport_, e.what());
        return TV_E_FAIL;
    }
}

// A host strips a Windows Media file by deleting what it wants gone from the tree; tagvera's own
// callers may ask for every file attribute to go (kMp3WriteRemoveEverything).
HRESULT CImportWMAFile::Prepare(uint32_t) { return TV_E_NOTIMPL; }

HRESULT CImportWMAFile::WriteMetaProperties2(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force, uint32_t options) {
    if (options & kMp3WriteDryRun) return TV_E_NOTIMPL;
    if (!(options & kMp3WriteRemoveEverything)) return WriteMetaProperties(tree, dataSource, force);
    writeReport_.clear();
    try {
        if (const HRESULT hr = editor_.OpenForWriting(); Failed(hr)) {
            NotWritten(writeReport_, editor_.problem().empty() ? "the file cannot be opened" : editor_.problem());
            return hr;
        }
        const size_t removed = editor_.RemoveFileAttributes();
        wm::FlushOutcome done;
        const HRESULT flushed = editor_.Flush(&done);
        editor_.Close();
        if (Failed(flushed)) {
            NotWritten(writeReport_, editor_.problem());
            return flushed;
        }
        if (removed) writeReport_ = "removed: " + std::to_string(removed) + " attributes\n" + HowWritten(done);
        loaded_ = false;
        tree_.reset();
        return TV_S_OK;
    } catch (const std::bad_alloc&) {
        editor_.Close();
        NotWritten(writeReport_, "out of memory");
        return TV_E_OUTOFMEMORY;
    } catch (const std::exception& e) {
        editor_.Close();
        NotWritten(writeReport_, e.what());
        return TV_E_FAIL;
    }
}

}  // namespace tagvera
