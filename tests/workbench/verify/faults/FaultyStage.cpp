#include "workbench/verify/faults/Faults.h"
#include "workbench/verify/faults/Injector.h"
#include "workbench/process/OwnProgram.h"

#include <filesystem>

namespace {

using verify::Scene;
using verify::StagedModule;

class FaultAct final : public verify::Act {
public:
    explicit FaultAct(std::function<bool()> step) : step_(std::move(step)) {}
    bool Step() override { return step_(); }

private:
    std::function<bool()> step_;
};

Scene FaultScene(const char* name, const char* function) {
    return {name, false, true,
            [function](StagedModule& module) { return std::make_unique<FaultAct>(module.Export<bool()>(function)); }};
}

} // namespace

int main() {
    const std::vector<Scene> scenes = {
        FaultScene("sound", "Sound"),
        FaultScene("leaks", "Leaks"),
        FaultScene("crashes", "Crashes"),
        FaultScene("hangs", "Hangs"),
        FaultScene("throws", "Throws"),
        FaultScene("aborts", "Aborts"),
        FaultScene("stays-broken", "StaysBroken"),
        FaultScene("keeps-key", "KeepsKey"),
        {"text", false, true,
         [](StagedModule& module) {
             return std::make_unique<FaultAct>(
                 [&module] { return module.Export<bool(const char*)>("ReadsText")(verify::CutText("[1]").c_str()); });
         }},
        {"load", true, false,
         [](StagedModule& module) { return std::make_unique<FaultAct>([&module] { return module.Attach(); }); }},
    };
    verify::Options options;
    const int code = verify::ReadOptions(options);
    const auto module = std::filesystem::path(process::ProgramPath()).replace_filename(L"faulty_module.dll");
    return code >= 0 ? code : verify::RunFaults(scenes, options.faults, module.wstring());
}
