// The ID3v1 reader, the Lyrics3 blocks, the merge into a tree and the record built back.
#include <cstdint>
#include <cstdlib>
#include <string>

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
    if (size >= kId3v1Size) {
        // A block found is one that ends at the tag and has nothing wrong with it.
        const uint64_t end = size - kId3v1Size;
        Lyrics3Tag lyrics3;
        std::string problem;
        for (const bool v2 : {true, false}) {
            const bool found = v2 ? ReadLyrics3v2Tag(file, end, &lyrics3, true, &problem)
                                  : ReadLyrics3v1Tag(file, end, &lyrics3, &problem);
            if (found && (!problem.empty() || lyrics3.offset + lyrics3.size != end)) std::abort();
        }
    }

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
