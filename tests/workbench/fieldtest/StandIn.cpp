// The stand-in Outlook as a process of its own, with the real add-in. Its user is scripted: each line of the input is
// one thing that the user does. The arguments name habits of the host. The exit code is the number of stored
// appointments.
#include "workbench/host/ApplicationClass.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/host/Pump.h"
#include "workbench/process/InputLines.h"

#include "Outlook/AddIns/RegistryTable.h"
#include "resources/Connect.h"
#include "support/Text.h"

#include <algorithm>
#include <map>
#include <string>

namespace {

using namespace workbench;

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

void Do(const std::string& verb, const std::wstring& rest) {
    OutlookHost& host = *g_host;
    const InspectorPtr open = host.ActiveInspector();
    if (verb == "calendar") {
        host.ActiveExplorer()->SwitchFolder(L"Calendar");
        host.PressRibbonButton(Surface::Explorer, rest, RibbonContext(host.ActiveExplorer()));
    } else if (verb == "new") {
        const ItemPtr item = host.NewAppointment();
        item->fields.subject = rest;
        host.OpenInspector(item);
    } else if (verb == "open") {
        host.OpenInspector(Stored().at(0));
    } else if (verb == "answer") {
        for (const DialogSeen& dialog : FindDialogs()) {
            ::PostMessageW(dialog.window, WM_COMMAND, static_cast<WPARAM>(std::stoul(rest)), 0);
        }
    } else if (verb == "off") {
        host.AddIns().front()->Disconnect(kUserClosed);
        ::RegSetKeyValueW(HKEY_CURRENT_USER, registry::kAddInKey, L"LoadBehavior", REG_DWORD, &kOff, sizeof kOff);
    } else if (verb == "interrupt") { // Ctrl+C in the console of that process, which reaches this one, too
        ::FreeConsole();
        ::AttachConsole(std::stoul(rest));
        ::SetConsoleCtrlHandler([](DWORD) noexcept -> BOOL { return TRUE; }, TRUE);
        ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        ::FreeConsole();
    } else if (verb == "exit") {
        ::PostQuitMessage(0);
    } else if (!open) {
        return; // the others need a window
    } else if (verb == "press") {
        host.PressRibbonButton(Surface::Appointment, rest, RibbonContext(open));
    } else if (verb == "location") {
        open->CurrentItem()->fields.location = rest;
        open->CurrentItem()->SetSaved(false);
    } else if (verb == "save") {
        open->CurrentItem()->Save();
    } else {
        open->Close(verb == "discard" ? kCloseDiscard : kCloseSave);
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
        const bool load =
            Number(registry::kAddInKey, L"LoadBehavior") != kOff || Number(kManaged, registry::kProgId) == 1;
        AddInHost& addIn = host.LoadAddIn(ToWide(arguments[1]), CLSID_NembraMeeting);
        addIn.listedAs = registry::kProgId;
        if (load) {
            addIn.Connect();
        }
        const ApplicationClass application(host);
        process::InputLines orders;
        g_orders = &orders;
        ::SetTimer(nullptr, 0, kLook, &Look);
        PumpUntil([] { return false; }, INFINITE); // up to WM_QUIT
        left = static_cast<int>(Stored().size());
    }
    ::CoUninitialize();
    return left;
}
