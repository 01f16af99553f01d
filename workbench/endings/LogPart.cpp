#include "workbench/endings/LogPart.h"

#include "workbench/endings/Lines.h"
#include "workbench/endings/LogFiles.h"
#include "workbench/endings/Module.h"
#include "workbench/endings/Process.h"

#include "support/Text.h"

#include <chrono>
#include <random>
#include <stdexcept>

namespace endings {
namespace {

constexpr std::uint64_t kThreshold = 1ULL << 30; // bytes at which the log is rotated
constexpr std::uint64_t kBytesPerLine = 300;     // of a numbered line, in the mean
constexpr DWORD kStartLimit = 30'000;            // ms
constexpr DWORD kWriteLimit = 60'000;            // ms, and more by the number of lines
constexpr DWORD kStop = 4'000;                   // ms for which a process is stopped in mid-work
constexpr DWORD kKilled = 77;                    // exit code

enum class Trouble { None, Kill, Suspend, Idle };

struct Scene {
    const char* name;
    unsigned writers;
    bool rotates;
    Trouble trouble;
};

constexpr Scene kScenes[] = {
    {"2 processes, no rotation", 2, false, Trouble::None},
    {"3 processes, no rotation", 3, false, Trouble::None},
    {"1 process through a rotation", 1, true, Trouble::None},
    {"2 processes through a rotation", 2, true, Trouble::None},
    {"3 processes through a rotation", 3, true, Trouble::None},
    {"2 processes through a rotation, one is killed", 2, true, Trouble::Kill},
    {"2 processes, one is stopped for 4 s", 2, false, Trouble::Suspend},
    {"2 processes, one has the log open and writes after the other's rotation", 2, true, Trouble::Idle},
};

struct Writer {
    std::string mark;
    UniqueHandle ready;
    UniqueHandle go;
    process::ChildProcess process;
};

/// One scene from its start to its judgement.
class Stage {
public:
    Stage(const Scene& scene, std::uint64_t lines, std::mt19937_64& random, Report& report)
        : scene_(scene), lines_(lines), random_(random), report_(report) {}
    ~Stage() { DeleteLogs(); }

    void Play();

private:
    void PrepareFiles();
    void StartWriters();
    void MakeTrouble();
    void AwaitWriters();
    void Judge();
    /// @param renamed the old file is there as a copy: nothing may be lost then.
    void JudgeWriter(const Writer& writer, const LineChecker& checker, bool renamed);
    void Violation(const std::string& what) { report_.Violation(std::string(scene_.name) + ": " + what); }
    DWORD Limit() const { return static_cast<DWORD>(kWriteLimit + lines_ * scene_.writers / 2); }
    /// A process that was stopped inside its write ends it afterwards, over what the others have written meanwhile:
    /// they do not wait for it forever. Damage from that is printed and is no violation.
    bool Resumed() const { return scene_.trouble == Trouble::Suspend; }
    bool Killed(const Writer& writer) const { return scene_.trouble == Trouble::Kill && &writer == &writers_.front(); }

    const Scene& scene_;
    const std::uint64_t lines_;
    std::mt19937_64& random_;
    Report& report_;
    std::uint64_t hole_ = 0; // bytes before the first line
    std::vector<Writer> writers_;
    std::chrono::steady_clock::time_point begin_;
    std::string lost_;
};

void Stage::PrepareFiles() {
    DeleteLogs();
    if (!scene_.rotates) {
        return;
    }
    const std::uint64_t together = scene_.trouble == Trouble::None ? scene_.writers : 1;
    const std::uint64_t output = together * lines_ * kBytesPerLine;
    hole_ = kThreshold - output / 2;
    MakeSparse(LogFile(), hole_);
    MakeSparse(LogFile(1), 1);
    MakeSparse(LogFile(2), 2);
}

void Stage::StartWriters() {
    for (unsigned i = 0; i < scene_.writers; ++i) {
        const std::wstring ready = NewName();
        const std::wstring go = NewName();
        const std::string mark(1, static_cast<char>('A' + i));
        writers_.push_back({mark, SharedEvent(ready), SharedEvent(go),
                            StartChild({L"write", ToWide(mark), std::to_wstring(lines_), ready, go})});
    }
    for (const Writer& writer : writers_) {
        if (!writer.process.WaitFor(writer.ready.Get(), kStartLimit)) {
            throw std::runtime_error("a writer does not start");
        }
    }
    begin_ = std::chrono::steady_clock::now();
    for (const Writer& writer : writers_) {
        if (scene_.trouble == Trouble::Idle && &writer != &writers_.front()) {
            writers_.front().process.WaitForEnd(Limit());
        }
        ::SetEvent(writer.go.Get());
    }
}

void Stage::MakeTrouble() {
    if (scene_.trouble == Trouble::None || scene_.trouble == Trouble::Idle) {
        return;
    }
    process::ChildProcess& process = writers_.front().process;
    ::Sleep(static_cast<DWORD>(20 + random_() % 200));
    if (scene_.trouble == Trouble::Kill) {
        process.Terminate(kKilled);
        return;
    }
    process.Suspend();
    const auto code = writers_.back().process.WaitForEnd(kStop);
    Say(std::string("    the other one ") + (code ? "has finished" : "still writes") + " when the stopped one goes on");
    process.Resume();
}

void Stage::AwaitWriters() {
    for (const Writer& writer : writers_) {
        const auto code = writer.process.WaitForEnd(Limit());
        const bool killed = Killed(writer) && code == kKilled;
        if (!code) {
            Violation("process " + writer.mark + " hangs");
        } else if (*code != 0 && !killed) {
            Violation("process " + writer.mark + " ends with " + Hex(*code));
        }
    }
}

void Stage::Judge() {
    LineChecker checker;
    const bool renamed = SizeOf(LogFile(1)) > hole_ && scene_.rotates;
    if (renamed) {
        checker.Take(ReadFrom(LogFile(1), hole_));
    }
    checker.Take(ReadFrom(LogFile(), SizeOf(LogFile()) >= hole_ ? hole_ : 0));
    for (const std::string& line : checker.Torn()) {
        Resumed() ? Say("    torn: " + line) : Violation("torn: " + line);
    }
    if (scene_.rotates && SizeOf(LogFile()) >= hole_) {
        Violation("no rotation");
    }
    std::uint64_t whole = 0;
    bool someoneEnded = false; // with the last line in the files
    for (const Writer& writer : writers_) {
        JudgeWriter(writer, checker, renamed);
        const auto found = checker.Writers().find(writer.mark);
        whole += found == checker.Writers().end() ? 0 : found->second.whole;
        someoneEnded = someoneEnded || (found != checker.Writers().end() && found->second.last == lines_ - 1);
    }
    if (!someoneEnded) {
        Violation("no process has its last line in the log");
    }
    const auto took =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin_).count();
    std::string files;
    for (int copy = 0; scene_.rotates && copy <= 2; ++copy) {
        const std::uint64_t size = SizeOf(LogFile(copy));
        files.append("; ").append(LogFile(copy).filename().string()).append(" ");
        files.append(size != 0 ? std::to_string(size) + " bytes" : "none");
    }
    report_.Row(scene_.name, std::to_string(lines_) + " lines each: " + std::to_string(whole) + " found whole, torn " +
                                 std::to_string(checker.TornCount()) + lost_ + ", " + std::to_string(took) + " ms" +
                                 files);
}

void Stage::JudgeWriter(const Writer& writer, const LineChecker& checker, bool renamed) {
    // The rotation empties a file that it cannot rename, because another process has it open and gets no turn to close
    // it: for want of something to write, or of processor time. Nothing else loses lines.
    const bool mayLoseOldOnes = scene_.rotates && scene_.writers > 1 && !renamed;
    const auto found = checker.Writers().find(writer.mark);
    if (found == checker.Writers().end()) {
        lost_ += "; " + writer.mark + ": all lost";
        if (!Killed(writer) && !mayLoseOldOnes) {
            Violation("no line of process " + writer.mark);
        }
        return;
    }
    const Account& account = found->second;
    lost_ += "; " + writer.mark + ": " + std::to_string(account.first) + " lost before the first, " +
             std::to_string(account.lostInside) + " inside";
    if (account.duplicated + account.disordered != 0) {
        Violation("process " + writer.mark + ": lines twice or out of order");
    }
    if (account.lostInside != 0 && !Resumed()) {
        Violation("process " + writer.mark + ": " + std::to_string(account.lostInside) + " lines lost in the middle");
    }
    if (account.last != lines_ - 1 && !Killed(writer) && !mayLoseOldOnes) {
        Violation("process " + writer.mark + ": the last line is lost");
    }
    if (account.first != 0 && !mayLoseOldOnes) {
        Violation("process " + writer.mark + ": " + std::to_string(account.first) + " lines lost at the start");
    }
}

void Stage::Play() {
    Say(std::string("  ") + scene_.name);
    PrepareFiles();
    StartWriters();
    MakeTrouble();
    AwaitWriters();
    Judge();
}

} // namespace

void RunLog(const Options& options, Report& report) {
    Say("several processes in one log");
    std::mt19937_64 random(options.seed);
    for (const Scene& scene : kScenes) {
        Stage(scene, options.lines, random, report).Play();
    }
}

int PlayWriter(const std::vector<std::string>& orders) {
    const std::uint64_t lines = ParseNumber("lines", orders.at(1));
    const UniqueHandle ready = SharedEvent(ToWide(orders.at(2)));
    const UniqueHandle go = SharedEvent(ToWide(orders.at(3)));
    const Module module;
    ::SetEvent(ready.Get());
    ::WaitForSingleObject(go.Get(), static_cast<DWORD>(kWriteLimit + lines));
    for (std::uint64_t number = 0; number < lines; ++number) {
        module.Log(NumberedText(orders.at(0), number));
    }
    return 0;
}

} // namespace endings
