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

bool SinkTables::HasExplorer(IUnknown* explorer) const {
    return explorers_.contains(Identity(explorer));
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

bool SinkTables::HasInspector(IUnknown* inspector) const {
    return inspectors_.contains(Identity(inspector));
}

bool SinkTables::HasItem(IUnknown* item) const {
    return items_.contains(Identity(item));
}

void SinkTables::AddInspector(IUnknown* inspector, const IEventSinkPtr& inspectorSink, IUnknown* item,
                              const IEventSinkPtr& itemSink) {
    UnkeptSink unkeptItem(itemSink);
    UnkeptSink unkeptInspector(inspectorSink);
    IUnknown* itemIdentity = Identity(item);
    if (!inspectors_.try_emplace(Identity(inspector), InspectorEntry{inspectorSink, itemIdentity}).second) {
        return;
    }
    unkeptInspector.Keep();
    const auto [entry, isNewItem] = items_.try_emplace(itemIdentity, ItemEntry{itemSink, 0});
    ++entry->second.inspectors;
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
