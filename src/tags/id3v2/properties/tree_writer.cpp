#include "tags/id3v2/properties/tree_writer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "base/error.h"
#include "metaprop/node_access.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tags/id3v2/properties/read_rules.h"
#include "tags/id3v2/properties/write_rules.h"
#include "metaprop/property_access.h"
#include "platform/text.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

namespace tagvera::id3v2 {

using id3v2::Frame;

namespace {

constexpr int kMaxDepth = 16;

// The frame number a property read from a frame carries in its hidden "ID3FrameID" child.
uint32_t FrameNumberOf(IMPAMetaProperty* property) {
    ComPtr<IMPAMetaProperty> child;
    if (Failed(property->FindFirstChild(kFrameIdProperty, child.put())) || !child) return 0;
    const auto v = ValueOf(child.get());
    if (v.size() != 4) return 0;
    return uint32_t(v[0]) | uint32_t(v[1]) << 8 | uint32_t(v[2]) << 16 | uint32_t(v[3]) << 24;
}

bool NameMatches(const FrameMapRow& row, const std::string& parent, const std::string& name) {
    if (!text::EqualsNoCase(row.parent, parent)) return false;
    if (text::EqualsNoCase(row.property, name)) return true;
    // URL frames read as "<name> Web Page": that name finds its row too.
    return row.write == WriteRule::Url && text::EqualsNoCase(std::string(row.property) + " Web Page", name);
}

const FrameMapRow* RowByName(const std::string& parent, const std::string& name) {
    for (const auto& row : FrameMap())
        if (NameMatches(row, parent, name)) return &row;
    return nullptr;
}

const FrameMapRow* RowOfFrame(std::string_view frameId, const std::string& parent, const std::string& name) {
    const FrameMapRow* first = nullptr;
    for (const auto& row : FrameMap()) {
        if (frameId != row.frameId) continue;
        if (NameMatches(row, parent, name)) return &row;
        if (!first) first = &row;
    }
    return first;
}

std::string Utf8(std::string_view ansi) { return text::AnsiToUtf8(ansi); }

class TreeWriter {
public:
    TreeWriter(std::vector<Frame>& frames, IMPAHandleMetaProperties* ds, const TreeWriteOptions& o)
        : frames_(frames), ds_(ds), options_(o) {}

    HRESULT Walk(IMPAMetaProperty* node, const std::string& prefix, bool groupDeleted, int depth) {
        if (depth > kMaxDepth) return TV_S_OK;
        for (const auto& child : ChildrenOf(node)) {
            const std::string name = NameOf(child.get());
            const std::string full = prefix.empty() ? name : prefix + kPathSeparator + name;
            const bool deleted = groupDeleted || ChangedOf(child.get()) == kDeleted;
            HRESULT hr = TV_S_OK;
            if (TypeOf(child.get()) == kTypeGroup) hr = Walk(child.get(), full, deleted, depth + 1);
            else hr = WriteOne(child.get(), full, deleted);
            if (Failed(hr)) return hr;
        }
        return TV_S_OK;
    }

    bool changed() const { return changed_; }

private:
    HRESULT WriteOne(IMPAMetaProperty* p, const std::string& fullName, bool deleting) {
        const uint32_t state = ChangedOf(p);
        if (!deleting && state != kChanged && !options_.force) return TV_S_OK;
        const uint32_t type = TypeOf(p);
        if (!deleting && type == kTypeReference && !ds_) return TV_S_OK;

        WriteTarget t;
        t.fullName = fullName;
        const size_t colon = fullName.find(kPathSeparator);
        t.parent = colon == std::string::npos ? std::string() : fullName.substr(0, colon);
        t.name = colon == std::string::npos ? fullName : fullName.substr(colon + 1);

        const FrameMapRow* row = nullptr;
        if (const uint32_t number = FrameNumberOf(p)) {
            const std::string_view id = FrameIdOfNumber(number);
            if (!id.empty()) row = RowOfFrame(id, t.parent, t.name);
        } else {
            row = RowByName(t.parent, t.name);
        }
        bool create = options_.createAll;
        if (row) {
            t.frameId = row->frameId;
            t.rule = row->write;
            create = create || row->create;
            // The general object row carries data of every kind: references go as data.
            if (t.rule == WriteRule::Object && IsReference(type)) t.rule = WriteRule::Picture;
        } else {
            if (!options_.includeUnmapped) return TV_S_OK;
            ByType(type, t);
        }

        if (deleting) {
            Remove(t);
            if (t.frameId == "COMM" && t.name.size() < 249) RemoveDescribed("COMM", "MusicMatch_" + Utf8(t.name));
            return TV_S_OK;
        }

        Frame* existing = Find(t);
        if (!existing) {
            if (!create) return TV_S_OK;
            Frame frame;
            frame.id = frame.sourceId = t.frameId;
            frame.version = 3;
            const RuleResult r = ApplyWriteRule(frame, t, p, ds_);
            if (r == RuleResult::Failed) return TV_E_FAIL;
            if (r == RuleResult::Filled) {
                frames_.push_back(std::move(frame));
                changed_ = true;
            }
            return TV_S_OK;
        }
        Frame updated = *existing;
        const RuleResult r = ApplyWriteRule(updated, t, p, ds_);
        if (r == RuleResult::Failed) return TV_E_FAIL;
        if (r == RuleResult::Empty) {
            // An empty value is read as no value: the frame goes rather than stay empty.
            Remove(t);
            return TV_S_OK;
        }
        if (updated.payload != existing->payload || updated.encrypted != existing->encrypted) {
            *existing = std::move(updated);
            changed_ = true;
        }
        return TV_S_OK;
    }

    static bool IsReference(uint32_t type) {
        return type == kTypeReference || type == kTypeFileReference || type == kTypeDataReference;
    }

    static void ByType(uint32_t type, WriteTarget& t) {
        if (type == kTypeFlag || type == kTypeNumber || type == kTypeBinary || type == kTypeFilename) {
            t.frameId = "GEOB", t.rule = WriteRule::Object;
        } else if (type == kTypeUrl) {
            t.frameId = "WXXX", t.rule = WriteRule::Url;
        } else if (IsReference(type)) {
            t.frameId = "GEOB", t.rule = WriteRule::Picture;
        } else {
            t.frameId = "COMM", t.rule = WriteRule::Text;
        }
    }

    // What the frame is looked up by besides its id: the description for frames that have one.
    static bool Described(const std::string& id) { return id == "COMM" || id == "TXXX" || id == "WXXX" || id == "GEOB"; }

    bool SpecMatch(const Frame& f, const WriteTarget& t) const {
        if (f.id != t.frameId) return false;
        const bool gracenote = t.rule == WriteRule::Gracenote;
        if (!Described(f.id) && f.id != "APIC" && !(gracenote && f.id == "UFID")) return true;
        const auto fields = id3v2::TryDecodeFields(f);
        if (!fields) return false;
        if (gracenote) return f.id == "UFID" ? fields->owner == kGracenoteOwner : fields->desc == kGracenoteExtData;
        if (f.id == "APIC")
            return fields->pictureType.value_or(0) == PictureTypeFor(t.parent, t.name) && fields->desc == Utf8(t.fullName);
        return fields->desc == Utf8(t.fullName);
    }

    // A frame that reads back as the property (same id, same path): a comment without a
    // description, a "MusicMatch_" user text, a front cover of type 3 are found this way.
    static bool ReadsAs(const Frame& f, const WriteTarget& t) {
        if (f.id != t.frameId || t.rule == WriteRule::Gracenote) return false;
        const auto spec = ReadFrameProperty(f);
        return spec && text::EqualsNoCase(spec->parent, t.parent) && text::EqualsNoCase(spec->name, t.name);
    }

    Frame* Find(const WriteTarget& t) {
        for (auto& f : frames_)
            if (SpecMatch(f, t)) return &f;
        for (auto& f : frames_)
            if (ReadsAs(f, t)) return &f;
        return nullptr;
    }

    // Every frame the property stands for goes, so that no second one shows up in its place.
    void Remove(const WriteTarget& t) {
        const size_t before = frames_.size();
        std::erase_if(frames_, [&](const Frame& f) { return SpecMatch(f, t) || ReadsAs(f, t); });
        if (frames_.size() != before) changed_ = true;
    }

    void RemoveDescribed(const char* id, const std::string& desc) {
        const size_t before = frames_.size();
        std::erase_if(frames_, [&](const Frame& f) {
            if (f.id != id) return false;
            const auto fields = id3v2::TryDecodeFields(f);
            return fields && fields->desc == desc;
        });
        if (frames_.size() != before) changed_ = true;
    }

    std::vector<Frame>& frames_;
    IMPAHandleMetaProperties* ds_;
    TreeWriteOptions options_;
    bool changed_ = false;
};

}  // namespace

HRESULT WriteTreeToFrames(std::vector<Frame>& frames, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                          const TreeWriteOptions& options, bool* changed) {
    if (changed) *changed = false;
    if (!tree) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        TreeWriter writer(frames, dataSource, options);
        const HRESULT hr = writer.Walk(tree, "", false, 0);
        if (changed) *changed = writer.changed();
        return hr;
    });
}

HRESULT WriteTreeToTag(Id3libTag& tag, IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource,
                       const TreeWriteOptions& options) {
    if (!tree) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        // Taken and given back rather than copied: a frame may hold a cover of any size.
        auto frames = tag.TakeFrames();
        bool changed = false;
        const HRESULT hr = WriteTreeToFrames(frames, tree, dataSource, options, &changed);
        tag.Load(std::move(frames));
        // What was written before a failure is kept: the caller does not update the file then.
        if (changed) tag.markChanged();
        return hr;
    });
}

}  // namespace tagvera::id3v2
