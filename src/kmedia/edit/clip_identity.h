// The clip identity rule applied to file-info properties before every rewrite: an indexable clip
// keeps or gets a "File ID", a clip that is not indexable loses it, and the one-shot marker
// "Do Not Alter Clip ID" never reaches the file.
#ifndef TAGVERA_KMEDIA_EDIT_CLIP_IDENTITY_H
#define TAGVERA_KMEDIA_EDIT_CLIP_IDENTITY_H

#include <array>
#include <string>
#include <vector>

#include "kmedia/name_value_property.h"

namespace tagvera::kmedia {

// renew: replace an existing "File ID" of an indexable clip as well.
void ApplyClipIdentityRule(std::vector<NameValueProperty>& properties, bool renew);

// A new identifier: MD5 over a fresh random GUID and the system's 32-byte memory-status record,
// laid out as a GUID, as 36 lower-case hexadecimal characters.
std::string NewClipId();
// The text of a 16-byte digest read as a GUID (first field, second, third, then the bytes).
std::string ClipIdText(const std::array<uint8_t, 16>& digest);

}  // namespace tagvera::kmedia

#endif
