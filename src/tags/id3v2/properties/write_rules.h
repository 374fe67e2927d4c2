// The write rules: one property of a tree into the fields of the ID3v2 frame (v2.3 form) that
// stands for it. The tree walk that chooses the frame is in tree_writer.h.
#ifndef TAGVERA_TAGS_ID3V2_PROPERTIES_WRITE_RULES_H
#define TAGVERA_TAGS_ID3V2_PROPERTIES_WRITE_RULES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tags/id3v2/tag.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tagvera/importer.h"
#include "tagvera/metaprop.h"

namespace tagvera::id3v2 {

// The owner of the UFID frame that carries Gracenote's file id.
inline constexpr const char kGracenoteOwner[] = "http://www.cddb.com/id3/taginfo1.html";
inline constexpr const char kGracenoteExtData[] = "GN_ExtData";

struct WriteTarget {
    std::string frameId;     // v2.3 id of the frame written
    WriteRule rule = WriteRule::Text;
    std::string fullName;    // "Track:Comments": the description of frames that carry one
    std::string parent, name;  // fullName split at its first ':'
};

enum class RuleResult {
    Filled,   // the frame holds the property's value
    Empty,    // the value is empty text: the frame should go, as reading would skip it anyway
    Failed,   // the value cannot be written (odd CD TOC text, reference bytes not available)
};

// Fills frame (a new frame holding only its id, or an existing one whose description, language
// and picture type are kept) from property by target's rule. dataSource may be null.
RuleResult ApplyWriteRule(id3v2::Frame& frame, const WriteTarget& target, IMPAMetaProperty* property,
                          IMPAHandleMetaProperties* dataSource);

// The picture type a new APIC frame gets for a property: the first picture-table entry with the
// property's name and parent, where entry 0 (other) stands for the APIC map row's "Cover Art"
// under "Album". 0 when none matches.
uint8_t PictureTypeFor(const std::string& parent, const std::string& name);

}  // namespace tagvera::id3v2

#endif
