#pragma once

#include "workbench/host/ComHeaders.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace workbench {

struct HostCore;

struct EventInterface {
    GUID iid;
    const wchar_t* name;
};

/// The result of an event with a Cancel argument.
struct CancelOutcome {
    bool cancelled = false;
    std::vector<HRESULT> results; // one per sink, in the order of Advise
};

/// The sinks of one object, for all event interfaces it offers. Host thread.
class EventSource {
public:
    EventSource(std::shared_ptr<HostCore> core, std::wstring name, std::vector<EventInterface> offered);

    bool Offers(REFIID iid) const;
    HRESULT Advise(REFIID iid, IUnknown* sink, DWORD* cookie);
    HRESULT Unadvise(DWORD cookie);

    std::size_t SinkCount() const { return sinks_.size(); }
    std::size_t SinkCount(REFIID iid) const;
    const std::wstring& Name() const { return name_; }

    /// Delivers an event to every sink, whatever its generation, arguments in natural order (they are reversed for
    /// Invoke). A sink that is unadvised meanwhile gets nothing more. @return one status per sink called.
    std::vector<HRESULT> Fire(DISPID id, std::vector<_variant_t> arguments = {});
    /// As Fire, with Cancel as last argument in the way the habits say (normally VT_BYREF | VT_BOOL).
    CancelOutcome FireCancelable(DISPID id, std::vector<_variant_t> arguments = {});

    /// Lets go of all sinks, as the end of the host's process would.
    void DropSinks();

private:
    struct Sink {
        DWORD cookie;
        GUID iid;
        DispatchPtr target;
    };

    std::vector<HRESULT> Deliver(DISPID id, DISPPARAMS& params);

    std::shared_ptr<HostCore> core_;
    std::wstring name_;
    std::vector<EventInterface> offered_;
    std::vector<Sink> sinks_;
    DWORD nextCookie_ = 1;
};

} // namespace workbench
