#pragma once

#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/ObjectModel/ObjectModel.h"

#include <atomic>
#include <cstdint>
#include <utility>

class AddIn;

/// A sink for the events of one host object. User-interface thread only, except the reference count.
MIDL_INTERFACE("5d6bd6dd-53f5-4a0e-8bd7-3f5d6b9a1c42")
IEventSink : public IUnknown {
    /// Sets the add-in that receives the events. The sink does not own it. Null drops the events.
    virtual HRESULT SetHandler(AddIn * handler) = 0;
    /// Connects the sink to the source and keeps the source. @return S_FALSE when it is connected already.
    virtual HRESULT Advise(IUnknown * source) = 0;
    /// Disconnects the sink and releases the source. Does nothing when it is not connected.
    virtual HRESULT Unadvise() = 0;
    virtual ~IEventSink() = default;
};
__CRT_UUID_DECL(IEventSink, 0x5d6bd6dd, 0x53f5, 0x4a0e, 0x8b, 0xd7, 0x3f, 0x5d, 0x6b, 0x9a, 0x1c, 0x42)
_COM_SMARTPTR_TYPEDEF(IEventSink, __uuidof(IEventSink));
_COM_SMARTPTR_TYPEDEF(IConnectionPoint, __uuidof(IConnectionPoint));
_COM_SMARTPTR_TYPEDEF(IConnectionPointContainer, __uuidof(IConnectionPointContainer));

/// Drops the sink's events from now on. Does nothing for null.
inline void MuteSink(const IEventSinkPtr& sink) {
    if (sink) {
        sink->SetHandler(nullptr);
    }
}

/// Mutes a sink, then disconnects it. Does nothing for null. The order matters: the host may raise an event during the
/// disconnection, when the sink has released its source already.
inline void DisconnectSink(const IEventSinkPtr& sink) {
    MuteSink(sink);
    if (sink) {
        sink->Unadvise();
    }
}

/// Disconnects a sink at the end of the scope unless `Release` was called. A sink that no table keeps would continue to
/// pass events to an add-in that may be destroyed. Does nothing for null.
class DisconnectOnExit {
public:
    explicit DisconnectOnExit(const IEventSinkPtr& sink) : sink_(sink) {}
    ~DisconnectOnExit() { DisconnectSink(sink_); }
    DisconnectOnExit(const DisconnectOnExit&) = delete;
    DisconnectOnExit& operator=(const DisconnectOnExit&) = delete;

    void Release() { sink_ = nullptr; }

private:
    IEventSinkPtr sink_;
};

/// Finds the source's connection point for an event interface. A source without connection points is logged.
/// @return a failure whenever `point` is null.
HRESULT FindEventSource(IUnknown* source, REFIID events, IConnectionPointPtr& point);

/// The common part of all sinks. `Events` is the host's event interface, `SourcePtr` the pointer to the object that
/// raises the events. The sink keeps this object, because the host stops raising events for an object that nobody
/// references. A concrete sink handles its events in `OnEvent`.
template <class Events, class SourcePtr>
class EventSinkImpl : public IEventSink, public Events {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) noexcept override {
        if (ppv == nullptr) {
            return E_POINTER;
        }
        *ppv = nullptr;
        if (riid == __uuidof(IUnknown) || riid == __uuidof(IDispatch) || riid == __uuidof(Events)) {
            *ppv = static_cast<Events*>(this);
        } else if (riid == __uuidof(IEventSink)) {
            *ppv = static_cast<IEventSink*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++refCount_; }

    ULONG STDMETHODCALLTYPE Release() noexcept override {
        const uint32_t left = --refCount_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT SetHandler(AddIn* handler) override {
        handler_ = handler;
        return S_OK;
    }

    HRESULT Advise(IUnknown* source) override {
        if (cookie_ != 0) {
            return S_FALSE;
        }
        if (source == nullptr) {
            return E_POINTER;
        }
        HRESULT status = FindEventSource(source, __uuidof(Events), connectionPoint_);
        if (SUCCEEDED(status)) {
            status = source->QueryInterface(&source_);
        }
        if (SUCCEEDED(status)) {
            status = connectionPoint_->Advise(static_cast<Events*>(this), &cookie_);
        }
        if (FAILED(status)) {
            cookie_ = 0;
            connectionPoint_ = nullptr;
            source_ = nullptr;
        }
        return status;
    }

    HRESULT Unadvise() override {
        if (cookie_ == 0) {
            return S_OK;
        }
        // The members are cleared first: the host may call back, or release this sink, during the disconnection.
        const IUnknownPtr self(static_cast<Events*>(this));
        const SourcePtr source = std::exchange(source_, nullptr);
        const IConnectionPointPtr point = std::exchange(connectionPoint_, nullptr);
        return point->Unadvise(std::exchange(cookie_, 0));
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** typeInfo) noexcept override {
        if (typeInfo != nullptr) {
            *typeInfo = nullptr;
        }
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID dispid, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                     UINT*) noexcept override {
        return GuardComCall(L"AddIns/EventSink", name_, [&]() -> HRESULT {
            // A handler can pump messages, and this sink or the add-in may be released meanwhile.
            const IUnknownPtr self(static_cast<Events*>(this));
            static const DISPPARAMS kNoArguments = {};
            return OnEvent(dispid, params != nullptr ? *params : kNoArguments);
        });
    }

protected:
    /// @param name the name of the sink's Invoke in the log, for example L"ExplorerEventsSink::Invoke".
    explicit EventSinkImpl(const wchar_t* name) noexcept : name_(name) {}

    /// @return E_NOTIMPL for an event that the sink does not use.
    virtual HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) = 0;

    AddIn* Handler() const noexcept { return handler_; }
    const SourcePtr& SourceObject() const noexcept { return source_; }
    const wchar_t* Name() const noexcept { return name_; }

private:
    IConnectionPointPtr connectionPoint_;
    std::atomic<uint32_t> refCount_{1};
    AddIn* handler_ = nullptr;
    DWORD cookie_ = 0; // 0: not connected
    SourcePtr source_;
    const wchar_t* name_;
};

// The add-in's five sinks. A new sink is not connected and has one reference, see `IEventSink`.

class ExplorersEventsSink final : public EventSinkImpl<Outlook::ExplorersEvents, Outlook::_ExplorersPtr> {
public:
    ExplorersEventsSink() noexcept : EventSinkImpl(L"ExplorersEventsSink::Invoke") {}

private:
    HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) override;
};

class ExplorerEventsSink final : public EventSinkImpl<Outlook::ExplorerEvents, Outlook::_ExplorerPtr> {
public:
    ExplorerEventsSink() noexcept : EventSinkImpl(L"ExplorerEventsSink::Invoke") {}

private:
    HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) override;
};

class InspectorsEventsSink final : public EventSinkImpl<Outlook::InspectorsEvents, Outlook::_InspectorsPtr> {
public:
    InspectorsEventsSink() noexcept : EventSinkImpl(L"InspectorsEventsSink::Invoke") {}

private:
    HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) override;
};

class InspectorEventsSink final : public EventSinkImpl<Outlook::InspectorEvents, Outlook::_InspectorPtr> {
public:
    InspectorEventsSink() noexcept : EventSinkImpl(L"InspectorEventsSink::Invoke") {}

private:
    HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) override;
};

class ItemEventsSink final : public EventSinkImpl<Outlook::ItemEvents_10, Outlook::_AppointmentItemPtr> {
public:
    ItemEventsSink() noexcept : EventSinkImpl(L"ItemEventsSink::Invoke") {}

private:
    HRESULT OnEvent(DISPID event, const DISPPARAMS& arguments) override;
    HRESULT OnWrite(const DISPPARAMS& arguments);
    HRESULT OnSend();
    HRESULT OnBeforeDelete(const DISPPARAMS& arguments);

    int32_t savedStatus_ = 0; // the item's meeting status at its last write
    bool writeArmed_ = true;  // false between a send and the save that the host does while sending
};

/// Makes and connects a sink of that kind. @return the sink, not connected when the source has no such events.
template <class Sink>
IEventSinkPtr MakeSink(AddIn* handler, IUnknown* source) {
    const IEventSinkPtr sink(static_cast<IEventSink*>(new Sink), false); // takes over the first reference
    sink->SetHandler(handler);
    sink->Advise(source);
    return sink;
}
