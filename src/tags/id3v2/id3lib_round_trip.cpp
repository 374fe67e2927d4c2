#include <id3/readers.h>
#include <id3/tag.h>
#include <id3/writer.h>

#include <algorithm>
#include <limits>

#include "base/error.h"
#include "tags/id3v2/id3lib_round_trip.h"
#include "tags/id3v2/tag_reader.h"

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

void Configure(ID3_Tag& tag) {
    tag.SetSpec(ID3V2_3_0);
    tag.SetUnsync(false);
    tag.SetExtendedHeader(false);
    // Padding is ours to choose (padding policy); the library's own would be cut off anyway.
    tag.SetPadding(false);
}

}  // namespace

LibraryRoundTrip Id3libRoundTrip(std::span<const uint8_t> bytes) {
    LibraryRoundTrip out;
    if (bytes.empty()) return out;
    if (bytes.size() > std::numeric_limits<ID3_Reader::size_type>::max()) throw Error(TV_E_FAIL, "tag too large");
    std::vector<uint8_t> rendered;
    try {
        ID3_Tag tag;
        Configure(tag);
        ID3_MemoryReader reader(bytes.data(), static_cast<ID3_Reader::size_type>(bytes.size()));
        tag.Parse(reader);
        out.held = tag.NumFrames();
        if (out.held == 0) return out;
        VectorWriter writer(rendered);
        tag.Render(writer, ID3TT_ID3V2);
    } catch (...) {
        throw Error(TV_E_FAIL, "id3lib failed to round-trip a tag");
    }
    if (rendered.size() < kHeaderSize) return out;
    // What the library renders is read back through the checked reader, never trusted as is.
    Tag tag = ParseTag(rendered);
    for (auto& f : tag.frames) f.version = 3;
    out.frames = std::move(tag.frames);
    return out;
}

}  // namespace tagvera::id3v2
