#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

using ItemObject = ObjectOf<Item>;

/// The form description has an identity of its own, but its data are the item's.
struct FormModel {
    ItemPtr item;
};
using FormObject = ObjectOf<FormModel>;

/// After a successful put the item is no longer saved.
HRESULT Wrote(Call& call, Item& item, HRESULT status) {
    if (SUCCEEDED(status) && call.IsPut()) {
        item.Touch();
    }
    return status;
}

template <std::wstring ItemFields::*Field>
HRESULT TextField(Call& call) {
    Item& item = ItemObject::Of(call);
    return Wrote(call, item, call.Property(item.fields.*Field));
}

template <DATE ItemFields::*Field>
HRESULT DateField(Call& call) {
    Item& item = ItemObject::Of(call);
    return Wrote(call, item, call.PropertyDate(item.fields.*Field));
}

HRESULT MeetingStatus(Call& call) {
    Item& item = ItemObject::Of(call);
    return Wrote(call, item, call.PropertyLong(item.fields.meetingStatus));
}

/// A sink's Cancel ends the call with E_ABORT.
HRESULT DeleteItem(Call& call) {
    const ItemPtr item = ItemObject::Of(call).shared_from_this();
    return item->Delete() ? S_OK : E_ABORT;
}

HRESULT DisplayItem(Call& call) {
    const ItemPtr item = ItemObject::Of(call).shared_from_this();
    item->Display();
    return S_OK;
}

HRESULT FormDescription(Call& call) {
    return call.Return(MakeFormDescription(call.Host().Core(), ItemObject::Of(call).shared_from_this()));
}

HRESULT GetInspector(Call& call) {
    return call.Return(ItemObject::Of(call).shared_from_this()->GetInspector()->Dispatch());
}

constexpr Member kAppointmentMembers[] = {
    {0x9100, L"Body", kGetPut, 0, 0, &TextField<&ItemFields::body>},
    {0xF01E, L"EntryID", kGet, 0, 0, [](Call& call) { return call.Return(ItemObject::Of(call).EntryId()); }},
    {0xF095, L"FormDescription", kGet, 0, 0, &FormDescription},
    {0xF03E, L"GetInspector", kGet, 0, 0, &GetInspector},
    {0xF0A3, L"Saved", kGet, 0, 0, [](Call& call) { return call.Give(ItemObject::Of(call).Saved()); }},
    {0x0037, L"Subject", kGetPut, 0, 0, &TextField<&ItemFields::subject>},
    {0xF048, L"Save", kMethod, 0, 0, [](Call& call) { return ItemObject::Of(call).Save() ? S_OK : E_ABORT; }},
    {0xF04A, L"Delete", kMethod, 0, 0, &DeleteItem},
    {0xF0A6, L"Display", kMethod, 0, 1, &DisplayItem},
    {0x8208, L"Location", kGetPut, 0, 0, &TextField<&ItemFields::location>},
    {0x8217, L"MeetingStatus", kGetPut, 0, 0, &MeetingStatus},
    {0x8268, L"StartUTC", kGetPut, 0, 0, &DateField<&ItemFields::startUtc>},
    {0x8269, L"EndUTC", kGetPut, 0, 0, &DateField<&ItemFields::endUtc>},
};

HRESULT FormComment(Call& call) {
    Item& item = *FormObject::Of(call).item;
    return Wrote(call, item, call.Property(item.fields.comment));
}

constexpr Member kFormMembers[] = {
    {0x0065, L"OneOff", kGet, 0, 0, [](Call& call) { return call.Give(false); }},
    {0x3004, L"Comment", kGetPut, 0, 0, &FormComment},
};

constexpr ObjectClass kAppointmentClass{L"AppointmentItem", kIidAppointmentItem, kAppointmentMembers};
constexpr ObjectClass kMailClass{L"MailItem", kIidMailItem, {}};
constexpr ObjectClass kFormClass{L"FormDescription", kIidFormDescription, kFormMembers};

} // namespace

DispatchPtr MakeItem(const std::shared_ptr<HostCore>& core, const ItemPtr& item) {
    const ObjectClass& type = item->Kind() == ItemKind::Appointment ? kAppointmentClass : kMailClass;
    return HandOut(core, type, item.get(), L"#" + std::to_wstring(item->Number()), item);
}

DispatchPtr MakeFormDescription(const std::shared_ptr<HostCore>& core, const ItemPtr& item) {
    auto model = std::make_shared<FormModel>(FormModel{item});
    return HandOut(core, kFormClass, &item->fields, L"of item #" + std::to_wstring(item->Number()), model);
}

} // namespace workbench
