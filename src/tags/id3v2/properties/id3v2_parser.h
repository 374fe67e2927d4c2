// IMPAID3v2Parser: the package-internal interface between the MP3 importer and the ID3v2 tag
// (read the frames into a property tree, hand out on-demand data, map a tree into frames and
// render the tag; Update and Strip write the file themselves, for callers without a writer).
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_ID3V2_PARSER_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_ID3V2_PARSER_H

#include <cstdint>
#include <string>
#include <vector>

#include "base/byte_source.h"
#include "tags/id3v2/tag_writer.h"
#include "tagvera/abi.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

struct IMPAID3v2Parser : IUnknown {
    // Links bytes held in memory as if they were a file.
    TV_METHOD(LinkBuffer)(const uint8_t* bytes, uint32_t size) = 0;                                    // 3
    // Clears, reads the file's tags and keeps a copy of the path; tagSize receives the bytes the
    // ID3v2 tags take at the start of the file (where the audio starts). flags: kLink* below.
    TV_METHOD(LinkFile)(const char* path, uint32_t* tagSize, uint32_t flags) = 0;                      // 4
    // The tag's boolean option: pad the tag when it is rendered. A change marks the tag changed.
    TV_METHOD(SetTagOption)(bool value) = 0;                                                           // 5
    TV_METHOD(Clear)() = 0;                                                                            // 6
    TV_METHOD(ReadProperties)(IMPAMetaProperty* root) = 0;                                             // 7
    // The bytes behind a reference property (type 10) read from this tag; size is the buffer's
    // size and must be at least the property's "DataSize" (else 0x8004000D, nothing written).
    TV_METHOD(GetFrameData)(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) = 0;           // 8
    // Loads the frame's data (for lyrics and long comments, its text) from the file at path.
    TV_METHOD(SetFrameDataFromFile)(IMPAMetaProperty* property, const char* path) = 0;                 // 9
    TV_METHOD(WriteAllProperties)(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force,
                                  bool createAll) = 0;                                                 // 10
    TV_METHOD(GetRenderedSize)(uint32_t* size) = 0;                                                    // 11
    // 0x8004000D when size is below the rendered size (written then receives the size needed).
    TV_METHOD(Render)(uint8_t* buffer, uint32_t size, uint32_t* written, uint32_t flags) = 0;         // 12
    TV_METHOD(Update)(uint32_t flags, uint32_t option) = 0;                                            // 13
    TV_METHOD(Strip)() = 0;                                                                            // 14
    TV_METHOD(WriteProperties)(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force,
                               bool createAll, bool includeUnmapped) = 0;                              // 15
    // Saves the bytes behind a reference property into the file at path (what the importer's
    // SavePropertyData needs; slot 9 goes the other way).
    TV_METHOD(SaveFrameDataToFile)(IMPAMetaProperty* property, const char* path) = 0;                  // 16
    // LinkFile reading through source, which holds the bytes of the file at path: the importer
    // reads the file's two ends once for all its readers. Package-internal (a C++ object).
    TV_METHOD(LinkSource)(tagvera::ByteSource* source, const char* path, uint32_t* tagSize, uint32_t flags) = 0;  // 17
    // The tag as the frames now stand, without padding (empty for no frames) and with the data of
    // large pictures still in the file, for an importer that writes it itself
    // (tags/id3v2/file_write.h plans the padding, copies that data, and can put an ID3v1 record
    // into the same write). Package-internal (a C++ object).
    TV_METHOD(RenderTag)(tagvera::id3v2::RenderedTag* tag) = 0;  // 18
    // The frames as a render would now write them, and the major version of the file's first
    // ID3v2 tag as it was read (0 without one): what a dry run compares. Package-internal.
    TV_METHOD(GetFrames)(std::vector<tagvera::id3v2::Frame>* frames, uint8_t* sourceMajor) = 0;  // 19
    // The frames the last ReadProperties left out of its tree because an earlier frame named the
    // same property, as the lines of kStructureLeftOut; E_FAIL when no tree was read since the
    // tag was linked. Package-internal.
    TV_METHOD(GetLeftOutLines)(std::string* lines) = 0;  // 20
};

namespace tagvera {

inline constexpr GUID IID_IMPAID3v2Parser = TV_GUID(DDA588E0, 8B02, 11D3, 88, 36, 00, C0, F0, 31, 93, 8B);

// LinkFile flags. 0 reads every ID3v2 tag of the file: the first, tags directly after it, and a
// tag with a footer at the end; frames of later tags fill in what the first lacks.
inline constexpr uint32_t kLinkId3v2Only = 0;
// Also turn the fields of ID3v1 and Lyrics3 into frames where the ID3v2 tags lack them. The MP3
// importer leaves this off, because it merges ID3v1 itself in the order its preference gives.
inline constexpr uint32_t kLinkTrailingTags = 0x1;

// A new parser; its property nodes come from the host context's class factory, or are made
// directly when context is null (tests, tools).
HRESULT CreateID3v2Parser(IUnknown* hostContext, IMPAID3v2Parser** out);

}  // namespace tagvera

#endif
