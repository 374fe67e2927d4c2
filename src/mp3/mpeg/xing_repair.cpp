#include "mp3/mpeg/xing_repair.h"

#include "base/error.h"
#include "platform/safe_write.h"

namespace tagvera {

XingRepairResult ApplyXingRepair(const std::string& path, const XingRepair& repair, uint64_t expectedSize) {
    if (repair.bytes.empty()) return XingRepairResult::Changed;
    if (!platform::IsWritableFile(path)) return XingRepairResult::NotWritable;
    try {
        // Someone may have written the file since it was scanned; a repair is only for that file,
        // and checked under the write lock the patch is made with.
        platform::InPlaceEdit edit(path);
        const uint64_t size = edit.file().size();
        if (size != expectedSize || repair.offset > size || repair.bytes.size() > size - repair.offset)
            return XingRepairResult::Changed;
        const platform::Patch patch{repair.offset, repair.bytes};
        edit.apply(std::span(&patch, 1));
        return XingRepairResult::Written;
    } catch (const Error&) {
        return XingRepairResult::Failed;
    }
}

const char* XingRepairText(const XingRepair& repair) {
    return repair.patchOnly ? "frame count corrected" : "header written";
}

}  // namespace tagvera
