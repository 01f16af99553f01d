#pragma once

#include "workbench/verify/faults/StagedModule.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace verify {

/// One life of a scene: it is set up, stepped through once with a failing call and once without, and ended.
class Act {
public:
    Act() = default;
    virtual ~Act() = default;
    Act(const Act&) = delete;
    Act& operator=(const Act&) = delete;

    /// Before each step; nothing fails here.
    virtual void Prepare() {}
    /// The examined step. @return whether it had its effect. It always has its effect when no call fails.
    virtual bool Step() = 0;
    /// Asked behind the first step. @return what was not as it must be after the call that failed.
    virtual std::vector<std::string> Judge() { return {}; }
    /// Asked at last: whether the module does its usual work.
    virtual bool Works() { return true; }
    /// Whether it then does without something that it was to make once and could not, by design: such as its channel.
    virtual bool Degraded() { return false; }
    /// Ends everything. @return what was not as it must be even after a failure.
    virtual std::vector<std::string> End() { return {}; }
};

struct Scene {
    const char* name;
    /// Something that happens once in a process: each point gets a process of its own. Calls on Outlook's objects do
    /// not fail then; a scene that repeats it has them.
    bool fresh;
    /// The module is attached before; otherwise the scene does it.
    bool attached;
    std::function<std::unique_ptr<Act>(StagedModule& module)> make;
};

} // namespace verify
