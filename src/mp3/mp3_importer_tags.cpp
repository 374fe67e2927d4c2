// CImportMP3File: reading the three tag sources once per file and merging them in the order of
// "TagReadPriority" (as read when the file was opened), and handing out the bytes of on-demand
// properties in the same order.
#include "mp3/mp3_importer.h"

#include "base/error.h"
#include "metaprop/node_access.h"
#include "package/importer_kit/property_tree.h"
#include "tags/id3v1/id3v1_map.h"
#include "tagvera/vocabulary.h"

namespace tagvera {

HRESULT CImportMP3File::LoadTags() {
    if (path_.empty()) return TV_E_NOTLOADED;
    if (tagsLoaded_) return TV_S_OK;
    const HRESULT hr = LoadTagsImpl();
    if (Failed(hr)) {
        // Half-read tags are not kept: the next request starts again from the file.
        result_.reset();
        jukebox_.reset();
    }
    return hr;
}

HRESULT CImportMP3File::LinkId3v2(const char* path, uint32_t* tagSize) {
    if (const HRESULT hr = CreateID3v2Parser(classFactory(), id3v2_.put()); Failed(hr) || !id3v2_) {
        id3v2_.reset();
        return TV_E_OUTOFMEMORY;
    }
    const HRESULT hr = id3v2_->LinkSource(&ProbedFile(), path, tagSize, kLinkId3v2Only);
    if (Failed(hr)) id3v2_.reset();
    return hr;
}

HRESULT CImportMP3File::LoadTagsImpl() {
    // A file opened through the light interface has no ID3v2 parser yet.
    if (!id3v2_) {
        uint32_t tagSize = 0;
        if (const HRESULT hr = LinkId3v2(path_.c_str(), &tagSize); Failed(hr)) return hr;
    }
    if (const HRESULT hr = CreateJukeboxParser(classFactory(), jukebox_.put()); Failed(hr) || !jukebox_) {
        jukebox_.reset();
        return TV_E_OUTOFMEMORY;
    }

    ComPtr<IMPAMetaProperty> result, v2Tree, k1Tree;
    if (const HRESULT hr = NewPropertyTree(classFactory(), result); Failed(hr)) return hr;
    if (const HRESULT hr = NewPropertyTree(classFactory(), v2Tree); Failed(hr)) return hr;

    if (const HRESULT hr = id3v2_->ReadProperties(v2Tree.get()); Failed(hr)) return hr;
    if (const HRESULT hr = ReadJukeboxFrame(v2Tree.get(), k1Tree); Failed(hr)) return hr;

    for (TagSource source : readPriority_) {
        HRESULT hr = TV_S_OK;
        switch (source) {
            case TagSource::Jukebox: hr = k1Tree ? result->MergeFrom(k1Tree.get(), false, 0) : TV_S_OK; break;
            case TagSource::Id3v2: hr = result->MergeFrom(v2Tree.get(), false, 0); break;
            case TagSource::Id3v1: hr = MergeId3v1(result.get()); break;
        }
        if (Failed(hr)) return hr;
    }
    result_ = std::move(result);
    tagsLoaded_ = true;
    return TV_S_OK;
}

HRESULT CImportMP3File::ReadJukeboxFrame(IMPAMetaProperty* v2Tree, ComPtr<IMPAMetaProperty>& k1Tree) {
    jukeboxUnreadable_ = false;
    ComPtr<IMPAMetaProperty> frame;
    if (Failed(v2Tree->FindByPath(kJukeboxFramePath, frame.put())) || !frame) return TV_S_OK;
    uint32_t type = kTypeNone;
    bool parsed = false;
    if (Succeeded(frame->GetType(&type)) && type == kTypeBinary) {
        const auto bytes = ValueOf(frame.get());
        parsed = !bytes.empty() &&
                 Succeeded(jukebox_->Parse(bytes.data(), static_cast<uint32_t>(bytes.size())));
    }
    frame.reset();
    // The raw frame never shows, whether its block parsed or not.
    if (const HRESULT hr = v2Tree->RemoveByPath(kJukeboxGroup); Failed(hr)) return hr;
    jukeboxUnreadable_ = !parsed;
    if (!parsed) return TV_S_OK;
    ComPtr<IMPAMetaProperty> read;
    if (const HRESULT hr = NewPropertyTree(classFactory(), read); Failed(hr)) return hr;
    // A block that does not read is passed over, with nothing of it kept: the other sources still
    // count. E_FAIL is how a damaged record says so; any other failure (out of memory, a node the
    // host would not make) fails the read.
    const HRESULT hr = jukebox_->CopyToTree(read.get());
    if (Succeeded(hr)) k1Tree = std::move(read);
    jukeboxUnreadable_ = hr == TV_E_FAIL;
    return hr == TV_E_FAIL ? TV_S_OK : hr;
}

HRESULT CImportMP3File::MergeId3v1(IMPAMetaProperty* tree) {
    Id3v1Tag probe;
    if (Failed(ReadId3v1Tag(ProbedFile(), &probe))) return TV_S_OK;
    return MergeId3v1Tag(ProbedFile(), tree);
}

template <class FromJukebox, class FromId3v2>
HRESULT CImportMP3File::PropertyData(IMPAMetaProperty* property, FromJukebox&& jukebox, FromId3v2&& id3v2) {
    if (const HRESULT hr = LoadTags(); Failed(hr)) return hr;
    // Only reference properties have bytes that stay in the file; every other value is in the tree.
    uint32_t type = kTypeNone;
    if (Failed(property->GetType(&type)) || type != kTypeReference) return TV_E_NOTIMPL;
    // When neither serves the property, the ID3v2 tag's answer says why: most files have no
    // jukebox frame, whose parser would only say "not loaded".
    if (JukeboxBeforeId3v2(readPriority_)) {
        const HRESULT hr = jukebox(jukebox_.get());
        return Succeeded(hr) ? hr : id3v2(id3v2_.get());
    }
    const HRESULT hr = id3v2(id3v2_.get());
    if (Succeeded(hr)) return hr;
    const HRESULT second = jukebox(jukebox_.get());
    return Succeeded(second) ? second : hr;
}

HRESULT CImportMP3File::GetPropertyData(IMPAMetaProperty* property, uint8_t* buffer, uint32_t size) {
    if (!property || !buffer) return TV_E_POINTER;
    return Guard([&] {
        return PropertyData(
            property, [&](IMPAKJMDParser* k1) { return k1->GetPropertyData(property, buffer, size); },
            [&](IMPAID3v2Parser* v2) { return v2->GetFrameData(property, buffer, size); });
    });
}

HRESULT CImportMP3File::SavePropertyData(IMPAMetaProperty* property, const char* path) {
    if (!property || !path) return TV_E_POINTER;
    return Guard([&] {
        return PropertyData(
            property, [&](IMPAKJMDParser* k1) { return k1->SavePropertyData(property, path); },
            [&](IMPAID3v2Parser* v2) { return v2->SaveFrameDataToFile(property, path); });
    });
}

}  // namespace tagvera
