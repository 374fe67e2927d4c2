#include "wm/asf_objects.h"

#include <cstdio>

namespace tagvera::wm {

std::string GuidText(const Guid& g) {
    const auto& b = g.bytes;
    char text[37];
    std::snprintf(text, sizeof text, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", b[3], b[2],
                  b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

namespace ids {
namespace {

struct Named {
    Guid id;
    const char* name;
};

constexpr Named kNames[] = {
    {kHeader, "Header"},
    {kData, "Data"},
    {kSimpleIndex, "Simple Index"},
    {kIndex, "Index"},
    {GuidOf("FEB103F8-12AD-4C64-840F-2A1D2F7AD48C"), "Media Object Index"},
    {GuidOf("3CB73FD0-0C4A-4803-953D-EDF7B6228F0C"), "Timecode Index"},
    {kFileProperties, "File Properties"},
    {kStreamProperties, "Stream Properties"},
    {kHeaderExtension, "Header Extension"},
    {GuidOf("86D15240-311D-11D0-A3A4-00A0C90348F6"), "Codec List"},
    {GuidOf("1EFB1A30-0B62-11D0-A39B-00A0C90348F6"), "Script Command"},
    {GuidOf("F487CD01-A951-11CF-8EE6-00C00C205365"), "Marker"},
    {GuidOf("D6E229DC-35DA-11D1-9034-00A0C90349BE"), "Bitrate Mutual Exclusion"},
    {GuidOf("75B22635-668E-11CF-A6D9-00AA0062CE6C"), "Error Correction"},
    {kContentDescription, "Content Description"},
    {kExtendedContentDescription, "Extended Content Description"},
    {GuidOf("2211B3FA-BD23-11D2-B4B7-00A0C955FC6E"), "Content Branding"},
    {kStreamBitrateProperties, "Stream Bitrate Properties"},
    {GuidOf("2211B3FB-BD23-11D2-B4B7-00A0C955FC6E"), "Content Encryption"},
    {GuidOf("298AE614-2622-4C17-B935-DAE07EE9289C"), "Extended Content Encryption"},
    {GuidOf("2211B3FC-BD23-11D2-B4B7-00A0C955FC6E"), "Digital Signature"},
    {kPadding, "Padding"},
    {kExtendedStreamProperties, "Extended Stream Properties"},
    {GuidOf("A08649CF-4775-4670-8A16-6E35357566CD"), "Advanced Mutual Exclusion"},
    {GuidOf("D1465A40-5A79-4338-B71B-E36B8FD6C249"), "Group Mutual Exclusion"},
    {GuidOf("D4FED15B-88D3-454F-81F0-ED5C45999E24"), "Stream Prioritization"},
    {GuidOf("A69609E6-517B-11D2-B6AF-00C04FD908E9"), "Bandwidth Sharing"},
    {kLanguageList, "Language List"},
    {kMetadata, "Metadata"},
    {kMetadataLibrary, "Metadata Library"},
    {GuidOf("D6E229DF-35DA-11D1-9034-00A0C90349BE"), "Index Parameters"},
    {GuidOf("6B203BAD-3F11-48E4-ACA8-D7613DE2CFA7"), "Media Object Index Parameters"},
    {GuidOf("F55E496D-9797-4B5D-8C8B-604DFE9BFB24"), "Timecode Index Parameters"},
    {GuidOf("26F18B5D-4584-47EC-9F5F-0E651F0452C9"), "Compatibility"},
    {GuidOf("43058533-6981-49E6-9B74-AD12CB86D58C"), "Advanced Content Encryption"},
};

}  // namespace

const char* ObjectName(const Guid& id) {
    for (const auto& n : kNames)
        if (n.id == id) return n.name;
    return nullptr;
}

}  // namespace ids
}  // namespace tagvera::wm
