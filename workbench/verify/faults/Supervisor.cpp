#include "workbench/verify/faults/Faults.h"

#include "workbench/verify/core/Process.h"
#include "workbench/verify/core/Report.h"
#include "workbench/verify/core/Usage.h"
#include "workbench/verify/faults/Hooks.h"

#include "support/Text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <sstream>

namespace verify {
namespace {

constexpr DWORD kLongestSilence = 30; // s beyond the patience with one point

enum Column : std::size_t { kFound, kFailed, kMissed, kCrashes, kHangs, kLeaks, kOthers, kColumns };
using Row = std::array<std::uint64_t, kColumns>;

/// The results of the points, by scene or by kind.
class Table {
public:
    explicit Table(const char* what) : what_(what) {}

    void Add(const std::string& name, Column column, std::uint64_t count) {
        auto found = std::find_if(rows_.begin(), rows_.end(), [&](const auto& row) { return row.first == name; });
        if (found == rows_.end()) {
            found = rows_.insert(rows_.end(), {name, Row{}});
        }
        found->second[column] += count;
        total_[column] += count;
    }
    std::uint64_t Total(Column column) const { return total_[column]; }
    const std::vector<std::pair<std::string, Row>>& Rows() const { return rows_; }
    std::string Text() const {
        std::vector<std::vector<std::string>> lines{
            {what_, "found", "failed", "missed", "crashes", "hangs", "leaks", "others"}};
        auto rows = rows_;
        rows.emplace_back("total", total_);
        for (const auto& [name, row] : rows) {
            lines.push_back({name});
            for (const std::uint64_t count : row) {
                lines.back().push_back(std::to_string(count));
            }
        }
        return MarkdownTable(lines);
    }

private:
    const char* what_;
    std::vector<std::pair<std::string, Row>> rows_; // in the order of their first point
    Row total_{};
};

/// The folder of this run's copy of the module, and the current one while it lives: the module writes its log there
/// when the shell does not tell the user's folder.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() / (L"faults-" + std::to_wstring(::GetCurrentProcessId()))),
          before_(std::filesystem::current_path()) {
        std::filesystem::create_directories(path_);
        std::filesystem::current_path(path_);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::wstring Path() const { return path_.wstring(); }

private:
    std::filesystem::path path_;
    std::filesystem::path before_;
};

/// Has child processes play the scenes: one each, or one for each point of a scene that happens once in a process. A
/// child that crashes or hangs is a violation, and another one goes on with the next kind.
class Supervisor {
public:
    explicit Supervisor(const FaultOptions& options) : options_(options) {}

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

    void PlayFresh(const Scene& scene, const Order& round, std::uint64_t found);
    void PlayPoint(const Scene& scene, const Order& round, std::uint64_t number);
    Place Watch(const Scene& scene, const std::string& round, std::uint64_t from, const std::string& first = "");
    void Take(const std::string& line, Place& place);
    void Problem(const Place& place, const std::string& text);
    void Add(const std::string& round, Column column, std::uint64_t count = 1) {
        byScene_.Add(scene_, column, count);
        byRound_.Add(round, column, count);
    }

    const FaultOptions& options_;
    Report report_;
    Table byScene_{"scene"};
    Table byRound_{"kind"};
    std::string scene_;                          // that is being played
    std::map<std::string, std::uint64_t> found_; // by round, in that scene
    Holdings held_;
    std::uint64_t degraded_ = 0;
};

void Supervisor::Play(const Scene& scene) {
    scene_ = scene.name;
    found_.clear();
    held_.clear();
    const std::vector<Order> rounds = AllRounds();
    auto next = rounds.begin();
    Place place;
    do {
        place = Watch(scene, scene.fresh ? "" : options_.kind, options_.from, next->Round());
        next = std::find_if(rounds.begin(), rounds.end(), [&](const Order& one) { return one.Round() == place.round; });
    } while (!place.ended && next != rounds.end() && ++next != rounds.end() && options_.kind.empty());
    for (const Order& round : rounds) {
        if (const std::uint64_t found = found_[round.Round()];
            found != 0 && (options_.kind.empty() || options_.kind == round.Round())) {
            Add(round.Round(), kFound, found);
            if (scene.fresh && place.ended) {
                PlayFresh(scene, round, found);
            }
        }
    }
}

void Supervisor::PlayFresh(const Scene& scene, const Order& round, std::uint64_t found) {
    const std::uint64_t from = options_.kind.empty() ? 1 : options_.from;
    const std::uint64_t last = options_.only ? from : found;
    for (std::uint64_t number = from; number <= last; number += options_.every) {
        PlayPoint(scene, round, number);
    }
}

void Supervisor::PlayPoint(const Scene& scene, const Order& round, std::uint64_t number) {
    const Holdings clean = std::exchange(held_, {});
    Place place;
    // The module's own threads make some of the calls; how many come in time differs from run to run.
    for (int attempt = 0; attempt < kAttempts && !place.struck; ++attempt) {
        held_.clear();
        place = Watch(scene, round.Round(), number);
        for (const std::string& line : place.ended ? GrowthOf(clean, held_) : std::vector<std::string>()) {
            Problem(place, line);
        }
    }
    if (!place.struck) {
        Add(round.Round(), kMissed);
    }
    held_ = clean;
}

Supervisor::Place Supervisor::Watch(const Scene& scene, const std::string& round, std::uint64_t from,
                                    const std::string& first) {
    std::vector<std::wstring> arguments = {L"faults",
                                           L"--worker",
                                           ToWide(scene.name),
                                           L"--module",
                                           ToWide(options_.module),
                                           L"--patience",
                                           std::to_wstring(options_.patience),
                                           L"--from",
                                           std::to_wstring(from),
                                           L"--every",
                                           std::to_wstring(options_.every)};
    if (!round.empty()) {
        arguments.insert(arguments.end(), {L"--kind", ToWide(round)});
    }
    if (!first.empty()) {
        arguments.insert(arguments.end(), {L"--first", ToWide(first)});
    }
    if (options_.only) {
        arguments.push_back(L"--only");
    }
    Place place;
    process::ChildProcess child = StartChild(arguments, process::Streams::OutputRead);
    // The child's own watch is quicker.
    for (std::string line; child.ReadLine(line, (static_cast<DWORD>(options_.patience) + kLongestSilence) * 1000);) {
        Take(line, place);
        if (report_.ProgressIsDue()) {
            Say("{:4} s  {} {} {}, {} points failed, {} violations", report_.Seconds(), scene.name, place.round,
                place.number, byScene_.Total(kFailed), report_.Violations());
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
    words >> word;
    const auto rest = [&words] {
        std::string text;
        std::getline(words >> std::ws, text);
        return text;
    };
    if (word == "at") {
        words >> place.round >> place.number;
        place.function.clear();
        place.struck = false;
    } else if (word == "failed") {
        place.function = rest();
        place.struck = true;
        Add(place.round, kFailed);
    } else if (word == "problem") {
        Problem(place, rest());
    } else if (word == "crash:" || word == "hang:") {
        Problem(place, line);
        place.over = true;
    } else if (word == "found") {
        std::string round;
        std::uint64_t count = 0;
        words >> round >> count;
        found_.try_emplace(round, count); // a child that goes on behind a crash counts once more
    } else if (word == "held") {
        std::size_t count = 0;
        words >> count;
        held_[rest()] = count;
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
    if (!options_.only && byScene_.Total(kFailed) == 0) {
        report_.Violation("no call was made to fail");
    }
    for (const auto& [name, row] : byRound_.Rows()) {
        if (options_.kind.empty() && row[kFound] != 0 && row[kFailed] == 0) {
            report_.Violation(name + ": calls were found and none was made to fail");
        }
    }
    Say("\n{}\n{}", byScene_.Text(), byRound_.Text());
    report_.Row("points failed", byScene_.Total(kFailed));
    report_.Row("points after which the module did without its channel, as it is to", degraded_);
    return report_.Tell();
}

void List(const std::vector<Scene>& scenes) {
    Say("scenes:");
    for (const Scene& scene : scenes) {
        Say("  {}{}", scene.name, scene.fresh ? " (a process for each point)" : "");
    }
    Say("kinds:");
    for (const Order& round : AllRounds()) {
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
    if (!options.kind.empty() && !ParseRound(options.kind)) {
        SayLine("there is no kind " + options.kind);
        return kBadCommandLine;
    }
    std::vector<const Scene*> wanted;
    for (const Scene& scene : scenes) {
        if (options.scenes.empty() ||
            std::find(options.scenes.begin(), options.scenes.end(), scene.name) != options.scenes.end()) {
            wanted.push_back(&scene);
        }
    }
    if (wanted.empty() || (!options.scenes.empty() && wanted.size() < options.scenes.size())) {
        SayLine("there is no such scene");
        return kBadCommandLine;
    }
    if (options.worker) {
        return PlayScene(*wanted.front(), options);
    }
    const std::filesystem::path original = options.module.empty() ? module : ToWide(options.module);
    const std::wstring absolute = std::filesystem::absolute(original).wstring();
    const Folder folder;
    options.module = ToUtf8(StageModule(absolute, folder.Path()));
    Supervisor supervisor(options);
    for (const Scene* scene : wanted) {
        supervisor.Play(*scene);
    }
    return supervisor.Tell();
}

} // namespace verify
