// The write side of the MP3 importer, as the steps the importer runs: first the edited tree is
// mapped into the tags while the file's tags are loaded (PlanMp3Write: ID3v2 frames, the jukebox
// frame, the ID3v1 record), then, with the importer's own handle on the file closed, the plan is
// written through the safe-write helper (WriteMp3Plan). Removing the tags is one step. The order
// matters to hosts: the ID3v2 frames first, then the jukebox frame (which may leave the cover
// picture to APIC), one write of the ID3v2 tag, and the ID3v1 record only when all before it
// succeeded.
#ifndef TAGVERA_MP3_MP3_TAG_WRITER_H
#define TAGVERA_MP3_MP3_TAG_WRITER_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "mp3/mp3_preferences.h"
#include "platform/file_lock.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tags/id3v2/properties/id3v2_parser.h"
#include "tags/id3v2/tag_writer.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"

namespace tagvera {

// What the host asked of WriteMetaProperties2: the tree's changed (or, with force, all)
// properties into the tags; dataSource delivers the bytes of on-demand reference properties and
// may be null.
struct Mp3EditRequest {
    IMPAMetaProperty* tree = nullptr;
    IMPAHandleMetaProperties* dataSource = nullptr;
    uint32_t force = 0;
    bool describe = false;  // a dry run: the plan says what it changes (Mp3WritePlan::changes)
};

// The file's tags as the importer loaded them.
struct Mp3LoadedTags {
    IMPAID3v2Parser* id3v2 = nullptr;
    IMPAKJMDParser* jukebox = nullptr;
    ByteSource* file = nullptr;           // the file as opened, for its ID3v1 record
    IKMAClassFactory* factory = nullptr;  // makes the jukebox frame's container (null: no host)
    bool jukeboxUnreadable = false;       // the file has a jukebox frame whose block did not read
};

// What a write is to change, worked out before the file is touched.
struct Mp3WritePlan {
    HRESULT mapped = TV_S_OK;                     // a failure here writes nothing
    std::optional<id3v2::RenderedTag> id3v2Tag;   // rendered, padding still to plan
    std::optional<Id3v1Tag> id3v1Record;           // none: the record stays as it is
    // What the file holds that the plan cannot carry over (the ID3v2 tags' own are found when
    // the tag is written, from the file as it is then).
    std::vector<std::string> losses;
    // When asked to describe: a report line for each change the write would make.
    std::vector<std::string> changes;
};

struct Mp3WriteOutcome {
    HRESULT result = TV_S_OK;
    std::string report;  // the lines GetWriteReport answers
};

// Throws Error when the file's ID3v1 record cannot be read.
Mp3WritePlan PlanMp3Write(const Mp3EditRequest& edit, const Mp3EditPreferences& prefs, const Mp3LoadedTags& tags);

// The preferences as the options of one write leave them (kMp3WriteNo*).
Mp3EditPreferences ApplyWriteOptions(Mp3EditPreferences prefs, uint32_t options);

// The report of a dry run: the plan's changes, then what it would lose.
std::string DescribeMp3Plan(const Mp3WritePlan& plan);

// options: the kMp3Write* flags of WriteMetaProperties2. lock: held since the tags the plan was
// made from were read, so that no other writer's change comes between.
Mp3WriteOutcome WriteMp3Plan(platform::FileWriteLock& lock, Mp3WritePlan plan, uint32_t options);

// Prepare: strips the ID3v2 tags (and Lyrics3) and blanks the ID3v1 record, which keeps its 128
// bytes, in one write: on failure the file keeps every tag, and the report lists only what was done.
struct Mp3RemoveOutcome {
    HRESULT result = TV_S_OK;
    std::string report;
};
Mp3RemoveOutcome RemoveMp3Tags(const std::string& path);

}  // namespace tagvera

#endif
