#pragma once

#include "Outlook/AddIns/EventSink.h"

/// The add-in's five sinks. Each is made not connected, with one reference; see `IEventSink`.

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
    bool writeArmed_ = true;  // false between a send and the save that the host makes while sending
};

/// Makes a sink of that kind, connects it and answers it. A source that has no such events still gives a sink.
template <class Sink>
IEventSinkPtr MakeSink(AddIn* handler, IUnknown* source) {
    const IEventSinkPtr sink(static_cast<IEventSink*>(new Sink), false); // takes over the first reference
    sink->SetHandler(handler);
    sink->Advise(source);
    return sink;
}
