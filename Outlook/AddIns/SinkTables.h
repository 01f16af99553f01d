#pragma once

#include "Outlook/AddIns/EventSink.h"

#include <cstddef>
#include <map>
#include <utility>

/// The sinks of the host's open windows and items, one for each object. The tables identify objects by their COM
/// identity: the host returns the same inspector or item through different pointers. Every operation updates the tables
/// before it calls a sink or the host, so that a handler that runs meanwhile finds them consistent.
class SinkTables {
public:
    // The sink of a known object, null for others.
    IEventSinkPtr FindExplorer(IUnknown* explorer) const;
    IEventSinkPtr FindInspector(IUnknown* inspector) const;
    IEventSinkPtr FindItem(IUnknown* item) const;

    /// Keeps an explorer's sink. A sink that was added while this one was being connected stays instead.
    void AddExplorer(IUnknown* explorer, const IEventSinkPtr& sink);
    /// Disconnects the explorer's sink and removes it.
    void RemoveExplorer(IUnknown* explorer);

    /// Keeps an inspector's sink and counts the inspector for the item that it shows. A sink that is in the table
    /// already stays, as with explorers.
    void AddInspector(IUnknown* inspector, const IEventSinkPtr& sink, IUnknown* item);
    /// Keeps an item's sink, unless the item has one or its last inspector has been removed.
    void AddItem(IUnknown* item, const IEventSinkPtr& sink);
    /// The removal of an inspector. Its destructor removes the item's sink when this was the item's last inspector.
    class RemovedInspector {
    public:
        ~RemovedInspector() { tables_.CountDown(item_); }
        RemovedInspector(const RemovedInspector&) = delete;
        RemovedInspector& operator=(const RemovedInspector&) = delete;

    private:
        friend class SinkTables;
        RemovedInspector(SinkTables& tables, const IUnknownPtr& item) : tables_(tables), item_(item) {}

        SinkTables& tables_;
        IUnknownPtr item_;
    };
    /// Disconnects the inspector's sink and removes it. The tables must outlive the result.
    [[nodiscard]] RemovedInspector RemoveInspector(IUnknown* inspector);

    /// Afterwards no event reaches the add-in. Calls neither host nor handlers.
    void Mute();
    /// Disconnects everything, each sink once.
    void Clear();

private:
    void CountDown(IUnknown* itemIdentity);

    // The keys are identities. Each entry holds a reference on its own, so that the address cannot become another
    // object's.
    struct ExplorerEntry {
        IUnknownPtr explorer;
        IEventSinkPtr sink;
    };
    struct InspectorEntry {
        IUnknownPtr inspector;
        IEventSinkPtr sink;
        IUnknownPtr item;
    };
    struct ItemEntry {
        IUnknownPtr item;
        IEventSinkPtr sink; // null until it is connected
        size_t inspectors;
    };
    std::map<IUnknown*, ExplorerEntry> explorers_;
    std::map<IUnknown*, InspectorEntry> inspectors_;
    std::map<IUnknown*, ItemEntry> items_;
};
