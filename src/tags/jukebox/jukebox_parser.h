// The jukebox's own copy of a track's metadata inside an MP3 file: a whole property tree as a
// jukebox metadata block (big-endian), carried by the ID3v2 GEOB frame "KorvaJukebox:Metadata".
// IMPAKJMDParser reads such a block, answers for the reference properties stored in it, and
// builds a new block from a changed tree.
//
//     ComPtr<IMPAKJMDParser> parser;
//     CreateJukeboxParser(factory, parser.put());
//     if (Succeeded(parser->Parse(bytes, size))) parser->CopyToTree(tree);
#ifndef TAGVERA_TAGS_JUKEBOX_JUKEBOX_PARSER_H
#define TAGVERA_TAGS_JUKEBOX_JUKEBOX_PARSER_H

#include <cstdint>

#include "tagvera/abi.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"
#include "tagvera/plugin.h"
#include "tagvera/values.h"

// Operations 4 to 6 and 8 answer TV_E_NOTLOADED while no block is held; null arguments E_POINTER.
struct IMPAKJMDParser : IUnknown {
    // Drops the block held, then takes a copy of bytes: E_FAIL for null or fewer than 32 bytes,
    // E_INVALIDARG when the magic is neither "KJMD" nor "KJAD", E_FAIL for a block that does not hold
    // together; on failure nothing is held.
    TV_METHOD(Parse)(const uint8_t* bytes, uint32_t size) = 0;  // 3
    // Adds the held block's properties to tree; reference data stays in the block.
    TV_METHOD(CopyToTree)(IMPAMetaProperty* tree) = 0;  // 4
    // The bytes stored for a reference property, found by the property's path: min(size, stored)
    // of them. E_FAIL when the block stores no reference of that path, or fewer than 2 bytes.
    TV_METHOD(GetPropertyData)(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) = 0;  // 5
    // The same bytes into the file named by path (created or replaced).
    TV_METHOD(SavePropertyData)(IMPAMetaProperty* property, const char* path) = 0;  // 6
    // A new block: the held one (if any) with the tree's changes applied. The tree is walked two
    // levels deep (top-level groups and their children); a child is taken when changed, deleted or
    // force is set. Reference properties are taken only with a data source, which delivers their
    // bytes. Works without a held block too, so that a file gets its first jukebox frame.
    TV_METHOD(Build)(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, uint32_t force) = 0;  // 7
    // The held block as a buffer created through the host's class factory.
    TV_METHOD(GetBlock)(IKMABuffer** block) = 0;  // 8
};

namespace tagvera {

inline constexpr GUID IID_IMPAKJMDParser = TV_GUID(7C01BE02, D305, 11D3, 88, 70, 00, C0, F0, 31, 93, 8B);

// How the frame appears in a tree read from ID3v2 frames, and how it is written.
inline constexpr const char kJukeboxGroup[] = "KorvaJukebox";
inline constexpr const char kJukeboxFramePath[] = "KorvaJukebox:Metadata";
inline constexpr const char kJukeboxFrameMime[] = "binary";
// Shorter blocks are refused before their magic is looked at.
inline constexpr uint32_t kMinJukeboxBlockSize = 32;

// A parser that creates its trees and buffers through factory; with a null factory it makes them
// itself (tests, fuzzers, tools without a host).
HRESULT CreateJukeboxParser(IKMAClassFactory* factory, IMPAKJMDParser** out);

}  // namespace tagvera

#endif
