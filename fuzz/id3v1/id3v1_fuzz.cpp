// The ID3v1 reader, the Lyrics3 v2 block, the merge into a tree and the record built back.
#include <cstdint>
#include <cstdlib>

#include "metaprop/metaprop_component.h"
#include "tags/id3v1/lyrics3.h"
#include "tags/id3v1/id3v1_map.h"
#include "tags/id3v1/id3v1_tag.h"
#include "tagvera/com_ptr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    MemorySource file(std::span<const uint8_t>(data, size));
    Id3v1Tag tag;
    const HRESULT read = ReadId3v1Tag(file, &tag);
    if (read != TV_S_OK && read != TV_E_FAIL) std::abort();
    Lyrics3Tag lyrics3;
    if (size >= kId3v1Size && ReadLyrics3v2Tag(file, size - kId3v1Size, &lyrics3) &&
        (lyrics3.offset + lyrics3.size != size - kId3v1Size))
        std::abort();

    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateStandaloneMetaProperty(tree.put()))) return 0;
    const HRESULT merged = MergeId3v1Tag(file, tree.get());
    if (Failed(merged) != Failed(read)) std::abort();
    if (Succeeded(merged)) {
        // Everything merged renders back into a record without complaint.
        Id3v1Tag rebuilt = BlankId3v1Tag();
        if (Failed(UpdateId3v1FromTree(&rebuilt, tree.get(), true))) std::abort();
        Id3v1Tag check;
        if (!ParseId3v1Tag(rebuilt.bytes, &check)) std::abort();
    }
    uint64_t offset = 0;
    Id3v1WriteOffset(file, &offset);
    if (offset > size) std::abort();
    return 0;
}
