#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/endings/Lines.h"

#include "workbench/host/Pump.h"

#include "support/Text.h"

#include <oaidl.h>

#include <utility>

namespace verify {

int RunEndings(const EndingOptions& options) {
    if (!options.child.empty()) {
        ReportCrashes();
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const std::vector<std::string> words(options.child.begin() + 1, options.child.end());
        const std::string& part = options.child.front();
        return part == "cycles" ? PlayCycles(words) : part == "write" ? PlayWriter(words) : PlayExit(words);
    }
    Say("seed {}", options.seed);
    Report report;
    report.Row("seed", options.seed);
    using Part = void(const EndingOptions&, Report&);
    const std::pair<std::string, Part*> parts[] = {{"cycles", &RunCycles}, {"exits", &RunExits}, {"log", &RunLog}};
    for (const auto& [name, run] : parts) {
        try {
            if (options.part.empty() || options.part == name) {
                Say("{}", name);
                run(options, report);
            }
        } catch (const std::exception& error) {
            report.Violation(error.what());
        }
    }
    return report.Tell();
}

void DeleteLogs() {
    for (int copy = 0; copy <= 2; ++copy) {
        std::error_code ignored; // it may not be there
        std::filesystem::remove(AddinLogFile(copy), ignored);
    }
}

process::ChildProcess StartEnding(std::vector<std::wstring> words) {
    words.insert(words.begin(), {L"endings", L"--child"});
    return StartChild(words);
}

EndingProcess::EndingProcess(std::vector<std::wstring> words)
    : process([&] {
          words.insert(words.end(), {readyName, goName});
          return StartEnding(words);
      }()) {}

void AwaitGo(const std::vector<std::string>& words) {
    constexpr unsigned kGoLimit = 600'000; // ms; a writer may have to wait for another one's lines
    ::SetEvent(SharedEvent(ToWide(words.rbegin()[1])).Get());
    const UniqueHandle go = SharedEvent(ToWide(words.back()));
    workbench::PumpUntil([&] { return ::WaitForSingleObject(go.Get(), 0) == WAIT_OBJECT_0; }, kGoLimit);
}

// The add-in logs each name that it is asked for. The look-up fails; the line has been written by then.
void WriteNumbered(IUnknown* addIn, const std::string& mark, std::uint64_t count) {
    IDispatch* object = nullptr;
    addIn->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object));
    for (std::uint64_t number = 0; number < count; ++number) {
        const std::string text = NumberedText(mark, number);
        std::wstring name(text.begin(), text.end()); // ASCII
        LPOLESTR names = name.data();
        DISPID unused = DISPID_UNKNOWN;
        object->GetIDsOfNames(IID_NULL, &names, 1, 0, &unused);
    }
    object->Release();
}

} // namespace verify
