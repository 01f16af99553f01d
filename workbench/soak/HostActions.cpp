#include "workbench/soak/Soak.h"

#include "workbench/host/Pump.h"

#include <algorithm>
#include <iterator>

// The actions of Outlook's user and of Outlook itself.
namespace soak {
namespace {

constexpr std::size_t kMostExplorers = 4;
constexpr std::size_t kMostInspectors = 12;
constexpr std::size_t kLongText = 1500;       // of a subject: its command takes several segments
constexpr std::uint64_t kPlacesInARow = 8000; // pixels

constexpr const wchar_t* kExplorerButtons[] = {
    L"StartMeetingMail",          L"StartVideoMeetingMail", L"StartAudioMeetingMail",
    L"BookMeetingMail",           L"StartMeetingCalendar",  L"StartVideoMeetingCalendar",
    L"StartAudioMeetingCalendar", L"BookMeetingCalendar",   L"NoSuchButton"};
constexpr const wchar_t* kBook = L"BookMeetingAppointment";
constexpr const wchar_t* kAppointmentButtons[] = {kBook, kBook, L"ModifyMeeetingAppointment",
                                                  L"CancelMeeetingAppointment"};
constexpr const wchar_t* kFolders[] = {L"Inbox", L"Calendar", L"Sent Items"};
constexpr workbench::OlInspectorClose kCloseModes[] = {workbench::kCloseSave, workbench::kCloseDiscard,
                                                       workbench::kClosePrompt};

} // namespace

std::wstring Soak::NextId() {
    return std::to_wstring(++nextId_);
}

/// A command carries the centre of a window, which makes it different from every other.
void Soak::MoveToUniquePlace(HWND window) {
    const std::uint64_t id = ++nextId_;
    ::SetWindowPos(window, nullptr, static_cast<int>(id % kPlacesInARow), static_cast<int>(id / kPlacesInARow), 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

workbench::InspectorPtr Soak::PickInspector(std::uint64_t number, bool appointment) {
    std::vector<workbench::InspectorPtr> found = host_->Inspectors();
    if (appointment) {
        std::erase_if(found, [](const workbench::InspectorPtr& one) {
            return one->CurrentItem()->Kind() != workbench::ItemKind::Appointment;
        });
    }
    return found.empty() ? nullptr : found[number % found.size()];
}

void Soak::Press(workbench::Surface surface, const wchar_t* id, const workbench::RibbonContext& context) {
    if (const workbench::ExplorerPtr explorer = host_->ActiveExplorer()) {
        MoveToUniquePlace(explorer->Window());
    }
    ++presses_;
    addIn_->Ribbon(surface).Press(id, context);
}

void Soak::LimitInspectors() {
    while (host_->Inspectors().size() > kMostInspectors) {
        host_->Inspectors().back()->CloseWithoutAsking();
    }
}

void Soak::NewAppointment(const Draw& draw) {
    const workbench::ItemPtr item = host_->NewAppointment();
    item->fields.subject = L"Meeting " + NextId();
    if (draw.a % 3 == 0) {
        item->Save();
    }
    host_->OpenInspector(item);
}

void Soak::NewMail(const Draw&) {
    const workbench::ItemPtr item = host_->NewMail();
    item->fields.subject = L"Mail " + NextId();
    host_->OpenInspector(item);
}

void Soak::OpenItem(const Draw& draw) {
    const std::vector<workbench::ItemPtr> items = host_->Appointments();
    if (!items.empty()) {
        host_->OpenInspector(items[draw.a % items.size()]);
    }
}

void Soak::EditItem(const Draw& draw) {
    const workbench::InspectorPtr inspector = PickInspector(draw.a, false);
    if (!inspector) {
        return;
    }
    const workbench::ItemPtr item = inspector->CurrentItem();
    item->fields.subject = L"Sitzung \x4f1a\x8bae " + NextId();
    if (draw.b % 8 == 0) {
        item->fields.subject.append(kLongText, L'x');
    } else if (draw.b % 8 == 1) {
        item->fields.meetingStatus = workbench::kMeetingCanceled;
    }
    item->fields.startUtc += 1.0 / 24.0;
    item->fields.endUtc += 1.0 / 24.0;
    item->Touch();
}

void Soak::SaveItem(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, false)) {
        inspector->CurrentItem()->Save();
    }
}

void Soak::SendItem(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, false)) {
        MoveToUniquePlace(inspector->Window());
        inspector->CurrentItem()->Send();
    }
}

void Soak::DeleteItem(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, false)) {
        inspector->CurrentItem()->Delete();
    }
}

void Soak::CloseInspector(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, false)) {
        host_->closeAnswer = kCloseModes[draw.b % std::size(kCloseModes)];
        MoveToUniquePlace(inspector->Window());
        inspector->Close(kCloseModes[draw.c % std::size(kCloseModes)]);
    }
}

void Soak::SecondWindow(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, true)) {
        host_->MakeInspector(inspector->CurrentItem())->Display();
    }
}

void Soak::OpenExplorer(const Draw& draw) {
    if (host_->Explorers().size() < kMostExplorers) {
        host_->OpenExplorer(kFolders[draw.a % std::size(kFolders)]);
        ++explorersOpened_;
    }
}

void Soak::CloseExplorer(const Draw& draw) {
    const auto& explorers = host_->Explorers();
    if (explorers.size() > 1) {
        const workbench::ExplorerPtr explorer = explorers[draw.a % explorers.size()];
        explorer->Close();
    }
}

void Soak::SwitchFolder(const Draw& draw) {
    const workbench::ExplorerPtr explorer = host_->Explorers()[draw.a % host_->Explorers().size()];
    explorer->SwitchFolder(kFolders[draw.b % std::size(kFolders)]);
    explorer->Activate();
}

void Soak::PressInExplorer(const Draw& draw) {
    Press(workbench::Surface::Explorer, kExplorerButtons[draw.a % std::size(kExplorerButtons)], {});
}

void Soak::PressInAppointment(const Draw& draw) {
    const workbench::InspectorPtr inspector = PickInspector(draw.a, true);
    if (!inspector) {
        return;
    }
    const wchar_t* button = kAppointmentButtons[draw.b % std::size(kAppointmentButtons)];
    MoveToUniquePlace(inspector->Window());
    Press(workbench::Surface::Appointment, button, inspector);
}

/// A button of the one ribbon with the other's window, or with none.
void Soak::PressWithoutWindow(const Draw& draw) {
    const wchar_t* const id = draw.a % 2 == 0 ? kAppointmentButtons[draw.b % std::size(kAppointmentButtons)]
                                              : kExplorerButtons[draw.b % std::size(kExplorerButtons)];
    const workbench::InspectorPtr mail = PickInspector(draw.c, false);
    const bool none = !mail || draw.c % 2 == 0;
    Press(workbench::Surface::Appointment, id, none ? workbench::RibbonContext() : workbench::RibbonContext(mail));
}

void Soak::AskRibbon(const Draw& draw) {
    const workbench::InspectorPtr inspector = PickInspector(draw.a, true);
    const auto surface = inspector ? workbench::Surface::Appointment : workbench::Surface::Explorer;
    workbench::Ribbon& ribbon = addIn_->Ribbon(surface);
    for (const workbench::RibbonElement& element : ribbon.Controls()) {
        const workbench::RibbonContext context =
            inspector ? workbench::RibbonContext(inspector) : workbench::RibbonContext();
        ribbon.AskLabel(element.id, context);
        ribbon.AskVisible(element.id, context);
        ribbon.AskEnabled(element.id, context);
        ribbon.Image(element.id);
    }
}

void Soak::ActivateWindow(const Draw& draw) {
    if (const workbench::InspectorPtr inspector = PickInspector(draw.a, false); inspector && draw.b % 2 == 0) {
        inspector->Activate();
        return;
    }
    host_->Explorers()[draw.a % host_->Explorers().size()]->Activate();
}

/// Events that the add-in has no use for, and ones that it knows with arguments that are none.
void Soak::FireStrangeEvent(const Draw& draw) {
    namespace event = workbench::event;
    constexpr DISPID kEvents[] = {0, -1, 1, 0xF003, 0xF004, 0xF007, 0xFFFF, 0x7FFFFFFF, 0xFBAD, event::kActivate};
    const DISPID id = kEvents[draw.a % std::size(kEvents)];
    const std::vector<_variant_t> arguments(draw.b % 3, _variant_t(L"no window"));
    const workbench::InspectorPtr inspector = PickInspector(draw.c, false);
    switch (draw.c % 5) {
    case 0:
        host_->ExplorersEvents().Fire(id, arguments);
        break;
    case 1:
        host_->InspectorsEvents().Fire(id, arguments);
        break;
    case 2:
        host_->ActiveExplorer()->Events().Fire(id, arguments);
        break;
    case 3:
        inspector ? void(inspector->Events().Fire(id, arguments)) : void();
        break;
    default:
        inspector ? void(inspector->CurrentItem()->Events().Fire(id, arguments)) : void();
        break;
    }
}

void Soak::UpdateAddIns(const Draw&) {
    workbench::IAddInConnection* connection = nullptr;
    if (FAILED(
            addIn_->Object()->QueryInterface(workbench::kIidDtExtensibility2, reinterpret_cast<void**>(&connection)))) {
        Violation("the add-in has no connection interface");
        return;
    }
    connection->OnAddInsUpdate(nullptr);
    connection->Release();
}

void Soak::ChangeLanguage(const Draw& draw) {
    constexpr long kLanguages[] = {1033, 2052, 1031};
    language_ = kLanguages[draw.a % std::size(kLanguages)];
    host_->language = language_; // the add-in reads it at the next connection
    Reconnect(draw);
}

void Soak::Reconnect(const Draw& draw) {
    ++reconnects_;
    addIn_->Disconnect(draw.a % 4 == 0 ? workbench::kHostShutdown : workbench::kUserClosed);
    Pump(static_cast<unsigned>(draw.b % 60));
    if (const HRESULT status = addIn_->Connect(static_cast<workbench::ConnectMode>(draw.c % 4)); status != S_OK) {
        Violation("OnConnection answers " + std::to_string(status));
    }
}

void Soak::RestartOutlook(const Draw& draw) {
    const std::uint64_t actions = actionsOfSession_;
    hostCalls_ += host_->CallCount();
    EndSession();
    BeginSession(draw);
    actionsOfSession_ = actions;
}

} // namespace soak
