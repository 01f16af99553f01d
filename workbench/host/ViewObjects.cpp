#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

using ExplorerObject = ObjectOf<Explorer>;
using InspectorObject = ObjectOf<Inspector>;

HRESULT CurrentItem(Call& call) {
    Inspector& inspector = InspectorObject::Of(call);
    if (inspector.Closed() || (inspector.Closing() && call.Core().habits.noCurrentItemInClose)) {
        return E_FAIL; // the real host fails, too, when there is no item any more
    }
    return call.Return(inspector.CurrentItem()->Dispatch());
}

HRESULT CloseInspector(Call& call) {
    long mode = 0;
    const HRESULT status = call.Long(0, mode);
    if (FAILED(status)) {
        return status;
    }
    if (mode < kCloseSave || mode > kClosePrompt) {
        return E_INVALIDARG;
    }
    const InspectorPtr inspector = InspectorObject::Of(call).shared_from_this();
    return inspector->Close(static_cast<OlInspectorClose>(mode)) ? S_OK : E_ABORT;
}

constexpr Member kExplorerMembers[] = {
    {0x2103, L"Close", kMethod, 0, 0,
     [](Call& call) {
         const ExplorerPtr explorer = ExplorerObject::Of(call).shared_from_this();
         explorer->Close();
         return S_OK;
     }},
    {0x2111, L"Caption", kGet, 0, 0, [](Call& call) { return call.Return(ExplorerObject::Of(call).Caption()); }},
    {0x2113, L"Activate", kMethod, 0, 0,
     [](Call& call) {
         ExplorerObject::Of(call).Activate();
         return S_OK;
     }},
};

constexpr Member kInspectorMembers[] = {
    {0x2102, L"CurrentItem", kGet, 0, 0, &CurrentItem},
    {0x2103, L"Close", kMethod, 1, 1, &CloseInspector},
    {0x2104, L"Display", kMethod, 0, 1,
     [](Call& call) {
         InspectorObject::Of(call).Display();
         return S_OK;
     }},
    {0x2111, L"Caption", kGet, 0, 0, [](Call& call) { return call.Return(InspectorObject::Of(call).Caption()); }},
    {0x2113, L"Activate", kMethod, 0, 0,
     [](Call& call) {
         InspectorObject::Of(call).Activate();
         return S_OK;
     }},
};

constexpr ObjectClass kExplorerClass{L"Explorer", kIidExplorer, kExplorerMembers};
constexpr ObjectClass kInspectorClass{L"Inspector", kIidInspector, kInspectorMembers};

} // namespace

DispatchPtr MakeExplorer(const std::shared_ptr<HostCore>& core, const ExplorerPtr& explorer) {
    return HandOut(core, kExplorerClass, explorer.get(), L"#" + std::to_wstring(explorer->Number()), explorer);
}

DispatchPtr MakeInspectorObject(const std::shared_ptr<HostCore>& core, const InspectorPtr& inspector) {
    return HandOut(core, kInspectorClass, inspector.get(), L"#" + std::to_wstring(inspector->Number()), inspector);
}

} // namespace workbench
