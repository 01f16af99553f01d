#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

#include <algorithm>

namespace workbench {
namespace {

constexpr char kComAddInsKey = 0;

struct ComAddInsModel {};

/// The host never lets go of an add-in while it lives itself, and without a host no member runs.
struct ComAddInModel {
    const AddInHost* addIn;
};

/// By ProgID, or by number from 1.
HRESULT FindAddIn(Call& call) {
    const auto& addIns = call.Host().AddIns();
    auto found = addIns.end();
    std::wstring progId;
    long number = 0;
    if (const VARIANT* which = call.Argument(0); which && which->vt == VT_BSTR) {
        call.Text(0, progId);
        found = std::find_if(addIns.begin(), addIns.end(), [&](const auto& one) { return one->listedAs == progId; });
    } else if (SUCCEEDED(call.Long(0, number)) && number >= 1 && static_cast<std::size_t>(number) <= addIns.size()) {
        found = addIns.begin() + (number - 1);
    }
    return found == addIns.end() ? E_INVALIDARG : call.Return(MakeComAddIn(call.Host().Core(), **found));
}

constexpr Member kComAddInsMembers[] = {
    {0x0000, L"Item", kMethod, 1, 1, &FindAddIn},
    {0x0001, L"Count", kGet, 0, 0,
     [](Call& call) { return call.Give(static_cast<long>(call.Host().AddIns().size())); }},
};

constexpr Member kComAddInMembers[] = {
    {0x0003, L"ProgId", kGet, 0, 0,
     [](Call& call) { return call.Return(ObjectOf<ComAddInModel>::Of(call).addIn->listedAs); }},
    {0x0006, L"Connect", kGet, 0, 0,
     [](Call& call) { return call.Give(ObjectOf<ComAddInModel>::Of(call).addIn->Connected()); }},
};

constexpr ObjectClass kComAddInsClass{L"COMAddIns", kIidComAddIns, kComAddInsMembers};
constexpr ObjectClass kComAddInClass{L"COMAddIn", kIidComAddIn, kComAddInMembers};

} // namespace

DispatchPtr MakeComAddIns(const std::shared_ptr<HostCore>& core) {
    return HandOut(core, kComAddInsClass, &kComAddInsKey, L"#" + std::to_wstring(core->nextObject++),
                   std::make_shared<ComAddInsModel>());
}

DispatchPtr MakeComAddIn(const std::shared_ptr<HostCore>& core, const AddInHost& addIn) {
    return HandOut(core, kComAddInClass, &addIn, L"#" + std::to_wstring(core->nextObject++),
                   std::make_shared<ComAddInModel>(ComAddInModel{&addIn}));
}

} // namespace workbench
