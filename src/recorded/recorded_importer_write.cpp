// CImportCFSFile: writing the metadata (the trailer replaced in place, an ID3v1 tag after it for
// ".REC" files) and removing it. Each is one in-place edit: the media before the metadata is
// never touched, and a failure or a kill leaves the old file or the new one.
#include <span>
#include <string>

#include "base/error.h"
#include "platform/file_lock.h"
#include "platform/safe_write.h"
#include "recorded/recorded_importer.h"
#include "recorded/recorded_trailer.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v1/id3v1_tag.h"

namespace tagvera {
namespace {

std::vector<uint8_t> BlockOf(IMPAKJMDParser* parser) {
    ComPtr<IKMABuffer> block;
    if (const HRESULT hr = parser->GetBlock(block.put()); Failed(hr) || !block) throw Error(TV_E_FAIL, "no block built");
    uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(block->Get(&data, &size)) || !data) throw Error(TV_E_FAIL, "no block built");
    return {data, data + size};
}

}  // namespace

HRESULT CImportCFSFile::WriteMetaProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                                            uint32_t force) {
    if (!tree) return TV_S_OK;
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty() || !parser_) return TV_E_NOTLOADED;
        const std::string path = path_;
        const bool flv = flv_;
        platform::FileWriteLock lock(path);
        ReadMetadata();
        if (const HRESULT hr = parser_->Build(tree, dataSource, force); Failed(hr)) {
            writeReport_ = "not written: the new jukebox block cannot be built\n";
            return hr;
        }
        const std::vector<uint8_t> block = BlockOf(parser_.get());
        std::string report;
        const HRESULT result = Guard([&] {
            try {
                platform::InPlaceEdit edit(lock);
                const uint64_t offset = recorded::MetadataOffset(edit.file(), flv);
                std::vector<uint8_t> bytes = recorded::RenderTrailer(block, flv);
                if (!flv) {
                    Id3v1Tag tag;
                    if (Failed(ReadId3v1Tag(edit.file(), &tag))) tag = BlankId3v1Tag();
                    if (const HRESULT hr = UpdateId3v1FromTree(&tag, tree, force != 0); Failed(hr))
                        throw Error(hr, "the ID3v1 tag cannot be brought up to date");
                    bytes.insert(bytes.end(), tag.bytes.begin(), tag.bytes.end());
                }
                const platform::Patch patch{offset, bytes};
                edit.apply(std::span(&patch, 1), platform::Durability::Synced,
                           platform::EditEnd{offset + bytes.size()});
                report = "recorded: trailer written, " + std::to_string(block.size()) + " bytes of metadata\n";
                if (!flv) report += "id3v1: written\n";
            } catch (const Error& e) {
                report = "not written: " + std::string(e.what()) + "\n";
                throw;
            }
            return TV_S_OK;
        });
        // The importer describes the file as it is now.
        OpenFile(path.c_str(), OpenForm::Full);
        writeReport_ = report;
        return result;
    });
}

HRESULT CImportCFSFile::Prepare(uint32_t) {
    return Guard([&]() -> HRESULT {
        writeReport_.clear();
        if (path_.empty()) return TV_E_NOTLOADED;
        const std::string path = path_;
        const bool flv = flv_;
        std::string report;
        const HRESULT result = Guard([&] {
            platform::InPlaceEdit edit(path);
            const uint64_t offset = recorded::MetadataOffset(edit.file(), flv);
            const uint64_t removed = edit.file().size() - offset;
            if (removed) edit.apply({}, platform::Durability::Synced, platform::EditEnd{offset});
            report = removed ? "recorded: " + std::to_string(removed) + " bytes of metadata removed\n"
                             : "recorded: no metadata to remove\n";
            return TV_S_OK;
        });
        OpenFile(path.c_str(), OpenForm::Full);
        writeReport_ = report;
        return result;
    });
}

}  // namespace tagvera
