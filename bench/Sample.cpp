#include "bench/Sample.h"

#include "bench/LoadFloor.h"
#include "bench/Measure.h"
#include "bench/Parts.h"
#include "resources/Connect.h"
#include "workbench/process/OwnProgram.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

namespace bench {
namespace {

struct SampleKind {
    const char* name;
    void (*run)();
};

constexpr SampleKind kSamples[] = {
    {"load-addin", [] { RunLoadSample(Subject::AddIn); }},
    {"load-bare", [] { RunLoadSample(Subject::Bare); }},
    {"load-platform", [] { RunLoadSample(Subject::Platform); }},
    {"memory-addin", [] { RunMemorySample(Subject::AddIn); }},
    {"memory-platform", [] { RunMemorySample(Subject::Platform); }},
    {"memory-threads", [] { RunMemorySample(Subject::Sleeper); }},
    {"idle-nothing", [] { RunIdleSample(Subject::Nothing, false); }},
    {"idle-sleeper", [] { RunIdleSample(Subject::Sleeper, false); }},
    {"idle-addin", [] { RunIdleSample(Subject::AddIn, false); }},
    {"idle-nothing-quick", [] { RunIdleSample(Subject::Nothing, true); }},
    {"idle-sleeper-quick", [] { RunIdleSample(Subject::Sleeper, true); }},
    {"idle-addin-quick", [] { RunIdleSample(Subject::AddIn, true); }},
};

} // namespace

int RunSample(const std::string& what) {
    for (const SampleKind& kind : kSamples) {
        if (what == kind.name) {
            kind.run();
            return 0;
        }
    }
    throw std::runtime_error("no such sample");
}

std::vector<double> SampleProcess::Take() {
    std::string line;
    const bool read = process_.ReadLine(line);
    Require(process_.Wait() == 0 && read, "a sample's process has failed");
    std::istringstream stream(line);
    std::vector<double> numbers;
    for (double number = 0; stream >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

void PrintNumbers(const std::vector<double>& numbers) {
    for (const double number : numbers) {
        std::printf("%.1f ", number);
    }
    std::printf("\n");
    std::fflush(stdout);
}

LoadTimes Load(HostSession& session, Subject subject, const std::string& logPath) {
    LoadTimes times;
    if (subject == Subject::Nothing || subject == Subject::Sleeper) {
        return times;
    }
    workbench::OutlookHost& host = session.Host();
    int64_t connected = 0;
    host.Observe([&](const workbench::Step& step) {
        if (step.kind == workbench::StepKind::AddIn && step.text.starts_with(L"OnConnection")) {
            connected = Now(); // what follows it in Connect does not count
        }
    });
    const bool addIn = subject == Subject::AddIn;
    const std::wstring bare =
        std::filesystem::path(process::ProgramPath()).replace_filename(L"bare_com_class.dll").wstring();
    const std::wstring module = AddInPath();
    const int64_t start = Now();
    workbench::AddInHost& loadedAddIn = host.LoadAddIn(addIn ? module : bare, CLSID_NembraMeeting);
    const int64_t loaded = Now();
    Require(loadedAddIn.LoadStatus() == S_OK, "the module cannot be loaded");
    int64_t end = loaded;
    if (addIn) {
        Require(loadedAddIn.Connect() == S_OK && connected != 0, "the add-in does not connect");
        end = connected;
    } else if (subject == Subject::Platform) {
        times.stages = MakePlatformCalls(module, logPath);
        end = Now();
    }
    host.Observe({});
    times.load = Microseconds(loaded - start);
    times.connect = Microseconds(end - loaded);
    return times;
}

void StartThread(LPTHREAD_START_ROUTINE body) {
    const UniqueHandle thread(::CreateThread(nullptr, 0, body, nullptr, 0, nullptr));
    Require(static_cast<bool>(thread), "no thread");
}

void Unload(HostSession& session) {
    for (const auto& each : session.Host().AddIns()) {
        each->Exit();
    }
}

} // namespace bench
