#include "workbench/verify/endings/Endings.h"

#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/endings/Lines.h"

#include "support/Text.h"

#include <winioctl.h>

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

struct FileTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value file) noexcept { ::CloseHandle(file); }
};
using UniqueFile = UniqueResource<FileTraits>;

/// 0 when it is missing.
std::uint64_t SizeOf(const std::filesystem::path& file) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    return error ? 0 : size;
}

/// Creates the file with so many bytes that take no room on the disk.
void MakeSparse(const std::filesystem::path& path, std::uint64_t bytes) {
    std::filesystem::create_directories(path.parent_path());
    const UniqueFile file(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD unused = 0;
    // Where the file system needs no such request, the file is sparse by itself.
    ::DeviceIoControl(file.Get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    LARGE_INTEGER size{};
    size.QuadPart = static_cast<LONGLONG>(bytes);
    if (!file || !::SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) || !::SetEndOfFile(file.Get())) {
        throw std::runtime_error("the log file could not be made");
    }
}

struct Writer {
    std::string mark;
    UniqueHandle ready;
    UniqueHandle go;
    process::ChildProcess process;
};

/// One scene from its start to its judgement.
class LogScene {
public:
    LogScene(const Scene& scene, std::uint64_t lines, std::mt19937_64& random, Report& report)
        : scene_(scene), lines_(lines), random_(random), report_(report) {}
    ~LogScene() { DeleteLogs(); }

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
    std::string lost_;
};

void LogScene::PrepareFiles() {
    DeleteLogs();
    if (!scene_.rotates) {
        return;
    }
    const std::uint64_t together = scene_.trouble == Trouble::None ? scene_.writers : 1;
    const std::uint64_t output = together * lines_ * kBytesPerLine;
    hole_ = kThreshold - output / 2;
    MakeSparse(AddinLogFile(), hole_);
    MakeSparse(AddinLogFile(1), 1);
    MakeSparse(AddinLogFile(2), 2);
}

void LogScene::StartWriters() {
    for (unsigned i = 0; i < scene_.writers; ++i) {
        const std::wstring ready = NewName();
        const std::wstring go = NewName();
        const std::string mark(1, static_cast<char>('A' + i));
        writers_.push_back({mark, SharedEvent(ready), SharedEvent(go),
                            StartEnding({L"write", ToWide(mark), std::to_wstring(lines_), ready, go})});
    }
    for (const Writer& writer : writers_) {
        if (!writer.process.WaitFor(writer.ready.Get(), kStartLimit)) {
            throw std::runtime_error("a writer does not start");
        }
    }
    for (const Writer& writer : writers_) {
        if (scene_.trouble == Trouble::Idle && &writer != &writers_.front()) {
            writers_.front().process.WaitForEnd(Limit());
        }
        ::SetEvent(writer.go.Get());
    }
}

void LogScene::MakeTrouble() {
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
    Say("    the other one {} when the stopped one goes on", code ? "has finished" : "still writes");
    process.Resume();
}

void LogScene::AwaitWriters() {
    for (const Writer& writer : writers_) {
        const auto code = writer.process.WaitForEnd(Limit());
        const bool killed = Killed(writer) && code == kKilled;
        if (!code) {
            Violation("hang: process " + writer.mark);
        } else if (*code != 0 && !killed) {
            Violation(fmt::format("process {} ends with 0x{:x}", writer.mark, *code));
        }
    }
}

void LogScene::Judge() {
    LineChecker checker;
    const bool renamed = SizeOf(AddinLogFile(1)) > hole_ && scene_.rotates;
    if (renamed) {
        checker.Take(ReadFrom(AddinLogFile(1), hole_));
    }
    checker.Take(ReadFrom(AddinLogFile(), SizeOf(AddinLogFile()) >= hole_ ? hole_ : 0));
    for (const std::string& line : checker.Torn()) {
        Resumed() ? Say("    torn: {}", line) : Violation("torn: " + line);
    }
    if (scene_.rotates && SizeOf(AddinLogFile()) >= hole_) {
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
    std::string files;
    for (int copy = 0; scene_.rotates && copy <= 2; ++copy) {
        const std::uint64_t size = SizeOf(AddinLogFile(copy));
        files += fmt::format("; {} {} bytes", AddinLogFile(copy).filename().string(), size);
    }
    report_.Row(scene_.name, fmt::format("{} lines each: {} found whole, torn {}{}{}", lines_, whole,
                                         checker.TornCount(), lost_, files));
}

void LogScene::JudgeWriter(const Writer& writer, const LineChecker& checker, bool renamed) {
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
    const WriterAccount& account = found->second;
    lost_ += fmt::format("; {}: {} lost before the first, {} inside", writer.mark, account.first, account.lostInside);
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

void LogScene::Play() {
    Say("  {}", scene_.name);
    PrepareFiles();
    StartWriters();
    MakeTrouble();
    AwaitWriters();
    Judge();
}

} // namespace

void RunLog(const EndingOptions& options, Report& report) {
    std::mt19937_64 random(options.seed);
    for (const Scene& scene : kScenes) {
        LogScene(scene, options.lines, random, report).Play();
    }
}

int PlayWriter(const std::vector<std::string>& words) {
    const std::uint64_t lines = std::stoull(words.at(1));
    const UniqueHandle ready = SharedEvent(ToWide(words.at(2)));
    const UniqueHandle go = SharedEvent(ToWide(words.at(3)));
    const Module module;
    ::SetEvent(ready.Get());
    ::WaitForSingleObject(go.Get(), static_cast<DWORD>(kWriteLimit + lines));
    for (std::uint64_t number = 0; number < lines; ++number) {
        Module::Log(module.Object(), NumberedText(words.at(0), number));
    }
    return 0;
}

} // namespace verify
