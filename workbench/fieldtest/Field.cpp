#include "workbench/fieldtest/Field.h"

#include "workbench/fieldtest/Journal.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include "Outlook/AddIns/RegistryTable.h"
#include "doctor/Scene.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <utility>

namespace fieldtest {
namespace {

constexpr std::size_t kLogTail = 4U << 20U; // bytes
constexpr unsigned kLook = 50;              // ms
constexpr ULONGLONG kSecond = 1000;

std::atomic<bool> g_stop = false;

} // namespace

void RequestStop() noexcept {
    g_stop = true;
}

void Say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

bool Field::FindOutlook() {
    const std::vector<HWND> windows = OutlookWindows();
    application = RunningOutlook();
    outlook = windows.empty() ? outlook : wire::ProcessOf(windows.front());
    return application != nullptr && !windows.empty();
}

bool Field::AddInConnected() const {
    try {
        const IDispatchPtr addIn =
            ObjectOf(Call(Child(application, L"COMAddIns"), L"Item", {_variant_t(registry::kProgId)}));
        return addIn && static_cast<bool>(Get(addIn, L"Connect"));
    } catch (const HostError&) {
        return false; // Outlook does not know the add-in
    }
}

OpenItem Field::FindOpen(const std::string& id) const {
    for (const OpenItem& open : OpenItems(application)) {
        if (open.marker["conf_id"] == id) {
            return open;
        }
    }
    return {};
}

bool Field::FindDialog(const PerLanguage<const wchar_t*>& text) {
    workbench::DialogFilter filter;
    filter.process = outlook;
    for (workbench::DialogSeen& seen : workbench::FindDialogs(filter)) {
        for (const std::wstring& shown : seen.texts) {
            if (doctor::Contains(shown, text[Language::English]) || doctor::Contains(shown, text[Language::Chinese])) {
                dialog = std::move(seen);
                return true;
            }
        }
    }
    return false;
}

std::vector<doctor::LogEntry> Field::Log() const {
    const auto tail = machine.Tail(machine.Folder(doctor::Place::Log) + L"\\outlookaddin.txt", kLogTail);
    std::vector<doctor::LogEntry> entries;
    for (doctor::LogEntry& entry : doctor::ParseLog(tail.value)) {
        if (entry.process != outlook) {
            continue;
        }
        if (entry.text.starts_with(doctor::kLoadMark)) {
            entries.clear(); // an earlier process had the same number
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::size_t Field::Logged(std::string_view method, std::string_view text) const {
    const auto entries = Log();
    return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), [&](const doctor::LogEntry& entry) {
        return entry.source.ends_with(method) && (entry.text + "\n").find(text) != std::string::npos;
    }));
}

void Field::Tell() {
    if (!prompt.empty()) {
        Say(std::exchange(prompt, {}));
    }
}

bool Field::Wait(const std::function<bool()>& holds, unsigned seconds) {
    Tell();
    const ULONGLONG begin = ::GetTickCount64();
    for (ULONGLONG shown = 0;; workbench::PumpFor(kLook)) { // seconds
        entered = input_.Take();
        if (g_stop || entered == "q") {
            throw Stopped();
        }
        const bool held = holds();
        const ULONGLONG passed = (::GetTickCount64() - begin) / kSecond;
        if (held || entered || passed >= seconds) {
            std::fputs(shown == 0 || entered ? "" : "\n", stdout);
            return held;
        }
        if (passed > shown) {
            std::fputs(shown == 0 ? "    waiting ." : ".", stdout);
            std::fflush(stdout);
            shown = passed;
        }
    }
}

void Field::Await(const std::function<bool()>& holds, const std::string& what, unsigned seconds) {
    if (!Wait(holds, seconds)) {
        throw entered ? StepEnd{{Verdict::NotObserved, "skipped; awaited: " + what}}
                      : StepEnd{{Verdict::Fail, "not seen within " + std::to_string(seconds) + " s: " + what}};
    }
}

void Restore(Field& field) {
    Say("\nThe test restores what it has changed.");
    if (field.client) {
        field.client->Quit();
        field.client.reset();
    }
    field.application = RunningOutlook();
    for (const std::string& left : journal::Undo(field.application)) {
        Say("    NOT RESTORED: " + left);
    }
    field.application = nullptr;
}

} // namespace fieldtest
