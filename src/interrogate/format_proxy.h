// FmtProxy: the format response a file-format object is given, forwarding its notifications to
// the interrogator. One per open attempt: once the attempt is over the proxy is cut off, so a
// plug-in that answers late speaks to nobody.
#ifndef TAGVERA_INTERROGATE_FORMAT_PROXY_H
#define TAGVERA_INTERROGATE_FORMAT_PROXY_H

#include <atomic>

#include "tagvera/media_platform.h"
#include "tagvera/values.h"

namespace tagvera::interrogate {

class FormatNotifications {
public:
    virtual void OnInitDone() = 0;
    virtual void OnFileHeader(HRESULT status, IKMAValues* header) = 0;
    virtual void OnStreamHeader(HRESULT status, IKMAValues* header) = 0;

protected:
    ~FormatNotifications() = default;
};

class FmtProxy final : public IKMAFormatResponse {
public:
    explicit FmtProxy(FormatNotifications* target) : target_(target) {}
    void Detach() { target_ = nullptr; }

    HRESULT TV_STDCALL QueryInterface(const GUID& iid, void** out) override;
    RefCount TV_STDCALL AddRef() override { return ++refs_; }
    RefCount TV_STDCALL Release() override;

    HRESULT TV_STDCALL InitDone(HRESULT status) override;
    HRESULT TV_STDCALL PacketReady(HRESULT, IUnknown*) override { return TV_S_OK; }
    HRESULT TV_STDCALL SeekDone(HRESULT, uint32_t) override { return TV_S_OK; }
    HRESULT TV_STDCALL FileHeaderReady(HRESULT status, IKMAValues* header) override;
    HRESULT TV_STDCALL StreamHeaderReady(HRESULT status, IKMAValues* header) override;
    HRESULT TV_STDCALL StreamDone(uint16_t) override { return TV_S_OK; }

private:
    ~FmtProxy() = default;
    FormatNotifications* target_;  // not counted: the interrogator owns the proxy
    std::atomic<uint32_t> refs_{1};
};

}  // namespace tagvera::interrogate

#endif
