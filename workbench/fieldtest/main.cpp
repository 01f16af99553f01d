#include "workbench/fieldtest/Field.h"

#include "workbench/process/CommandLine.h"
#include "workbench/process/OwnProgram.h"

#include "support/Text.h"

#include <CLI/CLI.hpp>

#include <windows.h>
#include <shlobj.h>

#include <cstdio>
#include <exception>

namespace {

enum ExitCode : int { kAllObserved = 0, kSomethingFailed = 1, kStopped = 3, kNotRestored = 4 };

HANDLE g_done = nullptr;
constexpr DWORD kRestoreLimit = 60'000; // ms; the system itself may allow less when it closes the window

BOOL WINAPI OnSignal(DWORD event) noexcept {
    fieldtest::Console::RequestStop();
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        ::WaitForSingleObject(g_done, kRestoreLimit); // the process ends when this function returns
    }
    return TRUE;
}

std::filesystem::path LocalFolder() {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    return folder;
}

int Run(fieldtest::Options options, bool restoreOnly) {
    fieldtest::BoundCalls();
    fieldtest::Field field(std::move(options));
    if (restoreOnly || !field.journal.Empty()) { // an earlier run was killed
        field.Restore();
    }
    if (!field.journal.Empty()) {
        return kNotRestored;
    }
    int code = kAllObserved;
    if (!restoreOnly) {
        field.console.Say("This test takes about fifteen minutes. It uses your Outlook, sends nothing, and removes\n"
                          "its appointments at the end. Enter skips a step; q and Enter ends the test.");
        try {
            fieldtest::RunSteps(field);
            code = field.report.Failed() ? kSomethingFailed : kAllObserved;
        } catch (const fieldtest::Stopped&) {
            field.console.Say("\nThe test was stopped.");
            code = kStopped;
        } catch (const std::exception& error) {
            field.console.Say(std::string("\nThe test cannot go on: ") + error.what());
            code = kSomethingFailed;
        }
        field.Restore();
        fieldtest::WriteReport(field);
    }
    return field.journal.Empty() ? code : kNotRestored;
}

} // namespace

int main() {
    const std::filesystem::path folder = std::filesystem::path(process::ProgramPath()).parent_path();
    fieldtest::Options options;
    options.journal = LocalFolder() / L"NembraFieldTest" / L"journal.txt";
    std::string output = ToUtf8(folder.wstring());
    bool restoreOnly = false;
    CLI::App app("Guided test of the add-in in a running Outlook. It ends with field-report.zip.", "FieldTest");
    app.add_option("--output", output, "folder of the report (default: that of this program)");
    app.add_option("--person-seconds", options.personSeconds, "how long a step waits for you")->capture_default_str();
    app.add_option("--machine-seconds", options.machineSeconds, "how long it waits for Outlook")->capture_default_str();
    app.add_flag("--restore", restoreOnly, "only undo what an interrupted test has left");
    try {
        app.parse(process::ParserArguments());
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    options.output = ToWide(output);
    options.client = folder / L"meeting_client.exe";
    if (!std::filesystem::is_regular_file(options.client)) {
        std::fprintf(stderr, "FieldTest: %s is not there. Unpack the whole archive.\n",
                     ToUtf8(options.client.wstring()).c_str());
        return kSomethingFailed;
    }
    int code = kSomethingFailed;
    try {
        g_done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        ::SetConsoleCtrlHandler(&OnSignal, TRUE);
        ::SetConsoleOutputCP(CP_UTF8);
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        code = Run(std::move(options), restoreOnly);
        ::CoUninitialize();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "FieldTest: %s\nFieldTest --restore undoes what is left\n", error.what());
    } catch (const _com_error& error) {
        std::fprintf(stderr, "FieldTest: status %ld\nFieldTest --restore undoes what is left\n", error.Error());
    }
    ::SetEvent(g_done);
    return code;
}
