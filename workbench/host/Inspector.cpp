#include "workbench/host/HostObjects.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/host/Views.h"

namespace workbench {

Inspector::Inspector(OutlookHost& host, ItemPtr item, unsigned number)
    : host_(host),
      item_(std::move(item)),
      number_(number),
      events_(host.NewSource(L"Inspector #" + std::to_wstring(number), {{kIidInspectorEvents10, L"InspectorEvents_10"},
                                                                        {kIidInspectorEvents, L"InspectorEvents"}})) {}

Inspector::~Inspector() = default;

void Inspector::OpenWindow() {
    item_->inspector_ = shared_from_this();
    window_ = std::make_unique<HostWindow>(host_.Core(), static_cast<WindowOwner&>(*this), host_.NextPlace(),
                                           host_.habits().editorChain);
    if (host_.inspectorControls && item_->Kind() == ItemKind::Appointment) {
        window_->SetControls(host_.inspectorControls(*this));
    }
    window_->Repaint();
}

DispatchPtr Inspector::Dispatch() {
    return MakeInspectorObject(host_.Core(), shared_from_this());
}

Surface Inspector::RibbonSurface() const {
    return item_->Kind() == ItemKind::Appointment ? Surface::Appointment : Surface::MailCompose;
}

void Inspector::Display() {
    if (closed_ || closePending_) {
        return;
    }
    const bool first = !displayed_;
    displayed_ = true;
    if (first) {
        host_.LoadRibbons(RibbonSurface());
        host_.Core()->Tell(StepKind::Item, item_->Events().Name() + L" \"" + item_->Subject() + L"\" displayed");
        if (host_.habits().noiseEvents) {
            item_->Events().Fire(event::kRead);
            item_->Events().FireCancelable(event::kOpen);
        }
    }
    Activate();
    if (first && host_.habits().noiseEvents) {
        events_->Fire(event::kActivate);
    }
    if (window_) {
        window_->Refresh();
    }
}

void Inspector::Activate() {
    if (!displayed_ || !window_) {
        return;
    }
    host_.MovedToFront(*this);
    window_->Show();
}

bool Inspector::EndUnseen() {
    if (displayed_ || closed_ || closing_ || host_.habits().distinctPointers) {
        return false;
    }
    {
        const std::lock_guard hold(host_.Core()->livingLock);
        if (host_.Core()->living.contains(this)) {
            return false;
        }
    }
    const InspectorPtr self = shared_from_this();
    closed_ = true;
    item_->LetGoOfInspector(*this);
    window_.reset();
    host_.Remove(*this);
    return true;
}

bool Inspector::Close(OlInspectorClose mode) {
    if (closed_ || closing_ || closePending_) {
        return true;
    }
    const InspectorPtr self = shared_from_this();
    if (item_->Events().FireCancelable(event::kItemClose).cancelled) {
        return false;
    }
    if (mode == kClosePrompt && !item_->Saved()) {
        mode = host_.askClose ? host_.askClose(*this) : host_.closeAnswer;
        if (closed_ || closing_ || closePending_) {
            return true; // it was closed while the user was asked
        }
        if (mode == kClosePrompt) {
            return false; // the user chose to go on editing
        }
    }
    if (mode == kCloseSave && !item_->Saved() && !item_->Save()) {
        return false;
    }
    discardAfterClose_ = mode == kCloseDiscard;
    if (host_.habits().closeInsideRelease) {
        closePending_ = true;
        if (window_) {
            window_->PostDue(); // for the case that nobody releases a pointer
        }
        return true;
    }
    Finish();
    return true;
}

void Inspector::CloseWithoutAsking() {
    if (closed_ || closing_) {
        return;
    }
    const InspectorPtr self = shared_from_this();
    closePending_ = false;
    Finish();
}

bool Inspector::DeliverPendingClose() {
    if (!closePending_) {
        return false;
    }
    const InspectorPtr self = shared_from_this();
    closePending_ = false;
    Finish();
    return true;
}

void Inspector::Finish() {
    closing_ = true;
    if (host_.habits().noiseEvents) {
        events_->Fire(event::kDeactivate);
    }
    events_->Fire(event::kWindowClose);
    closing_ = false;
    closed_ = true;
    displayed_ = false;
    if (discardAfterClose_) {
        item_->Discard();
    }
    item_->LetGoOfInspector(*this);
    window_.reset();
    host_.Remove(*this);
    if (host_.habits().noiseEvents && !item_->OpenedInspector()) {
        item_->Events().Fire(event::kUnload);
    }
}

std::wstring Inspector::Title() const {
    const wchar_t* kind = item_->Kind() == ItemKind::Mail         ? L"Message"
                          : item_->MeetingStatus() == kNonMeeting ? L"Appointment"
                                                                  : L"Meeting";
    return (item_->Subject().empty() ? std::wstring(L"Untitled") : item_->Subject()) + L" - " + kind;
}

std::vector<WindowLine> Inspector::Lines() const {
    std::vector<WindowLine> lines{{L"Subject", item_->Subject()}};
    if (item_->Kind() == ItemKind::Appointment) {
        lines.push_back({L"Location", item_->Location()});
        lines.push_back({L"Start", DateText(item_->fields.startUtc)});
        lines.push_back({L"End", DateText(item_->fields.endUtc)});
    }
    lines.push_back({L"", item_->Body()});
    return lines;
}

std::vector<RibbonButtonView> Inspector::Buttons() {
    return host_.RibbonButtons(RibbonSurface(), TabName(), RibbonContext(shared_from_this()));
}

std::wstring Inspector::TabName() const {
    return item_->Kind() == ItemKind::Appointment ? L"TabAppointment" : L"TabNewMailMessage";
}

std::wstring Inspector::GroupLabel() {
    return host_.RibbonGroupLabel(RibbonSurface(), TabName(), RibbonContext(shared_from_this()));
}

void Inspector::OnPress(const std::wstring& controlId) {
    host_.PressRibbonButton(RibbonSurface(), controlId, RibbonContext(shared_from_this()));
}

void Inspector::OnCloseBox() {
    Close(kClosePrompt);
}

void Inspector::OnDue() {
    DeliverPendingClose();
}

void Inspector::OnActivated() {
    host_.MovedToFront(*this);
}

} // namespace workbench
