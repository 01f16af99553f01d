#include "workbench/faults/Supervisor.h"
#include "workbench/process/OwnProgram.h"

#include <filesystem>

namespace {

using faults::Act;
using faults::StagedModule;

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
    bool Step() override { return read_(text_.c_str()); }
    std::uint64_t Cuts() const override { return kWhole.size(); }
    void Cut(std::uint64_t number) override { text_ = number == 0 ? kWhole : kWhole.substr(0, number - 1); }

private:
    const std::string kWhole = "[1]";
    bool (*read_)(const char*);
    std::string text_ = kWhole;
};

faults::Scene FaultScene(const char* name, const char* function) {
    return {name, false, true,
            [function](StagedModule& module) { return std::make_unique<FaultAct>(module, function); }};
}

} // namespace

int main(int count, char** texts) {
    const std::vector<faults::Scene> scenes = {
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
    return faults::Main(scenes, {texts + 1, texts + count}, (folder / L"faulty_module.dll").wstring());
}
