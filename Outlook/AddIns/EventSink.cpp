#include "Outlook/AddIns/EventSink.h"

#include "Outlook/AddIns/AddIn.h"
#include "Outlook/AddIns/LogValues.h"
#include "support/LogLine.h"

#include <source_location>

namespace {

constexpr const wchar_t* kSource = L"AddIns/EventSink";

// The host's numbers. The same number means different events on different interfaces.
constexpr DISPID kNewWindow = 0xF001;    // collections: NewExplorer, NewInspector
constexpr DISPID kWindowClose = 0xF008;  // explorer, inspector: Close
constexpr DISPID kItemWrite = 0xF002;    // item: Write(Cancel)
constexpr DISPID kItemSend = 0xF005;     // item: Send(Cancel)
constexpr DISPID kItemDeleting = 0xFA75; // item: BeforeDelete(Item, Cancel)

void LogEvent(const wchar_t* method, DISPID event,
              int line = static_cast<int>(std::source_location::current().line())) {
    LogLine(kSource, method, line).Info() << L"DispId: " << event;
}

/// Handles a "new window" event of a collection. Arguments other than one object are an error. An object that is no
/// such window is ignored.
template <class WindowPtr, class Handle>
HRESULT OnNewWindow(const wchar_t* method, DISPID event, const DISPPARAMS& arguments, Handle&& handle) {
    if (event != kNewWindow) {
        return E_NOTIMPL;
    }
    LogEvent(method, event);
    if (arguments.cArgs != 1 || arguments.rgvarg == nullptr || arguments.rgvarg[0].vt != VT_DISPATCH) {
        LogLine(kSource, method).Error() << L"Invalid params.";
        return E_INVALIDARG;
    }
    WindowPtr window;
    if (IDispatch* const object = arguments.rgvarg[0].pdispVal; object != nullptr) {
        object->QueryInterface(&window);
    }
    if (window) {
        handle(window);
    }
    return S_OK;
}

template <class Handle>
HRESULT OnWindowClose(const wchar_t* method, DISPID event, Handle&& handle) {
    if (event != kWindowClose) {
        return E_NOTIMPL;
    }
    LogEvent(method, event);
    handle();
    return S_OK;
}

/// Refuses the host's action. `Cancel` is the last argument, and arguments arrive last first. The host may pass no
/// arguments, or a `Cancel` that cannot be written. Then nothing happens.
void Cancel(const DISPPARAMS& arguments) noexcept {
    if (arguments.cArgs == 0 || arguments.rgvarg == nullptr) {
        return;
    }
    const VARIANT& cancel = arguments.rgvarg[0];
    if (cancel.vt == (VT_BYREF | VT_BOOL) && cancel.pboolVal != nullptr) {
        *cancel.pboolVal = VARIANT_TRUE;
    }
}

/// Runs a handler. @return its result; true after an exception, which lets the host continue.
template <class Handle>
bool Ask(const wchar_t* method, Handle&& handle) {
    bool goesAhead = true;
    GuardComCall(kSource, method, [&] {
        goesAhead = handle();
        return S_OK;
    });
    return goesAhead;
}

} // namespace

HRESULT FindEventSource(IUnknown* source, REFIID events, IConnectionPointPtr& point) {
    IConnectionPointContainerPtr container;
    HRESULT status = source->QueryInterface(&container);
    if (SUCCEEDED(status) && !container) {
        status = E_POINTER;
    }
    if (FAILED(status)) {
        // Deliberate: the text is the same for every kind of source.
        LogLine(kSource, L"EventSinkImpl::Advise").Error()
            << L"Query IConnectionPointContainer interface from _Explorer fail: 0x" << Hex(status);
        return status;
    }
    const HRESULT found = container->FindConnectionPoint(events, &point);
    return SUCCEEDED(found) && !point ? E_POINTER : found;
}

HRESULT ExplorersEventsSink::OnEvent(DISPID event, const DISPPARAMS& arguments) {
    return OnNewWindow<Outlook::_ExplorerPtr>(Name(), event, arguments, [this](const Outlook::_ExplorerPtr& explorer) {
        if (const AddInPtr handler(Handler()); handler) {
            handler->OnNewExplorer(explorer);
        }
    });
}

HRESULT ExplorerEventsSink::OnEvent(DISPID event, const DISPPARAMS& /*arguments*/) {
    return OnWindowClose(Name(), event, [this] {
        if (const AddInPtr handler(Handler()); handler) {
            handler->OnExplorerClose(SourceObject());
        }
    });
}

HRESULT InspectorsEventsSink::OnEvent(DISPID event, const DISPPARAMS& arguments) {
    return OnNewWindow<Outlook::_InspectorPtr>(Name(), event, arguments,
                                               [this](const Outlook::_InspectorPtr& inspector) {
                                                   if (const AddInPtr handler(Handler()); handler) {
                                                       handler->OnNewInspector(inspector);
                                                   }
                                               });
}

HRESULT InspectorEventsSink::OnEvent(DISPID event, const DISPPARAMS& /*arguments*/) {
    return OnWindowClose(Name(), event, [this] {
        if (const AddInPtr handler(Handler()); handler) {
            handler->OnInspectorClose(SourceObject());
        }
    });
}

HRESULT ItemEventsSink::OnEvent(DISPID event, const DISPPARAMS& arguments) {
    switch (event) {
    case kItemWrite:
        LogEvent(Name(), event);
        return OnWrite(arguments);
    case kItemSend:
        LogEvent(Name(), event);
        return OnSend();
    case kItemDeleting:
        LogEvent(Name(), event);
        return OnBeforeDelete(arguments);
    default:
        return E_NOTIMPL;
    }
}

HRESULT ItemEventsSink::OnWrite(const DISPPARAMS& arguments) {
    const AddInPtr handler(Handler());
    const Outlook::_AppointmentItemPtr item = SourceObject(); // The handler may disconnect this sink.
    if (!handler || !item) {
        return S_OK;
    }
    if (writeArmed_ && !Ask(Name(), [&] { return handler->OnAppointmentItemWrite(item); })) {
        Cancel(arguments);
    }
    long status = 0;
    if (SUCCEEDED(Outlook::GetMeetingStatus(item, status))) {
        savedStatus_ = status;
    }
    writeArmed_ = true;
    return S_OK; // With a failure the host would ignore the refusal.
}

HRESULT ItemEventsSink::OnSend() {
    const AddInPtr handler(Handler());
    const Outlook::_AppointmentItemPtr item = SourceObject();
    if (handler && item) {
        Ask(Name(), [&] { return handler->OnAppointmentItemSend(item, savedStatus_); });
    }
    writeArmed_ = false;
    return S_OK;
}

HRESULT ItemEventsSink::OnBeforeDelete(const DISPPARAMS& arguments) {
    const AddInPtr handler(Handler());
    const Outlook::_AppointmentItemPtr item = SourceObject();
    if (handler && item && !Ask(Name(), [&] { return handler->OnAppointmentItemDelete(item); })) {
        Cancel(arguments);
    }
    return S_OK;
}
