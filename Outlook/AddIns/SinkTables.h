#pragma once

#include "Outlook/AddIns/EventSink.h"

#include <cstddef>
#include <map>

/// The sinks of the host's open windows and items, one for each object. Objects are known by their COM identity: the
/// host hands out the same inspector or item through different pointers. Every operation takes what it needs out of
/// the tables before it calls a sink or the host, so that a handler that runs meanwhile finds them intact.
class SinkTables {
public:
    // The sink of a known object, null for others.
    IEventSinkPtr FindExplorer(IUnknown* explorer) const;
    IEventSinkPtr FindInspector(IUnknown* inspector) const;
    IEventSinkPtr FindItem(IUnknown* item) const;

    /// Keeps an explorer's sink. One that has come in meanwhile, while this one was being connected, stays instead.
    void AddExplorer(IUnknown* explorer, const IEventSinkPtr& sink);
    /// Disconnects the explorer's sink and forgets it.
    void RemoveExplorer(IUnknown* explorer);

    /// Keeps an inspector's sink and counts the inspector for the item that it shows. As with explorers, a sink that is
    /// known already stays.
    void AddInspector(IUnknown* inspector, const IEventSinkPtr& sink, IUnknown* item);
    /// Keeps an item's sink, unless the item has one or its last inspector has gone.
    void AddItem(IUnknown* item, const IEventSinkPtr& sink);
    /// Disconnects the inspector's sink and forgets it. @return the identity of its item for `RemoveItem`, null when
    /// the inspector is not known; not a counted reference, and only to be compared.
    IUnknown* RemoveInspector(IUnknown* inspector);
    /// To be called once for each inspector removed: the item's sink goes with the last inspector that shows it.
    void RemoveItem(IUnknown* itemIdentity);

    /// Lets no event reach the add-in any more. Calls nobody.
    void Mute();
    /// Disconnects everything, each sink once.
    void Clear();

    size_t Size() const noexcept { return explorers_.size() + inspectors_.size() + items_.size(); }

private:
    // Keys are identities. A sink keeps its source, and so the key, alive while the entry exists; an item's entry does
    // so itself, as its sink comes later than the entry.
    struct InspectorEntry {
        IEventSinkPtr sink;
        IUnknown* item;
    };
    struct ItemEntry {
        IUnknownPtr item;
        IEventSinkPtr sink; // null until it is connected
        size_t inspectors;
    };
    std::map<IUnknown*, IEventSinkPtr> explorers_;
    std::map<IUnknown*, InspectorEntry> inspectors_;
    std::map<IUnknown*, ItemEntry> items_;
};
