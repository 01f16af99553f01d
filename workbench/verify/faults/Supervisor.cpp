#include "workbench/verify/faults/Faults.h"

#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/core/Usage.h"
#include "workbench/verify/faults/Hooks.h"
#include "workbench/verify/faults/Injector.h"

#include "workbench/process/CommandLine.h"

#include "support/Text.h"
#include "tests/support/TempFolder.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <sstream>

namespace verify {
namespace {

constexpr DWORD kLongestSilence = 30; // s beyond the patience with one point

enum Column : std::size_t { kFound, kFailed, kMissed, kCrashes, kHangs, kLeaks, kOthers, kColumns };
/// The results of the points, by scene or by kind.
using Table = std::map<std::string, std::array<std::uint64_t, kColumns>>;

std::string TextOf(const char* what, Table table) {
    std::vector<std::vector<std::string>> lines{
        {what, "found", "failed", "missed", "crashes", "hangs", "leaks", "others"}};
    Table::mapped_type total{};
    const auto add = [&lines](const std::string& name, const Table::mapped_type& row) {
        lines.push_back({name});
        for (const std::uint64_t count : row) {
            lines.back().push_back(std::to_string(count));
        }
    };
    for (const auto& [name, row] : table) {
        add(name, row);
        for (std::size_t i = 0; i < kColumns; ++i) {
            total[i] += row[i];
        }
    }
    add("total", total);
    return MarkdownTable(lines);
}

/// Has child processes play the scenes: one each, or one for each point of a scene that happens once in a process. A
/// child that crashes or hangs is a violation, and another one goes on with the next kind.
class Supervisor {
public:
    Supervisor(const FaultOptions& options, std::wstring module) : options_(options), module_(std::move(module)) {}

    void Play(const Scene& scene);
    int Tell();

private:
    /// Where the playing of a scene has come to.
    struct Place {
        std::string round = "clean";
        std::uint64_t number = 0;
        std::string function;
        bool struck = false; // a call failed at the last number
        bool over = false;   // the child said how it ended
        bool ended = false;  // in order
    };

    void PlayPoints(const Order& round, std::uint64_t found);
    /// Has a child play the scene with these options besides those of this run.
    Place Watch(const std::vector<std::wstring>& more = {});
    void Take(const std::string& line, Place& place);
    void Problem(const Place& place, const std::string& text);
    void Add(const std::string& round, Column column, std::uint64_t count = 1) {
        byScene_[scene_][column] += count;
        byRound_[round][column] += count;
    }

    const FaultOptions& options_;
    const std::wstring module_;
    Report report_;
    Table byScene_;
    Table byRound_;
    std::string scene_;                          // that is being played
    std::map<std::string, std::uint64_t> found_; // by round, in that scene
    Holdings held_;
    std::uint64_t failed_ = 0;
    std::uint64_t degraded_ = 0;
};

void Supervisor::Play(const Scene& scene) {
    scene_ = scene.name;
    found_.clear();
    Place place = scene.fresh ? Watch({L"--kind", L"clean"}) : Watch();
    while (!place.ended && options_.kind.empty() && place.round != Place().round) {
        place = Watch({L"--behind", ToWide(place.round)});
    }
    for (const Order& round : Rounds(options_.kind)) {
        const std::uint64_t found = found_[round.Round()];
        if (found != 0) {
            Add(round.Round(), kFound, found);
            if (scene.fresh && place.ended) {
                PlayPoints(round, found);
            }
        }
    }
}

void Supervisor::PlayPoints(const Order& round, std::uint64_t found) {
    const Holdings clean = held_;
    const std::uint64_t last = options_.only ? options_.from : found;
    for (std::uint64_t number = options_.from; number <= last; number += options_.every) {
        Place place;
        // A call that comes at another place in time differs from run to run.
        for (int attempt = 0; attempt < kAttempts && !place.struck; ++attempt) {
            held_.clear();
            place = Watch({L"--kind", ToWide(round.Round()), L"--from", std::to_wstring(number)});
            for (const std::string& line : place.ended ? GrowthOf(clean, held_) : std::vector<std::string>()) {
                Problem(place, line);
            }
        }
        if (!place.struck) {
            Add(round.Round(), kMissed);
        }
    }
    held_ = clean;
}

Supervisor::Place Supervisor::Watch(const std::vector<std::wstring>& more) {
    std::vector<std::wstring> arguments = process::OwnArguments();
    arguments.insert(arguments.end(), {L"--worker", ToWide(scene_), L"--module", module_});
    arguments.insert(arguments.end(), more.begin(), more.end());
    Place place;
    process::ChildProcess child = StartChild(arguments, process::Streams::OutputRead);
    // The child's own watch is quicker.
    for (std::string line; child.ReadLine(line, (static_cast<DWORD>(options_.patience) + kLongestSilence) * 1000);) {
        Take(line, place);
        if (report_.ProgressIsDue()) {
            Say("{:4} s  {} {} {}, {} points failed, {} violations", report_.Seconds(), scene_, place.round,
                place.number, failed_, report_.Violations());
        }
    }
    if (const DWORD code = child.Wait(); !place.ended && !place.over) {
        Problem(place, fmt::format("crash: the process ended with 0x{:08x}", code));
    }
    return place;
}

void Supervisor::Problem(const Place& place, const std::string& text) {
    Add(place.round, text.starts_with("crash")  ? kCrashes
                     : text.starts_with("hang") ? kHangs
                     : text.starts_with("leak") ? kLeaks
                                                : kOthers);
    report_.Violation(
        fmt::format("{} --kind {} --from {} --only  {}: {}", scene_, place.round, place.number, place.function, text));
}

void Supervisor::Take(const std::string& line, Place& place) {
    std::istringstream words(line);
    std::string word;
    std::uint64_t count = 0;
    words >> word;
    const auto rest = [&words] {
        std::string text;
        std::getline(words >> std::ws, text);
        return text;
    };
    if (word == "at") {
        place = {};
        words >> place.round >> place.number;
    } else if (word == "failed") {
        place.function = rest();
        place.struck = true;
        Add(place.round, kFailed);
        ++failed_;
    } else if (word == "problem") {
        Problem(place, rest());
    } else if (word == "crash:" || word == "hang:") {
        Problem(place, line);
        place.over = true;
    } else if (word == "found") {
        words >> word >> count;
        found_.try_emplace(word, count); // a child that goes on behind a crash counts once more
    } else if (word == "held") {
        words >> count;
        held_[rest()] = static_cast<std::int64_t>(count);
    } else if (word == "degraded") {
        ++degraded_;
    } else if (word == "missed") {
        Add(place.round, kMissed);
    } else if (word == "end") {
        place.ended = true;
    }
}

int Supervisor::Tell() {
    // A run that let nothing fail says nothing. One that was told to play less is asked for less.
    if (!options_.only && failed_ == 0) {
        report_.Violation("no call was made to fail");
    }
    for (const auto& [name, row] : byRound_) {
        if (options_.kind.empty() && row[kFound] != 0 && row[kFailed] == 0) {
            report_.Violation(name + ": calls were found and none was made to fail");
        }
    }
    Say("\n{}\n{}", TextOf("scene", byScene_), TextOf("kind", byRound_));
    report_.Row("points failed", failed_);
    report_.Row("points after which the module did without its channel, as it is to", degraded_);
    return report_.Tell();
}

void List(const std::vector<Scene>& scenes) {
    Say("scenes:");
    for (const Scene& scene : scenes) {
        Say("  {}{}", scene.name, scene.fresh ? " (a process for each point)" : "");
    }
    Say("kinds:");
    for (const Order& round : Rounds()) {
        Say("  {}", round.Round());
    }
    Say("not made to fail:");
    for (const Exclusion& group : Exclusions()) {
        Say("  {}:\n    {}", group.reason, group.functions);
    }
}

} // namespace

int RunFaults(const std::vector<Scene>& scenes, FaultOptions options, const std::wstring& module) {
    if (options.list) {
        List(scenes);
        return kNoViolation;
    }
    std::vector<const Scene*> wanted;
    for (const Scene& scene : scenes) {
        if (scene.name == options.worker) {
            return PlayScene(scene, options);
        }
        if (options.scenes.empty() || std::count(options.scenes.begin(), options.scenes.end(), scene.name) != 0) {
            wanted.push_back(&scene);
        }
    }
    if (wanted.empty() || wanted.size() < options.scenes.size() || Rounds(options.kind).empty()) {
        SayLine("there is no such scene or kind");
        return kBadCommandLine;
    }
    const std::filesystem::path original =
        std::filesystem::absolute(options.module.empty() ? module : ToWide(options.module));
    const TempFolder folder; // of this run's copy of the module
    Supervisor supervisor(options, StageModule(original, folder.Path()).wstring());
    // The module writes its log into the current folder when the shell does not tell the user's.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    for (const Scene* scene : wanted) {
        supervisor.Play(*scene);
    }
    std::filesystem::current_path(before);
    return supervisor.Tell();
}

} // namespace verify
