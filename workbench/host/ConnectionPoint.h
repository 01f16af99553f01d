#pragma once

#include "workbench/host/ComHeaders.h"
#include "workbench/host/Events.h"
#include "workbench/host/HostCore.h"

#include <atomic>
#include <memory>

namespace workbench {

/// The COM face of one event interface of an EventSource. Starts with one reference. It keeps the source of the events
/// alive, but not the object it was asked from.
class ConnectionPoint final : public IConnectionPoint {
public:
    ConnectionPoint(std::shared_ptr<HostCore> core, std::shared_ptr<EventSource> source, REFIID iid);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) noexcept override;
    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) noexcept override;
    HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) noexcept override;
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) noexcept override;
    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) noexcept override;

private:
    virtual ~ConnectionPoint();

    std::shared_ptr<HostCore> core_;
    std::shared_ptr<EventSource> source_;
    GUID iid_;
    std::atomic<long> references_{1};
};

} // namespace workbench
