#include "support/LogOneImpl.h"

#include "osadapter/include/kosa.h"
#include "support/LogFormat.h"
#include "support/LoggerRegistry.h"
#include "support/LogPath.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

namespace {

constexpr uint32_t kToFile = 1;
constexpr uint32_t kBuildAlways = 2;
constexpr int32_t kTraceLevel = 3;
constexpr char kLineEnd[] = "\r\n";
constexpr size_t kLineEndLength = sizeof(kLineEnd) - 1;
constexpr char kContentLabel[] = "Content:";
constexpr size_t kWideUnits = 16384;

// Lines that find the log's lock taken are kept in memory until it is free. The first line does not wait for the lock:
// DllMain writes it, and holds the loader lock. After that one line in 64 waits, so that a stopped owner does not stop
// this process. A process that has kept this many bytes writes them without the lock.
constexpr uint32_t kTriesPerWait = 64;
constexpr size_t kMostPostponed = 256 * 1024;

const char* LevelText(int32_t level) noexcept {
    static constexpr const char* kTexts[] = {"Err", "War", "Inf", "Dbg"};
    return level >= 0 && level < static_cast<int32_t>(std::size(kTexts)) ? kTexts[level] : nullptr;
}

template <size_t Size>
bool CopyBounded(char (&target)[Size], const char* text, size_t length) noexcept {
    if (length >= Size) {
        return false;
    }
    std::memcpy(target, text, length);
    target[length] = '\0';
    return true;
}

// Formats a wide message and stores it in the ANSI code page. @return bytes, -1 when it fails or does not fit.
int AppendWide(char* target, size_t size, const wchar_t* format, va_list arguments) noexcept {
    const std::unique_ptr<wchar_t[]> wide(new (std::nothrow) wchar_t[kWideUnits]);
    if (wide == nullptr || size < sizeof(kContentLabel)) {
        return -1;
    }
    const int units = FormatBoundedWideV(wide.get(), kWideUnits, format, arguments);
    if (units < 0) {
        return -1;
    }
    constexpr int kLabelLength = static_cast<int>(sizeof(kContentLabel) - 1);
    std::memcpy(target, kContentLabel, kLabelLength);
    if (units == 0) {
        return kLabelLength; // The platform takes an empty text for a failure.
    }
    const int room = static_cast<int>(size) - kLabelLength;
    const int bytes =
        ::WideCharToMultiByte(CP_ACP, 0, wide.get(), units, target + kLabelLength, room, nullptr, nullptr);
    return bytes > 0 ? kLabelLength + bytes : -1;
}

} // namespace

LogOneImpl::LogOneImpl(const char* path) : lineBuffer_(new char[kLineBytes]) {
    ChooseFile(path);
    processLock_ = ProcessLock((std::string(directory_) + fileName_).c_str());
}

LogOneImpl::~LogOneImpl() {
    const MC_Lock lock(&RegistryLock());
    if (!postponed_.empty()) {
        const ProcessLockScope scope(processLock_, false); // DllMain again
        const bool waitedInVain = tries_ > 1;
        if ((scope.Owned() || waitedInVain) && (file_ || (reopenPending_ && OpenFile()))) {
            WriteOut(postponed_.c_str());
        }
    }
    file_.Reset();
}

template <class AppendMessage>
void LogOneImpl::WriteLine(const LineOrigin& origin, AppendMessage append) noexcept {
    if (!LoggingAlive() || !origin.IsComplete()) {
        return;
    }
    const MC_Lock lock(&RegistryLock());
    if (disabled_) {
        return;
    }
    const ProcessLockScope scope(processLock_, tries_ % kTriesPerWait == 1);
    tries_ = scope.Owned() ? 1 : tries_ + 1;
    try {
        const bool ready = (scope.Owned() || postponed_.size() >= kMostPostponed) && PrepareFile(scope.Owned());
        const bool used = !ready || WritesToFile() || (outputMode_ & kBuildAlways) != 0;
        if (!used || origin.level > level_ || !BuildLine(origin, append)) {
            return;
        }
        if (!ready) {
            postponed_ += lineBuffer_.get();
            return;
        }
    } catch (...) {
        return; // Memory ran out. The line is lost, the next one tries again.
    }
    WriteOut(std::exchange(postponed_, {}).c_str());
    WriteOut(lineBuffer_.get());
}

// `append` gets the room behind the prefix, line end and terminator already taken off, and returns the bytes it stored,
// or -1 to drop the line.
template <class AppendMessage>
bool LogOneImpl::BuildLine(const LineOrigin& origin, AppendMessage append) noexcept {
    const int prefix = BuildPrefix(origin);
    const size_t used = static_cast<size_t>(std::max(prefix, 0));
    if (prefix < 0 || used + kLineEndLength + 1 > kLineBytes) {
        return false;
    }
    const int message = append(lineBuffer_.get() + used, kLineBytes - used - kLineEndLength);
    if (message < 0) {
        return false;
    }
    std::memcpy(lineBuffer_.get() + used + message, kLineEnd, sizeof(kLineEnd));
    return true;
}

void LogOneImpl::WriteOut(const char* text) noexcept {
    if (*text != '\0' && WritesToFile()) {
        KOSA_Fprintf(file_.Get(), "%s", text);
        KOSA_Fflush(file_.Get());
    }
}

void LogOneImpl::VWrite(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                        const char* format, va_list arguments) noexcept {
    if (format == nullptr) {
        return;
    }
    WriteLine({tag, function, file, line, level},
              [&](char* target, size_t size) { return FormatBoundedV(target, size, format, arguments); });
}

void LogOneImpl::VWriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                         const wchar_t* format, va_list arguments) noexcept {
    if (format == nullptr) {
        return;
    }
    WriteLine({tag, function, file, line, level}, [&](char* target, size_t size) {
        return AppendWide(target, size - 1, format, arguments); // Room for the terminator, which it does not write.
    });
}

void LogOneImpl::Write(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                       const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    VWrite(tag, function, file, line, level, format, arguments);
    va_end(arguments);
}

void LogOneImpl::WriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                        const wchar_t* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    VWriteW(tag, function, file, line, level, format, arguments);
    va_end(arguments);
}

void LogOneImpl::Trace(const char* tag, const char* function, const char* file, int32_t line, bool enter) noexcept {
    WriteLine({tag, function, file, line, kTraceLevel}, [&](char* target, size_t size) {
        return (BoundedText(target, size) << (enter ? "[Enter]" : "[Leave]")).Finish();
    });
}

int LogOneImpl::BuildPrefix(const LineOrigin& origin) noexcept {
    const char* const level = LevelText(origin.level);
    if (level == nullptr) {
        return -1;
    }
    char time[kLogTimeBytes];
    FormatLocalTime(time);
    BoundedText line(lineBuffer_.get(), kLineBytes);
    line << "[" << time << "][P:" << int64_t{::GetCurrentProcessId()} << "/T:" << int64_t{::GetCurrentThreadId()}
         << "][";
    line << level << "][";
    if (*origin.tag != '\0') {
        line << origin.tag << "][";
    }
    line << BaseName(origin.file) << ":" << origin.line << " " << origin.function << "]";
    return line.Finish();
}

bool LogOneImpl::WritesToFile() const noexcept {
    return (outputMode_ & kToFile) != 0 && file_;
}

void LogOneImpl::Disable() noexcept {
    const MC_Lock lock(&RegistryLock());
    disabled_ = true;
}

void LogOneImpl::Enable() noexcept {
    const MC_Lock lock(&RegistryLock());
    disabled_ = false;
}

void LogOneImpl::SetMaxSizeKB(uint32_t kibibytes) noexcept {
    const MC_Lock lock(&RegistryLock());
    maxSize_ = static_cast<int32_t>(kibibytes << 10);
}

void LogOneImpl::SetBackupCount(int32_t count) noexcept {
    const MC_Lock lock(&RegistryLock());
    if (count > 0) {
        backupCount_ = count;
    }
}

void LogOneImpl::SetLevel(int32_t level) noexcept {
    const MC_Lock lock(&RegistryLock());
    level_ = level;
}

void LogOneImpl::SetName(const char* name) noexcept {
    if (name == nullptr) {
        return;
    }
    const MC_Lock lock(&RegistryLock());
    CopyBounded(name_, name, (std::min)(KOSA_StrLen(name), sizeof(name_) - 1));
}

void LogOneImpl::SetOutputMode(uint32_t bits) noexcept {
    const MC_Lock lock(&RegistryLock());
    outputMode_ = bits;
}
