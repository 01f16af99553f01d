#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/endings/Lines.h"

#include "support/Text.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace verify {
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

/// 0 when it is missing.
std::uint64_t SizeOfLog(int copy) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(AddinLogFile(copy), error);
    return error ? 0 : size;
}

/// Makes a log of so many bytes, which are a hole in the file where the file system has such.
void MakeLog(int copy, std::uint64_t bytes) {
    std::filesystem::create_directories(AddinLogFile().parent_path());
    std::ofstream file(AddinLogFile(copy), std::ios::binary);
    file.seekp(static_cast<std::streamoff>(bytes - 1));
    if (!file.put('\0').flush()) {
        throw std::runtime_error("the log file could not be made");
    }
}

struct Writer {
    std::string mark;
    EndingProcess child;
};

/// One scene from its start to its judgement.
class LogScene {
public:
    LogScene(const Scene& scene, std::uint64_t lines, std::mt19937_64& random, Report& report)
        : scene_(scene), lines_(lines), random_(random), report_(report) {}
    ~LogScene() { DeleteLogs(); }

    void Play() {
        Say("  {}", scene_.name);
        DeleteLogs();
        if (scene_.rotates) {
            const std::uint64_t together = scene_.trouble == Trouble::None ? scene_.writers : 1;
            hole_ = kThreshold - together * lines_ * kBytesPerLine / 2;
            MakeLog(0, hole_);
            MakeLog(1, 1);
            MakeLog(2, 2);
        }
        StartWriters();
        MakeTrouble();
        AwaitWriters();
        Judge();
    }

private:
    void StartWriters() {
        for (unsigned i = 0; i < scene_.writers; ++i) {
            const std::string mark(1, static_cast<char>('A' + i));
            writers_.push_back({mark, EndingProcess({L"write", ToWide(mark), std::to_wstring(lines_)})});
        }
        for (const Writer& writer : writers_) {
            if (!writer.child.process.WaitFor(writer.child.ready.Get(), kStartLimit)) {
                throw std::runtime_error("a writer does not start");
            }
        }
        for (const Writer& writer : writers_) {
            if (scene_.trouble == Trouble::Idle && &writer != &writers_.front()) {
                writers_.front().child.process.WaitForEnd(Limit());
            }
            ::SetEvent(writer.child.go.Get());
        }
    }

    void MakeTrouble() {
        process::ChildProcess& process = writers_.front().child.process;
        const auto moment = static_cast<DWORD>(20 + random_() % 200); // ms
        if (scene_.trouble == Trouble::Kill) {
            ::Sleep(moment);
            process.Terminate(kKilled);
        } else if (scene_.trouble == Trouble::Suspend) {
            ::Sleep(moment);
            process.Suspend();
            const auto code = writers_.back().child.process.WaitForEnd(kStop);
            Say("    the other one {} when the stopped one goes on", code ? "has finished" : "still writes");
            process.Resume();
        }
    }

    void AwaitWriters() {
        for (const Writer& writer : writers_) {
            const auto code = writer.child.process.WaitForEnd(Limit());
            if (!code) {
                Violation("hang: process " + writer.mark);
            } else if (*code != 0 && !(Killed(writer) && code == kKilled)) {
                Violation(fmt::format("process {} ends with 0x{:x}", writer.mark, *code));
            }
        }
    }

    void Judge() {
        LogAccount log;
        const bool rotated = scene_.rotates && SizeOfLog(0) < hole_;
        const bool renamed = scene_.rotates && SizeOfLog(1) > hole_;
        if (renamed) {
            log.Take(ReadFrom(AddinLogFile(1), hole_));
        }
        log.Take(ReadFrom(AddinLogFile(), rotated ? 0 : hole_));
        for (const std::string& line : log.torn) {
            Resumed() ? Say("    torn: {}", line) : Violation("torn: " + line);
        }
        if (rotated != scene_.rotates) {
            Violation("no rotation");
        }
        if (renamed && SizeOfLog(2) != 1) {
            Violation("the copy of before is not the second one now");
        }
        std::uint64_t whole = 0;
        bool someoneEnded = false; // with the last line in the files
        std::string lost;
        for (const Writer& writer : writers_) {
            const WriterAccount& account = log.writers[writer.mark];
            JudgeWriter(writer, account, renamed);
            whole += account.whole;
            someoneEnded = someoneEnded || (account.whole != 0 && account.last == lines_ - 1);
            lost += fmt::format("; {}: {} lost before the first, {} inside", writer.mark,
                                account.whole != 0 ? account.first : lines_, account.lostInside);
        }
        if (!someoneEnded) {
            Violation("no process has its last line in the log");
        }
        report_.Row(scene_.name, fmt::format("{} lines each: {} found whole, torn {}{}{}", lines_, whole,
                                             log.torn.size(), lost, renamed ? "; the full file is copy 1" : ""));
    }

    /// @param renamed the old file is there as a copy: nothing may be lost then.
    void JudgeWriter(const Writer& writer, const WriterAccount& account, bool renamed) {
        // The rotation empties a file that it cannot rename, because another process has it open and gets no turn to
        // close it: for want of something to write, or of processor time. Nothing else loses lines.
        const bool mayLoseOldOnes = scene_.rotates && scene_.writers > 1 && !renamed;
        if (account.disordered != 0) {
            Violation("process " + writer.mark + ": lines twice or out of order");
        }
        if (account.lostInside != 0 && !Resumed()) {
            Violation(fmt::format("process {}: {} lines lost in the middle", writer.mark, account.lostInside));
        }
        if ((account.whole == 0 || account.last != lines_ - 1) && !Killed(writer) && !mayLoseOldOnes) {
            Violation("process " + writer.mark + ": the last line is lost");
        }
        if (account.first != 0 && !mayLoseOldOnes) {
            Violation(fmt::format("process {}: {} lines lost at the start", writer.mark, account.first));
        }
    }

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
};

} // namespace

void RunLog(const EndingOptions& options, Report& report) {
    std::mt19937_64 random(options.seed);
    for (const Scene& scene : kScenes) {
        LogScene(scene, options.lines, random, report).Play();
    }
}

int PlayWriter(const std::vector<std::string>& words) {
    Session session;
    session.Begin();
    AwaitGo(words);
    WriteNumbered(session.AddIn().Object(), words.at(0), std::stoull(words.at(1)));
    return 0;
}

} // namespace verify
