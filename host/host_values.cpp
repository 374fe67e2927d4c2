// The host's IKMAValues: entries sorted by name without regard to case.
#include <map>
#include <new>
#include <string>

#include "host/names.h"
#include "host/objects.h"
#include "host/ref_counted.h"

namespace tagvera::host {

namespace {

struct NoCaseLess {
    bool operator()(const std::string& a, const std::string& b) const { return CompareNoCase(a, b) < 0; }
};

class HostValues final : public RefCounted<IKMAValues> {
public:
    ~HostValues() override {
        for (auto& [name, e] : entries_) {
            if (e.buffer) e.buffer->Release();
            if (e.string) e.string->Release();
        }
    }

    HRESULT TV_STDCALL SetNumberValue(const char* name, uint32_t value) override {
        if (!name) return TV_E_POINTER;
        return Guarded([&] {
            Entry& e = entries_[name];
            e.number = value;
            e.hasNumber = true;
        });
    }
    HRESULT TV_STDCALL GetNumberValue(const char* name, uint32_t* value) override {
        if (!name || !value) return TV_E_POINTER;
        auto it = entries_.find(name);
        if (it == entries_.end() || !it->second.hasNumber) return TV_E_FAIL;
        *value = it->second.number;
        return TV_S_OK;
    }
    HRESULT TV_STDCALL GetFirstNumberValue(const char** name, uint32_t* value) override {
        return NextNumber(name, value, true);
    }
    HRESULT TV_STDCALL GetNextNumberValue(const char** name, uint32_t* value) override {
        return NextNumber(name, value, false);
    }

    HRESULT TV_STDCALL SetBufferValue(const char* name, IKMABuffer* b) override { return SetHeld(name, b, &Entry::buffer); }
    HRESULT TV_STDCALL GetBufferValue(const char* name, IKMABuffer** b) override { return GetHeld(name, b, &Entry::buffer); }
    HRESULT TV_STDCALL GetFirstBufferValue(const char** name, IKMABuffer** b) override {
        return NextHeld(name, b, &Entry::buffer, bufferCursor_, true);
    }
    HRESULT TV_STDCALL GetNextBufferValue(const char** name, IKMABuffer** b) override {
        return NextHeld(name, b, &Entry::buffer, bufferCursor_, false);
    }
    HRESULT TV_STDCALL SetStringValue(const char* name, IKMABuffer* b) override { return SetHeld(name, b, &Entry::string); }
    HRESULT TV_STDCALL GetStringValue(const char* name, IKMABuffer** b) override { return GetHeld(name, b, &Entry::string); }
    HRESULT TV_STDCALL GetFirstStringValue(const char** name, IKMABuffer** b) override {
        return NextHeld(name, b, &Entry::string, stringCursor_, true);
    }
    HRESULT TV_STDCALL GetNextStringValue(const char** name, IKMABuffer** b) override {
        return NextHeld(name, b, &Entry::string, stringCursor_, false);
    }

private:
    struct Entry {
        uint32_t number = 0;
        bool hasNumber = false;
        IKMABuffer* buffer = nullptr;
        IKMABuffer* string = nullptr;
    };
    using Map = std::map<std::string, Entry, NoCaseLess>;

    void* find(const GUID& iid) override { return iid == IID_IKMAValues ? static_cast<IKMAValues*>(this) : nullptr; }

    HRESULT NextNumber(const char** name, uint32_t* value, bool restart) {
        if (!name || !value) return TV_E_POINTER;
        if (restart) numberCursor_ = entries_.begin();
        while (numberCursor_ != entries_.end()) {
            auto it = numberCursor_++;
            if (!it->second.hasNumber) continue;
            *name = it->first.c_str();
            *value = it->second.number;
            return TV_S_OK;
        }
        return TV_E_FAIL;
    }

    HRESULT SetHeld(const char* name, IKMABuffer* b, IKMABuffer* Entry::*slot) {
        if (!name) return TV_E_POINTER;
        if (!b) return TV_E_FAIL;
        return Guarded([&] {
            Entry& e = entries_[name];
            b->AddRef();
            IKMABuffer* old = e.*slot;
            e.*slot = b;
            if (old) old->Release();
        });
    }

    HRESULT GetHeld(const char* name, IKMABuffer** b, IKMABuffer* Entry::*slot) const {
        if (!name || !b) return TV_E_POINTER;
        *b = nullptr;
        auto it = entries_.find(name);
        if (it == entries_.end() || !(it->second.*slot)) return TV_E_FAIL;
        *b = it->second.*slot;
        (*b)->AddRef();
        return TV_S_OK;
    }

    HRESULT NextHeld(const char** name, IKMABuffer** b, IKMABuffer* Entry::*slot, Map::iterator& cursor, bool restart) {
        if (!name || !b) return TV_E_POINTER;
        *b = nullptr;
        if (restart) cursor = entries_.begin();
        while (cursor != entries_.end()) {
            auto it = cursor++;
            if (!(it->second.*slot)) continue;
            *name = it->first.c_str();
            *b = it->second.*slot;
            (*b)->AddRef();
            return TV_S_OK;
        }
        return TV_E_FAIL;
    }

    // Node-based, so names handed out stay put and cursors survive insertions.
    Map entries_;
    Map::iterator numberCursor_ = entries_.end();
    Map::iterator bufferCursor_ = entries_.end();
    Map::iterator stringCursor_ = entries_.end();
};

}  // namespace

HRESULT NewHostValues(IKMAValues** out) {
    if (!out) return TV_E_POINTER;
    *out = new (std::nothrow) HostValues();
    return *out ? TV_S_OK : TV_E_OUTOFMEMORY;
}

}  // namespace tagvera::host
