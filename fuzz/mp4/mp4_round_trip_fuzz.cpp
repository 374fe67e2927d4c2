// Load, change, save, load: whatever file the input is, a write that is planned gives a file that
// loads without damage and holds the new title.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/error.h"
#include "mp4/item_table.h"
#include "mp4/movie_write.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera::mp4;
    const std::vector<uint8_t> file(data, data + size);
    tagvera::MemorySource source(file);
    CMp4Editor editor;
    editor.LoadMetadata(source);
    // A title stored as a number or a picture keeps its type, so only a text title is checked.
    const bool textTitle = editor.GetItemText(kItemTitle) ||
                           !(editor.GetItemInteger(kItemTitle) || editor.GetItemImage(kItemTitle) ||
                             editor.GetItemIntegerBytes(kItemTitle));
    editor.SetItemText(kItemTitle, "round trip");
    editor.RemoveItem(kItemComment);
    MovieWrite write;
    try {
        write = PlanSave(editor);
    } catch (const tagvera::Error&) {
        return 0;  // refused: nothing written
    }
    if (write.kind == MovieWrite::Kind::Nothing) return 0;  // the title kept a type that takes no text
    std::vector<uint8_t> out(file.begin(), file.begin() + long(write.offset));
    out.insert(out.end(), write.bytes.begin(), write.bytes.end());
    const uint64_t after = write.offset + (write.kind == MovieWrite::Kind::Rewrite ? write.oldSize : write.bytes.size());
    if (!write.newLength && after < file.size()) out.insert(out.end(), file.begin() + long(after), file.end());
    tagvera::MemorySource written(out);
    CMp4Editor reloaded;
    reloaded.LoadMetadata(written);
    if (!reloaded.problem().empty() || (textTitle && reloaded.GetItemText(kItemTitle) != "round trip")) std::abort();
    return 0;
}
