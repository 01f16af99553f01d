#include "workbench/host/HostObjects.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/host/Views.h"

namespace workbench {

Explorer::Explorer(OutlookHost& host, std::wstring folder, unsigned number)
    : host_(host),
      folder_(std::move(folder)),
      number_(number),
      events_(host.NewSource(L"Explorer #" + std::to_wstring(number),
                             {{kIidExplorerEvents10, L"ExplorerEvents_10"}, {kIidExplorerEvents, L"ExplorerEvents"}})) {
}

Explorer::~Explorer() = default;

void Explorer::OpenWindow() {
    window_ = std::make_unique<HostWindow>(host_.Core(), static_cast<WindowOwner&>(*this), host_.NextPlace(), false);
    if (host_.explorerControls) {
        window_->SetControls(host_.explorerControls(*this));
    }
    window_->Repaint();
}

void Explorer::SwitchFolder(const std::wstring& folder) {
    folder_ = folder;
    if (window_) {
        window_->Refresh();
    }
}

DispatchPtr Explorer::Dispatch() {
    return MakeExplorer(host_.Core(), shared_from_this());
}

void Explorer::Activate() {
    host_.MovedToFront(*this);
    if (window_) {
        window_->Show();
    }
}

void Explorer::Close() {
    if (!window_ || closing_) {
        return;
    }
    const ExplorerPtr self = shared_from_this();
    closing_ = true;
    events_->Fire(event::kWindowClose);
    window_.reset();
    closing_ = false;
    host_.Remove(*this);
}

std::wstring Explorer::Title() const {
    const auto& stores = host_.Stores();
    return folder_ + (stores.empty() ? L"" : L" - " + stores.front()->name) + L" - Outlook";
}

std::vector<WindowLine> Explorer::Lines() const {
    std::vector<WindowLine> lines;
    if (folder_ != L"Calendar" || host_.explorerControls) { // a control lists the appointments
        return lines;
    }
    for (const ItemPtr& item : host_.Appointments()) {
        if (!item->EntryId().empty()) {
            lines.push_back({DateText(item->fields.startUtc), item->Subject()});
        }
    }
    return lines;
}

std::vector<RibbonButtonView> Explorer::Buttons() {
    return host_.RibbonButtons(Surface::Explorer, TabName(), RibbonContext(shared_from_this()));
}

std::wstring Explorer::TabName() const {
    return folder_ == L"Calendar" ? L"TabCalendar" : L"TabMail";
}

std::wstring Explorer::GroupLabel() {
    return host_.RibbonGroupLabel(Surface::Explorer, TabName(), RibbonContext(shared_from_this()));
}

void Explorer::OnPress(const std::wstring& controlId) {
    host_.PressRibbonButton(Surface::Explorer, controlId, RibbonContext(shared_from_this()));
}

void Explorer::OnActivated() {
    host_.MovedToFront(*this);
}

} // namespace workbench
