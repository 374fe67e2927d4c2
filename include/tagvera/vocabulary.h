// The shared vocabulary of property trees: type codes, flag bits, AddChild/MergeFrom options, change
// markers, and the standard group and property names. Importers, hosts and the tree itself agree on
// these so that trees from different sources are interchangeable.
#ifndef TAGVERA_VOCABULARY_H
#define TAGVERA_VOCABULARY_H

#include <cstdint>

namespace tagvera {

// Type codes of a property node.
enum PropertyType : uint32_t {
    kTypeNone = 0,
    kTypeText = 1,      // NUL-terminated 8-bit string; the size counts the NUL
    kTypeTextList = 2,  // laid out as text
    kTypeFlag = 3,      // one byte, 0 or 1
    kTypeNumber = 4,    // 4-byte unsigned, little-endian
    kTypeBinary = 5,
    kTypeUrl = 6,       // NUL-terminated string
    kTypeDate = 7,      // a string whose content the importers choose
    kTypeFilename = 8,  // NUL-terminated string
    kTypeGroup = 9,     // no value; holds children
    // The three reference codes count as one type when a node replaces another.
    kTypeReference = 10,
    kTypeFileReference = 11,  // the value is a file name
    kTypeDataReference = 12,  // the value is the data itself
    // In-memory pointers that only make sense inside one process; never read them from a file.
    kTypeOwnedPointer = 13,      // value starts with a pointer freed through the child "DeleteFunc"
    kTypeInterfacePointer = 14,  // value starts with an interface pointer holding one reference
};

// Flag bits of a property node.
enum PropertyFlag : uint32_t {
    kFlagReadOnly = 0x01,  // derived from the file (file name, codec, statistics)
    kFlagPrivate = 0x02,   // set together with read-only on the MIME type
    kFlagType = 0x04,      // "Extension" and "DataSize" children added to references when serialized
    kFlagModified = 0x08,  // set when AddChild/MergeFrom are asked to mark changes; has no name
    kFlagShortcut = 0x10,
    kFlagStagnant = 0x20,  // left out when AddChild/MergeFrom skip stagnant nodes
    kFlagFlatten = 0x40,   // adds nothing to its children's paths
};

// Options of AddChild and MergeFrom (only the low 8 bits are looked at).
enum AddChildOption : uint32_t {
    kAddMarkChanged = 0x01,         // mark added or differing nodes with kFlagModified
    kAddExistingNamesOnly = 0x02,   // merge only names that already exist in the target
    kAddSkipStagnant = 0x04,        // do not add nodes flagged kFlagStagnant
    kAddDisplayNameExempt = 0x08,   // "DisplayName" escapes the two rules above
    kAddDeepGroups = 0x10,          // MergeFrom merges groups into groups of the target's own
};

// Values of a node's change marker.
enum PropertyChange : uint32_t {
    kUnchanged = 0,
    kChanged = 1,  // a value replaced an existing one
    kDeleted = 2,  // left out of both serialized forms; writers remove what it stands for
};

// Result codes that name what happened in a tree (the numbers live in abi.h):
// TV_E_PROP_NOTFOUND, TV_E_PROP_ENDOFLIST, TV_S_PROP_EXISTS, TV_E_PROP_EMPTY, TV_S_PROP_STAGNANT.

// Paths join names with this character: "Album:Cover Art".
inline constexpr char kPathSeparator = ':';

// Top-level groups.
inline constexpr const char kGroupTrack[] = "Track";
inline constexpr const char kGroupArtist[] = "Artist";
inline constexpr const char kGroupAlbum[] = "Album";
inline constexpr const char kGroupCredits[] = "Credits";
inline constexpr const char kGroupStatistics[] = "Statistics";

// Standard properties inside those groups.
inline constexpr const char kPropName[] = "Name";                                  // Track, Artist, Album
inline constexpr const char kPropGenre[] = "Genre";                                // Track
inline constexpr const char kPropCopyright[] = "Copyright";                        // Track
inline constexpr const char kPropPublished[] = "Published";                        // Credits
inline constexpr const char kPropComments[] = "Comments";                          // Track
inline constexpr const char kPropClosedLoopMarketing[] = "Closed Loop Marketing";  // Track
inline constexpr const char kPropCDTrackNumber[] = "CD Track #";                   // Track, "%.2d" text
inline constexpr const char kPropCDTOC[] = "CD TOC";                               // Track
inline constexpr const char kPropFilename[] = "Filename";                          // Statistics
inline constexpr const char kPropCodec[] = "Codec";                                // Statistics
inline constexpr const char kPropMimeType[] = "MimeType";                          // Statistics
inline constexpr const char kPropLength[] = "Length";                              // Statistics
inline constexpr const char kPropChannels[] = "Channels";                          // Statistics
inline constexpr const char kPropFileSize[] = "FileSize";                          // Statistics
inline constexpr const char kPropVBR[] = "VBR";                                    // Statistics
inline constexpr const char kPropFileProtection[] = "File Protection";             // Statistics
inline constexpr const char kPropOriginalCopyFlag[] = "Original Copy Flag";        // Statistics
inline constexpr const char kPropQuality[] = "Quality";                            // Statistics

// Names the tree itself treats specially.
inline constexpr const char kPropDisplayName[] = "DisplayName";  // see kAddDisplayNameExempt
inline constexpr const char kPropExtension[] = "Extension";      // text, kFlagType, under a file reference
inline constexpr const char kPropDataSize[] = "DataSize";        // number, kFlagType, under a reference
inline constexpr const char kPropDeleteFunc[] = "DeleteFunc";    // under a kTypeOwnedPointer node

// The function a "DeleteFunc" value holds the address of (pointer-sized, native byte order).
typedef void (*PropertyDeleteFunc)(void* pointer);

// Type names as written (a code outside the table is written as kTypeNameUndefined).
inline constexpr const char kTypeNameNone[] = "none";
inline constexpr const char kTypeNameText[] = "text";
inline constexpr const char kTypeNameTextList[] = "textlist";
inline constexpr const char kTypeNameFlag[] = "flag";
inline constexpr const char kTypeNameNumber[] = "number";
inline constexpr const char kTypeNameBinary[] = "binary";
inline constexpr const char kTypeNameUrl[] = "url";
inline constexpr const char kTypeNameDate[] = "date";
inline constexpr const char kTypeNameFilename[] = "filename";
inline constexpr const char kTypeNameGroup[] = "group";
inline constexpr const char kTypeNameReference[] = "reference";
inline constexpr const char kTypeNameUndefined[] = "type not defined yet";

// Flag names as written, joined by kFlagNameSeparator; kFlagModified has none.
inline constexpr const char kFlagNameReadOnly[] = "readonly";
inline constexpr const char kFlagNamePrivate[] = "private";
inline constexpr const char kFlagNameType[] = "type";
inline constexpr const char kFlagNameShortcut[] = "shortcut";
inline constexpr const char kFlagNameStagnant[] = "stagnant";
inline constexpr const char kFlagNameFlatten[] = "flatten";
inline constexpr char kFlagNameSeparator = ',';

}  // namespace tagvera

#endif
