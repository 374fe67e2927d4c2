// The MP3 importer's write side as a host drives it: open, interrogate, edit the tree, write,
// read back; preferences in a file of the test's own; what other tools read from the result.
#ifndef TAGVERA_TESTS_MP3_WRITE_WRITE_SUPPORT_H
#define TAGVERA_TESTS_MP3_WRITE_WRITE_SUPPORT_H

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tags/id3v2/file_write.h"
#include "mp3/mp3_importer.h"
#include "mp3_importer/mp3_builder.h"
#include "mp3_importer/preferences_file.h"
#include "mp3_importer/tree_support.h"
#include "platform/file.h"
#include "platform/scratch_dir.h"
#include "tagvera/com_ptr.h"
#include "tagvera/mp3.h"
#include "tagvera/vocabulary.h"

namespace tagvera::testing {

// Each test's own folder, and the default preferences: every tag on.
class Mp3WriteTest : public ::testing::Test {
protected:
    PreferencesFile prefs{""};
    test::ScratchDir dir;
};

// The importer, linked into the test (so that platform fault injection reaches its file calls).
inline ComPtr<IMPAInterrogateFile> NewMp3Importer() {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(CreateImportMP3File(nullptr, nullptr, unknown.put()), TV_S_OK);
    return QueryAs<IMPAInterrogateFile>(unknown.get(), IID_IMPAInterrogateFile);
}

struct Mp3Session {
    ComPtr<IMPAInterrogateFile> importer;
    ComPtr<IMPAMetaProperty> tree;
    HRESULT open = TV_E_FAIL;
    HRESULT interrogate = TV_E_FAIL;

    ComPtr<IMPAHandleMetaProperties2> writer() const {
        return QueryAs<IMPAHandleMetaProperties2>(importer.get(), IID_IMPAHandleMetaProperties2);
    }
    // The importer is its own data source, for the on-demand data it read.
    HRESULT Write(uint32_t options = 0) const { return writer()->WriteMetaProperties2(tree.get(), writer().get(), 0, options); }
    std::string Report() const {
        auto r = QueryAs<IMPAWriteReport>(importer.get(), IID_IMPAWriteReport);
        char buffer[4096] = {};
        uint32_t size = sizeof buffer;
        if (!r || Failed(r->GetWriteReport(buffer, &size))) return "?";
        return buffer;
    }
    std::string text(const char* path) const { return tree ? TextAt(tree.get(), path) : ""; }
    uint32_t number(const char* path) const { return tree ? NumberAt(tree.get(), path) : UINT32_MAX; }
    bool has(const char* path) const { return tree && NodeAt(tree.get(), path); }
    // The bytes of an on-demand property, through the importer.
    std::vector<uint8_t> Data(const char* path) const {
        auto node = NodeAt(tree.get(), path);
        const uint32_t size = node ? NumberAt(node.get(), "DataSize") : UINT32_MAX;
        if (size == UINT32_MAX) return {};
        std::vector<uint8_t> out(size);
        if (Failed(writer()->GetPropertyData(node.get(), out.data(), size))) return {};
        return out;
    }
};

inline Mp3Session OpenMp3(const std::string& path, bool xingRepair = true) {
    Mp3Session s;
    s.importer = NewMp3Importer();
    if (!s.importer) return s;
    s.importer->SetOption(kMp3OptionXingRepair, xingRepair ? 1 : 0);
    s.open = s.importer->SetFilename(path.c_str());
    if (Failed(s.open)) return s;
    s.interrogate = s.importer->Interrogate(s.tree.put());
    return s;
}

// As a host edits: a new node replaces the old one and is marked changed.
inline ComPtr<IMPAMetaProperty> SetProperty(IMPAMetaProperty* tree, const std::string& path, uint32_t type,
                                            const std::vector<uint8_t>& value) {
    ComPtr<IMPAMetaProperty> node;
    EXPECT_EQ(tree->AddProperty(path.c_str(), type, 0, value.data(), static_cast<uint32_t>(value.size()), true, node.put()),
              TV_S_OK);
    if (node) node->SetChanged(kChanged);
    return node;
}

inline ComPtr<IMPAMetaProperty> SetText(IMPAMetaProperty* tree, const std::string& path, const std::string& value) {
    return SetProperty(tree, path, kTypeText, Cstr(value));
}

inline ComPtr<IMPAMetaProperty> SetNumber(IMPAMetaProperty* tree, const std::string& path, uint32_t n) {
    return SetProperty(tree, path, kTypeNumber, {uint8_t(n), uint8_t(n >> 8), uint8_t(n >> 16), uint8_t(n >> 24)});
}

// A picture named by a file (type 11), as a host hands over a new cover.
inline ComPtr<IMPAMetaProperty> SetPictureFile(IMPAMetaProperty* tree, const std::string& path, const std::string& file) {
    auto node = SetProperty(tree, path, kTypeFileReference, Cstr(file));
    if (node) node->AddText("MimeType", "image/jpeg", 0, true, nullptr);
    return node;
}

// Every byte of the file from the first byte after the ID3v2 tags to the start of the trailing tags.
inline std::vector<uint8_t> AudioOf(const std::string& path) {
    platform::File file(path, platform::OpenMode::Read);
    const auto place = id3v2::PlaceId3v2Tags(file);
    uint64_t end = place.fileSize - (place.hasId3v1 ? 128 : 0);
    if (place.lyrics3Size) end = place.lyrics3Offset;
    if (place.appendedSize && place.appendedOffset < end) end = place.appendedOffset;
    return file.readExact(place.prependedSize, static_cast<size_t>(end - place.prependedSize));
}

inline uint64_t PrependedSize(const std::string& path) {
    platform::File file(path, platform::OpenMode::Read);
    return id3v2::PlaceId3v2Tags(file).prependedSize;
}

// A command's standard output, and whether it ran at all.
struct CommandOutput {
    bool ran = false;
    int status = -1;
    std::string out;
};

inline CommandOutput RunCommand(const std::string& command) {
    CommandOutput r;
    FILE* p = popen((command + " 2>/dev/null").c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
    const int status = pclose(p);
    r.ran = true;
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

inline bool HaveTool(const std::string& probe) { return RunCommand(probe + " >/dev/null").status == 0; }

inline std::string Quote(const std::string& s) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

}  // namespace tagvera::testing

#endif
