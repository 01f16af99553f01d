#include "workbench/verify/faults/Faults.h"
#include "workbench/verify/faults/Injector.h"
#include "workbench/process/OwnProgram.h"

#include <filesystem>

namespace {

using verify::Act;
using verify::StagedModule;

using Fault = bool();

class FaultAct final : public Act {
public:
    FaultAct(StagedModule& module, const char* function) : fault_(module.Export<Fault>(function)) {}
    bool Step() override { return fault_(); }

private:
    Fault* fault_;
};

class LoadAct final : public Act {
public:
    explicit LoadAct(StagedModule& module) : module_(module) {}
    bool Step() override { return module_.Attach(); }

private:
    StagedModule& module_;
};

class TextAct final : public Act {
public:
    explicit TextAct(StagedModule& module) : read_(module.Export<bool(const char*)>("ReadsText")) {}
    bool Step() override { return read_(verify::CutText("[1]").c_str()); }

private:
    bool (*read_)(const char*);
};

verify::Scene FaultScene(const char* name, const char* function) {
    return {name, false, true,
            [function](StagedModule& module) { return std::make_unique<FaultAct>(module, function); }};
}

} // namespace

int main() {
    const std::vector<verify::Scene> scenes = {
        FaultScene("sound", "Sound"),
        FaultScene("leaks", "Leaks"),
        FaultScene("crashes", "Crashes"),
        FaultScene("hangs", "Hangs"),
        FaultScene("throws", "Throws"),
        FaultScene("aborts", "Aborts"),
        FaultScene("stays-broken", "StaysBroken"),
        FaultScene("keeps-key", "KeepsKey"),
        {"text", false, true, [](StagedModule& module) { return std::make_unique<TextAct>(module); }},
        {"load", true, false, [](StagedModule& module) { return std::make_unique<LoadAct>(module); }},
    };
    const std::filesystem::path folder = std::filesystem::path(process::ProgramPath()).parent_path();
    verify::Options options;
    const int code = verify::ReadOptions(options);
    return code >= 0 ? code : verify::RunFaults(scenes, options.faults, (folder / L"faulty_module.dll").wstring());
}
