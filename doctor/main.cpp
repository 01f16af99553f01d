#include "doctor/Checks.h"
#include "doctor/Collect.h"
#include "doctor/Fix.h"
#include "doctor/Report.h"
#include "doctor/Texts.h"
#include "doctor/WindowsMachine.h"

#include "support/Text.h"

#include <CLI/CLI.hpp>

#include <windows.h>
#include <shellapi.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

using doctor::WindowsMachine;

struct Options {
    bool json = false;
    bool yes = false;
    std::string fix;
    std::string collect;
    std::string language;
    std::string probe;
};

std::vector<std::wstring> Arguments() {
    int count = 0;
    wchar_t** texts = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::wstring> arguments(texts + (count > 0 ? 1 : 0), texts + count);
    ::LocalFree(texts);
    return arguments;
}

/// A console takes UTF-16, and a file or a pipe gets UTF-8.
void Print(const std::wstring& text) {
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD ignored = 0;
    if (::GetConsoleMode(output, &ignored)) {
        ::WriteConsoleW(output, text.data(), static_cast<DWORD>(text.size()), &ignored, nullptr);
    } else {
        const std::string bytes = ToUtf8(text);
        ::WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &ignored, nullptr);
    }
}

bool Confirm(const std::wstring& question, bool yes) {
    if (yes) {
        return true;
    }
    Print(question);
    std::string answer;
    std::getline(std::cin, answer);
    return !answer.empty() && (answer.front() == 'y' || answer.front() == 'Y');
}

int FixOne(const WindowsMachine& machine, const Options& options, Language language) {
    const auto look = [&] {
        const doctor::Scene scene(machine, language);
        return std::pair(doctor::RunChecks(scene, ToWide(options.fix)), !scene.outlooks.empty());
    };
    const auto [before, running] = look();
    const doctor::FixSteps steps = {
        [](const std::wstring& line) { Print(line + L"\n"); },
        [&](const std::wstring& question) { return Confirm(question, options.yes); },
        doctor::Apply,
    };
    if (!doctor::Fix(before.front(), running, language, steps)) {
        return doctor::CodeOf(before);
    }
    const auto after = look().first;
    Print(std::wstring(L"[") + doctor::VerdictText(after.front().GetVerdict()) + L"] " + after.front().Fact() + L"\n");
    return doctor::CodeOf(after);
}

int Report(const WindowsMachine& machine, const Options& options, Language language) {
    const doctor::Scene scene(machine, language);
    const bool loaded = doctor::IsLoaded(scene);
    const std::vector<doctor::Finding> findings = doctor::RunChecks(scene);
    const std::string json = doctor::JsonReport(findings);
    const std::wstring text = doctor::TextReport(findings, loaded, language);
    Print(options.json ? ToWide(json) : text);
    if (!options.collect.empty()) {
        const auto files = doctor::Collect(machine, {{"report.txt", ToUtf8(text)}, {"report.json", json}});
        doctor::WriteZip(ToWide(options.collect), files);
        std::wstring list = L"\n" + ToWide(options.collect) + L"\n";
        for (const doctor::CollectedFile& file : files) {
            list += L"  " + ToWide(file.name) + L"  " + std::to_wstring(file.content.size()) + L"\n";
        }
        Print(options.json ? L"" : list);
    }
    return doctor::CodeOf(findings);
}

void Declare(CLI::App& app, Options& options) {
    std::vector<std::string> ids;
    for (const doctor::Check& check : doctor::AllChecks()) {
        ids.push_back(ToUtf8(check.id));
    }
    app.add_flag("--json", options.json, "Write the report as JSON, in English unless --language is given");
    app.add_option("--fix", options.fix, "Repair what this check found, as far as it belongs to the user")
        ->type_name("ID")
        ->check(CLI::IsMember(ids, CLI::ignore_case).description("")); // the list would fill the help
    app.add_flag("--yes", options.yes, "Repair without a question")->needs("--fix");
    app.add_option("--collect", options.collect, "Also pack report, logs and registry values for support")
        ->type_name("FILE.zip")
        ->excludes("--fix");
    app.add_option("--language", options.language, "Language of the texts")->check(CLI::IsMember({"en", "zh"}));
    app.add_option(ToUtf8(doctor::kProbeOption), options.probe)->group(""); // for the child process only
    app.footer("Exit codes: 0 nothing found, 1 a fault, 2 only possible problems, 3 could not look.");
}

Language ChooseLanguage(const Options& options) {
    if (!options.language.empty()) {
        return options.language == "zh" ? Language::Chinese : Language::English;
    }
    return options.json ? Language::English : LanguageOf(::GetUserDefaultUILanguage());
}

int Run() {
    CLI::App app("Tells why Outlook does not show the NEMBRA CLOUD Meeting add-in.", "OutlookAddInDoctor");
    Options options;
    Declare(app, options);
    std::vector<std::string> arguments;
    for (const std::wstring& argument : Arguments()) {
        arguments.insert(arguments.begin(), ToUtf8(argument)); // the parser takes them from the end
    }
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? doctor::kNothingFound : doctor::kCouldNotLook;
    }
    if (!options.probe.empty()) {
        return static_cast<int>(doctor::ProbeModule(ToWide(options.probe).c_str()));
    }
    const WindowsMachine machine;
    const Language language = ChooseLanguage(options);
    return options.fix.empty() ? Report(machine, options, language) : FixOne(machine, options, language);
}

} // namespace

int main() {
    try {
        return Run();
    } catch (const std::exception& error) {
        std::cerr << "OutlookAddInDoctor: " << error.what() << "\n";
        return doctor::kCouldNotLook;
    }
}
