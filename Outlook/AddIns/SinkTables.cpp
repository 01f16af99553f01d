#include "Outlook/AddIns/SinkTables.h"

#include <utility>

namespace {

/// The pointer that names an object whatever pointer to it is at hand. Not a counted reference.
IUnknown* Identity(IUnknown* object) {
    IUnknownPtr identity;
    if (object != nullptr) {
        object->QueryInterface(&identity);
    }
    return identity;
}

} // namespace

IEventSinkPtr SinkTables::FindExplorer(IUnknown* explorer) const {
    const auto found = explorers_.find(Identity(explorer));
    return found != explorers_.end() ? found->second : nullptr;
}

IEventSinkPtr SinkTables::FindInspector(IUnknown* inspector) const {
    const auto found = inspectors_.find(Identity(inspector));
    return found != inspectors_.end() ? found->second.sink : nullptr;
}

IEventSinkPtr SinkTables::FindItem(IUnknown* item) const {
    const auto found = items_.find(Identity(item));
    return found != items_.end() ? found->second.sink : nullptr;
}

void SinkTables::AddExplorer(IUnknown* explorer, const IEventSinkPtr& sink) {
    UnkeptSink unkept(sink);
    if (explorers_.try_emplace(Identity(explorer), sink).second) {
        unkept.Keep();
    }
}

void SinkTables::RemoveExplorer(IUnknown* explorer) {
    if (const auto entry = explorers_.extract(Identity(explorer)); !entry.empty()) {
        DisconnectSink(entry.mapped());
    }
}

void SinkTables::AddInspector(IUnknown* inspector, const IEventSinkPtr& sink, IUnknown* item) {
    UnkeptSink unkept(sink);
    // Both first: asking for an identity calls the host, and the tables must not change between the steps below.
    const IUnknownPtr itemIdentity = Identity(item);
    IUnknown* const inspectorIdentity = Identity(inspector);
    const auto [window, isNew] = inspectors_.try_emplace(inspectorIdentity, InspectorEntry{sink, itemIdentity});
    if (!isNew) {
        return;
    }
    try {
        ++items_.try_emplace(itemIdentity, ItemEntry{itemIdentity, nullptr, 0}).first->second.inspectors;
    } catch (...) {
        inspectors_.erase(window); // half an entry would later count against another window of the item
        throw;
    }
    unkept.Keep();
}

void SinkTables::AddItem(IUnknown* item, const IEventSinkPtr& sink) {
    UnkeptSink unkept(sink);
    const auto found = items_.find(Identity(item));
    if (found != items_.end() && !found->second.sink) {
        found->second.sink = sink;
        unkept.Keep();
    }
}

IUnknown* SinkTables::RemoveInspector(IUnknown* inspector) {
    const auto entry = inspectors_.extract(Identity(inspector));
    if (entry.empty()) {
        return nullptr;
    }
    IUnknown* const item = entry.mapped().item;
    DisconnectSink(entry.mapped().sink);
    return item;
}

void SinkTables::RemoveItem(IUnknown* itemIdentity) {
    const auto found = items_.find(itemIdentity);
    if (found == items_.end() || --found->second.inspectors != 0) {
        return;
    }
    const auto entry = items_.extract(found);
    DisconnectSink(entry.mapped().sink);
}

void SinkTables::Mute() {
    for (const auto& [explorer, sink] : explorers_) {
        MuteSink(sink);
    }
    for (const auto& [inspector, entry] : inspectors_) {
        MuteSink(entry.sink);
    }
    for (const auto& [item, entry] : items_) {
        MuteSink(entry.sink);
    }
}

void SinkTables::Clear() {
    const auto explorers = std::exchange(explorers_, {});
    const auto inspectors = std::exchange(inspectors_, {});
    const auto items = std::exchange(items_, {});
    for (const auto& [explorer, sink] : explorers) {
        DisconnectSink(sink);
    }
    for (const auto& [inspector, entry] : inspectors) {
        DisconnectSink(entry.sink);
    }
    for (const auto& [item, entry] : items) {
        DisconnectSink(entry.sink);
    }
}
