// CMPAID3v2Parser: reads a file's ID3v2 tags through the checked frame layer into property trees,
// and holds the tag in the ID3 tag library (through its adapter) for rendering and writing.
#include "tags/id3v2/properties/id3v2_parser.h"

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "base/padding_policy.h"
#include "component/context_user.h"
#include "component/unknown.h"
#include "metaprop/metaprop_component.h"
#include "tags/id3v2/id3lib_adapter.h"
#include "tags/id3v2/fields.h"
#include "tags/id3v2/normalize.h"
#include "tags/id3v2/tag_reader.h"
#include "tags/id3v2/file_write.h"
#include "tags/id3v2/properties/frame_map.h"
#include "tags/id3v2/properties/left_out.h"
#include "tags/id3v2/properties/read_rules.h"
#include "tags/id3v2/properties/tree_writer.h"
#include "platform/file.h"
#include "platform/safe_write.h"
#include "platform/text.h"
#include "tagvera/com_ptr.h"
#include "tagvera/mp3.h"
#include "tagvera/plugin.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

namespace {

using id3v2::Frame;

// Files loaded into a frame are bounded like any frame of a tag.
constexpr uint64_t kMaxFrameFile = 64u << 20;

std::optional<uint32_t> NumberChild(IMPAMetaProperty* node, const char* name) {
    ComPtr<IMPAMetaProperty> child;
    if (Failed(node->FindFirstChild(name, child.put())) || !child) return std::nullopt;
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(child->GetValue(&data, &size)) || size < 4) return std::nullopt;
    return uint32_t(data[0]) | (uint32_t(data[1]) << 8) | (uint32_t(data[2]) << 16) | (uint32_t(data[3]) << 24);
}

std::string TextChild(IMPAMetaProperty* node, const char* name) {
    ComPtr<IMPAMetaProperty> child;
    if (Failed(node->FindFirstChild(name, child.put())) || !child) return {};
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    if (Failed(child->GetValue(&data, &size))) return {};
    return std::string(reinterpret_cast<const char*>(data), strnlen(reinterpret_cast<const char*>(data), size));
}

std::string NodeName(IMPAMetaProperty* node) {
    const char* s = nullptr;
    return Succeeded(node->GetName(&s)) && s ? s : "";
}

std::string NodePath(IMPAMetaProperty* node) {
    const char* s = nullptr;
    return Succeeded(node->GetPath(&s)) && s ? s : "";
}

// path names the node at tail, or a node below a group that holds it ("Root:" + tail).
bool EndsWithPath(const std::string& path, const std::string& tail) {
    return path.size() > tail.size() && path[path.size() - tail.size() - 1] == ':' &&
           path.compare(path.size() - tail.size(), tail.size(), tail) == 0;
}

class CMPAID3v2Parser final : public CUnknownIMP, public CKCAContextUserMixin, public IMPAID3v2Parser {
public:
    TV_IMPLEMENT_IUNKNOWN

    HRESULT InternalQueryInterface(const GUID& iid, void** out) override {
        if (!out) return TV_E_POINTER;
        if (iid == IID_IUnknown) return Hand(static_cast<CUnknownIMP*>(this), out);
        if (iid == IID_IMPAID3v2Parser) return Hand(static_cast<IMPAID3v2Parser*>(this), out);
        return NoInterface(out);
    }

    HRESULT TV_STDCALL LinkBuffer(const uint8_t* bytes, uint32_t size) override {
        return Guard([&]() -> HRESULT {
            if (!bytes && size) return TV_E_POINTER;
            ClearState();
            // The bytes are read in memory: our reader takes any byte source, so no temporary file
            // is needed until something is written back.
            buffer_.assign(bytes, bytes + size);
            MemorySource source(buffer_);
            Load(source, 0, 0);
            path_ = "<buffer>";
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL LinkFile(const char* path, uint32_t* tagSize, uint32_t flags) override {
        return Guard([&]() -> HRESULT {
            if (!path || !tagSize) return TV_E_POINTER;
            *tagSize = 0;
            ClearState();
            platform::File file(path, platform::OpenMode::Read);
            return LinkSource(&file, path, tagSize, flags);
        });
    }

    HRESULT TV_STDCALL LinkSource(ByteSource* source, const char* path, uint32_t* tagSize, uint32_t flags) override {
        return Guard([&]() -> HRESULT {
            if (!source || !path || !tagSize) return TV_E_POINTER;
            *tagSize = 0;
            ClearState();
            Load(*source, flags, id3v2::kDeferPicturesFrom);
            linkFlags_ = flags;
            path_ = path;
            *tagSize = tagSize_;
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL SetTagOption(bool value) override {
        return Guard([&]() -> HRESULT {
            if (!linked()) return TV_E_FAIL;
            Library().setPadding(value);
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL Clear() override {
        return Guard([&]() -> HRESULT {
            ClearState();
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL ReadProperties(IMPAMetaProperty* root) override {
        return Guard([&]() -> HRESULT {
            if (!root) return TV_E_POINTER;
            if (!linked()) return TV_E_FAIL;
            leftOut_.clear();
            treeRead_ = false;
            // Frames as loaded come with their fields; a frame changed since is decoded again.
            const bool decoded = fields_.size() == frames_.size();
            for (size_t i = 0; i < frames_.size(); ++i) {
                const auto spec = decoded ? id3v2::ReadFrameProperty(frames_[i], fields_[i])
                                          : id3v2::ReadFrameProperty(frames_[i]);
                if (!spec) continue;
                const HRESULT hr = AddToTree(root, *spec);
                if (Failed(hr)) return hr;
                if (hr == TV_S_PROP_EXISTS) leftOut_.push_back({spec->path(), i});
            }
            treeRead_ = true;
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL GetFrameData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) override {
        return Guard([&]() -> HRESULT {
            if (!property || !buffer) return TV_E_POINTER;
            Frame& frame = LoadedFrameFor(property);
            const auto data = id3v2::FrameReferenceData(frame);
            if (size < data.size()) return TV_E_BUFFERTOOSMALL;
            if (!data.empty()) std::memcpy(buffer, data.data(), data.size());
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL SetFrameDataFromFile(IMPAMetaProperty* property, const char* path) override {
        return Guard([&]() -> HRESULT {
            if (!property || !path) return TV_E_POINTER;
            Frame& frame = LoadedFrameFor(property);
            platform::File file(path, platform::OpenMode::Read);
            if (file.size() > kMaxFrameFile) throw Error(TV_E_FAIL, "file too large for a frame");
            const auto bytes = file.readExact(0, static_cast<size_t>(file.size()));
            id3v2::Fields f = id3v2::DecodeFields(frame);
            auto encoding = f.encoding.value_or(id3v2::TextEncoding::Latin1);
            if (f.kind == id3v2::FrameKind::Comment) {
                const std::string textValue = text::SanitizeUtf8(
                    text::AnsiToUtf8(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())));
                f.values = {textValue};
                if (!text::FitsLatin1(textValue)) encoding = id3v2::TextEncoding::Utf16;
            } else if (f.kind == id3v2::FrameKind::Picture || f.kind == id3v2::FrameKind::Object) {
                f.data = bytes;
            } else {
                return TV_E_FAIL;
            }
            frame.payload = id3v2::EncodeFields(frame.id, f, encoding);
            ReloadLibrary();
            Library().markChanged();
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL WriteAllProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force,
                                          bool createAll) override {
        return WriteProperties(tree, dataSource, force, createAll, true);
    }

    HRESULT TV_STDCALL GetRenderedSize(uint32_t* size) override {
        return Guard([&]() -> HRESULT {
            if (!size) return TV_E_POINTER;
            *size = 0;
            if (!linked()) return TV_E_FAIL;
            *size = static_cast<uint32_t>(Rendered().size());
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL Render(uint8_t* buffer, uint32_t size, uint32_t* written, uint32_t flags) override {
        return Guard([&]() -> HRESULT {
            if (!buffer || !written) return TV_E_POINTER;
            *written = 0;
            if (!linked()) return TV_E_FAIL;
            if (flags & 1) Library().markChanged();
            const auto bytes = Rendered();
            if (size < bytes.size()) {
                *written = static_cast<uint32_t>(bytes.size());
                return TV_E_BUFFERTOOSMALL;
            }
            if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
            *written = static_cast<uint32_t>(bytes.size());
            return TV_S_OK;
        });
    }

    // Writing is in properties/tree_writer.cpp and file_write.cpp; the library renders, the
    // safe-write helper writes.
    HRESULT TV_STDCALL Update(uint32_t flags, uint32_t option) override {
        return Guard([&]() -> HRESULT {
            if (!linked()) return TV_E_FAIL;
            if (flags & 1) Library().markChanged();
            if (!library_ || !library_->changed()) return TV_S_OK;
            id3v2::Id3v2WriteOptions options;
            options.growPadding = library_->padding();
            options.inPlaceOnly = (option & kMp3WriteInPlaceOnly) != 0;
            options.deferSync = (option & kMp3WriteDeferSync) != 0;
            id3v2::WriteId3v2Tag(path_, library_->RenderKept(), options);
            // Pictures left in the file may have moved with the tag: their places are read again.
            platform::File file(path_, platform::OpenMode::Read);
            Load(file, linkFlags_, id3v2::kDeferPicturesFrom);
            ReloadLibrary();
            return TV_S_OK;
        });
    }
    HRESULT TV_STDCALL Strip() override {
        return Guard([&]() -> HRESULT {
            if (!linked()) return TV_E_FAIL;
            id3v2::StripId3v2Tags(path_);
            frames_.clear();
            fields_.clear();
            tagSize_ = 0;
            if (library_) library_->Clear();
            return TV_S_OK;
        });
    }
    HRESULT TV_STDCALL WriteProperties(IMPAMetaProperty* tree, IMPAHandleMetaProperties* dataSource, bool force,
                                       bool createAll, bool includeUnmapped) override {
        return Guard([&]() -> HRESULT {
            if (!tree) return TV_E_POINTER;
            if (!linked()) return TV_E_FAIL;
            return id3v2::WriteTreeToTag(Library(), tree, dataSource, {force, createAll, includeUnmapped});
        });
    }

    HRESULT TV_STDCALL RenderTag(id3v2::RenderedTag* tag) override {
        return Guard([&]() -> HRESULT {
            if (!tag) return TV_E_POINTER;
            *tag = {};
            if (!linked()) return TV_E_FAIL;
            *tag = Library().RenderKept();
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL GetFrames(std::vector<Frame>* frames, uint8_t* sourceMajor) override {
        return Guard([&]() -> HRESULT {
            if (!frames || !sourceMajor) return TV_E_POINTER;
            if (!linked()) return TV_E_FAIL;
            *frames = Library().Frames();
            *sourceMajor = sourceMajor_;
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL GetLeftOutLines(std::string* lines) override {
        return Guard([&]() -> HRESULT {
            if (!lines) return TV_E_POINTER;
            if (!linked() || !treeRead_) return TV_E_FAIL;
            std::vector<id3v2::LeftOutFrame> frames;
            for (const auto& [property, index] : leftOut_)
                if (index < frames_.size()) frames.push_back({property, &frames_[index]});
            *lines = id3v2::LeftOutLines(frames);
            return TV_S_OK;
        });
    }

    HRESULT TV_STDCALL SaveFrameDataToFile(IMPAMetaProperty* property, const char* path) override {
        return Guard([&]() -> HRESULT {
            if (!property || !path) return TV_E_POINTER;
            Frame& frame = LoadedFrameFor(property);
            const auto data = id3v2::FrameReferenceData(frame);
            platform::WriteFileAtomically(path, data);
            return TV_S_OK;
        });
    }

private:
    bool linked() const { return !path_.empty(); }

    void ClearState() {
        path_.clear();
        buffer_.clear();
        frames_.clear();
        fields_.clear();
        leftOut_.clear();
        treeRead_ = false;
        tagSize_ = 0;
        sourceMajor_ = 0;
        library_.reset();
    }

    void Load(ByteSource& source, uint32_t flags, uint32_t deferPicturesFrom) {
        id3v2::ReadOptions read;
        read.deferPicturesFrom = deferPicturesFrom;
        const id3v2::FileTags tags = id3v2::ReadFileTags(source, read);
        id3v2::NormalizeOptions options;
        options.trailingFields = (flags & kLinkTrailingTags) != 0;
        auto normal = id3v2::NormalizeToV23(tags, options);
        frames_ = std::move(normal.frames);
        fields_ = std::move(normal.fields);
        sourceMajor_ = tags.first() ? tags.first()->major : 0;
        // The ID3v2 tags at the start are at most 8 tags of 256 MB: this fits 32 bits.
        tagSize_ = static_cast<uint32_t>(tags.prependedSize);
    }

    // Reads the data of a picture that was left in the file (id3v2::kDeferPicturesFrom; only tags
    // linked from a file leave any).
    void LoadDeferred(Frame& frame) {
        if (!frame.deferred) return;
        platform::File file(path_, platform::OpenMode::Read);
        id3v2::LoadDeferredData(frame, file);
    }

    // The library is loaded only when something needs it (rendering, writing): reading never does.
    // Pictures whose data stayed in the file stay there: a write copies them from it.
    id3v2::Id3libTag& Library() {
        if (!library_) {
            library_ = std::make_unique<id3v2::Id3libTag>();
            library_->Load(frames_);
        }
        return *library_;
    }
    void ReloadLibrary() {
        if (!library_) return;
        const bool padding = library_->padding();
        library_->Load(frames_);
        library_->setPadding(padding);
    }

    // The tag as bytes, for the slots that hand it out: the data left in the file is read here.
    std::vector<uint8_t> Rendered() {
        auto& lib = Library();
        auto tag = lib.RenderKept();
        if (tag.empty()) return {};
        if (lib.padding()) id3v2::SetTagPadding(tag, padding::GrowPadding(tag.size()));
        if (tag.kept.empty()) {
            MemorySource nothingKept(buffer_);
            return id3v2::LoadRenderedTag(tag, nothingKept);
        }
        platform::File file(path_, platform::OpenMode::Read);
        return id3v2::LoadRenderedTag(tag, file);
    }

    HRESULT CreateNode(ComPtr<IMPAMetaProperty>& node) {
        HRESULT hr = classFactory() ? CreateThroughHost(CLSID_CMPAMetaProperty, IID_IMPAMetaProperty, node.put())
                                    : CreateStandaloneMetaProperty(node.put());
        if (Failed(hr) || !node) return TV_E_OUTOFMEMORY;
        return TV_S_OK;
    }

    HRESULT AddToTree(IMPAMetaProperty* root, const id3v2::PropertySpec& spec) {
        ComPtr<IMPAMetaProperty> node;
        HRESULT hr = CreateNode(node);
        if (Failed(hr)) return hr;
        node->SetName(spec.name.c_str());
        node->SetType(spec.type);
        if (spec.value) node->SetValue(spec.value->data(), static_cast<uint32_t>(spec.value->size()));
        ComPtr<IMPAMetaProperty> parent;
        if (Failed(root->FindFirstChild(spec.parent.c_str(), parent.put())) || !parent) {
            hr = root->AddGroup(spec.parent.c_str(), 0, false, parent.put());
            if (Failed(hr) || !parent) return Failed(hr) ? hr : TV_E_FAIL;
        }
        // The first frame that names a property wins; later ones leave it as it is.
        hr = parent->AddChild(node.get(), false, nullptr, 0);
        if (Failed(hr) || hr == TV_S_PROP_EXISTS) return hr;
        // Children go in once the node has its place, so that their paths are made once.
        for (const auto& c : spec.children) {
            hr = node->AddProperty(c.name.c_str(), c.type, c.flags, c.value.data(), static_cast<uint32_t>(c.value.size()),
                                   true, nullptr);
            if (Failed(hr)) return hr;
        }
        return TV_S_OK;
    }

    // The frame behind a reference property, its data loaded: E_FAIL without a linked tag or such
    // a frame, as every slot that hands out or replaces a frame's data answers.
    Frame& LoadedFrameFor(IMPAMetaProperty* property) {
        if (!linked()) throw Error(TV_E_FAIL, "no tag linked");
        Frame* frame = FindFrameFor(property);
        if (!frame) throw Error(TV_E_FAIL, "no frame for the property");
        // The caller may change the frame, and loading its data moves its payload.
        fields_.clear();
        LoadDeferred(*frame);
        return *frame;
    }

    // The frame a reference property was read from: same frame number, same path, and where
    // several frames give the same path (two covers), the one whose size and type match.
    Frame* FindFrameFor(IMPAMetaProperty* property) {
        const auto number = NumberChild(property, id3v2::kFrameIdProperty);
        const auto dataSize = NumberChild(property, "DataSize");
        const std::string mime = TextChild(property, "MimeType");
        const std::string path = NodePath(property);
        const std::string name = NodeName(property);
        Frame* byPath = nullptr;
        for (Frame& frame : frames_) {
            if (number && id3v2::FrameNumber(frame.id) != *number) continue;
            const auto spec = id3v2::ReadFrameProperty(frame);
            if (!spec || spec->type != kTypeReference) continue;
            const bool samePath = !path.empty() ? (path == spec->path() || EndsWithPath(path, spec->path()))
                                                : name == spec->name;
            if (!samePath) continue;
            const auto* size = spec->child("DataSize");
            const auto* specMime = spec->child("MimeType");
            const bool sameSize = !dataSize || (size && size->value.size() == 4 &&
                                                 std::memcmp(size->value.data(), &*dataSize, 4) == 0);
            const bool sameMime = mime.empty() || (specMime && mime == reinterpret_cast<const char*>(specMime->value.data()));
            if (sameSize && sameMime) return &frame;
            if (!byPath) byPath = &frame;
        }
        return byPath;
    }

    std::string path_;
    std::vector<uint8_t> buffer_;
    std::vector<Frame> frames_;
    std::vector<id3v2::Fields> fields_;  // frames_ as loaded, decoded; empty once a frame may have changed
    uint32_t tagSize_ = 0;
    uint8_t sourceMajor_ = 0;
    std::vector<std::pair<std::string, size_t>> leftOut_;  // property and frame the last tree read left out
    bool treeRead_ = false;
    uint32_t linkFlags_ = 0;
    std::unique_ptr<id3v2::Id3libTag> library_;
};

}  // namespace

HRESULT CreateID3v2Parser(IUnknown* hostContext, IMPAID3v2Parser** out) {
    if (!out) return TV_E_POINTER;
    *out = nullptr;
    auto* parser = new (std::nothrow) CMPAID3v2Parser();
    if (!parser) return TV_E_OUTOFMEMORY;
    parser->InternalAddRef();
    if (hostContext) parser->SetContext(hostContext);
    const HRESULT hr = parser->InternalQueryInterface(IID_IMPAID3v2Parser, reinterpret_cast<void**>(out));
    parser->InternalRelease();
    return hr;
}

}  // namespace tagvera
