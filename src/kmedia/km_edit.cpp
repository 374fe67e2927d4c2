#include "kmedia/km_edit.h"

#include <filesystem>

#include "base/error.h"
#include "kmedia/convert/convert_files.h"
#include "kmedia/convert/stream_converter.h"
#include "kmedia/file_info_values.h"
#include "kmedia/logical_stream.h"
#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"

namespace tagvera::kmedia {

HRESULT KmEditEngine::SetInputFile(const std::string& path, bool readHeaders) {
    Close();
    return Guard([&]() -> HRESULT {
        platform::File file = platform::OpenForReading(path);
        if (!file.regular()) return TV_E_FAIL;
        return SetInputFile(path, file, readHeaders);
    });
}

HRESULT KmEditEngine::SetInputFile(const std::string& path, ByteSource& opened, bool readHeaders) {
    Close();
    return Guard([&] { return SetInputHeaders(path, ReadKmHeaders(opened), readHeaders); });
}

HRESULT KmEditEngine::SetInputHeaders(const std::string& path, const KmHeaders& headers, bool readHeaders) {
    Close();
    return Guard([&] {
        TakeHeaders(headers, readHeaders);
        input_ = path;
        return TV_S_OK;
    });
}

void KmEditEngine::TakeHeaders(KmHeaders headers, bool readHeaders) {
    headers_ = std::move(headers);
    if (!readHeaders) return;
    if (headers_->content && headers_->content->header.KnownVersion()) content_ = *headers_->content;
    if (headers_->properties && headers_->properties->header.KnownVersion())
        flags_ = headers_->properties->flags & PropertiesObject::kKeptFlags;
    if (const MediaPropertiesObject* info = headers_->FileInfo()) {
        fileInfo_ = LogicalStreamRecord::Read(info->typeSpecific).properties;
        fileInfoRead_ = true;
    }
}

HRESULT KmEditEngine::AddInputFile(const std::string& path) {
    if (path.empty()) return TV_E_INVALIDARG;
    return Guard([&] {
        moreInputs_.push_back(path);
        return TV_S_OK;
    });
}

HRESULT KmEditEngine::SetOutputFile(const std::string& path) {
    if (path.empty()) return TV_E_INVALIDARG;
    output_ = path;
    return TV_S_OK;
}

void KmEditEngine::Close() {
    headers_.reset();
    input_.clear();
    moreInputs_.clear();
    content_ = ContentObject{};
    flags_ = 0;
    fileInfo_.clear();
    fileInfoRead_ = false;
}

HRESULT KmEditEngine::SetTitle(std::string_view text) {
    content_.title = text;
    return TV_S_OK;
}

namespace {

HRESULT SetShort(std::string& field, std::string_view text) {
    if (text.size() > KmEditEngine::kMaxShortText) return TV_E_BUFFERTOOSMALL;
    field = text;
    return TV_S_OK;
}

}  // namespace

HRESULT KmEditEngine::SetAuthor(std::string_view text) { return SetShort(content_.author, text); }
HRESULT KmEditEngine::SetCopyright(std::string_view text) { return SetShort(content_.copyright, text); }
HRESULT KmEditEngine::SetComment(std::string_view text) { return SetShort(content_.comment, text); }

void KmEditEngine::SetFileFlag(FileFlag flag, bool on) {
    flags_ = static_cast<uint16_t>(on ? flags_ | flag : flags_ & ~flag);
}

HRESULT KmEditEngine::GetFileInfoValues(IKMAValues** out) const { return FileInfoToValues(fileInfo_, out); }

HRESULT KmEditEngine::SetFileInfoValues(IKMAValues* values) {
    if (!values) return TV_E_POINTER;
    return Guard([&]() -> HRESULT {
        std::vector<NameValueProperty> next = ValuesToFileInfo(values);
        for (const auto& p : fileInfo_)
            if (p.name == "ASMRuleBook") next.push_back(p);
        fileInfo_ = std::move(next);
        return TV_S_OK;
    });
}

uint32_t KmEditEngine::DurationMs() const {
    if (!headers_ || !headers_->properties || !headers_->properties->header.KnownVersion()) return 0;
    return headers_->properties->durationMs;
}

HRESULT KmEditEngine::Save() {
    if (!headers_) return TV_E_NOTLOADED;
    if (output_.empty()) return TV_E_INVALIDARG;
    return Guard([&]() -> HRESULT {
        ConvertPlan plan;
        plan.content = content_;
        plan.flags = flags_;
        if (fileInfoRead_ || !fileInfo_.empty()) plan.fileInfo = fileInfo_;
        plan.startMs = startMs_;
        plan.endMs = endMs_;
        plan.fileVersion = fileVersion_;
        std::error_code ec;
        if (!moreInputs_.empty() || !std::filesystem::equivalent(input_, output_, ec)) {
            std::vector<std::string> inputs{input_};
            inputs.insert(inputs.end(), moreInputs_.begin(), moreInputs_.end());
            ConvertFiles(inputs, output_, plan);
            return TV_S_OK;
        }
        // The file rewrites itself: its packets come from its old content as the write hands it
        // over, which for a file with several names is the undo journal's copy.
        platform::File input = platform::OpenForReading(input_);
        // The headers again: the file may have changed since it was opened.
        const KmHeaders now = ReadKmHeaders(input);
        platform::RewriteFile(output_, ConvertLayout(input, now, plan, true));
        return TV_S_OK;
    });
}

}  // namespace tagvera::kmedia
