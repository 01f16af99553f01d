#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

struct ControlModel {
    std::wstring id;
    DispatchPtr context;
};
using ControlObject = ObjectOf<ControlModel>;

struct RibbonUiModel {
    std::shared_ptr<std::vector<Invalidation>> invalidations;
};
using RibbonUiObject = ObjectOf<RibbonUiModel>;

HRESULT InvalidateControl(Call& call) {
    std::wstring id;
    const HRESULT status = call.Text(0, id);
    if (FAILED(status)) {
        return status;
    }
    RibbonUiObject::Of(call).invalidations->push_back(Invalidation{id});
    call.Core().Tell(StepKind::Ribbon, id + L" invalidated");
    call.Host().RefreshWindows();
    return S_OK;
}

constexpr Member kControlMembers[] = {
    {1, L"Id", kGet, 0, 0, [](Call& call) { return call.Return(ControlObject::Of(call).id); }},
    {2, L"Context", kGet, 0, 0, [](Call& call) { return call.Return(ControlObject::Of(call).context); }},
};

constexpr Member kRibbonUiMembers[] = {
    {2, L"InvalidateControl", kMethod, 1, 1, &InvalidateControl},
};

constexpr ObjectClass kControlClass{L"IRibbonControl", kIidRibbonControl, kControlMembers};
constexpr ObjectClass kRibbonUiClass{L"IRibbonUI", kIidRibbonUi, kRibbonUiMembers};

} // namespace

DispatchPtr MakeRibbonControl(const std::shared_ptr<HostCore>& core, const std::wstring& id,
                              const DispatchPtr& context) {
    auto model = std::make_shared<ControlModel>(ControlModel{id, context});
    return HandOut(core, kControlClass, model.get(), id, model);
}

DispatchPtr MakeRibbonUi(const std::shared_ptr<HostCore>& core,
                         const std::shared_ptr<std::vector<Invalidation>>& invalidations) {
    auto model = std::make_shared<RibbonUiModel>(RibbonUiModel{invalidations});
    return HandOut(core, kRibbonUiClass, model.get(), L"#" + std::to_wstring(core->nextObject++), model);
}

} // namespace workbench
