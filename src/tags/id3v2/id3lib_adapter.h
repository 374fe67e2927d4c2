// The ID3 tag library (id3lib) behind one door, so that it stays replaceable. It holds and
// renders the tag for the write side. Reading goes through our frame layer instead, because
// id3lib 3.8.3 reads nothing of ID3v2.4 tags and returns byte-swapped text from its Unicode
// accessors; so everything it is given has been checked and normalised to plain ID3v2.3 by
// that layer first, and everything it renders is checked again on the way out. Where a build has
// no id3lib (Windows), our rules of what it does answer in its place (id3lib_round_trip.h).
#ifndef TAGVERA_TAGS_ID3V2_ID3LIB_ADAPTER_H
#define TAGVERA_TAGS_ID3V2_ID3LIB_ADAPTER_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tags/id3v2/id3lib_round_trip.h"
#include "tags/id3v2/tag.h"
#include "tags/id3v2/tag_writer.h"

namespace tagvera::id3v2 {

// Whether a frame (not kept in its place) is offered to the library at all; what is not, the
// adapter keeps aside without asking.
bool LibraryMayHold(const id3v2::Frame& f);

class Id3libTag {
public:
    Id3libTag();
    // Through another round trip than the build's own: the tests hold id3lib and our rules of it
    // to the same decisions.
    explicit Id3libTag(LibraryRoundTripFn roundTrip);
    ~Id3libTag();
    Id3libTag(const Id3libTag&) = delete;
    Id3libTag& operator=(const Id3libTag&) = delete;

    // Replaces the tag's frames by frames (normalised v2.3 form, see id3v2/normalize.h). Frames
    // the library cannot hold are kept aside by us and rendered after its own; large ones keep
    // their places. The library is asked when a render, the count or the aside frames need it, so
    // that the edits of one write (each a TakeFrames() and a Load()) cost one round trip through it.
    void Load(std::vector<id3v2::Frame> frames);
    void Clear();

    // Appends a frame; removes every frame for which the predicate holds. Both mark the tag changed.
    void AddFrame(const id3v2::Frame& frame);
    template <class Pred>
    size_t RemoveFramesIf(Pred pred) {
        auto all = TakeFrames();
        const size_t before = all.size();
        std::erase_if(all, pred);
        const size_t removed = before - all.size();
        Load(std::move(all));
        if (removed) changed_ = true;
        return removed;
    }

    // The frames as a render would write them: the library's, then those kept aside, large ones
    // in their places.
    std::vector<id3v2::Frame> Frames() const;
    // The same without a copy: the tag holds no frames until the next Load.
    std::vector<id3v2::Frame> TakeFrames();
    size_t FrameCount() const;
    // Ids of frames the library did not take and that we keep aside ("RVA2", "TSOP", ...).
    std::vector<std::string> AsideIds() const;

    // A whole v2.3 tag: header, frames, then padding bytes of zeros; nothing for no frames.
    // Throws Error when a frame's data is still in the file (Frame::deferred).
    std::vector<uint8_t> Render(size_t padding) const;
    // The tag without padding, the data of deferred pictures left in the file; nothing for no frames.
    RenderedTag RenderKept() const;

    // The tag's boolean option: padding after the frames on the next render.
    bool padding() const { return padding_; }
    void setPadding(bool on);
    bool changed() const { return changed_; }
    void markChanged() { changed_ = true; }

private:
    // Runs the frames of the last Load through the library, splitting them into held_, aside_ and
    // placed_.
    void Settle() const;
    void SettleFrames(std::vector<id3v2::Frame>& frames) const;
    std::vector<const id3v2::Frame*> Ordered() const;

    LibraryRoundTripFn roundTrip_;
    mutable size_t libraryHeld_ = 0;  // what the library holds after the settling (id3lib_round_trip.h)
    mutable std::optional<std::vector<id3v2::Frame>> pending_;  // loaded, not settled yet
    // What the library renders, read back, kept from the settling (the one place its tag
    // changes), so that asking for the frames does not render again.
    mutable std::vector<id3v2::Frame> held_;
    mutable std::vector<id3v2::Frame> aside_;
    mutable std::vector<std::pair<size_t, id3v2::Frame>> placed_;  // large frames, with their places
    bool padding_ = false;
    bool changed_ = false;
};

}  // namespace tagvera::id3v2

#endif
