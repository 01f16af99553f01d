#include "Outlook/AddIns/SinkTables.h"

#include <utility>

namespace {

/// The one pointer that identifies an object. Every pointer to the object gives the same result.
IUnknownPtr Identity(IUnknown* object) {
    IUnknownPtr identity;
    if (object != nullptr) {
        object->QueryInterface(&identity);
    }
    return identity;
}

template <class Table>
IEventSinkPtr FindSink(const Table& table, IUnknown* object) {
    const auto found = table.find(Identity(object));
    return found != table.end() ? found->second.sink : nullptr;
}

template <class Table>
void MuteAll(const Table& table) {
    for (const auto& [object, entry] : table) {
        MuteSink(entry.sink);
    }
}

template <class Table>
void DisconnectAll(const Table& table) {
    for (const auto& [object, entry] : table) {
        DisconnectSink(entry.sink);
    }
}

} // namespace

IEventSinkPtr SinkTables::FindExplorer(IUnknown* explorer) const {
    return FindSink(explorers_, explorer);
}

IEventSinkPtr SinkTables::FindInspector(IUnknown* inspector) const {
    return FindSink(inspectors_, inspector);
}

IEventSinkPtr SinkTables::FindItem(IUnknown* item) const {
    return FindSink(items_, item);
}

void SinkTables::AddExplorer(IUnknown* explorer, const IEventSinkPtr& sink) {
    DisconnectOnExit unkept(sink);
    const IUnknownPtr identity = Identity(explorer);
    if (explorers_.try_emplace(identity, ExplorerEntry{identity, sink}).second) {
        unkept.Release();
    }
}

void SinkTables::RemoveExplorer(IUnknown* explorer) {
    if (const auto entry = explorers_.extract(Identity(explorer)); !entry.empty()) {
        DisconnectSink(entry.mapped().sink);
    }
}

void SinkTables::AddInspector(IUnknown* inspector, const IEventSinkPtr& sink, IUnknown* item) {
    DisconnectOnExit unkept(sink);
    // Both first: asking for an identity calls the host, and the tables must not change between the steps below.
    const IUnknownPtr itemIdentity = Identity(item);
    const IUnknownPtr identity = Identity(inspector);
    const auto [window, isNew] = inspectors_.try_emplace(identity, InspectorEntry{identity, sink, itemIdentity});
    if (!isNew) {
        return;
    }
    try {
        ++items_.try_emplace(itemIdentity, ItemEntry{itemIdentity, nullptr, 0}).first->second.inspectors;
    } catch (...) {
        inspectors_.erase(window); // half an entry would later count against another window of the item
        throw;
    }
    unkept.Release();
}

void SinkTables::AddItem(IUnknown* item, const IEventSinkPtr& sink) {
    DisconnectOnExit unkept(sink);
    const auto found = items_.find(Identity(item));
    if (found != items_.end() && !found->second.sink) {
        found->second.sink = sink;
        unkept.Release();
    }
}

SinkTables::RemovedInspector SinkTables::RemoveInspector(IUnknown* inspector) {
    const auto entry = inspectors_.extract(Identity(inspector));
    if (entry.empty()) {
        return {*this, nullptr};
    }
    DisconnectSink(entry.mapped().sink);
    return {*this, entry.mapped().item};
}

void SinkTables::CountDown(IUnknown* itemIdentity) {
    const auto found = items_.find(itemIdentity);
    if (found == items_.end() || --found->second.inspectors != 0) {
        return;
    }
    const auto entry = items_.extract(found);
    DisconnectSink(entry.mapped().sink);
}

void SinkTables::Mute() {
    MuteAll(explorers_);
    MuteAll(inspectors_);
    MuteAll(items_);
}

void SinkTables::Clear() {
    const auto explorers = std::exchange(explorers_, {});
    const auto inspectors = std::exchange(inspectors_, {});
    const auto items = std::exchange(items_, {});
    DisconnectAll(explorers);
    DisconnectAll(inspectors);
    DisconnectAll(items);
}
