#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

// Objects without a state of their own are told apart by these addresses.
constexpr char kApplicationKey = 0;
constexpr char kNameSpaceKey = 0;
constexpr char kFoldersKey = 0;
constexpr char kExplorersKey = 0;
constexpr char kInspectorsKey = 0;
constexpr char kLanguageKey = 0;

struct SessionModel {};

struct FolderModel {
    const Store* store;
};

/// Explorers or Inspectors.
struct WindowsModel {
    std::shared_ptr<EventSource> events;
    const std::shared_ptr<EventSource>& SharedEvents() const { return events; }
};

const std::shared_ptr<HostCore>& CoreOf(Call& call) {
    return call.Host().Core();
}

template <class View>
DispatchPtr DispatchOf(const std::shared_ptr<View>& view) {
    return view ? view->Dispatch() : DispatchPtr();
}

HRESULT CreateItem(Call& call) {
    long type = 0;
    const HRESULT status = call.Long(0, type);
    if (FAILED(status)) {
        return status;
    }
    return type == kAppointmentItem ? call.Return(call.Host().NewAppointment()->Dispatch()) : E_INVALIDARG;
}

HRESULT InspectorAt(Call& call) {
    const auto& inspectors = call.Host().Inspectors();
    long index = 0; // from 1
    const HRESULT status = call.Long(0, index);
    if (FAILED(status) || index < 1 || static_cast<std::size_t>(index) > inspectors.size()) {
        return FAILED(status) ? status : DISP_E_BADINDEX;
    }
    return call.Return(inspectors[static_cast<std::size_t>(index) - 1]->Dispatch());
}

HRESULT FoldersItem(Call& call) {
    const VARIANT* argument = call.Argument(0);
    if (argument && argument->vt == VT_INT && call.Core().habits.refuseVtInt) {
        return DISP_E_TYPEMISMATCH;
    }
    long index = 0; // from 1
    const HRESULT status = call.Long(0, index);
    if (FAILED(status)) {
        return status;
    }
    const auto& stores = call.Host().Stores();
    if (index < 1 || static_cast<std::size_t>(index) > stores.size()) {
        return DISP_E_BADINDEX;
    }
    return call.Return(MakeFolder(CoreOf(call), *stores[static_cast<std::size_t>(index) - 1]));
}

HRESULT GetItemFromId(Call& call) {
    std::wstring entry;
    std::wstring store;
    HRESULT status = call.Text(0, entry);
    if (SUCCEEDED(status) && call.Argument(1)) {
        status = call.Text(1, store);
    }
    if (FAILED(status)) {
        return status;
    }
    const ItemPtr item = call.Host().FindItem(entry, store);
    return item ? call.Return(item->Dispatch()) : kMapiNotFound;
}

constexpr Member kApplicationMembers[] = {
    {0xF00B, L"Session", kGet, 0, 0, [](Call& call) { return call.Return(MakeNameSpace(CoreOf(call))); }},
    {0x0116, L"Version", kGet, 0, 0, [](Call& call) { return call.Return(call.Host().version); }},
    {0x0111, L"ActiveExplorer", kMethod, 0, 0,
     [](Call& call) { return call.Return(DispatchOf(call.Host().ActiveExplorer())); }},
    {0x010A, L"CreateItem", kMethod, 1, 1, &CreateItem},
    {0x0112, L"ActiveInspector", kMethod, 0, 0,
     [](Call& call) { return call.Return(DispatchOf(call.Host().ActiveInspector())); }},
    {0x0118, L"COMAddIns", kGet, 0, 0, [](Call& call) { return call.Return(MakeComAddIns(CoreOf(call))); }},
    {0x0119, L"Explorers", kGet, 0, 0, [](Call& call) { return call.Return(MakeExplorers(CoreOf(call))); }},
    {0x011A, L"Inspectors", kGet, 0, 0, [](Call& call) { return call.Return(MakeInspectors(CoreOf(call))); }},
    {0x011B, L"LanguageSettings", kGet, 0, 0,
     [](Call& call) { return call.Return(MakeLanguageSettings(CoreOf(call))); }},
};

constexpr Member kNameSpaceMembers[] = {
    {0x2103, L"Folders", kGet, 0, 0, [](Call& call) { return call.Return(MakeFolders(CoreOf(call))); }},
    {0x2109, L"GetItemFromID", kMethod, 1, 2, &GetItemFromId},
};

constexpr Member kFoldersMembers[] = {
    {0x0050, L"Count", kGet, 0, 0,
     [](Call& call) { return call.Give(static_cast<long>(call.Host().Stores().size())); }},
    {0x0051, L"Item", kMethod, 1, 1, &FoldersItem},
};

constexpr Member kFolderMembers[] = {
    {0x3108, L"StoreID", kGet, 0, 0,
     [](Call& call) { return call.Return(ObjectOf<FolderModel>::Of(call).store->storeId); }},
};

constexpr Member kInspectorsMembers[] = {
    {0x0050, L"Count", kGet, 0, 0,
     [](Call& call) { return call.Give(static_cast<long>(call.Host().Inspectors().size())); }},
    {0x0051, L"Item", kMethod, 1, 1, &InspectorAt},
};

constexpr Member kLanguageMembers[] = {
    {1, L"LanguageID", kGet, 1, 1,
     [](Call& call) {
         long kind = 0;
         const HRESULT status = call.Long(0, kind);
         return FAILED(status) ? status : call.Give(call.Host().language);
     }},
};

constexpr ObjectClass kApplicationClass{L"Application", kIidApplication, kApplicationMembers};
constexpr ObjectClass kNameSpaceClass{L"NameSpace", kIidNameSpace, kNameSpaceMembers};
constexpr ObjectClass kFoldersClass{L"Folders", kIidFolders, kFoldersMembers};
constexpr ObjectClass kFolderClass{L"Folder", kIidFolder, kFolderMembers};
constexpr ObjectClass kExplorersClass{L"Explorers", kIidExplorers, {}};
constexpr ObjectClass kInspectorsClass{L"Inspectors", kIidInspectors, kInspectorsMembers};
constexpr ObjectClass kLanguageClass{L"LanguageSettings", kIidLanguageSettings, kLanguageMembers};

std::wstring NextLabel(HostCore& core) {
    return L"#" + std::to_wstring(core.nextObject++);
}

} // namespace

DispatchPtr MakeApplication(const std::shared_ptr<HostCore>& core) {
    return HandOut(core, kApplicationClass, &kApplicationKey, NextLabel(*core), std::make_shared<SessionModel>());
}

DispatchPtr MakeNameSpace(const std::shared_ptr<HostCore>& core) {
    return HandOut(core, kNameSpaceClass, &kNameSpaceKey, NextLabel(*core), std::make_shared<SessionModel>());
}

DispatchPtr MakeFolders(const std::shared_ptr<HostCore>& core) {
    return HandOut(core, kFoldersClass, &kFoldersKey, NextLabel(*core), std::make_shared<SessionModel>());
}

DispatchPtr MakeFolder(const std::shared_ptr<HostCore>& core, const Store& store) {
    return HandOut(core, kFolderClass, &store, store.name, std::make_shared<FolderModel>(FolderModel{&store}));
}

DispatchPtr MakeExplorers(const std::shared_ptr<HostCore>& core) {
    auto model = std::make_shared<WindowsModel>(WindowsModel{core->host->SharedExplorersEvents()});
    return HandOut(core, kExplorersClass, &kExplorersKey, NextLabel(*core), model);
}

DispatchPtr MakeInspectors(const std::shared_ptr<HostCore>& core) {
    auto model = std::make_shared<WindowsModel>(WindowsModel{core->host->SharedInspectorsEvents()});
    return HandOut(core, kInspectorsClass, &kInspectorsKey, NextLabel(*core), model);
}

DispatchPtr MakeLanguageSettings(const std::shared_ptr<HostCore>& core) {
    return HandOut(core, kLanguageClass, &kLanguageKey, NextLabel(*core), std::make_shared<SessionModel>());
}

} // namespace workbench
