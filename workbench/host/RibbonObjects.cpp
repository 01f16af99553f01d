#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

struct ControlModel {
    std::wstring id;
    std::wstring tag;
    DispatchPtr context;
};
using ControlObject = ObjectOf<ControlModel>;

struct RibbonUiModel {
    std::shared_ptr<std::vector<Invalidation>> invalidations;
};
using RibbonUiObject = ObjectOf<RibbonUiModel>;

HRESULT Invalidated(Call& call, const std::wstring& controlId) {
    RibbonUiObject::Of(call).invalidations->push_back(Invalidation{controlId});
    call.Core().Tell(StepKind::Ribbon, controlId.empty() ? L"all controls invalidated" : controlId + L" invalidated");
    call.Host().RefreshWindows();
    return S_OK;
}

HRESULT InvalidateControl(Call& call) {
    std::wstring id;
    const HRESULT status = call.Text(0, id);
    return FAILED(status) ? status : Invalidated(call, id);
}

HRESULT TakeText(Call& call) {
    std::wstring ignored; // the stand-in has no built-in controls and one tab a window
    return call.Text(0, ignored);
}

constexpr Member kControlMembers[] = {
    {1, L"Id", kGet, 0, 0, [](Call& call) { return call.Return(ControlObject::Of(call).id); }},
    {2, L"Context", kGet, 0, 0, [](Call& call) { return call.Return(ControlObject::Of(call).context); }},
    {3, L"Tag", kGet, 0, 0, [](Call& call) { return call.Return(ControlObject::Of(call).tag); }},
};

constexpr Member kRibbonUiMembers[] = {
    {1, L"Invalidate", kMethod, 0, 0, [](Call& call) { return Invalidated(call, std::wstring()); }},
    {2, L"InvalidateControl", kMethod, 1, 1, &InvalidateControl},
    {3, L"InvalidateControlMso", kMethod, 1, 1, &TakeText},
    {4, L"ActivateTab", kMethod, 1, 1, &TakeText},
    {5, L"ActivateTabMso", kMethod, 1, 1, &TakeText},
};

constexpr ObjectClass kControlClass{L"IRibbonControl", kIidRibbonControl, kControlMembers};
constexpr ObjectClass kRibbonUiClass{L"IRibbonUI", kIidRibbonUi, kRibbonUiMembers};

} // namespace

DispatchPtr MakeRibbonControl(const std::shared_ptr<HostCore>& core, const std::wstring& id, const std::wstring& tag,
                              const DispatchPtr& context) {
    auto model = std::make_shared<ControlModel>(ControlModel{id, tag, context});
    return HandOut(core, kControlClass, model.get(), id, model);
}

DispatchPtr MakeRibbonUi(const std::shared_ptr<HostCore>& core,
                         const std::shared_ptr<std::vector<Invalidation>>& invalidations) {
    auto model = std::make_shared<RibbonUiModel>(RibbonUiModel{invalidations});
    return HandOut(core, kRibbonUiClass, model.get(), L"#" + std::to_wstring(core->nextObject++), model);
}

} // namespace workbench
