#include "workbench/verify/core/Options.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/faults/Faults.h"
#include "workbench/verify/scenes/Stage.h"

#include "tests/fakes/AddInModule.h"

#include <windows.h>
#include <comdef.h>
#include <objbase.h>

#include <exception>

namespace {

using namespace verify;

int Run(const Options& options) {
    if (options.mode == "faults") {
        std::vector<Scene> scenes = ModuleScenes();
        for (Scene& scene : OutlookScenes()) {
            scenes.push_back(std::move(scene));
        }
        return RunFaults(scenes, options.faults, AddInModulePath());
    }
    if (options.mode == "endings") {
        return RunEndings(options.endings);
    }
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int code = options.mode == "soak" ? RunSoak(options.soak) : RunHostile(options.hostile);
    ::CoUninitialize();
    return code;
}

} // namespace

int main() {
    try {
        Options options;
        const int code = ReadOptions(options);
        return code >= 0 ? code : Run(options);
    } catch (const std::exception& error) {
        Say("VIOLATION: {}", error.what());
    } catch (const _com_error& error) {
        Say("VIOLATION: status 0x{:08x}", static_cast<unsigned long>(error.Error()));
    }
    return kViolations;
}
