#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

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

constexpr Member kInspectorMembers[] = {
    {0x2102, L"CurrentItem", kGet, 0, 0, &CurrentItem},
    {0x2103, L"Close", kMethod, 1, 1, &CloseInspector},
};

constexpr ObjectClass kExplorerClass{L"Explorer", kIidExplorer, {}};
constexpr ObjectClass kInspectorClass{L"Inspector", kIidInspector, kInspectorMembers};

} // namespace

DispatchPtr MakeExplorer(const std::shared_ptr<HostCore>& core, const ExplorerPtr& explorer) {
    return HandOut(core, kExplorerClass, explorer.get(), L"#" + std::to_wstring(explorer->Number()), explorer);
}

DispatchPtr MakeInspectorObject(const std::shared_ptr<HostCore>& core, const InspectorPtr& inspector) {
    return HandOut(core, kInspectorClass, inspector.get(), L"#" + std::to_wstring(inspector->Number()), inspector);
}

} // namespace workbench
