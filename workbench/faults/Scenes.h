#pragma once

#include "workbench/faults/Scene.h"

#include <vector>

namespace faults {

std::vector<Scene> ModuleScenes();       // load, objects, registration, log, exported functions
std::vector<Scene> RibbonScenes();       // connection, callbacks, presses
std::vector<Scene> NotificationScenes(); // from the client
std::vector<Scene> EventScenes();        // from Outlook

} // namespace faults
