// What the MP3 importer (the component for "audio/mp3") offers a host beyond the common importer
// interfaces: its settings, the options of its tag writing, and a report of what it wrote.
#ifndef TAGVERA_MP3_H
#define TAGVERA_MP3_H

#include "tagvera/abi.h"

namespace tagvera {

// IMPAInterrogateFile::SetOption(kMp3OptionXingRepair, value), before SetFilename.
// Opening a writable file whose VBR stream has no Xing header, or one that states a wrong frame
// count, writes a corrected header into the file (the one change reading makes; the audio
// frames it replaces carry no sound). 1, the default, allows that; 0 makes opening and
// interrogating leave every file as it is, as a viewer should. Other values: E_INVALIDARG.
inline constexpr uintptr_t kMp3OptionXingRepair = 0x4B4D5801;

// Options of IMPAHandleMetaProperties2::WriteMetaProperties2. The KorvaMedia importer takes them
// too, as far as its files have such tags: its trailer holds the jukebox block and the ID3v1 record.
// The ID3v2 tag may only be written over the space of the old one (its padding included):
// a tag that would need the file to be rewritten fails with E_FAIL, and nothing is written.
inline constexpr uint32_t kMp3WriteInPlaceOnly = 0x1;
// A write that fits the old tags' space (and the ID3v1 record) is left in the system's cache
// instead of being synced to disk before the call returns: for a host writing many files, which
// then syncs their file systems once at the end (the command line does). The sync makes such a
// patch durable sooner, not more or less atomic. A write that has to rewrite the file is left
// to that sync too where the file system writes a renamed file's data before the rename (ext4 as
// mounted by default), so that a power loss still leaves the old file or the new; elsewhere it
// syncs the new copy before it replaces the old one.
inline constexpr uint32_t kMp3WriteDeferSync = 0x2;
// Nothing the file's tags hold may be lost: when the write would drop something it could not
// read (a frame past a damaged one, a tag that does not parse, a jukebox block that does not
// read), it fails with E_FAIL, nothing is written, and the write report lists each such thing
// as a "would lose:" line. Without this option the write goes ahead and lists them as "lost:".
inline constexpr uint32_t kMp3WriteKeepEverything = 0x4;
// Nothing is written: the write is planned as it would be, and the write report says what it
// would change, side effects included, a line each ("id3v2: TIT2 \"Old\" -> \"New\"", "id3v2:
// COMM [deu] [] \"Text\" removed", "id3v2: the v2.4 tag is written as v2.3", "id3v1: created",
// "would lose: ..."). The result is the plan's.
inline constexpr uint32_t kMp3WriteDryRun = 0x8;
// For this write only, leave out one kind of tag whatever the preferences say ("TagEditID3V1",
// "TagEditID3V2", "TagEditKorvaOne"): what the file holds of it stays as it is.
inline constexpr uint32_t kMp3WriteNoId3v1 = 0x10;
inline constexpr uint32_t kMp3WriteNoId3v2 = 0x20;
inline constexpr uint32_t kMp3WriteNoJukebox = 0x40;
// For the MP4 and Windows Media importers, whose Prepare strips nothing: the tree is not written,
// every tag the file holds is removed instead (with kMp3WriteDryRun, nothing is). The MP3 and
// KorvaMedia importers strip through Prepare(0) and do not take this option.
inline constexpr uint32_t kMp3WriteRemoveEverything = 0x80;

}  // namespace tagvera

// What the importer's last write (WriteMetaProperties, Prepare) or Xing repair did to the file,
// as lines of "name: value" text, the last line ending in "\n":
//     id3v2: in place, 2048 bytes written, 1500 bytes of padding
//     id3v2: file rewritten, 5301242 bytes written, 1024 bytes of padding
//     id3v1: written
//     lost: XYZ1: empty frame           (a frame of the old tag that could not be kept)
//     would lose: XYZ1: empty frame     (the same, for a write refused by kMp3WriteKeepEverything)
//     xing: frame count corrected        (or "xing: header written")
// Empty (a size of 1) when nothing was written since the file was opened. Size in and out as
// for GetSupportedMimeTypes: 0x8004000D with the size needed when the buffer is too small.
struct IMPAWriteReport : IUnknown {
    TV_METHOD(GetWriteReport)(char* buffer, uint32_t* size) = 0;  // 3
};

namespace tagvera {
inline constexpr GUID IID_IMPAWriteReport = TV_GUID(5E0C7A31, 2B44, 4C1D, 9A, 7E, 3F, 61, C2, 08, D4, 95);
}  // namespace tagvera

#endif
