#include "workbench/host/Item.h"

#include "workbench/host/HostObjects.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

std::wstring NameOf(ItemKind kind, unsigned number) {
    return (kind == ItemKind::Appointment ? L"AppointmentItem #" : L"MailItem #") + std::to_wstring(number);
}

} // namespace

Item::Item(OutlookHost& host, ItemKind kind, unsigned number)
    : host_(host),
      kind_(kind),
      number_(number),
      events_(host.NewSource(NameOf(kind, number),
                             {{kIidItemEvents10, L"ItemEvents_10"}, {kIidItemEvents, L"ItemEvents"}})) {
    if (kind == ItemKind::Appointment) {
        constexpr DATE kHalfHour = 1.0 / 48.0;
        fields.startUtc = host.now;
        fields.endUtc = host.now + kHalfHour;
    }
    lastSaved_ = fields;
    storeId_ = host.DefaultStoreId();
}

Item::~Item() = default;

bool Item::Displayed() const {
    const InspectorPtr inspector = inspector_.lock();
    return inspector && inspector->Displayed() && !inspector->Closed();
}

DispatchPtr Item::Dispatch() {
    return MakeItem(host_.Core(), shared_from_this());
}

bool Item::Save() {
    const ItemPtr self = shared_from_this();
    if (events_->FireCancelable(event::kWrite).cancelled) {
        host_.Core()->Tell(StepKind::Item, events_->Name() + L": save cancelled");
        return false;
    }
    Store();
    return true;
}

void Item::Store() {
    if (entryId_.empty()) {
        entryId_ = host_.NextEntryId();
    }
    lastSaved_ = fields;
    saved_ = true;
    ++saveCount_;
    host_.Core()->Tell(StepKind::Item, events_->Name() + L" \"" + fields.subject + L"\" saved");
    if (const InspectorPtr inspector = inspector_.lock(); inspector && inspector->View()) {
        inspector->View()->Repaint();
    }
}

bool Item::Send() {
    const ItemPtr self = shared_from_this();
    if (events_->FireCancelable(event::kSend).cancelled || !Save()) {
        return false;
    }
    sent_ = true;
    host_.Core()->Tell(StepKind::Item, events_->Name() + L" sent");
    if (const InspectorPtr inspector = inspector_.lock()) {
        inspector->CloseWithoutAsking();
    }
    return true;
}

bool Item::Delete() {
    const ItemPtr self = shared_from_this();
    const InspectorPtr inspector = inspector_.lock();
    if (inspector) { // the event comes only for an item that is open
        const _variant_t argument(Dispatch().GetInterfacePtr());
        if (events_->FireCancelable(event::kBeforeDelete, {argument}).cancelled) {
            return false;
        }
    }
    deleted_ = true;
    host_.Core()->Tell(StepKind::Item, events_->Name() + L" deleted");
    if (inspector) {
        inspector->CloseWithoutAsking();
    }
    return true;
}

bool Item::Close(OlInspectorClose mode) {
    const InspectorPtr inspector = inspector_.lock();
    return !inspector || inspector->Close(mode);
}

InspectorPtr Item::GetInspector() {
    InspectorPtr inspector = inspector_.lock();
    if (!inspector || inspector->EndUnseen()) {
        inspector = host_.MakeInspector(shared_from_this());
    }
    return inspector;
}

InspectorPtr Item::Display() {
    InspectorPtr inspector = GetInspector();
    ++displayCount_;
    inspector->Display();
    return inspector;
}

void Item::LetGoOfInspector(const Inspector& closing) {
    if (inspector_.lock().get() != &closing) {
        return;
    }
    inspector_.reset();
    for (const InspectorPtr& other : host_.Inspectors()) {
        if (other.get() != &closing && other->CurrentItem().get() == this && !other->Closed()) {
            inspector_ = other;
        }
    }
}

void Item::Touch() {
    saved_ = false;
    if (host_.habits().noiseEvents) {
        events_->Fire(event::kPropertyChange, {_variant_t(L"Subject")}); // a name for all: noise tells nothing
    }
    if (const InspectorPtr inspector = inspector_.lock(); inspector && inspector->View()) {
        inspector->View()->Repaint();
    }
}

void Item::Discard() {
    fields = lastSaved_;
    saved_ = !entryId_.empty();
}

} // namespace workbench
