#pragma once

#include "workbench/host/AddInHost.h"
#include "workbench/host/CallLog.h"
#include "workbench/host/Habits.h"
#include "workbench/host/HostCore.h"
#include "workbench/host/Item.h"
#include "workbench/host/Ledger.h"
#include "workbench/host/Observer.h"
#include "workbench/host/Views.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

struct HostOptions {
    std::wstring version = L"16.0.0.10000";
    long language = 1033; // LanguageSettings.LanguageID, all kinds
    Habits habits = {};
    DATE now = 45356.375; // new appointments start here (UTC) and last half an hour
};

/// A mail store; its root folder is an entry of NameSpace.Folders.
struct Store {
    std::wstring name;
    std::wstring storeId; // may be empty: some stores report none
};

/// The stand-in Outlook. Make one on the thread that plays Outlook's main thread (COM initialised there,
/// single-threaded apartment) and destroy it there. Everything is for that thread only; objects may be released from
/// any thread.
class OutlookHost {
public:
    explicit OutlookHost(HostOptions options = {});
    ~OutlookHost();
    OutlookHost(const OutlookHost&) = delete;
    OutlookHost& operator=(const OutlookHost&) = delete;

    // --- Set-up ---
    /// The first store takes new items. Without a store id one is made up; an empty one is kept empty.
    Store& AddStore(const std::wstring& name, std::optional<std::wstring> storeId = {});
    std::vector<std::unique_ptr<Store>>& Stores() { return stores_; }
    Habits& habits() { return core_->habits; }
    std::wstring version;
    long language;
    DATE now;
    /// The user's answer when an unsaved item's window is closed: save, discard, or `kClosePrompt` for "Cancel".
    OlInspectorClose closeAnswer = kCloseDiscard;
    /// Asks a real user instead. May handle messages.
    std::function<OlInspectorClose(Inspector&)> askClose;
    /// Make the controls of a main window or of an appointment's window that opens; empty for windows without controls.
    std::function<std::shared_ptr<WindowControls>(Explorer&)> explorerControls;
    std::function<std::shared_ptr<WindowControls>(Inspector&)> inspectorControls;

    // --- Windows and items, as the user makes them ---
    /// Opens a main window; fires NewExplorer. It becomes the active window.
    ExplorerPtr OpenExplorer(const std::wstring& folder = L"Inbox");
    ItemPtr NewAppointment();
    ItemPtr NewMail();
    /// Fires NewInspector; shows the window after that.
    InspectorPtr OpenInspector(const ItemPtr& item);
    InspectorPtr OpenInspector(Item& item) { return OpenInspector(item.shared_from_this()); }

    // --- What there is ---
    DispatchPtr Application(); // as the add-in gets it in OnConnection
    const std::vector<ItemPtr>& Items() const { return items_; }
    std::vector<ItemPtr> Appointments() const; // not deleted, in the order of creation
    ItemPtr FindItem(const std::wstring& entryId, const std::wstring& storeId) const;
    const std::vector<ExplorerPtr>& Explorers() const { return explorers_; }
    const std::vector<InspectorPtr>& Inspectors() const { return inspectors_; } // on show or not
    ExplorerPtr ActiveExplorer() const;
    InspectorPtr ActiveInspector() const; // the foremost inspector on show
    EventSource& ExplorersEvents() { return *explorersEvents_; }
    EventSource& InspectorsEvents() { return *inspectorsEvents_; }

    // --- Add-ins ---
    AddInHost& LoadAddIn(const std::wstring& path, REFCLSID clsid);
    AddInHost& LoadAddInByProgId(const std::wstring& progId);
    const std::vector<std::unique_ptr<AddInHost>>& AddIns() const { return addIns_; }

    // --- Calls, references, steps ---
    void FailWhen(CallLog::Decide decide) { core_->calls.FailWhen(std::move(decide)); }
    void FailMember(const std::wstring& member, FailKind kind, HRESULT status) {
        core_->calls.FailMember(member, kind, status);
    }
    void ClearFailures() { core_->calls.ClearFailures(); }
    std::vector<CallRecord> Calls() const { return core_->calls.Calls(); }
    std::size_t CallCount() const { return core_->calls.Count(); }
    std::size_t CountOf(const std::wstring& member) const { return core_->calls.CountOf(member); }
    void ResetCalls() { core_->calls.Reset(); }
    std::size_t WrongThreadCalls() const { return core_->wrongThreadCalls; }
    Ledger& Objects() { return core_->ledger; }
    /// One readable line for each event source that still has sinks: "Inspector #2: 1 sink".
    std::vector<std::wstring> AdvisedSinks() const;
    void Observe(Observer observer) { core_->observer = std::move(observer); }

    // --- The end ---
    /// Lets go of every sink, as the end of the process does.
    void DropSinks();
    /// Delivers Close events that Habits::closeInsideRelease still holds back.
    void DeliverPendingCloses();
    /// Exits all add-ins, closes all windows without further events, drops all sinks. The ledger can be asked after
    /// that. Called by the destructor.
    void Shutdown();

    // --- For the host's own objects ---
    const std::shared_ptr<HostCore>& Core() const { return core_; }
    std::shared_ptr<EventSource> SharedExplorersEvents() { return explorersEvents_; }
    std::shared_ptr<EventSource> SharedInspectorsEvents() { return inspectorsEvents_; }
    std::shared_ptr<EventSource> NewSource(std::wstring name, std::vector<EventInterface> offered);
    ItemPtr NewItem(ItemKind kind);
    InspectorPtr MakeInspector(const ItemPtr& item); // NewInspector, not on show
    std::wstring NextEntryId();
    const std::wstring& DefaultStoreId();
    void MovedToFront(Explorer& explorer);
    void MovedToFront(Inspector& inspector);
    void Remove(Explorer& explorer);
    void Remove(Inspector& inspector);
    /// Soon paints all windows anew; ribbon values are asked again.
    void RefreshWindows();
    /// The add-ins' visible buttons of that tab.
    std::vector<RibbonButtonView> RibbonButtons(Surface surface, const std::wstring& tab, const RibbonContext& context);
    std::wstring RibbonGroupLabel(Surface surface, const std::wstring& tab, const RibbonContext& context);
    void PressRibbonButton(Surface surface, const std::wstring& controlId, const RibbonContext& context);
    /// Loads that ribbon of each add-in that has not got it yet, as the first window of its kind does.
    void LoadRibbons(Surface surface);
    RECT NextPlace();

private:
    AddInHost& NewAddIn();
    std::vector<std::shared_ptr<EventSource>> AllSources() const;

    std::shared_ptr<HostCore> core_;
    std::vector<std::unique_ptr<Store>> stores_;
    std::vector<ItemPtr> items_;
    std::vector<ExplorerPtr> explorers_;   // the active one first
    std::vector<InspectorPtr> inspectors_; // the active one first
    std::vector<std::weak_ptr<EventSource>> sources_;
    std::shared_ptr<EventSource> explorersEvents_;
    std::shared_ptr<EventSource> inspectorsEvents_;
    std::vector<std::unique_ptr<AddInHost>> addIns_;
    unsigned nextNumber_ = 1;
    unsigned nextEntry_ = 1;
    bool shutDown_ = false;
};

} // namespace workbench
