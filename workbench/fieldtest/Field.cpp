#include "workbench/fieldtest/Field.h"

#include "workbench/client/Meetings.h"

#include "Outlook/AddIns/RegistryTable.h"
#include "doctor/Collect.h"
#include "doctor/Scene.h"
#include "support/Text.h"

#include <windows.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace fieldtest {
namespace {

constexpr std::size_t kLogTail = 4U << 20U; // bytes
constexpr unsigned kClientSeconds = 3600;

std::string NewSubject() {
    return "NEMBRA field test " + std::to_string(::GetTickCount64() % 1'000'000);
}

} // namespace

Field::Field(Options given)
    : options(std::move(given)),
      journal(options.journal, options.client),
      subject(NewSubject()),
      transcript(options.journal.parent_path() / L"transcript.txt") {}

bool Field::FindOutlook() {
    const std::vector<HWND> windows = OutlookWindows();
    application = RunningOutlook();
    if (application && !windows.empty()) {
        ::GetWindowThreadProcessId(windows.front(), &outlook);
    }
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

std::wstring Field::ModulePath() const {
    return doctor::FindLoadedModule({machine.ProcessOf(outlook)});
}

OpenItem Field::FindOpen(const std::string& id) const {
    for (const OpenItem& open : OpenItems(application)) {
        // Other items than appointments may have no form description.
        try {
            const auto marker = meeting_client::ParseObject(Comment(open.item));
            if (marker && (*marker)["conf_id"] == id) {
                return open;
            }
        } catch (const HostError&) {
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

void Field::Order(const std::string& order) {
    const meeting_client::OrderResult result = client->Order(order);
    if (!result.done) {
        throw StepEnd{{Verdict::Fail, "the client refused an order: " + result.reason}};
    }
}

Json::Value Field::AwaitCommand(int number, unsigned seconds) {
    std::vector<std::string> messages;
    const std::string name = "command " + std::to_string(number) + " at the client";
    Await(
        [&] {
            messages = client->Messages();
            return messages.size() > commandsSeen;
        },
        name, seconds);
    const Json::Value command = meeting_client::ParseObject(messages[commandsSeen++]).value_or(Json::objectValue);
    if (command["cmd"] != number || !meeting_client::CommandFaults(command).empty()) {
        throw StepEnd{{Verdict::Fail, "another command came in place of " + name}};
    }
    return command;
}

void Field::Tell() {
    if (!prompt.empty()) {
        console.Say(std::exchange(prompt, {}));
    }
}

void Field::Await(const std::function<bool()>& holds, const std::string& what, unsigned seconds) {
    Tell();
    switch (console.Await(holds, seconds)) {
    case Waited::Held:
        return;
    case Waited::Entered:
        throw StepEnd{{Verdict::NotObserved, "skipped; awaited: " + what}};
    case Waited::TimedOut:
        throw StepEnd{{Verdict::Fail, "not seen within " + std::to_string(seconds) + " s: " + what}};
    }
}

void Field::Restore() {
    console.Say("\nThe test restores what it has changed.");
    if (client) {
        client->Quit();
        client.reset();
    }
    application = RunningOutlook();
    for (const std::string& left : journal.Undo(application)) {
        console.Say("    NOT RESTORED: " + left);
    }
    application = nullptr;
}

void RunSteps(Field& field) {
    field.journal.OwnFile(field.transcript);
    field.journal.InstallScheme({L"--transcript", field.transcript.wstring(), L"--login-after", L"1500",
                                 L"--max-seconds", std::to_wstring(kClientSeconds), L"--parent",
                                 std::to_wstring(::GetCurrentProcessId())});
    std::size_t number = 0;
    for (const Step& step : AllSteps()) {
        field.prompt = fmt::format("\nStep {} of {} [{}]{}{}\n    {}", ++number, AllSteps().size(), step.id,
                                   *step.points ? " open points " : "", step.points, step.told);
        Outcome outcome;
        try {
            outcome.text = step.run(field);
        } catch (const StepEnd& end) {
            outcome = end.outcome;
        } catch (const Stopped&) {
            throw;
        } catch (const std::exception& error) {
            outcome = {Verdict::Fail, error.what()};
        } catch (const _com_error& error) {
            outcome = {Verdict::Fail, "Outlook answered without the object that was asked for, status " +
                                          std::to_string(error.Error())};
        }
        field.Tell();
        field.console.Say(std::string("    ") + NameOf(outcome.verdict) + ": " + outcome.text);
        field.report.Step(step.id, std::move(outcome));
    }
}

void WriteReport(Field& field) {
    const std::filesystem::path path = field.options.output / L"field-report.zip";
    doctor::WriteZip(path.wstring(), doctor::Collect(field.machine, {{"report.txt", field.report.Text()},
                                                                     {"host-facts-table.md", field.report.Table()}}));
    field.console.Say("\nTable for docs/host-facts.md:\n\n" + field.report.Table());
    field.console.Say("The report is in " + ToUtf8(path.wstring()) + ". Look through it before you send it.");
}

} // namespace fieldtest
