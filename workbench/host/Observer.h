#pragma once

#include <functional>
#include <string>

namespace workbench {

enum class StepKind {
    Call,   // the add-in called a host object
    Event,  // the host delivered an event
    Window, // a window opened or closed
    Item,   // an item was created, saved, sent, deleted, displayed
    AddIn,  // the add-in was loaded, connected, disconnected
    Ribbon, // a ribbon was loaded, a callback called, a button pressed
    Dialog  // a dialog was seen and answered
};

struct Step {
    StepKind kind;
    std::wstring text; // one line, readable as it stands
};

using Observer = std::function<void(const Step&)>;

} // namespace workbench
