#pragma once

#include "workbench/faults/Account.h"
#include "workbench/faults/Options.h"
#include "workbench/faults/Scene.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace faults {

/// Has child processes play the scenes; one that crashes or hangs is a violation, and the next goes on behind it.
class Supervisor {
public:
    Supervisor(const std::vector<Scene>& scenes, Options options);

    /// @return whether there was no violation.
    bool Run();

private:
    using Clock = std::chrono::steady_clock;

    /// Where the playing of a scene has come to.
    struct Place {
        std::string round = "clean";
        std::uint64_t number = 0;
        std::string function;
        bool struck = false; // a call failed at the last number
        bool ended = false;
    };

    void PlayHere(const Scene& scene);
    void PlayFresh(const Scene& scene);
    bool PlayFreshPoint(const Scene& scene, const Order& round, std::uint64_t number);
    Place Watch(const Scene& scene, const std::vector<std::wstring>& arguments);
    void Take(const Scene& scene, const std::string& line, Place& place);
    void CompareHeld(const Scene& scene, const Place& place);
    bool HasDoneItsWork() const;
    bool Wanted(const Scene& scene) const;
    std::vector<std::wstring> Arguments(const Scene& scene) const;
    void Progress(const Scene& scene, const Place& place);

    const std::vector<Scene>& scenes_;
    Options options_;
    Account account_;
    std::map<std::string, std::uint64_t> found_; // by round, of the scene that is being played
    bool foundKnown_ = false;
    std::uint64_t degraded_ = 0;
    std::map<std::string, std::size_t> held_;
    std::map<std::string, std::size_t> cleanHeld_;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point nextProgress_ = start_;
};

/// The whole program, for any set of scenes: parses, lists, plays or supervises. `module` is what is examined.
int Main(const std::vector<Scene>& scenes, const std::vector<std::string>& arguments, const std::wstring& module);

} // namespace faults
