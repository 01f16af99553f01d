// The stand-in Outlook as a process of its own, with the real add-in. Its user is scripted: each line of the input is
// one thing that the user does. The arguments name habits of the host. The exit code is the number of stored
// appointments.
#include "workbench/host/ApplicationClass.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/process/InputLines.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>

namespace {

using namespace workbench;

constexpr wchar_t kProgId[] = L"NembraMeeting.OutlookAddin";
constexpr wchar_t kUserKey[] = L"Software\\Microsoft\\Office\\Outlook\\Addins\\NembraMeeting.OutlookAddin";
constexpr wchar_t kManaged[] = L"Software\\Microsoft\\Office\\16.0\\Outlook\\Resiliency\\AddinList";
constexpr DWORD kOff = 2;
constexpr UINT kLook = 20; // ms

OutlookHost* g_host = nullptr;
process::InputLines* g_orders = nullptr;

DWORD Number(const wchar_t* key, const wchar_t* name) {
    DWORD number = 0;
    DWORD size = sizeof number;
    ::RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return number;
}

std::vector<ItemPtr> Stored() {
    std::vector<ItemPtr> items = g_host->Appointments();
    std::erase_if(items, [](const ItemPtr& item) { return item->EntryId().empty(); });
    return items;
}

void SwitchOff() {
    g_host->AddIns().front()->Disconnect(kUserClosed);
    ::RegSetKeyValueW(HKEY_CURRENT_USER, kUserKey, L"LoadBehavior", REG_DWORD, &kOff, sizeof kOff);
}

void Do(const std::string& verb, const std::wstring& rest) {
    OutlookHost& host = *g_host;
    const InspectorPtr open = host.ActiveInspector();
    const std::map<std::string, std::function<void()>> acts = {
        {"calendar",
         [&] {
             host.ActiveExplorer()->SwitchFolder(L"Calendar");
             host.PressRibbonButton(Surface::Explorer, rest, RibbonContext(host.ActiveExplorer()));
         }},
        {"new",
         [&] {
             const ItemPtr item = host.NewAppointment();
             item->fields.subject = rest;
             host.OpenInspector(item);
         }},
        {"open", [&] { host.OpenInspector(Stored().at(0)); }},
        {"press", [&] { host.PressRibbonButton(Surface::Appointment, rest, RibbonContext(open)); }},
        {"location",
         [&] {
             open->CurrentItem()->fields.location = rest;
             open->CurrentItem()->SetSaved(false);
         }},
        {"save", [&] { open->CurrentItem()->Save(); }},
        {"close", [&] { open->Close(kCloseSave); }},
        {"discard", [&] { open->Close(kCloseDiscard); }},
        {"answer",
         [&] {
             for (const DialogSeen& dialog : FindDialogs()) {
                 ::PostMessageW(dialog.window, WM_COMMAND, static_cast<WPARAM>(std::stoul(rest)), 0);
             }
         }},
        {"off", &SwitchOff},
        {"exit", [] { ::PostQuitMessage(0); }},
    };
    const auto act = acts.find(verb);
    const bool needsWindow = std::set<std::string>{"press", "location", "save", "close", "discard"}.contains(verb);
    if (act != acts.end() && (open || !needsWindow)) {
        act->second();
    }
}

/// A timer runs inside the add-in's dialogs, too.
void CALLBACK Look(HWND, UINT, UINT_PTR, DWORD) noexcept {
    const auto line = g_orders->Take();
    if (!line) {
        return;
    }
    const std::size_t blank = std::min(line->find(' '), line->size());
    Do(line->substr(0, blank), ToWide(line->substr(std::min(blank + 1, line->size()))));
}

/// Each argument turns one habit to its other answer.
Habits HabitsFrom(int count, char** names) {
    const std::map<std::string, bool Habits::*> known = {
        {"nullAsEmpty", &Habits::nullAsEmpty},           {"onLoadTwice", &Habits::onLoadTwice},
        {"editorChain", &Habits::editorChain},           {"refuseVtInt", &Habits::refuseVtInt},
        {"distinctPointers", &Habits::distinctPointers}, {"distinctIdentity", &Habits::distinctIdentity}};
    Habits habits;
    habits.noiseEvents = true; // as Outlook
    for (int i = 2; i < count; ++i) {
        bool& habit = habits.*known.at(names[i]);
        habit = !habit;
    }
    return habits;
}

} // namespace

int main(int count, char** arguments) {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int left = 0;
    {
        HostOptions options;
        options.habits = HabitsFrom(count, arguments);
        OutlookHost host(options);
        g_host = &host;
        host.AddStore(L"kim@example.org");
        host.OpenExplorer();
        const bool load = Number(kUserKey, L"LoadBehavior") != kOff || Number(kManaged, kProgId) == 1;
        AddInHost& addIn = host.LoadAddIn(ToWide(arguments[1]), CLSID_NembraMeeting);
        addIn.listedAs = kProgId;
        if (load) {
            addIn.Connect();
        }
        const ApplicationClass application(host);
        process::InputLines orders;
        g_orders = &orders;
        ::SetTimer(nullptr, 0, kLook, &Look);
        MSG message;
        while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
        left = static_cast<int>(Stored().size());
    }
    ::CoUninitialize();
    return left;
}
