#include "tags/id3v2/id3lib_adapter.h"

#include <id3/readers.h>
#include <id3/tag.h>
#include <id3/writer.h>

#include <algorithm>
#include <limits>
#include <map>

#include "base/error.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/tag_writer.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAGVERA_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define TAGVERA_ASAN 1
#endif
#ifdef TAGVERA_ASAN
// id3lib 3.8.3 deletes its frame iterators through a base class without a virtual destructor on
// every render (ID3_Frame copies); the sizes differ but nothing is corrupted, so that one check is off.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "new_delete_type_mismatch=0";
}
#endif

namespace tagvera::id3v2 {

namespace {

using id3v2::Frame;
using id3v2::FrameKind;

// id3lib writes into whatever it is given; this one grows a vector, bounded by what a tag can be.
class VectorWriter final : public ID3_Writer {
public:
    explicit VectorWriter(std::vector<uint8_t>& out) : out_(out) {}
    void close() override {}
    void flush() override {}
    pos_type getCur() override { return static_cast<pos_type>(out_.size()); }
    // The library writes most of a tag a byte at a time; the base class would make each byte a
    // range insert.
    int_type writeChar(char_type ch) override {
        if (out_.size() < kLimit) out_.push_back(ch);
        return ch;
    }
    size_type writeChars(const char_type buf[], size_type len) override {
        const size_t room = kLimit - std::min(kLimit, out_.size());
        const size_t n = std::min<size_t>(len, room);
        out_.insert(out_.end(), buf, buf + n);
        return static_cast<size_type>(n);
    }
    size_type writeChars(const char buf[], size_type len) override {
        return writeChars(reinterpret_cast<const char_type*>(buf), len);
    }

private:
    static constexpr size_t kLimit = (size_t(1) << 28) + 64;
    std::vector<uint8_t>& out_;
};

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

// Frames from this size on (covers, mostly) are not given to the library: it would hold and
// render copies of them, and gives them back byte for byte anyway.
constexpr size_t kLargeFrame = 16 * 1024;

// Kept by us in their places: a picture whose data is still in the file, or a large frame.
bool KeptInPlace(const Frame& f) { return f.deferred || f.payload.size() >= kLargeFrame; }

std::string Fingerprint(const Frame& f) {
    return f.id + '\x01' + std::string(f.payload.begin(), f.payload.end());
}

std::vector<Frame> ParseRendered(const std::vector<uint8_t>& bytes) {
    if (bytes.size() < id3v2::kHeaderSize) return {};
    // What the library renders is read back through the checked reader, never trusted as is.
    id3v2::Tag tag = id3v2::ParseTag(bytes);
    for (auto& f : tag.frames) f.version = 3;
    return std::move(tag.frames);
}

}  // namespace

struct Id3libTag::Library {
    ID3_Tag tag;
    Library() { Configure(); }
    void Configure() {
        tag.SetSpec(ID3V2_3_0);
        tag.SetUnsync(false);
        tag.SetExtendedHeader(false);
        // Padding is ours to choose (padding policy); the library's own would be cut off anyway.
        tag.SetPadding(false);
    }
    // Throws Error for anything the library throws.
    void parse(const std::vector<uint8_t>& bytes) {
        try {
            tag.Clear();
            Configure();
            if (bytes.empty()) return;
            if (bytes.size() > std::numeric_limits<ID3_Reader::size_type>::max()) throw Error(TV_E_FAIL, "tag too large");
            ID3_MemoryReader reader(bytes.data(), static_cast<ID3_Reader::size_type>(bytes.size()));
            tag.Parse(reader);
        } catch (const Error&) {
            throw;
        } catch (...) {
            throw Error(TV_E_FAIL, "id3lib failed to parse a tag");
        }
    }
    std::vector<uint8_t> render() const {
        std::vector<uint8_t> out;
        try {
            if (tag.NumFrames() == 0) return out;
            VectorWriter writer(out);
            tag.Render(writer, ID3TT_ID3V2);
        } catch (...) {
            throw Error(TV_E_FAIL, "id3lib failed to render the tag");
        }
        return out;
    }
};

Id3libTag::Id3libTag() : lib_(std::make_unique<Library>()) {}
Id3libTag::~Id3libTag() = default;

void Id3libTag::Clear() {
    lib_->parse({});
    pending_.reset();
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
        lib_->parse(id3v2::RenderV23Tag(offered, 0));
        held_ = ParseRendered(lib_->render());
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
    lib_->parse({});
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
    lib_->parse({});
    pending_.reset();
    held_.clear();
    aside_.clear();
    placed_.clear();
    return frames;
}

size_t Id3libTag::FrameCount() const {
    Settle();
    return lib_->tag.NumFrames() + aside_.size() + placed_.size();
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
