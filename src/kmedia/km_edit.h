// KmEditEngine, the engine under CKMEdit and the copiers: opens a KorvaMedia file, exposes its
// descriptive headers (content strings, the three file flags kept on rewrite, the file-info
// properties, the stream headers, the duration) and saves a new file with changed headers and the
// same packets. Every operation answers a result code; nothing is thrown out of it.
#ifndef TAGVERA_KMEDIA_KM_EDIT_H
#define TAGVERA_KMEDIA_KM_EDIT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kmedia/header_walk.h"
#include "kmedia/name_value_property.h"
#include "tagvera/abi.h"
#include "tagvera/values.h"

namespace tagvera::kmedia {

class KmEditEngine {
public:
    // The PROP flag bits kept as file attributes.
    enum FileFlag : uint16_t { kFlag1 = 1, kFlag2 = 2, kFlag8 = 8 };
    // Author, copyright and comment longer than this give TV_E_BUFFERTOOSMALL.
    static constexpr size_t kMaxShortText = 255;

    // readHeaders: load the content strings, flags and file-info properties from the file.
    HRESULT SetInputFile(const std::string& path, bool readHeaders);
    // The same over a file the caller has open already, or over the headers it has read from it
    // (path names the file for Save).
    HRESULT SetInputFile(const std::string& path, ByteSource& opened, bool readHeaders);
    HRESULT SetInputHeaders(const std::string& path, const KmHeaders& headers, bool readHeaders);
    HRESULT SetOutputFile(const std::string& path);
    // A file whose packets Save appends after the input's, time running on; its streams must
    // match the input's (the copiers check that first).
    HRESULT AddInputFile(const std::string& path);
    void Close();

    HRESULT SetTitle(std::string_view text);
    HRESULT SetAuthor(std::string_view text);
    HRESULT SetCopyright(std::string_view text);
    HRESULT SetComment(std::string_view text);
    const std::string& Title() const { return content_.title; }
    const std::string& Author() const { return content_.author; }
    const std::string& Copyright() const { return content_.copyright; }
    const std::string& Comment() const { return content_.comment; }

    void SetFileFlag(FileFlag flag, bool on);
    bool GetFileFlag(FileFlag flag) const { return (flags_ & flag) != 0; }
    void SetStartTime(uint32_t ms) { startMs_ = ms; }
    void SetEndTime(uint32_t ms) { endMs_ = ms; }
    void SetFileVersion(uint32_t version) { fileVersion_ = version; }

    // The file-info properties (empty when the file has none); changes go into the next Save.
    std::vector<NameValueProperty>& FileInfo() { return fileInfo_; }
    const std::vector<NameValueProperty>& FileInfo() const { return fileInfo_; }
    // The same as a value list for other components, and back; the rule book stays as it was.
    HRESULT GetFileInfoValues(IKMAValues** out) const;
    HRESULT SetFileInfoValues(IKMAValues* values);
    const KmHeaders* Headers() const { return headers_ ? &*headers_ : nullptr; }
    uint32_t DurationMs() const;

    // Writes the output file (which may be the input): TV_E_NOTLOADED without an input, E_FAIL
    // for an input whose packets do not hold together; an existing output is then untouched and
    // a new one is not left behind.
    HRESULT Save();

private:
    void TakeHeaders(KmHeaders headers, bool readHeaders);

    std::string input_, output_;
    std::vector<std::string> moreInputs_;
    std::optional<KmHeaders> headers_;
    ContentObject content_;
    uint16_t flags_ = 0;
    uint32_t startMs_ = 0, endMs_ = 0;
    std::optional<uint32_t> fileVersion_;
    std::vector<NameValueProperty> fileInfo_;
    bool fileInfoRead_ = false;
};

}  // namespace tagvera::kmedia

#endif
