#include "wm/wm_meta_editor.h"

#include "base/byte_reader.h"
#include "base/padding_policy.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "wm/asf_attributes.h"
#include "wm/asf_header_reader.h"
#include "wm/asf_header_writer.h"
#include "wm/wm_codes.h"

namespace tagvera::wm {

HRESULT CWMMetaEditor::Load(ByteSource& file) {
    header_storage_ = ReadAsfHeader(file);
    header_ = &*header_storage_;
    fileSize_ = file.size();
    DeriveAttributes();
    changed_ = false;
    RewindAttributes();
    open_ = true;
    return TV_S_OK;
}

HRESULT CWMMetaEditor::Open() {
    if (fileName().empty()) return kUnexpected;
    if (open_) return TV_S_OK;
    problem_.clear();
    try {
        platform::File file = platform::OpenForReading(fileName().narrow());
        if (!file.regular()) throw Error(TV_E_FAIL, "not a regular file");
        const HRESULT hr = Load(file);
        bytesRead_ = file.bytesRead();
        return hr;
    } catch (const std::bad_alloc&) {
        problem_ = "out of memory";
        return TV_E_OUTOFMEMORY;
    } catch (const Error& e) {
        problem_ = e.what();
        return MapRuntimeResult(e.code());
    }
}

HRESULT CWMMetaEditor::OpenForWriting() {
    if (fileName().empty()) return kUnexpected;
    Close();
    problem_.clear();
    try {
        lock_.emplace(fileName().narrow());
        return Load(lock_->file());
    } catch (const std::bad_alloc&) {
        problem_ = "out of memory";
        lock_.reset();
        return TV_E_OUTOFMEMORY;
    } catch (const Error& e) {
        problem_ = e.what();
        lock_.reset();
        return MapRuntimeResult(e.code());
    }
}

void CWMMetaEditor::Close() {
    if (closing_) return;
    closing_ = true;
    header_ = nullptr;
    header_storage_.reset();
    derived_.clear();
    lock_.reset();
    open_ = false;
    closing_ = false;
}

HRESULT CWMMetaEditor::Flush(FlushOutcome* outcome) {
    FlushOutcome done;
    if (!header_ || !lock_) return TV_E_POINTER;
    if (!changed_) {
        if (outcome) *outcome = done;
        return TV_S_OK;
    }
    try {
        if (!platform::IsWritableFile(lock_->path())) throw Error(kWriteProtected, "the file is read-only");
        Route(header_->attributes);
        const uint64_t oldSize = header_->headerSize;
        const uint64_t bare = RenderHeader(*header_, header_->attributes, 0, header_->file.fileSize).size();
        const padding::Plan plan = padding::PlanPadding(bare, oldSize, kMinPaddingObject);
        done.written = true;
        done.inPlace = plan.inPlace;
        done.padding = plan.padding;
        done.headerSize = bare + plan.padding;
        if (plan.inPlace) {
            // The file properties stay as they were, a stale file size included: readers that
            // estimate a duration from it keep showing what they showed.
            const auto bytes = RenderHeader(*header_, header_->attributes, plan.padding, header_->file.fileSize);
            platform::InPlaceEdit edit(*lock_);
            const platform::Patch patch{0, bytes};
            edit.apply(std::span(&patch, 1));
        } else {
            const uint64_t rest = fileSize_ - oldSize;
            const uint64_t newFileSize = CheckedSum(done.headerSize, rest, TV_E_FAIL, "a file larger than 16 EB");
            platform::FileLayout layout;
            layout.bytes(RenderHeader(*header_, header_->attributes, plan.padding, newFileSize));
            layout.copy(oldSize, rest);
            platform::RewriteFile(*lock_, layout);
        }
        changed_ = false;
        if (outcome) *outcome = done;
        return TV_S_OK;
    } catch (const std::bad_alloc&) {
        problem_ = "out of memory";
        return TV_E_OUTOFMEMORY;
    } catch (const Error& e) {
        problem_ = e.what();
        return e.code() == kWriteProtected ? kFileAccessDenied : MapRuntimeResult(e.code());
    }
}

}  // namespace tagvera::wm
