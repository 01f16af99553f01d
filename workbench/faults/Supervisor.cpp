#include "workbench/faults/Supervisor.h"

#include "workbench/faults/Hooks.h"
#include "workbench/faults/Worker.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include "support/Text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace faults {
namespace {

constexpr std::chrono::seconds kProgressEvery{5};
constexpr DWORD kLongestSilence = 30; // s beyond the patience with one point

enum ExitCode : int { kNoViolation = 0, kViolations = 1, kBadCommandLine = 2 };

void List(const std::vector<Scene>& scenes) {
    std::printf("scenes:\n");
    for (const Scene& scene : scenes) {
        std::printf("  %s%s\n", scene.name, scene.fresh ? " (a process for each point)" : "");
    }
    std::printf("kinds:\n");
    for (const Order& round : AllRounds()) {
        std::printf("  %s\n", RoundName(round.kind, round.onward).c_str());
    }
    std::printf("not made to fail:\n");
    for (const Exclusion& group : Exclusions()) {
        std::printf("  %s:\n   ", group.reason);
        for (const char* function : group.functions) {
            std::printf(" %s", function);
        }
        std::printf("\n");
    }
}

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

} // namespace

Supervisor::Supervisor(const std::vector<Scene>& scenes, Options options)
    : scenes_(scenes), options_(std::move(options)) {}

bool Supervisor::Run() {
    for (const Scene& scene : scenes_) {
        if (!Wanted(scene)) {
            continue;
        }
        found_.clear();
        foundKnown_ = false;
        cleanHeld_.clear();
        if (scene.fresh) {
            PlayFresh(scene);
        } else {
            PlayHere(scene);
        }
    }
    std::printf("\n%s", account_.Tell().c_str());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start_).count();
    std::printf("%llu points failed in %lld s; after %llu of them the module did without its channel, as it is to\n",
                static_cast<unsigned long long>(account_.FailedPoints()), static_cast<long long>(seconds),
                static_cast<unsigned long long>(degraded_));
    return account_.Violations() == 0 && HasDoneItsWork();
}

/// A run that let nothing fail says nothing. One that was told to play less is asked for less.
bool Supervisor::HasDoneItsWork() const {
    bool done = options_.only || account_.FailedPoints() != 0;
    if (!done) {
        std::printf("no call was made to fail\n");
    }
    for (const std::string& round : options_.round ? std::vector<std::string>() : account_.IdleRounds()) {
        std::printf("%s: calls were found and none was made to fail\n", round.c_str());
        done = false;
    }
    return done;
}

bool Supervisor::Wanted(const Scene& scene) const {
    return options_.scenes.empty() ||
           std::find(options_.scenes.begin(), options_.scenes.end(), scene.name) != options_.scenes.end();
}

std::vector<std::wstring> Supervisor::Arguments(const Scene& scene) const {
    std::vector<std::wstring> arguments = {
        L"--worker",       L"--module", options_.module, L"--patience", std::to_wstring(options_.patience),
        ToWide(scene.name)};
    if (options_.stacks) {
        arguments.push_back(L"--stacks");
    }
    return arguments;
}

void Supervisor::PlayHere(const Scene& scene) {
    std::optional<Order> round = options_.round;
    std::uint64_t from = options_.from;
    for (;;) {
        std::vector<std::wstring> arguments = Arguments(scene);
        if (round) {
            arguments.insert(arguments.end(), {L"--kind", ToWide(RoundName(round->kind, round->onward)), L"--from",
                                               std::to_wstring(from)});
        }
        arguments.insert(arguments.end(), {L"--every", std::to_wstring(options_.every)});
        if (options_.only) {
            arguments.push_back(L"--only");
        } else if (options_.round) {
            arguments.push_back(L"--one-kind");
        }
        const Place place = Watch(scene, arguments);
        const std::optional<Order> reached = ParseRound(place.round);
        if (place.ended || options_.only || !reached) {
            return; // without a round it died in a clean run, and would again
        }
        round = reached;
        from = place.number + options_.every;
    }
}

void Supervisor::PlayFresh(const Scene& scene) {
    if (!options_.only) {
        held_.clear();
        const Place clean = Watch(scene, Arguments(scene));
        cleanHeld_ = held_;
        if (!clean.ended) {
            return;
        }
    }
    for (const Order& round : AllRounds()) {
        const bool chosen =
            !options_.round || (round.kind == options_.round->kind && round.onward == options_.round->onward);
        std::uint64_t number = options_.round ? options_.from : 1;
        while (chosen && round.kind != Kind::Json && PlayFreshPoint(scene, round, number) && !options_.only) {
            number += options_.every;
        }
    }
}

/// @return whether there may be a later point.
bool Supervisor::PlayFreshPoint(const Scene& scene, const Order& round, std::uint64_t number) {
    const std::string name = RoundName(round.kind, round.onward);
    if (!options_.only && number > found_[name]) {
        return false;
    }
    std::vector<std::wstring> arguments = Arguments(scene);
    arguments.insert(arguments.end(), {L"--kind", ToWide(name), L"--from", std::to_wstring(number)});
    // The module's own threads make some of the calls; how many come in time differs from run to run.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        held_.clear();
        const Place place = Watch(scene, arguments);
        if (place.ended) {
            CompareHeld(scene, place);
        }
        if (place.struck) {
            return true;
        }
    }
    account_.Missed(scene.name, name);
    return true;
}

void Supervisor::CompareHeld(const Scene& scene, const Place& place) {
    if (options_.only) {
        return; // nothing to compare with
    }
    for (const auto& [thing, count] : held_) {
        if (const std::size_t clean = cleanHeld_[thing]; count > clean) {
            std::ostringstream text;
            text << "leak: " << thing << " " << clean << " -> " << count;
            account_.Problem(scene.name, place.round, place.number, place.function, text.str());
        }
    }
}

Supervisor::Place Supervisor::Watch(const Scene& scene, const std::vector<std::wstring>& arguments) {
    Place place;
    process::ChildProcess child(process::ProgramPath(), arguments, process::Streams::OutputRead);
    std::string line;
    // The child's own watch is quicker, unless the heap's lock is with the thread that crashed.
    while (child.ReadLine(line, (static_cast<DWORD>(options_.patience) + kLongestSilence) * 1000)) {
        Take(scene, line, place);
        Progress(scene, place);
    }
    const DWORD code = child.Wait();
    if (!place.ended && code != kChildHangs && code != kChildCrashed && code != kChildAborted && code != kChildFailed) {
        char text[80];
        std::snprintf(text, sizeof text, "crash: the process ended with 0x%08lx", code);
        account_.Problem(scene.name, place.round, place.number, place.function, text);
    }
    foundKnown_ = true; // a process that goes on behind a crash counts once more
    return place;
}

void Supervisor::Take(const Scene& scene, const std::string& line, Place& place) {
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
        words >> place.function;
        place.struck = true;
        account_.Failed(scene.name, place.round);
    } else if (word == "problem") {
        const std::string text = rest();
        account_.Problem(scene.name, place.round, place.number, place.function, text);
        std::printf("%s %s %llu %s: %s\n", scene.name, place.round.c_str(),
                    static_cast<unsigned long long>(place.number), place.function.c_str(), text.c_str());
        std::fflush(stdout);
    } else if (word == "found" && !foundKnown_) {
        std::string round;
        std::uint64_t count = 0;
        words >> round >> count;
        found_[round] = count;
        if (count != 0) {
            account_.Found(scene.name, round, count);
        }
    } else if (word == "held") {
        std::size_t count = 0;
        words >> count;
        held_[rest()] = count;
    } else if (word == "degraded") {
        ++degraded_;
    } else if (word == "missed") {
        account_.Missed(scene.name, place.round);
    } else if (word == "note") {
        std::printf("  %s\n", rest().c_str());
    } else if (word == "end") {
        place.ended = true;
    }
}

void Supervisor::Progress(const Scene& scene, const Place& place) {
    const Clock::time_point now = Clock::now();
    if (now < nextProgress_) {
        return;
    }
    nextProgress_ = now + kProgressEvery;
    std::printf("%4lld s  %s %s %llu, %llu points failed, %zu violations\n",
                static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(now - start_).count()),
                scene.name, place.round.c_str(), static_cast<unsigned long long>(place.number),
                static_cast<unsigned long long>(account_.FailedPoints()), account_.Violations());
    std::fflush(stdout);
}

int Main(const std::vector<Scene>& scenes, const std::vector<std::string>& arguments, const std::wstring& module) {
    try {
        Options options = ParseOptions(arguments);
        if (options.help) {
            std::fputs(HelpText(), stdout);
            return kNoViolation;
        }
        if (options.list) {
            List(scenes);
            return kNoViolation;
        }
        for (const std::string& name : options.scenes) {
            if (std::none_of(scenes.begin(), scenes.end(), [&](const Scene& scene) { return scene.name == name; })) {
                throw OptionsError("there is no such scene: " + name);
            }
        }
        if (options.worker) {
            const auto scene = std::find_if(scenes.begin(), scenes.end(),
                                            [&](const Scene& one) { return one.name == options.scenes.at(0); });
            return PlayScene(*scene, options);
        }
        const std::wstring original =
            std::filesystem::absolute(options.module.empty() ? module : options.module).wstring();
        const Folder folder;
        options.module = StageModule(original, folder.Path());
        return Supervisor(scenes, options).Run() ? kNoViolation : kViolations;
    } catch (const OptionsError& error) {
        std::fprintf(stderr, "workbench_faults: %s\nworkbench_faults --help tells the options\n", error.what());
        return kBadCommandLine;
    } catch (const std::exception& error) {
        std::printf("VIOLATION: %s\n", error.what());
        return kViolations;
    }
}

} // namespace faults
