#include "tags/id3v2/id3lib_adapter.h"

#include <algorithm>
#include <map>

#include "base/error.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/tag_writer.h"

namespace tagvera::id3v2 {

namespace {

using id3v2::Frame;
using id3v2::FrameKind;

// Frames from this size on (covers, mostly) are not given to the library: it would hold and
// render copies of them, and gives them back byte for byte anyway.
constexpr size_t kLargeFrame = 16 * 1024;

// Kept by us in their places: a picture whose data is still in the file, or a large frame.
bool KeptInPlace(const Frame& f) { return f.deferred || f.payload.size() >= kLargeFrame; }

std::string Fingerprint(const Frame& f) {
    return f.id + '\x01' + std::string(f.payload.begin(), f.payload.end());
}

}  // namespace

// Only frames whose fields our layer re-encoded canonically go to the library (never compressed,
// encrypted or grouped ones: id3lib 3.8.3 crashes on compressed v2.3 frames).
bool LibraryMayHold(const Frame& f) {
    if (f.encrypted || f.group) return false;
    if (f.id == "MCDI") return true;
    const FrameKind kind = id3v2::KindOf(f.id);
    if (kind == FrameKind::Binary) return false;
    if (kind == FrameKind::Counter || kind == FrameKind::Popularimeter) {
        // id3lib reads a 32-bit counter and takes what follows it for the next frame's header,
        // which the file's bytes can make a compressed frame of any size.
        const auto fields = id3v2::TryDecodeFields(f);
        return fields && fields->data.size() <= 4;
    }
    return true;
}

Id3libTag::Id3libTag() : roundTrip_(LibraryRoundTripOf) {}
Id3libTag::Id3libTag(LibraryRoundTripFn roundTrip) : roundTrip_(roundTrip) {}
Id3libTag::~Id3libTag() = default;

void Id3libTag::Clear() {
    pending_.reset();
    libraryHeld_ = 0;
    held_.clear();
    aside_.clear();
    placed_.clear();
    changed_ = false;
}

void Id3libTag::Load(std::vector<Frame> frames) {
    pending_ = std::move(frames);
    held_.clear();
    aside_.clear();
    placed_.clear();
    libraryHeld_ = 0;
}

void Id3libTag::Settle() const {
    if (!pending_) return;
    std::vector<Frame> frames = std::move(*pending_);
    pending_.reset();
    try {
        SettleFrames(frames);
    } catch (...) {
        // A library failure leaves the frames loaded, for the next attempt to report again.
        for (auto& [at, f] : placed_) frames[at] = std::move(f);
        held_.clear();
        aside_.clear();
        placed_.clear();
        libraryHeld_ = 0;
        pending_ = std::move(frames);
        throw;
    }
}

void Id3libTag::SettleFrames(std::vector<Frame>& frames) const {
    std::vector<Frame> offered;
    for (size_t i = 0; i < frames.size(); ++i) {
        Frame& f = frames[i];
        if (KeptInPlace(f)) placed_.emplace_back(i, std::move(f));
        else (LibraryMayHold(f) ? offered : aside_).push_back(f);
    }
    // id3lib silently drops frames it does not know (every v2.4-only one) and may alter others, so
    // whatever it does not give back byte for byte is kept aside by us, and it is loaded again
    // with the rest, which it has then shown it keeps.
    for (int round = 0; round < 2 && !offered.empty(); ++round) {
        auto back = roundTrip_(id3v2::RenderV23Tag(offered, 0));
        held_ = std::move(back.frames);
        libraryHeld_ = back.held;
        std::multimap<std::string, int> held;
        for (const auto& f : held_) held.emplace(Fingerprint(f), 0);
        std::vector<Frame> kept;
        bool lost = false;
        for (auto& f : offered) {
            auto it = held.find(Fingerprint(f));
            if (it != held.end()) {
                held.erase(it);
                kept.push_back(std::move(f));
            } else {
                aside_.push_back(std::move(f));
                lost = true;
            }
        }
        offered = std::move(kept);
        if (!lost && held.empty()) return;
        if (round == 1) {
            // Still not faithful: the library holds nothing, we keep everything.
            aside_.insert(aside_.end(), offered.begin(), offered.end());
            offered.clear();
        }
    }
    libraryHeld_ = 0;
    held_.clear();
}

void Id3libTag::AddFrame(const Frame& frame) {
    auto all = TakeFrames();
    all.push_back(frame);
    Load(std::move(all));
    changed_ = true;
}

std::vector<const Frame*> Id3libTag::Ordered() const {
    std::vector<const Frame*> order;
    if (pending_) {
        for (const auto& f : *pending_) order.push_back(&f);
        return order;
    }
    for (const auto& f : held_) order.push_back(&f);
    for (const auto& f : aside_) order.push_back(&f);
    // Large frames keep their places, so that a write in place can leave a cover's data where it is.
    for (const auto& [at, f] : placed_)
        order.insert(order.begin() + static_cast<ptrdiff_t>(std::min(at, order.size())), &f);
    return order;
}

std::vector<Frame> Id3libTag::Frames() const {
    std::vector<Frame> frames;
    for (const Frame* f : Ordered()) frames.push_back(*f);
    return frames;
}

std::vector<Frame> Id3libTag::TakeFrames() {
    std::vector<Frame> frames;
    // The frames are this object's own (const only for the order's sake), and it lets go of them.
    for (const Frame* f : Ordered()) frames.push_back(std::move(*const_cast<Frame*>(f)));
    libraryHeld_ = 0;
    pending_.reset();
    held_.clear();
    aside_.clear();
    placed_.clear();
    return frames;
}

size_t Id3libTag::FrameCount() const {
    Settle();
    return libraryHeld_ + aside_.size() + placed_.size();
}

std::vector<std::string> Id3libTag::AsideIds() const {
    Settle();
    std::vector<std::string> ids;
    for (const auto& f : aside_) ids.push_back(f.id);
    for (const auto& kept : placed_) ids.push_back(kept.second.id);
    return ids;
}

std::vector<uint8_t> Id3libTag::Render(size_t padding) const {
    Settle();
    const auto frames = Frames();
    if (frames.empty()) return {};
    return id3v2::RenderV23Tag(frames, padding);
}

RenderedTag Id3libTag::RenderKept() const {
    Settle();
    return id3v2::RenderV23Kept(Ordered());
}

void Id3libTag::setPadding(bool on) {
    if (on != padding_) changed_ = true;
    padding_ = on;
}

}  // namespace tagvera::id3v2
