#include "workbench/verify/scenes/Actions.h"

#include "workbench/client/Meetings.h"
#include "workbench/client/TranscriptEntry.h"

#include "support/Text.h"

#include <fmt/format.h>
#include <json/value.h>

#include <algorithm>
#include <iterator>

namespace verify {
namespace {

using workbench::InspectorPtr;
using workbench::RibbonContext;
using workbench::Surface;

constexpr std::size_t kMostExplorers = 4;
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
// Bytes of a notification's text: whole messages, and ones of two and more segments; the longest still fit a log line.
constexpr std::size_t kContents[] = {10, 400, 700, 780, 1000, 1700, 1800, 3000, 12'000};
constexpr const char* kRules[] = {"default", "none", R"(merge {"code":500})", "text no JSON", "default"};
constexpr std::int64_t kMeetingStart = 1'772'618'400; // 2026-03-04 10:00 UTC

template <class Table>
auto Pick(const Table& table, std::uint64_t number) {
    return table[number % std::size(table)];
}

void EditItem(Player& player, const Draw& draw) {
    const InspectorPtr inspector = player.PickInspector(draw.a, false);
    if (!inspector) {
        return;
    }
    const workbench::ItemPtr item = inspector->CurrentItem();
    item->fields.subject = L"Sitzung \x4f1a\x8bae " + ToWide(player.NextId());
    if (draw.b % 8 == 0) {
        item->fields.subject.append(kLongText, L'x');
    } else if (draw.b % 8 == 1) {
        item->fields.meetingStatus = workbench::kMeetingCanceled;
    }
    item->fields.startUtc += 1.0 / 24.0;
    item->fields.endUtc += 1.0 / 24.0;
    item->Touch();
}

void SendItem(Player& player, const Draw& draw) {
    if (const InspectorPtr inspector = player.PickInspector(draw.a, false)) {
        player.MoveToUniquePlace(inspector->Window());
        inspector->CurrentItem()->Send();
    }
}

void CloseInspector(Player& player, const Draw& draw) {
    if (const InspectorPtr inspector = player.PickInspector(draw.a, false)) {
        player.Host().closeAnswer = Pick(kCloseModes, draw.b);
        player.MoveToUniquePlace(inspector->Window());
        inspector->Close(Pick(kCloseModes, draw.c));
    }
}

void PressInAppointment(Player& player, const Draw& draw) {
    if (const InspectorPtr inspector = player.PickInspector(draw.a, true)) {
        player.MoveToUniquePlace(inspector->Window());
        player.Press(Surface::Appointment, Pick(kAppointmentButtons, draw.b), inspector);
    }
}

/// A button of the one ribbon with the other's window, or with none.
void PressWithoutWindow(Player& player, const Draw& draw) {
    const wchar_t* const control = draw.a % 2 == 0 ? Pick(kAppointmentButtons, draw.b) : Pick(kExplorerButtons, draw.b);
    const InspectorPtr mail = player.PickInspector(draw.c, false);
    const bool none = !mail || draw.c % 2 == 0;
    player.Press(Surface::Appointment, control, none ? RibbonContext() : RibbonContext(mail));
}

void AskRibbon(Player& player, const Draw& draw) {
    const InspectorPtr inspector = player.PickInspector(draw.a, true);
    workbench::Ribbon& ribbon = player.AddIn().Ribbon(inspector ? Surface::Appointment : Surface::Explorer);
    const RibbonContext context = inspector ? RibbonContext(inspector) : RibbonContext();
    for (const workbench::RibbonElement& element : ribbon.Controls()) {
        ribbon.AskLabel(element.id, context);
        ribbon.AskVisible(element.id, context);
        ribbon.AskEnabled(element.id, context);
        ribbon.Image(element.id);
    }
}

void ActivateWindow(Player& player, const Draw& draw) {
    if (const InspectorPtr inspector = player.PickInspector(draw.a, false); inspector && draw.b % 2 == 0) {
        inspector->Activate();
    } else {
        Pick(player.Host().Explorers(), draw.a)->Activate();
    }
}

/// Events that the add-in has no use for, and ones that it knows with arguments that are none.
void FireStrangeEvent(Player& player, const Draw& draw) {
    constexpr DISPID kEvents[] = {0,      -1,     1,          0xF003, 0xF004,
                                  0xF007, 0xFFFF, 0x7FFFFFFF, 0xFBAD, workbench::event::kActivate};
    const InspectorPtr inspector = player.PickInspector(draw.c, false);
    std::vector<workbench::EventSource*> sources = {&player.Host().ExplorersEvents(), &player.Host().InspectorsEvents(),
                                                    &player.Host().ActiveExplorer()->Events()};
    if (inspector) {
        sources.insert(sources.end(), {&inspector->Events(), &inspector->CurrentItem()->Events()});
    }
    Pick(sources, draw.c)->Fire(Pick(kEvents, draw.a), std::vector<_variant_t>(draw.b % 3, _variant_t(L"no window")));
}

void UpdateAddIns(Player& player, const Draw&) {
    workbench::IAddInConnection* connection = nullptr;
    if (SUCCEEDED(player.AddIn().Object()->QueryInterface(workbench::kIidDtExtensibility2,
                                                          reinterpret_cast<void**>(&connection)))) {
        connection->OnAddInsUpdate(nullptr);
        connection->Release();
    }
}

std::string Notification(Player& player, const Draw& draw) {
    constexpr int kTypes[] = {101, 102, 103, 200, 200};
    const std::string id = player.NextId();
    const std::vector<workbench::ItemPtr> items = player.Host().Appointments();
    Json::Value json(Json::objectValue);
    json["notify"] = Pick(kTypes, draw.a);
    json["confId"] = id;
    json["confOutlookId"] = items.empty() ? std::string() : ToUtf8(Pick(items, draw.b)->EntryId());
    json["subject"] = "Notification " + id;
    json["url"] = "https://meeting.nembra.example/j/" + id;
    json["contents"] = "Contents\r\nof " + id + std::string(Pick(kContents, draw.c / 4), 'c');
    json["startTime"] = Json::Int64(kMeetingStart);
    json["endTime"] = Json::Int64(kMeetingStart + 3600);
    json["code"] = draw.c % 3 == 0 ? 404 : 0;
    json["message"] = "m" + id;
    return "notify " + meeting_client::Compact(json);
}

std::string MalformedText(Player& player, const Draw& draw) {
    static const char* const kTexts[] = {"{\"notify\":101,",
                                         "[101] ",
                                         "{\"notify\":\"101\"} ",
                                         "no JSON at all ",
                                         "{\"notify\":1e99} ",
                                         "{\"notify\":101}}} ",
                                         "{\"notify\":{}} ",
                                         "null ",
                                         "%s%n%d ",
                                         "{\"confId\":7} "};
    return "send " + (Pick(kTexts, draw.a) + player.NextId());
}

/// Data that are no message at all: nothing may come of them.
std::string RawData(Player&, const Draw& draw) {
    static const char* const kOrders[] = {"raw 0 null",        "raw 0 -",         "raw 4000000001 null",
                                          "raw 4000000002 00", "raw 4000000003 ", "raw 4000000004 -"};
    std::string order = Pick(kOrders, draw.a);
    if (order.ends_with(' ')) {
        order += meeting_client::ToHex("no segment of a message"); // without the beginning that each segment has
    }
    return order;
}

} // namespace

void Player::MoveToUniquePlace(HWND window) {
    const std::uint64_t id = ++nextId_;
    ::SetWindowPos(window, nullptr, static_cast<int>(id % kPlacesInARow), static_cast<int>(id / kPlacesInARow), 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

InspectorPtr Player::PickInspector(std::uint64_t number, bool appointment) const {
    std::vector<InspectorPtr> found = Host().Inspectors();
    std::erase_if(found, [&](const InspectorPtr& one) {
        return appointment && one->CurrentItem()->Kind() != workbench::ItemKind::Appointment;
    });
    return found.empty() ? nullptr : Pick(found, number);
}

HRESULT Player::Press(Surface surface, const wchar_t* control, const RibbonContext& context) {
    if (const workbench::ExplorerPtr explorer = Host().ActiveExplorer()) {
        MoveToUniquePlace(explorer->Window());
    }
    ++presses_;
    return AddIn().Ribbon(surface).Press(control, context);
}

workbench::ItemPtr Player::Open(bool saved, const std::wstring& subject, const std::wstring& comment) {
    const workbench::ItemPtr item = Host().NewAppointment();
    item->fields.subject = subject;
    item->fields.comment = comment;
    if (saved) {
        item->Save();
    }
    Host().OpenInspector(item);
    return item;
}

std::span<const Action> HostActions() {
    static constexpr Action kActions[] = {
        {"new appointment", 10,
         [](Player& player, const Draw& draw) { player.Open(draw.a % 3 == 0, L"Meeting " + ToWide(player.NextId())); }},
        {"new mail", 3,
         [](Player& player, const Draw&) {
             const workbench::ItemPtr item = player.Host().NewMail();
             item->fields.subject = L"Mail " + ToWide(player.NextId());
             player.Host().OpenInspector(item);
         }},
        {"open item", 8,
         [](Player& player, const Draw& draw) {
             if (const auto items = player.Host().Appointments(); !items.empty()) {
                 player.Host().OpenInspector(Pick(items, draw.a));
             }
         }},
        {"edit item", 10, &EditItem},
        {"save item", 10,
         [](Player& player, const Draw& draw) {
             if (const InspectorPtr inspector = player.PickInspector(draw.a, false)) {
                 inspector->CurrentItem()->Save();
             }
         }},
        {"send item", 5, &SendItem},
        {"delete item", 4,
         [](Player& player, const Draw& draw) {
             if (const InspectorPtr inspector = player.PickInspector(draw.a, false)) {
                 inspector->CurrentItem()->Delete();
             }
         }},
        {"close inspector", 12, &CloseInspector},
        {"second window", 2,
         [](Player& player, const Draw& draw) {
             if (const InspectorPtr inspector = player.PickInspector(draw.a, true)) {
                 player.Host().MakeInspector(inspector->CurrentItem())->Display();
             }
         }},
        {"open explorer", 3,
         [](Player& player, const Draw& draw) {
             if (player.Host().Explorers().size() < kMostExplorers) {
                 player.Host().OpenExplorer(Pick(kFolders, draw.a));
                 player.CountExplorer();
             }
         }},
        {"close explorer", 3,
         [](Player& player, const Draw& draw) {
             if (player.Host().Explorers().size() > 1) {
                 const workbench::ExplorerPtr explorer = Pick(player.Host().Explorers(), draw.a);
                 explorer->Close();
             }
         }},
        {"switch folder", 3,
         [](Player& player, const Draw& draw) {
             const workbench::ExplorerPtr explorer = Pick(player.Host().Explorers(), draw.a);
             explorer->SwitchFolder(Pick(kFolders, draw.b));
             explorer->Activate();
         }},
        {"press in explorer", 14,
         [](Player& player, const Draw& draw) { player.Press(Surface::Explorer, Pick(kExplorerButtons, draw.a)); }},
        {"press in appointment", 22, &PressInAppointment},
        {"press without a window", 2, &PressWithoutWindow},
        {"ask ribbon", 4, &AskRibbon},
        {"activate window", 3, &ActivateWindow},
        {"fire strange event", 4, &FireStrangeEvent},
        {"update add-ins", 1, &UpdateAddIns},
    };
    return kActions;
}

std::span<const ClientOrder> ClientOrders() {
    static constexpr ClientOrder kOrders[] = {
        {"notify", 20, &Notification},
        {"notify unknown type", 4, &UnknownNotification},
        {"send malformed text", 4, &MalformedText},
        {"send raw data", 3, &RawData},
        {"send bulk", 2,
         [](Player&, const Draw& draw) { return fmt::format("bulk {} {}", 5 + draw.a % 25, 40 + draw.b % 900); }},
        // A message whose end never comes: the add-in keeps the parts.
        {"tear message", 1, [](Player&, const Draw& draw) { return fmt::format("torn 3000 {}", 1 + draw.a % 2); }},
        // From now on commands are answered otherwise, or not at all.
        {"change answers", 2,
         [](Player&, const Draw& draw) { return fmt::format("answer {} {}", 4 + draw.a % 3, Pick(kRules, draw.b)); }},
        {"delay answers", 2, [](Player&, const Draw& draw) { return fmt::format("delay {}", draw.a % 3 * 150); }},
    };
    return kOrders;
}

std::string UnknownNotification(Player& player, const Draw& draw) {
    constexpr int kTypes[] = {0, -1, 104, 199, 201, 2147483647};
    return fmt::format(R"(notify {{"notify":{},"message":"u{}"}})", Pick(kTypes, draw.a), player.NextId());
}

} // namespace verify
