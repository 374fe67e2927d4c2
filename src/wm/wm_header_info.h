// CWMHeaderInfo: named getters and setters over a file's header attributes, as the runtime's
// header interfaces offer them: the file's own attributes and those the runtime derives from the
// file and stream properties (read-only: "Duration", "Bitrate", "HasAudio", "HasVideo",
// "Seekable"). Only attributes of stream 0 are seen and changed; the rest stay as they are.
#ifndef TAGVERA_WM_WM_HEADER_INFO_H
#define TAGVERA_WM_WM_HEADER_INFO_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tagvera/metaprop.h"
#include "wm/asf_model.h"
#include "wm/wm_meta_property.h"
#include "wm/wstring.h"

namespace tagvera::wm {

// The front cover held in "WM/Picture".
struct Picture {
    std::string mime;
    std::vector<uint8_t> data;
};

class CWMHeaderInfo {
public:
    virtual ~CWMHeaderInfo() = default;
    virtual void Close() = 0;
    virtual HRESULT Open() = 0;

    HRESULT GetAlbumTitle(std::string* out) const { return GetStringAttribute("WM/AlbumTitle", out); }
    HRESULT GetAuthor(std::string* out) const { return GetStringAttribute("Author", out); }
    HRESULT GetTitle(std::string* out) const { return GetStringAttribute("Title", out); }
    HRESULT GetDescription(std::string* out) const { return GetStringAttribute("Description", out); }
    HRESULT GetCopyright(std::string* out) const { return GetStringAttribute("Copyright", out); }
    HRESULT GetGenre(std::string* out) const { return GetStringAttribute("WM/Genre", out); }
    HRESULT GetYear(std::string* out) const { return GetStringAttribute("WM/Year", out); }
    HRESULT GetPromotionURL(std::string* out) const { return GetStringAttribute("WM/PromotionURL", out); }
    HRESULT GetBitrate(uint32_t* out) const { return GetNumber("Bitrate", out); }
    // In ms.
    HRESULT GetDuration(uint32_t* out) const { return GetNumber("Duration", out); }
    HRESULT GetNumber(const char* name, uint32_t* out) const;
    HRESULT GetStringAttribute(const char* name, std::string* out) const;
    // S_OK when "HasVideo" is true, kFlagIsZero when false, kNoValue without a value.
    HRESULT HasVideo() const;
    HRESULT GetMimeTypes(std::string* out) const;

    // Stream-0 attributes in header order (the derived ones first); TV_E_PROP_ENDOFLIST at the end.
    HRESULT NextAttribute(CWMMetaProperty* out);
    void RewindAttributes() { next_ = 0; }
    HRESULT GetAttributeCount(uint32_t* out) const;
    HRESULT AddAttributeToTree(const char* name, IMPAMetaProperty* root) const;

    // "WM/Picture" of type 3 (front cover).
    HRESULT ReadCoverArt(IMPAMetaProperty* root) const;
    HRESULT CopyCoverArt(uint8_t* buffer, uint32_t size) const;
    HRESULT SaveCoverArtToFile(const char* path) const;
    HRESULT SetCoverArt(const Picture& picture);
    HRESULT DeleteCoverArt();

    // Sets the first stream-0 attribute of the name, or adds one; refused for a derived attribute.
    HRESULT SetAttribute(const Attribute& attribute);
    // Removes every stream-0 attribute of the name. TV_E_PROP_NOTFOUND when there was none.
    HRESULT DeleteAttribute(const std::string& name);
    // Removes every attribute of stream 0 (the file's tags; a stream's own, such as its aspect
    // ratio, stay); returns how many there were.
    size_t RemoveFileAttributes();
    // The type of the stream-0 attribute of the name, when there is one.
    std::optional<AttrType> TypeOfAttribute(const std::string& name) const;

    void SetFileName(const WString& name);
    void SetFileNameNarrow(const char* name) { SetFileName(WString(name ? name : "")); }
    const WString& fileName() const { return fileName_; }
    const AsfHeader* header() const { return header_; }

protected:
    // The header being worked on ("the runtime's header interface"); null while none is open.
    AsfHeader* header_ = nullptr;
    std::vector<Attribute> derived_;
    bool changed_ = false;
    void DeriveAttributes();

private:
    const Attribute* Find(const std::string& name) const;
    std::optional<Picture> FrontCover() const;

    WString fileName_;
    bool nameIsUrl_ = false;
    size_t next_ = 0;
};

// The bytes of "WM/Picture" for a front cover, and back (nullopt for another kind of picture or
// a record that does not add up).
std::vector<uint8_t> PictureRecord(const Picture& picture);
std::optional<Picture> ParsePictureRecord(std::span<const uint8_t> record, bool frontCoverOnly);

}  // namespace tagvera::wm

#endif
