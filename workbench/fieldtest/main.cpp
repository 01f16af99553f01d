#include "workbench/fieldtest/Field.h"
#include "workbench/fieldtest/Journal.h"

#include "workbench/process/CommandLine.h"
#include "workbench/process/OwnProgram.h"

#include "doctor/Collect.h"
#include "support/Text.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

namespace {

using namespace fieldtest;

enum ExitCode : int { kAllObserved = 0, kSomethingFailed = 1, kStopped = 3, kNotRestored = 4 };

HANDLE g_done = nullptr;
constexpr DWORD kRestoreLimit = 60'000; // ms; the system itself may allow less when it closes the window

BOOL WINAPI OnSignal(DWORD event) noexcept {
    RequestStop();
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        ::WaitForSingleObject(g_done, kRestoreLimit); // the process ends when this function returns
    }
    return TRUE;
}

std::filesystem::path Folder() { // of this program
    return std::filesystem::path(process::ProgramPath()).parent_path();
}

/// Writes field-report.zip and shows the table.
void WriteReport(const Field& field) {
    const std::wstring path = (Folder() / L"field-report.zip").wstring();
    doctor::WriteZip(path, doctor::Collect(field.machine, {{"report.txt", field.report.Text()},
                                                           {"host-facts-table.md", field.report.Table()}}));
    Say("\nTable for docs/host-facts.md:\n\n" + field.report.Table());
    Say("The report is in " + ToUtf8(path) + ". Look through it before you send it.");
}

int Test(Field& field) {
    Say("This test takes about fifteen minutes. It uses your Outlook, sends nothing, and removes\n"
        "its appointments at the end. Enter skips a step; q and Enter ends the test.");
    try {
        RunSteps(field);
        return field.report.Failed() ? kSomethingFailed : kAllObserved;
    } catch (const Stopped&) {
        Say("\nThe test was stopped.");
        return kStopped;
    } catch (const std::exception& error) {
        Say(std::string("\nThe test cannot go on: ") + error.what());
        return kSomethingFailed;
    }
}

int Run(Field& field, bool restoreOnly) {
    BoundCalls();
    if (restoreOnly || !journal::Empty()) { // an earlier run was killed
        Restore(field);
    }
    int code = kAllObserved;
    if (!restoreOnly && journal::Empty()) {
        code = Test(field);
        Restore(field);
        WriteReport(field);
    }
    return journal::Empty() ? code : kNotRestored;
}

} // namespace

int main() {
    Field field;
    bool restoreOnly = false;
    CLI::App app("Guided test of the add-in in a running Outlook. It ends with field-report.zip.", "FieldTest");
    app.add_option("--person-seconds", field.personSeconds, "how long a step waits for you")->capture_default_str();
    app.add_option("--machine-seconds", field.machineSeconds, "how long it waits for Outlook")->capture_default_str();
    app.add_flag("--restore", restoreOnly, "only undo what an interrupted test has left");
    try {
        app.parse(process::ParserArguments());
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (!std::filesystem::is_regular_file(Folder() / L"meeting_client.exe")) {
        std::fprintf(stderr, "FieldTest: meeting_client.exe is not there. Unpack the whole archive.\n");
        return kSomethingFailed;
    }
    int code = kSomethingFailed;
    try {
        g_done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        ::SetConsoleCtrlHandler(&OnSignal, TRUE);
        ::SetConsoleOutputCP(CP_UTF8);
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        code = Run(field, restoreOnly);
        ::CoUninitialize();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "FieldTest: %s\nFieldTest --restore undoes what is left\n", error.what());
    } catch (const _com_error& error) {
        std::fprintf(stderr, "FieldTest: status %ld\nFieldTest --restore undoes what is left\n", error.Error());
    }
    ::SetEvent(g_done);
    return code;
}
