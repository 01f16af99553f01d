#include "workbench/host/Events.h"

#include "workbench/host/Describe.h"
#include "workbench/host/HostCore.h"
#include "workbench/host/OfficeIds.h"

#include <algorithm>
#include <string_view>

namespace workbench {
namespace {

struct EventName {
    const wchar_t* family; // how the names of the event interfaces begin
    DISPID id;
    const wchar_t* name;
};

constexpr EventName kEventNames[] = {
    {L"ExplorersEvents", event::kNewExplorer, L"NewExplorer"},
    {L"InspectorsEvents", event::kNewInspector, L"NewInspector"},
    {L"ExplorerEvents", event::kActivate, L"Activate"},
    {L"ExplorerEvents", event::kDeactivate, L"Deactivate"},
    {L"ExplorerEvents", event::kWindowClose, L"Close"},
    {L"InspectorEvents", event::kActivate, L"Activate"},
    {L"InspectorEvents", event::kDeactivate, L"Deactivate"},
    {L"InspectorEvents", event::kWindowClose, L"Close"},
    {L"ItemEvents", event::kRead, L"Read"},
    {L"ItemEvents", event::kWrite, L"Write"},
    {L"ItemEvents", event::kOpen, L"Open"},
    {L"ItemEvents", event::kItemClose, L"Close"},
    {L"ItemEvents", event::kSend, L"Send"},
    {L"ItemEvents", event::kPropertyChange, L"PropertyChange"},
    {L"ItemEvents", event::kBeforeDelete, L"BeforeDelete"},
    {L"ItemEvents", event::kUnload, L"Unload"},
};

std::wstring NameOfEvent(const std::vector<EventInterface>& offered, DISPID id) {
    const std::wstring_view type = offered.empty() ? L"" : offered.front().name;
    for (const EventName& one : kEventNames) {
        if (one.id == id && type.starts_with(one.family)) {
            return one.name;
        }
    }
    return DescribeHex(static_cast<unsigned long>(id));
}

} // namespace

EventSource::EventSource(std::shared_ptr<HostCore> core, std::wstring name, std::vector<EventInterface> offered)
    : core_(std::move(core)), name_(std::move(name)), offered_(std::move(offered)) {}

bool EventSource::Offers(REFIID iid) const {
    return std::any_of(offered_.begin(), offered_.end(), [&](const EventInterface& one) { return one.iid == iid; });
}

HRESULT EventSource::Advise(REFIID iid, IUnknown* sink, DWORD* cookie) {
    if (::GetCurrentThreadId() != core_->thread) {
        ++core_->wrongThreadCalls;
        return RPC_E_WRONG_THREAD;
    }
    void* target = nullptr;
    // A sink must answer the event interface itself; IDispatch alone does not tell which generation it means.
    if (FAILED(sink->QueryInterface(iid, &target)) || !target) {
        return CONNECT_E_CANNOTCONNECT;
    }
    sinks_.push_back(Sink{nextCookie_, iid, DispatchPtr(static_cast<IDispatch*>(target), false)});
    *cookie = nextCookie_++;
    return S_OK;
}

HRESULT EventSource::Unadvise(DWORD cookie) {
    const auto found =
        std::find_if(sinks_.begin(), sinks_.end(), [&](const Sink& sink) { return sink.cookie == cookie; });
    if (found == sinks_.end()) {
        return CONNECT_E_NOCONNECTION;
    }
    const DispatchPtr target = found->target; // its last reference goes when the list is whole again
    sinks_.erase(found);
    return S_OK;
}

std::size_t EventSource::SinkCount(REFIID iid) const {
    return static_cast<std::size_t>(
        std::count_if(sinks_.begin(), sinks_.end(), [&](const Sink& sink) { return sink.iid == iid; }));
}

std::vector<HRESULT> EventSource::Deliver(DISPID id, DISPPARAMS& params) {
    if (core_->observer) {
        core_->Tell(StepKind::Event,
                    name_ + L" " + NameOfEvent(offered_, id) + L" -> " + std::to_wstring(sinks_.size()) + L" sinks");
    }
    std::vector<HRESULT> results;
    const std::vector<Sink> present = sinks_; // handlers advise and unadvise
    for (const Sink& sink : present) {
        const bool still =
            std::any_of(sinks_.begin(), sinks_.end(), [&](const Sink& other) { return other.cookie == sink.cookie; });
        if (!still) {
            continue;
        }
        EXCEPINFO exception{};
        results.push_back(sink.target->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr,
                                              &exception, nullptr));
        ::SysFreeString(exception.bstrSource);
        ::SysFreeString(exception.bstrDescription);
        ::SysFreeString(exception.bstrHelpFile);
    }
    return results;
}

std::vector<HRESULT> EventSource::Fire(DISPID id, std::vector<_variant_t> arguments) {
    std::reverse(arguments.begin(), arguments.end());
    DISPPARAMS params{};
    params.rgvarg = arguments.empty() ? nullptr : arguments.data();
    params.cArgs = static_cast<UINT>(arguments.size());
    return Deliver(id, params);
}

CancelOutcome EventSource::FireCancelable(DISPID id, std::vector<_variant_t> arguments) {
    CancelOutcome outcome;
    if (core_->habits.cancelMissing) {
        outcome.results = Fire(id);
        return outcome;
    }
    if (core_->habits.cancelByValue) {
        arguments.emplace_back(false);
        outcome.results = Fire(id, std::move(arguments));
        return outcome;
    }
    // The arguments are owned here and only lent to the sinks: a by-reference VARIANT must never be cleared.
    VARIANT_BOOL cancel = VARIANT_FALSE;
    std::vector<VARIANT> lent(arguments.size() + 1);
    ::VariantInit(&lent[0]);
    lent[0].vt = VT_BYREF | VT_BOOL;
    lent[0].pboolVal = &cancel;
    std::copy(arguments.rbegin(), arguments.rend(), lent.begin() + 1);
    DISPPARAMS params{};
    params.rgvarg = lent.data();
    params.cArgs = static_cast<UINT>(lent.size());
    outcome.results = Deliver(id, params);
    outcome.cancelled = cancel != VARIANT_FALSE;
    return outcome;
}

void EventSource::DropSinks() {
    // Letting go of a sink may run code that comes back here.
    std::vector<Sink> dropped;
    dropped.swap(sinks_);
}

} // namespace workbench
