#include "workbench/faults/Scenes.h"
#include "workbench/faults/Supervisor.h"

#include "tests/fakes/AddInModule.h"

namespace {

std::vector<faults::Scene> AllScenes() {
    std::vector<faults::Scene> scenes;
    for (auto&& group :
         {faults::ModuleScenes(), faults::RibbonScenes(), faults::NotificationScenes(), faults::EventScenes()}) {
        scenes.insert(scenes.end(), group.begin(), group.end());
    }
    return scenes;
}

} // namespace

int main(int count, char** texts) {
    return faults::Main(AllScenes(), {texts + 1, texts + count}, AddInModulePath());
}
