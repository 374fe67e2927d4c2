// The fields of one frame, decoded by meaning from its payload.
#ifndef TAGVERA_TAGS_ID3V2_FIELDS_H
#define TAGVERA_TAGS_ID3V2_FIELDS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tags/id3v2/tag.h"
#include "tags/id3v2/text_encoding.h"

namespace tagvera::id3v2 {

enum class FrameKind : uint8_t {
    Text,         // T*** : values
    UserText,     // TXXX : desc, values
    Url,          // W*** : url
    UserUrl,      // WXXX : desc, url
    Comment,      // COMM, USLT : lang, desc, values (one)
    Picture,      // APIC : mime, pictureType, desc, data
    Object,       // GEOB : mime, filename, desc, data
    Private,      // PRIV, UFID : owner, data
    Counter,      // PCNT : counter
    Popularimeter,  // POPM : email, rating, counter
    PeopleList,   // IPLS, TIPL, TMCL : values (role, name, role, name ...)
    Binary,       // everything else (MCDI, unknown and encrypted frames) : data
};

struct Fields {
    FrameKind kind = FrameKind::Binary;
    std::optional<TextEncoding> encoding;
    std::vector<std::string> values;  // UTF-8
    std::string desc, lang, url, mime, filename, owner, email;
    std::optional<uint8_t> pictureType;
    std::optional<uint8_t> rating;
    std::optional<uint64_t> counter;
    std::span<const uint8_t> data;  // points into the frame's payload
    uint64_t deferredData = 0;      // data bytes still in the file (Frame::deferred)
    uint64_t dataSize() const { return data.size() + deferredData; }

    // The values joined with '/', the v2.3 separator for several values in one text.
    std::string joinedText() const;
};

// Field by field, data by its bytes.
bool SameFields(const Fields& a, const Fields& b);

FrameKind KindOf(const std::string& id);

// Decodes the payload; throws Error when the fields do not fit it (a bogus encoding byte, a
// picture without its MIME terminator). Encrypted frames decode as Binary.
Fields DecodeFields(const Frame& frame);
// The same into fields that are new (default-constructed), for callers that keep them in place.
void DecodeFields(const Frame& frame, Fields& f);
// The same for callers to whom fields that do not fit are no fields: nothing then, and the reason
// in *why when asked.
std::optional<Fields> TryDecodeFields(const Frame& frame, std::string* why = nullptr);

// The reverse: a canonical payload for fields (what a v2.3 tag holds). Text goes out in the
// given encoding; Binary kinds take data as is.
std::vector<uint8_t> EncodeFields(const std::string& id, const Fields& fields, TextEncoding encoding);

}  // namespace tagvera::id3v2

#endif
