#include "wm/asf_header_writer.h"

#include <algorithm>
#include <cstring>

#include "base/error.h"
#include "wm/asf_attributes.h"
#include "wm/asf_objects.h"
#include "wm/asf_writer_bytes.h"

namespace tagvera::wm {
namespace {

bool HoldsAttributes(const Guid& id) {
    return id == ids::kContentDescription || id == ids::kExtendedContentDescription || id == ids::kMetadata ||
           id == ids::kMetadataLibrary;
}

Home HomeOf(const Guid& id) {
    return id == ids::kContentDescription           ? Home::ContentDescription
           : id == ids::kExtendedContentDescription ? Home::ExtendedContent
           : id == ids::kMetadata                   ? Home::Metadata
                                                    : Home::MetadataLibrary;
}

// The objects of one level with the attribute objects made anew: each where the first of its kind
// stood (empty if it is left with none, so that a file keeps its layout), or appended when the
// level had none; a later one of the same kind is dropped, its attributes being in the first, and
// so is one that does not belong on this level (a Metadata object outside the header extension),
// its attributes going where they belong. Padding objects are dropped (the caller adds one).
std::vector<std::vector<uint8_t>> Level(const std::vector<AsfObject>& objects, std::span<const Home> homes,
                                        std::span<const Attribute> attributes) {
    std::vector<std::vector<uint8_t>> out;
    bool done[4] = {};
    for (const auto& o : objects) {
        if (o.id == ids::kPadding) continue;
        if (!HoldsAttributes(o.id)) {
            out.push_back(o.bytes);
            continue;
        }
        const Home home = HomeOf(o.id);
        if (std::find(homes.begin(), homes.end(), home) == homes.end() || done[size_t(home)]) continue;
        done[size_t(home)] = true;
        out.push_back(RenderAttributeObject(home, attributes, true));
    }
    for (Home home : homes)
        if (!done[size_t(home)])
            if (auto made = RenderAttributeObject(home, attributes); !made.empty()) out.push_back(std::move(made));
    return out;
}

std::vector<uint8_t> Extension(const AsfObject* old, std::span<const Attribute> attributes,
                               const std::vector<AsfObject>& children) {
    static constexpr Home kHomes[] = {Home::Metadata, Home::MetadataLibrary};
    BytesOut body;
    if (old) {
        body.bytes(std::span(old->bytes).subspan(24, 18));
    } else {
        body.guid(ids::kHeaderExtensionReserved);
        body.u16(6);
    }
    std::vector<uint8_t> data;
    for (auto& child : Level(children, kHomes, attributes)) data.insert(data.end(), child.begin(), child.end());
    if (data.size() > 0xFFFFFFFFu) throw Error(TV_E_FAIL, "a header extension of 4 GB or more");
    body.u32(uint32_t(data.size()));
    body.bytes(data);
    return WholeObject(ids::kHeaderExtension, body.take());
}

bool NeedsExtension(std::span<const Attribute> attributes) {
    for (const auto& a : attributes)
        if (a.home == Home::Metadata || a.home == Home::MetadataLibrary) return true;
    return false;
}

}  // namespace

std::vector<uint8_t> RenderHeader(const AsfHeader& header, std::span<const Attribute> attributes, uint64_t padding,
                                  uint64_t fileSize) {
    if (padding != 0 && padding < kMinPaddingObject) throw Error(TV_E_FAIL, "padding smaller than a padding object");
    static constexpr Home kHomes[] = {Home::ContentDescription, Home::ExtendedContent};
    std::vector<AsfObject> top;
    for (size_t i = 0; i < header.objects.size(); ++i)
        if (!header.extensionAt || i != *header.extensionAt) top.push_back(header.objects[i]);
        else top.push_back({ids::kHeaderExtension, 0, {}});  // a marker; made below
    std::vector<std::vector<uint8_t>> children = Level(top, kHomes, attributes);
    const AsfObject* oldExtension = header.extensionAt ? &header.objects[*header.extensionAt] : nullptr;
    bool extensionDone = false;
    for (auto& child : children) {
        if (child.empty()) {  // the marker
            child = Extension(oldExtension, attributes, header.extension);
            extensionDone = true;
        } else if (std::memcmp(child.data(), ids::kFileProperties.bytes.data(), 16) == 0 && child.size() >= 48) {
            for (int i = 0; i < 8; ++i) child[40 + i] = uint8_t(fileSize >> (8 * i));
        }
    }
    if (!extensionDone && NeedsExtension(attributes)) children.push_back(Extension(nullptr, attributes, {}));
    if (padding) {
        BytesOut pad;
        pad.guid(ids::kPadding);
        pad.u64(padding);
        std::vector<uint8_t> bytes = pad.take();
        bytes.resize(size_t(padding), 0);
        children.push_back(std::move(bytes));
    }
    if (children.size() > 0xFFFFFFFFu) throw Error(TV_E_FAIL, "too many header objects");
    BytesOut out;
    uint64_t size = 30;
    for (const auto& c : children) size += c.size();
    out.guid(ids::kHeader);
    out.u64(size);
    out.u32(uint32_t(children.size()));
    out.bytes(std::vector<uint8_t>{header.reserved1, header.reserved2});
    for (const auto& c : children) out.bytes(c);
    return out.take();
}

}  // namespace tagvera::wm
