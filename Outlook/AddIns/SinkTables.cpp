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

void Disconnect(const IEventSinkPtr& sink) {
    if (sink != nullptr) {
        sink->Unadvise();
        MuteSink(sink); // An event that is under way further up the stack must not reach the add-in later.
    }
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
        Disconnect(entry.mapped());
    }
}

void SinkTables::AddInspector(IUnknown* inspector, const IEventSinkPtr& inspectorSink, IUnknown* item,
                              const IEventSinkPtr& itemSink) {
    UnkeptSink unkeptItem(itemSink);
    UnkeptSink unkeptInspector(inspectorSink);
    IUnknown* itemIdentity = Identity(item);
    const auto [window, isNewWindow] =
        inspectors_.try_emplace(Identity(inspector), InspectorEntry{inspectorSink, itemIdentity});
    if (!isNewWindow) {
        return;
    }
    bool isNewItem = false;
    try {
        const auto [entry, isNew] = items_.try_emplace(itemIdentity, ItemEntry{itemSink, 0});
        ++entry->second.inspectors;
        isNewItem = isNew;
    } catch (...) {
        inspectors_.erase(window); // half an entry would later count against another window of the item
        throw;
    }
    unkeptInspector.Keep();
    if (isNewItem) {
        unkeptItem.Keep();
    }
}

IUnknown* SinkTables::RemoveInspector(IUnknown* inspector) {
    const auto entry = inspectors_.extract(Identity(inspector));
    if (entry.empty()) {
        return nullptr;
    }
    IUnknown* const item = entry.mapped().item;
    Disconnect(entry.mapped().sink);
    return item;
}

void SinkTables::RemoveItem(IUnknown* itemIdentity) {
    const auto found = items_.find(itemIdentity);
    if (found == items_.end() || --found->second.inspectors != 0) {
        return;
    }
    const auto entry = items_.extract(found);
    Disconnect(entry.mapped().sink);
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
        Disconnect(sink);
    }
    for (const auto& [inspector, entry] : inspectors) {
        Disconnect(entry.sink);
    }
    for (const auto& [item, entry] : items) {
        Disconnect(entry.sink);
    }
}
