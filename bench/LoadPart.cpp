#include "bench/AddInSession.h"
#include "bench/ChildProcess.h"
#include "bench/LoadFloor.h"
#include "bench/Parts.h"
#include "bench/WorkFolder.h"
#include "resources/Connect.h"

#include <cstdio>
#include <filesystem>

namespace bench {
namespace {

struct Sample {
    double load = 0;    // microseconds: LoadLibrary, DllGetClassObject, CreateInstance
    double connect = 0; // microseconds: OnConnection, or the platform's calls; 0 for the bare class alone

    double Whole() const { return load + connect; }
};

Sample TakeSample(const char* what) {
    ChildProcess process({"--sample", what});
    std::string line;
    Sample sample;
    const bool read =
        process.ReadLine(line) && std::sscanf(line.c_str(), "%lf %lf", &sample.load, &sample.connect) == 2;
    Require(process.Wait() == 0 && read, "a loading process has failed");
    return sample;
}

/// @return the reading right after the module's object was made.
int64_t LoadModule(workbench::OutlookHost& host, const std::wstring& path) {
    const workbench::AddInHost& addIn = host.LoadAddIn(path, CLSID_NembraMeeting);
    const int64_t loaded = Now();
    Require(addIn.LoadStatus() == S_OK, "the module cannot be loaded");
    return loaded;
}

} // namespace

int RunLoadSample(const std::string& what) {
    const WorkFolder folder;
    HostSession session;
    workbench::OutlookHost& host = session.Host();
    int64_t end = 0;
    host.Observe([&](const workbench::Step& step) {
        if (step.kind == workbench::StepKind::AddIn && step.text.starts_with(L"OnConnection")) {
            end = Now(); // what follows it in Connect does not count
        }
    });
    const bool addIn = what == "addin";
    const std::wstring bare = std::filesystem::path(ProgramPath()).replace_filename(L"bare_com_class.dll").wstring();
    const std::wstring module = AddInPath();
    const std::string log = folder.File("floor.txt");
    const int64_t start = Now();
    const int64_t loaded = LoadModule(host, addIn ? module : bare);
    if (addIn) {
        Require(host.AddIns().front()->Connect() == S_OK && end != 0, "the add-in does not connect");
    } else if (what == "platform") {
        MakePlatformCalls(module, log);
        end = Now();
    } else {
        end = loaded;
    }
    std::printf("%.1f %.1f\n", Microseconds(loaded - start), Microseconds(end - loaded));
    std::fflush(stdout);
    host.AddIns().front()->Exit();
    return 0;
}

void MeasureLoad(const Effort& effort) {
    const std::string title = "load to the end of OnConnection";
    Row againstBare{title, "us", {}, "bare COM class, loaded and created", {}};
    Row againstPlatform{title, "us", {}, "bare COM class + the platform's calls", {}};
    Row load{"  of it: load and create", "us", {}, {}, {}};
    Row connect{"  of it: OnConnection", "us", {}, {}, {}};
    for (int sample = 0; sample <= effort.Of(25, 5); ++sample) {
        const Sample addIn = TakeSample("addin");
        const Sample bare = TakeSample("bare");
        const Sample platform = TakeSample("platform");
        if (sample == 0) {
            continue; // warms up: in a new installation the type library is registered now
        }
        againstBare.values.push_back(addIn.Whole());
        againstBare.floorValues.push_back(bare.Whole());
        againstPlatform.floorValues.push_back(platform.Whole());
        load.values.push_back(addIn.load);
        connect.values.push_back(addIn.connect);
    }
    againstPlatform.values = againstBare.values;
    for (const Row& row : {againstBare, againstPlatform, load, connect}) {
        Report(row);
    }
}

} // namespace bench
