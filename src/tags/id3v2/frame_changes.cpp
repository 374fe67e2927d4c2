#include "tags/id3v2/frame_changes.h"

#include <map>

#include "tags/id3v2/fields.h"
#include "tags/id3v2/frame_report.h"

namespace tagvera::id3v2 {
namespace {

// The id with what tells frames of that id apart; frames of one key pair up in order.
std::string KeyOf(const Frame& frame) {
    const std::optional<Fields> f = TryDecodeFields(frame);
    if (!f) return frame.id;
    switch (f->kind) {
        case FrameKind::Comment: return frame.id + "[" + f->lang + "][" + f->desc + "]";
        case FrameKind::UserText:
        case FrameKind::UserUrl:
        case FrameKind::Object: return frame.id + "[" + f->desc + "]";
        case FrameKind::Picture: return frame.id + "[" + std::to_string(f->pictureType.value_or(0)) + "][" + f->desc + "]";
        case FrameKind::Private: return frame.id + "[" + f->owner + "]";
        case FrameKind::Popularimeter: return frame.id + "[" + f->email + "]";
        default: return frame.id;
    }
}

bool SameContent(const Frame& a, const Frame& b) {
    if (a.deferred || b.deferred) {
        // Data left in the file: the same data when it comes from the same place.
        return a.deferred && b.deferred && a.deferred->offset == b.deferred->offset && a.deferred->size == b.deferred->size &&
               a.payload == b.payload;
    }
    return a.payload == b.payload && a.statusFlags == b.statusFlags;
}

}  // namespace

std::vector<std::string> FrameChanges(const std::vector<Frame>& before, const std::vector<Frame>& after) {
    std::map<std::string, std::vector<const Frame*>> old;
    for (const Frame& f : before) old[KeyOf(f)].push_back(&f);
    std::map<std::string, size_t> taken;
    std::vector<std::string> lines;
    for (const Frame& f : after) {
        const std::string key = KeyOf(f);
        const auto& candidates = old[key];
        const size_t n = taken[key]++;
        if (n >= candidates.size()) {
            lines.push_back(f.id + " " + FrameSummary(f) + " added");
        } else if (!SameContent(*candidates[n], f)) {
            lines.push_back(f.id + " " + FrameSummary(*candidates[n]) + " -> " + FrameSummary(f));
        }
    }
    for (const auto& [key, frames] : old)
        for (size_t n = taken[key]; n < frames.size(); ++n) lines.push_back(frames[n]->id + " " + FrameSummary(*frames[n]) + " removed");
    return lines;
}

}  // namespace tagvera::id3v2
