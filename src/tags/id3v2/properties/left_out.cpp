#include "tags/id3v2/properties/left_out.h"

#include "tags/id3v2/frame_report.h"

namespace tagvera::id3v2 {

std::string LeftOutLines(const std::vector<LeftOutFrame>& leftOut) {
    std::string lines;
    for (const auto& [property, frame] : leftOut) lines += property + "\t" + frame->id + "\t" + FrameSummary(*frame) + "\n";
    return lines;
}

}  // namespace tagvera::id3v2
