#include "workbench/host/OutlookHost.h"

#include "workbench/host/HostObjects.h"

#include <algorithm>
#include <cwchar>

namespace workbench {
namespace {

template <class View>
void MoveToFront(std::vector<std::shared_ptr<View>>& views, const View& view) {
    const auto found =
        std::find_if(views.begin(), views.end(), [&](const auto& other) { return other.get() == &view; });
    if (found != views.end()) {
        std::rotate(views.begin(), found, found + 1);
    }
}

template <class View>
void Erase(std::vector<std::shared_ptr<View>>& views, const View& view) {
    std::erase_if(views, [&](const auto& other) { return other.get() == &view; });
}

} // namespace

OutlookHost::OutlookHost(HostOptions options)
    : version(std::move(options.version)),
      language(options.language),
      now(options.now),
      core_(std::make_shared<HostCore>()) {
    core_->host = this;
    core_->habits = options.habits;
    core_->thread = ::GetCurrentThreadId();
    explorersEvents_ = NewSource(L"Explorers", {{kIidExplorersEvents, L"ExplorersEvents"}});
    inspectorsEvents_ = NewSource(L"Inspectors", {{kIidInspectorsEvents, L"InspectorsEvents"}});
}

OutlookHost::~OutlookHost() {
    Shutdown();
    core_->observer = nullptr;
    core_->host = nullptr;
}

Store& OutlookHost::AddStore(const std::wstring& name, std::optional<std::wstring> storeId) {
    wchar_t made[32];
    std::swprintf(made, 32, L"0000000038A1BB10%04X", static_cast<unsigned>(stores_.size() + 1));
    auto store = std::make_unique<Store>();
    store->name = name;
    store->storeId = storeId.value_or(made);
    stores_.push_back(std::move(store));
    return *stores_.back();
}

const std::wstring& OutlookHost::DefaultStoreId() {
    if (stores_.empty()) {
        AddStore(L"Mailbox");
    }
    return stores_.front()->storeId;
}

std::wstring OutlookHost::NextEntryId() {
    wchar_t text[32];
    std::swprintf(text, 32, L"00000000EF000000%08X", nextEntry_++);
    return text;
}

RECT OutlookHost::NextPlace() {
    // Cascaded, with an odd width and height so that halving them matters.
    const LONG step = static_cast<LONG>(nextNumber_ % 8) * 24;
    return RECT{40 + step, 30 + step, 40 + step + 761, 30 + step + 541};
}

std::shared_ptr<EventSource> OutlookHost::NewSource(std::wstring name, std::vector<EventInterface> offered) {
    auto source = std::make_shared<EventSource>(core_, std::move(name), std::move(offered));
    std::erase_if(sources_, [](const auto& one) { return one.expired(); });
    sources_.push_back(source);
    return source;
}

std::vector<std::shared_ptr<EventSource>> OutlookHost::AllSources() const {
    std::vector<std::shared_ptr<EventSource>> living;
    for (const auto& one : sources_) {
        if (auto source = one.lock()) {
            living.push_back(std::move(source));
        }
    }
    return living;
}

// --- Windows and items ---

ExplorerPtr OutlookHost::OpenExplorer(const std::wstring& folder) {
    auto explorer = std::make_shared<Explorer>(*this, folder, nextNumber_++);
    explorers_.push_back(explorer);
    explorer->OpenWindow();
    {
        const DispatchPtr object = explorer->Dispatch();
        explorersEvents_->Fire(event::kNewExplorer, {_variant_t(object.GetInterfacePtr())});
    }
    explorer->Activate();
    if (explorer->View()) {
        explorer->View()->Refresh();
    }
    return explorer;
}

ItemPtr OutlookHost::NewItem(ItemKind kind) {
    items_.push_back(std::make_shared<Item>(*this, kind, nextNumber_++));
    core_->Tell(StepKind::Item, items_.back()->Events().Name() + L" created");
    return items_.back();
}

ItemPtr OutlookHost::NewAppointment() {
    return NewItem(ItemKind::Appointment);
}
ItemPtr OutlookHost::NewMail() {
    return NewItem(ItemKind::Mail);
}

InspectorPtr OutlookHost::MakeInspector(const ItemPtr& item) {
    auto inspector = std::make_shared<Inspector>(*this, item, nextNumber_++);
    inspectors_.push_back(inspector);
    inspector->OpenWindow();
    const DispatchPtr object = inspector->Dispatch();
    inspectorsEvents_->Fire(event::kNewInspector, {_variant_t(object.GetInterfacePtr())});
    return inspector;
}

InspectorPtr OutlookHost::OpenInspector(const ItemPtr& item) {
    return item->Display();
}

std::vector<ItemPtr> OutlookHost::Appointments() const {
    std::vector<ItemPtr> found;
    std::copy_if(items_.begin(), items_.end(), std::back_inserter(found),
                 [](const ItemPtr& item) { return item->Kind() == ItemKind::Appointment && !item->Deleted(); });
    return found;
}

ItemPtr OutlookHost::FindItem(const std::wstring& entryId, const std::wstring& storeId) const {
    for (const ItemPtr& item : items_) {
        const bool sameStore = storeId.empty() || storeId == item->StoreId();
        if (!item->Deleted() && !entryId.empty() && item->EntryId() == entryId && sameStore) {
            return item;
        }
    }
    return nullptr;
}

DispatchPtr OutlookHost::Application() {
    return MakeApplication(core_);
}

ExplorerPtr OutlookHost::ActiveExplorer() const {
    return explorers_.empty() ? nullptr : explorers_.front();
}

InspectorPtr OutlookHost::ActiveInspector() const {
    for (const InspectorPtr& inspector : inspectors_) {
        if (inspector->Displayed()) {
            return inspector;
        }
    }
    return nullptr;
}

void OutlookHost::MovedToFront(Explorer& explorer) {
    MoveToFront(explorers_, explorer);
}

void OutlookHost::MovedToFront(Inspector& inspector) {
    MoveToFront(inspectors_, inspector);
}

void OutlookHost::Remove(Explorer& explorer) {
    Erase(explorers_, explorer);
}
void OutlookHost::Remove(Inspector& inspector) {
    Erase(inspectors_, inspector);
}

// --- Ribbon ---

void OutlookHost::RefreshWindows() {
    if (!core_->habits.drawRibbon) {
        return;
    }
    for (const ExplorerPtr& explorer : explorers_) {
        if (explorer->View()) {
            explorer->View()->PostRefresh();
        }
    }
    for (const InspectorPtr& inspector : inspectors_) {
        if (inspector->View() && inspector->Displayed()) {
            inspector->View()->PostRefresh();
        }
    }
}

void OutlookHost::LoadRibbons(Surface surface) {
    if (core_->habits.ribbonByHand) {
        return;
    }
    for (std::size_t i = 0; i < addIns_.size(); ++i) { // by index: loading may add add-ins
        AddInHost& addIn = *addIns_[i];
        if (addIn.Object()) {
            addIn.Ribbon(surface);
        }
    }
}

std::vector<RibbonButtonView> OutlookHost::RibbonButtons(Surface surface, const std::wstring& tab,
                                                         const RibbonContext& context) {
    std::vector<RibbonButtonView> views;
    for (const auto& addIn : addIns_) {
        Ribbon* ribbon = addIn->LoadedRibbon(surface);
        const auto elements = ribbon ? ribbon->OfTab(tab) : std::vector<RibbonElement>();
        for (const RibbonElement& element : elements) {
            if (element.element != L"button" || !ribbon->Visible(element.id, context)) {
                continue;
            }
            RibbonButtonView view;
            view.id = element.id;
            view.label = ribbon->Label(element.id, context);
            view.enabled = ribbon->Enabled(element.id, context);
            view.image = ribbon->Image(element.id);
            views.push_back(std::move(view));
        }
    }
    return views;
}

std::wstring OutlookHost::RibbonGroupLabel(Surface surface, const std::wstring& tab, const RibbonContext& context) {
    for (const auto& addIn : addIns_) {
        Ribbon* ribbon = addIn->LoadedRibbon(surface);
        const auto elements = ribbon ? ribbon->OfTab(tab) : std::vector<RibbonElement>();
        for (const RibbonElement& element : elements) {
            if (element.element == L"group") {
                return ribbon->Label(element.id, context);
            }
        }
    }
    return {};
}

void OutlookHost::PressRibbonButton(Surface surface, const std::wstring& controlId, const RibbonContext& context) {
    for (const auto& addIn : addIns_) {
        Ribbon* ribbon = addIn->LoadedRibbon(surface);
        if (ribbon && ribbon->Find(controlId)) {
            ribbon->Press(controlId, context);
            return;
        }
    }
}

// --- Add-ins ---

AddInHost& OutlookHost::NewAddIn() {
    addIns_.push_back(std::make_unique<AddInHost>(*this));
    return *addIns_.back();
}

AddInHost& OutlookHost::LoadAddIn(const std::wstring& path, REFCLSID clsid) {
    AddInHost& addIn = NewAddIn();
    addIn.LoadFile(path, clsid);
    return addIn;
}

AddInHost& OutlookHost::LoadAddInByProgId(const std::wstring& progId) {
    AddInHost& addIn = NewAddIn();
    addIn.LoadProgId(progId);
    return addIn;
}

// --- The end ---

std::vector<std::wstring> OutlookHost::AdvisedSinks() const {
    std::vector<std::wstring> lines;
    for (const auto& source : AllSources()) {
        if (const std::size_t count = source->SinkCount()) {
            lines.push_back(source->Name() + L": " + std::to_wstring(count) + (count == 1 ? L" sink" : L" sinks"));
        }
    }
    return lines;
}

void OutlookHost::DropSinks() {
    for (const auto& source : AllSources()) {
        source->DropSinks();
    }
}

void OutlookHost::DeliverPendingCloses() {
    const std::vector<InspectorPtr> present = inspectors_;
    for (const InspectorPtr& inspector : present) {
        inspector->DeliverPendingClose();
    }
}

void OutlookHost::Shutdown() {
    if (shutDown_) {
        return;
    }
    shutDown_ = true;
    for (const auto& addIn : addIns_) {
        addIn->Exit();
    }
    const std::vector<InspectorPtr> inspectors = std::move(inspectors_);
    const std::vector<ExplorerPtr> explorers = std::move(explorers_);
    inspectors_.clear();
    explorers_.clear();
    for (const InspectorPtr& inspector : inspectors) {
        inspector->window_.reset();
        inspector->closed_ = true;
    }
    for (const ExplorerPtr& explorer : explorers) {
        explorer->window_.reset();
    }
    DropSinks();
}

} // namespace workbench
