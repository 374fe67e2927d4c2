#include "serialize_support.h"

#include <cstdio>

namespace tagvera::testing {
namespace {

void DumpNode(IMPAMetaProperty* node, const DumpRules& rules, int depth, std::string& out) {
    const char* name = nullptr;
    node->GetName(&name);
    uint32_t type = 0, flags = 0, changed = 0;
    node->GetType(&type);
    node->GetFlags(&flags);
    node->GetChanged(&changed);
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    bool hasValue = Succeeded(node->GetValue(&data, &size)) && size > 0;
    if (hasValue && rules.emptyStringIsNoValue && size == 1 && data[0] == 0) hasValue = false;
    if (type < 256 && rules.valuelessTypes[type]) hasValue = false;

    char head[64];
    std::snprintf(head, sizeof head, " t=%u f=%#x", type, flags & rules.flagMask);
    out.append(size_t(depth) * 2, ' ');
    out += '"';
    out += name ? name : "";
    out += '"';
    out += head;
    if (rules.withChanged) out += " c=" + std::to_string(changed);
    out += " v=";
    if (!hasValue) {
        out += '-';
    } else {
        static const char kHex[] = "0123456789abcdef";
        for (uint32_t i = 0; i < size; ++i) {
            out += kHex[data[i] >> 4];
            out += kHex[data[i] & 15];
        }
    }
    out += '\n';

    Node child;
    for (HRESULT hr = node->GetFirstChild(child.put()); hr == TV_S_OK; hr = node->GetNextChild(child.put()))
        DumpNode(child.get(), rules, depth + 1, out);
}

}  // namespace

std::string Dump(IMPAMetaProperty* root, const DumpRules& rules) {
    std::string out;
    if (rules.withRoot) return DumpNode(root, rules, 0, out), out;
    Node child;
    for (HRESULT hr = root->GetFirstChild(child.put()); hr == TV_S_OK; hr = root->GetNextChild(child.put()))
        DumpNode(child.get(), rules, 0, out);
    return out;
}

DumpRules BlockRules(bool referencesKept) {
    DumpRules r;
    r.emptyStringIsNoValue = true;
    r.valuelessTypes[kTypeReference] = !referencesKept;
    r.valuelessTypes[kTypeOwnedPointer] = r.valuelessTypes[kTypeInterfacePointer] = true;
    return r;
}

DumpRules XmlRules() {
    DumpRules r;
    r.withRoot = false;
    r.emptyStringIsNoValue = true;
    r.flagMask = kFlagReadOnly | kFlagPrivate | kFlagType | kFlagShortcut | kFlagStagnant | kFlagFlatten;
    for (uint32_t t : {kTypeNone, kTypeGroup, kTypeReference, kTypeFileReference, kTypeDataReference,
                       kTypeOwnedPointer, kTypeInterfacePointer})
        r.valuelessTypes[t] = true;
    return r;
}

Node EveryTypeTree() {
    Node root = NewTree();
    IMPAMetaProperty* r = root.get();

    Node album = AddGroup(r, "Album");
    AddTyped(album.get(), "Name", "P\xc3\xb6rtrait <in> \"Jazz\" & 'Blues'");
    AddNumber(album.get(), "Year", 1959);
    Node artist = AddGroup(r, "Artist");
    AddTyped(artist.get(), "Name", "Bill Evans Trio");

    Node track = AddGroup(r, "Track");
    AddTyped(track.get(), "Name", "Autumn Leaves");
    AddTyped(track.get(), "CD Track #", "07");
    AddTyped(track.get(), "Genre", "Jazz");
    AddTyped(track.get(), "Comments", "first;second", kTypeTextList);
    AddTyped(track.get(), "CD TOC", "1+96+1234");
    const uint8_t no = 0, yes = 1;
    Add(track.get(), "Explicit", kTypeFlag, 0, &no, 1);
    Add(track.get(), "Favourite", kTypeFlag, 0, &yes, 1);

    Node stats = AddGroup(r, "Statistics", kFlagReadOnly);
    AddNumber(stats.get(), "FileSize", 123456, kFlagReadOnly);
    AddTyped(stats.get(), "Filename", "/music/a.mp3", kTypeText, kFlagReadOnly);
    AddTyped(stats.get(), "MimeType", "audio/mpeg", kTypeText, kFlagReadOnly | kFlagPrivate);
    AddNumber(stats.get(), "Length", 0xFFFFFFFFu, kFlagReadOnly);
    AddNumber(stats.get(), "Channels", 0, kFlagReadOnly);

    AddTyped(AddGroup(r, "Web Links").get(), "Home", "http://example.com/?a=1&b=2", kTypeUrl);
    AddTyped(AddGroup(r, "Dates").get(), "Released", "1959-12-28", kTypeDate);
    AddTyped(AddGroup(r, "Files").get(), "Playlist", "C:\\Music\\list.m3u", kTypeFilename);

    Node binary = AddGroup(r, "Binary");
    // Whole groups of four bytes: the XML form pads a shorter last group.
    const uint8_t twelve[] = {0x00, 0x01, 0x7f, 0x80, 0xff, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70};
    const uint8_t eight[] = {0xde, 0xad, 0xbe, 0xef, 0xff, 0xff, 0xff, 0xff};
    const uint8_t zeros[] = {0, 0, 0, 0};
    Add(binary.get(), "Twelve", kTypeBinary, 0, twelve, sizeof twelve);
    Add(binary.get(), "Eight", kTypeBinary, 0, eight, sizeof eight);
    Add(binary.get(), "Zeros", kTypeBinary, 0, zeros, sizeof zeros);

    Node flags = AddGroup(r, "Flags", kFlagShortcut | kFlagStagnant);
    AddTyped(flags.get(), "ReadOnly", "r", kTypeText, kFlagReadOnly);
    AddTyped(flags.get(), "Private", "p", kTypeText, kFlagReadOnly | kFlagPrivate);
    AddTyped(flags.get(), "TypeFlag", "t", kTypeText, kFlagType);
    AddTyped(flags.get(), "Shortcut", "s", kTypeText, kFlagShortcut);
    AddTyped(flags.get(), "Stagnant", "g", kTypeText, kFlagStagnant);
    AddTyped(flags.get(), "AllNamed", "a", kTypeText, 0x77);

    Node flat = AddGroup(r, "Flat", kFlagFlatten);
    AddTyped(flat.get(), "Inner", "inside a flatten group");

    Node deep = AddGroup(r, "Deep");
    AddTyped(AddGroup(AddGroup(deep.get(), "L1").get(), "L2").get(), "L3", "three levels down");

    Add(r, "Nothing", kTypeNone, 0, nullptr, 0);
    AddTyped(r, "Ref", "opaque reference bytes", kTypeReference);
    AddTyped(r, "Special <name> & \"quotes\" 'too'", "<>&\"'");
    AddTyped(r, "Empty", "");
    return root;
}

}  // namespace tagvera::testing
