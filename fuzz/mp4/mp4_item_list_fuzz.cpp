// A movie box holding the input as its item list: every item read back stays inside the input.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "mp4/item_table.h"
#include "mp4/mp4_editor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::mp4;
    // moov > udta > meta (version word) > ilst around the input.
    std::vector<uint8_t> file;
    const auto box = [&](uint32_t payload, const char* type) {
        const uint32_t n = payload + 8;
        for (int s = 24; s >= 0; s -= 8) file.push_back(uint8_t(n >> s));
        file.insert(file.end(), type, type + 4);
    };
    box(uint32_t(size) + 8 + 12 + 8, "moov");
    box(uint32_t(size) + 12 + 8, "udta");
    box(uint32_t(size) + 4 + 8, "meta");
    file.insert(file.end(), 4, 0);
    box(uint32_t(size), "ilst");
    file.insert(file.end(), data, data + size);
    tagvera::MemorySource source(file);
    CMp4Editor editor;
    editor.LoadMetadata(source);
    size_t total = 0;
    for (const auto& item : editor.items()) total += item.data.size();
    if (total > size) std::abort();
    for (const ItemRow& row : ItemTable()) {
        (void)editor.GetItemText(row.id);
        (void)editor.GetItemInteger(row.id);
        (void)editor.GetItemImage(row.id);
    }
    return 0;
}
