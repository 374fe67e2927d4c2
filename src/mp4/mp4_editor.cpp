#include "mp4/mp4_editor.h"

#include <cstdlib>
#include <cstring>

#include "base/byte_reader.h"
#include "mp4/es_descriptor.h"
#include "mp4/item_table.h"
#include "platform/text.h"

namespace tagvera::mp4 {
namespace {

// A movie box holds sample tables and item payloads; beyond this it is not a file we edit.
constexpr uint64_t kLargestMovie = 256u << 20;
constexpr uint8_t kIpodUuid[16] = {0x6B, 0x68, 0x40, 0xF2, 0x5F, 0x24, 0x4F, 0xC5,
                                   0xBA, 0x39, 0xA5, 0x1B, 0xCF, 0x03, 0x23, 0xF3};

uint32_t Be32(std::span<const uint8_t> b, size_t at) { return ByteReader(b.subspan(at, 4)).u32be(); }

const Atom* MediaInfo(const Atom& trak) { return trak.find({FourCC("mdia"), FourCC("minf")}); }

}  // namespace

void CMp4Editor::ResetAtoms() {
    top_ = {};
    moov_.clear();
    movie_ = {};
    facts_ = {};
    items_.clear();
    problem_.clear();
    removeAll_ = false;
}

void CMp4Editor::LoadMetadata(ByteSource& file) {
    ResetAtoms();
    top_ = ReadTopLevel(file);
    problem_ = top_.problem;
    const Atom* moov = top_.find(FourCC("moov"));
    if (!moov) {
        if (problem_.empty()) problem_ = "no movie box ('moov')";
        return;
    }
    if (moov->size > kLargestMovie) {
        problem_ = "a movie box larger than 256 MB";
        return;
    }
    moov_ = file.readExact(moov->offset, size_t(moov->size));
    movie_ = ParseMovie(moov_, moov->offset, &problem_);
    ReadFacts(top_.fileSize);
    ReadItems();
}

void CMp4Editor::ReadFacts(uint64_t fileSize) {
    if (const Atom* mvhd = movie_.child(FourCC("mvhd")); mvhd && mvhd->size >= mvhd->header + 4u) {
        ByteReader r(BytesOf(moov_, movie_.offset, *mvhd).subspan(mvhd->header));
        try {
            const uint8_t version = r.u8();
            r.skip(3);
            r.skip(version == 1 ? 16 : 8);
            const uint32_t scale = r.u32be();
            const uint64_t duration = version == 1 ? r.u64be() : r.u32be();
            if (scale) facts_.durationMs = uint32_t(std::min<uint64_t>(duration / scale * 1000, UINT32_MAX));
        } catch (const Error&) {
            // A short movie header leaves the duration unknown.
        }
    }
    for (const Atom& trak : movie_.children) {
        if (trak.type != FourCC("trak")) continue;
        const Atom* minf = MediaInfo(trak);
        if (!minf || !minf->child(FourCC("smhd"))) continue;
        const Atom* stsd = minf->find({FourCC("stbl"), FourCC("stsd")});
        const Atom* entry = stsd ? stsd->child(FourCC("mp4a")) : nullptr;
        if (!entry && stsd) entry = stsd->child(FourCC("drms"));
        const Atom* esds = entry ? entry->child(FourCC("esds")) : nullptr;
        if (esds && esds->size > esds->header + 4u) {
            const auto payload = BytesOf(moov_, movie_.offset, *esds).subspan(esds->header + 4);
            if (const auto es = ParseEsDescriptor(payload); es && es->decoder) {
                facts_.maxBitrate = es->decoder->maxBitrate;
                facts_.avgBitrate = es->decoder->avgBitrate;
                if (es->decoder->objectType == 0x40 && es->decoder->hasSpecificInfo)
                    facts_.channels = ChannelsOfAudioConfig(es->decoder->specificInfo).value_or(0);
            }
        }
        break;  // the first sound track is the one described
    }
    ReadVideo(fileSize);
}

void CMp4Editor::ReadVideo(uint64_t fileSize) {
    for (const Atom& trak : movie_.children) {
        if (trak.type != FourCC("trak")) continue;
        if (const Atom* tkhd = trak.child(FourCC("tkhd")); tkhd && tkhd->size >= tkhd->header + 8u) {
            const auto bytes = BytesOf(moov_, movie_.offset, *tkhd);
            const uint32_t width = Be32(bytes, bytes.size() - 8) >> 16, height = Be32(bytes, bytes.size() - 4) >> 16;
            if (width && height && !facts_.width) {
                facts_.width = width;
                facts_.height = height;
                SetItemInteger(kItemWidth, int32_t(width));
                SetItemInteger(kItemHeight, int32_t(height));
                // Audio bit rates do not describe a film: the whole file over its duration does.
                if (const uint64_t ms = facts_.durationMs) {
                    const uint64_t rate = ms > 1000 ? fileSize / (ms / 1000) * 8 : fileSize / ms * 8000;
                    facts_.maxBitrate = facts_.avgBitrate = uint32_t(std::min<uint64_t>(rate, UINT32_MAX));
                }
            }
        }
        const Atom* minf = MediaInfo(trak);
        if (!minf || !minf->child(FourCC("vmhd"))) continue;
        const Atom* avc1 = minf->find({FourCC("stbl"), FourCC("stsd"), FourCC("avc1")});
        const Atom* uuid = avc1 ? avc1->child(FourCC("uuid")) : nullptr;
        if (uuid && uuid->size >= uuid->header + 16u &&
            std::memcmp(BytesOf(moov_, movie_.offset, *uuid).data() + uuid->header, kIpodUuid, 16) == 0) {
            facts_.ipod = true;
            SetItemText(kItemCompatibility, "ipod");
        }
        break;  // the first video track ends the walk
    }
}

void CMp4Editor::ReadItems() {
    const Atom* ilst = movie_.find({FourCC("udta"), FourCC("meta"), FourCC("ilst")});
    if (!ilst) return;
    for (const Atom& item : ilst->children) {
        // An item without its "data" box first is not one the table can read: it stays as it is.
        if (!FindItemRowByAtom(item.type) || item.children.empty() || item.children[0].type != FourCC("data") ||
            item.size < 24)
            continue;
        const auto bytes = BytesOf(moov_, movie_.offset, item);
        Mp4Atom entry;
        entry.atomType = item.type;
        entry.dataType = Be32(bytes, 16);
        entry.data.assign(bytes.begin() + 24, bytes.end());
        items_.push_back(std::move(entry));
    }
}

const Mp4Atom* CMp4Editor::Find(int id) const {
    const ItemRow* row = FindItemRow(id);
    if (!row) return nullptr;
    for (const Mp4Atom& item : items_)
        if (item.atomType == row->atom && item.state != ItemState::Remove) return &item;
    return nullptr;
}

Mp4Atom* CMp4Editor::FindOrAdd(int id, uint32_t newType) {
    const ItemRow* row = FindItemRow(id);
    if (!row) return nullptr;
    for (Mp4Atom& item : items_)
        if (item.atomType == row->atom) return &item;
    Mp4Atom& added = items_.emplace_back();
    added.atomType = row->atom;
    added.dataType = newType;
    return &added;
}

std::optional<std::string> CMp4Editor::GetItemText(int id) const {
    const Mp4Atom* item = Find(id);
    if (!item || item->dataType != kDataUtf8) return std::nullopt;
    return text::SanitizeUtf8(std::string_view(reinterpret_cast<const char*>(item->data.data()), item->data.size()));
}

std::optional<uint32_t> CMp4Editor::GetItemInteger(int id) const {
    const Mp4Atom* item = Find(id);
    if (!item || item->dataType != kDataBinary) return std::nullopt;
    uint32_t value = 0;
    for (size_t i = 0; i < item->data.size() && i < 4; ++i) value = value << 8 | item->data[i];
    return value;
}

std::optional<std::span<const uint8_t>> CMp4Editor::GetItemIntegerBytes(int id) const {
    const Mp4Atom* item = Find(id);
    if (!item || item->dataType != kDataSignedInteger) return std::nullopt;
    return std::span<const uint8_t>(item->data);
}

std::optional<std::span<const uint8_t>> CMp4Editor::GetItemImage(int id) const {
    const Mp4Atom* item = Find(id);
    if (!item || (item->dataType != kDataJpeg && item->dataType != kDataPng)) return std::nullopt;
    return std::span<const uint8_t>(item->data);
}

bool CMp4Editor::RemoveItem(int id) {
    const ItemRow* row = FindItemRow(id);
    if (!row) return false;
    for (Mp4Atom& item : items_)
        if (item.atomType == row->atom) {
            item.state = ItemState::Remove;
            break;
        }
    return true;
}

bool CMp4Editor::SetItemInteger(int id, int32_t value) {
    Mp4Atom* item = FindOrAdd(id, id == kItemYear ? kDataUtf8 : kDataBinary);
    if (!item) return false;
    if (item->dataType == kDataUtf8) {
        const std::string text = std::to_string(value);
        item->data.assign(text.begin(), text.end());
    } else if (item->dataType == kDataBinary) {
        const uint32_t v = uint32_t(value);
        item->data = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
    } else {
        return false;
    }
    item->state = ItemState::Changed;
    return true;
}

bool CMp4Editor::SetItemText(int id, std::string_view text) {
    const ItemRow* row = FindItemRow(id);
    if (!row) return false;
    Mp4Atom* item = FindOrAdd(id, row->newTextType);
    // A text item whose type word is none the table knows is damaged, not a format to keep: the
    // user's text replaces it rather than being dropped.
    const uint32_t t = item->dataType;
    if (row->newTextType == kDataUtf8 && t != kDataBinary && t != kDataJpeg && t != kDataPng && t != kDataSignedInteger)
        item->dataType = kDataUtf8;
    if (item->dataType == kDataUtf8) {
        if (!text.empty()) item->data.assign(text.begin(), text.end());
    } else if (item->dataType == kDataBinary) {
        // A number written as text keeps the rest of a packed value: "7" into an 8-byte track
        // number leaves its total as it was.
        if (item->data.size() < 5) item->data.assign(id == kItemTrack || id == kItemDisc ? 8 : 4, 0);
        const uint32_t v = uint32_t(std::atoi(std::string(text).c_str()));
        for (int i = 0; i < 4; ++i) item->data[size_t(i)] = uint8_t(v >> (24 - 8 * i));
    } else {
        return true;  // other data types are not text: left as they are
    }
    item->state = ItemState::Changed;
    return true;
}

bool CMp4Editor::SetItemIntegerBytes(int id, std::span<const uint8_t> bytes) {
    Mp4Atom* item = FindOrAdd(id, kDataSignedInteger);
    if (!item || item->dataType != kDataSignedInteger) return false;
    if (!bytes.empty()) item->data.assign(bytes.begin(), bytes.end());
    item->state = ItemState::Changed;
    return true;
}

bool CMp4Editor::SetItemImage(int id, std::span<const uint8_t> bytes) {
    Mp4Atom* item = FindOrAdd(id, kDataJpeg);
    if (!item) return false;
    // A PNG cover is replaced too: a user who sets a cover wants it shown, whatever the old
    // one's format. The new picture's own format decides the data type.
    if (item->dataType != kDataJpeg && item->dataType != kDataPng) return false;
    if (bytes.empty()) return true;
    item->data.assign(bytes.begin(), bytes.end());
    static constexpr uint8_t kPngSignature[4] = {0x89, 'P', 'N', 'G'};
    item->dataType = bytes.size() >= 4 && std::memcmp(bytes.data(), kPngSignature, 4) == 0 ? kDataPng : kDataJpeg;
    item->state = ItemState::Changed;
    return true;
}

std::vector<uint8_t> SerializeItem(const Mp4Atom& item) {
    const uint64_t size = item.data.size() + 24;
    if (size > UINT32_MAX) throw Error(TV_E_FAIL, "an item larger than 4 GB");
    std::vector<uint8_t> out;
    out.reserve(size_t(size));
    const auto put = [&](uint32_t v) {
        for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(v >> shift));
    };
    put(uint32_t(size));
    put(item.atomType);
    put(uint32_t(size - 8));
    put(FourCC("data"));
    put(item.dataType);
    put(item.locale);
    out.insert(out.end(), item.data.begin(), item.data.end());
    return out;
}

}  // namespace tagvera::mp4
