// CZNHeader: the library's own IKMAValues. One entry per name, sorted without regard to case; each
// entry can carry a number, a buffer and a string at once.
#ifndef TAGVERA_COMPONENT_VALUE_LIST_H
#define TAGVERA_COMPONENT_VALUE_LIST_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/unknown.h"
#include "tagvera/values.h"

namespace tagvera {

class CZNHeader : public CUnknownIMP, public IKMAValues {
public:
    CZNHeader() = default;
    ~CZNHeader() override;

    TV_IMPLEMENT_IUNKNOWN
    HRESULT InternalQueryInterface(const GUID& iid, void** out) override;

    HRESULT TV_STDCALL SetNumberValue(const char* name, uint32_t value) override;
    HRESULT TV_STDCALL GetNumberValue(const char* name, uint32_t* value) override;
    HRESULT TV_STDCALL GetFirstNumberValue(const char** name, uint32_t* value) override;
    HRESULT TV_STDCALL GetNextNumberValue(const char** name, uint32_t* value) override;
    HRESULT TV_STDCALL SetBufferValue(const char* name, IKMABuffer* buffer) override;
    HRESULT TV_STDCALL GetBufferValue(const char* name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL GetFirstBufferValue(const char** name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL GetNextBufferValue(const char** name, IKMABuffer** buffer) override;
    HRESULT TV_STDCALL SetStringValue(const char* name, IKMABuffer* text) override;
    HRESULT TV_STDCALL GetStringValue(const char* name, IKMABuffer** text) override;
    HRESULT TV_STDCALL GetFirstStringValue(const char** name, IKMABuffer** text) override;
    HRESULT TV_STDCALL GetNextStringValue(const char** name, IKMABuffer** text) override;

    size_t size() const { return entries_.size(); }

private:
    enum Kind { kNumber, kBuffer, kString, kKinds };

    // Heap-allocated so that the name handed out by an enumeration stays put while others are added.
    struct Entry {
        std::string name;
        uint32_t number = 0;
        bool hasNumber = false;
        IKMABuffer* buffer = nullptr;
        IKMABuffer* string = nullptr;
        ~Entry();
        bool has(Kind kind) const;
    };

    // Binary search by name, without regard to case (the only name order in use).
    size_t lowerBound(std::string_view key) const;
    Entry* find(const char* name) const;
    Entry& findOrInsert(const char* name);
    HRESULT setBuffer(const char* name, IKMABuffer* buffer, Kind kind);
    HRESULT getBuffer(const char* name, IKMABuffer** buffer, Kind kind) const;
    // The next entry carrying kind from the kind's cursor on, or null at the end.
    Entry* advance(Kind kind, bool restart);
    HRESULT enumerateBuffer(const char** name, IKMABuffer** buffer, Kind kind, bool restart);

    std::vector<std::unique_ptr<Entry>> entries_;
    size_t cursor_[kKinds] = {0, 0, 0};
};

}  // namespace tagvera

#endif
