#pragma once

#include "support/LogOne.h"
#include "support/ProcessLock.h"
#include "support/Rotation.h"
#include "support/UniqueResource.h"

#include <cstdio>
#include <memory>

/// A log's file. "Not open" is the handle with all bits set, while a failed open gives null.
/// Deliberate: null therefore counts as open. The adapter refuses every call on it, so a log that cannot be opened
/// stays silent at the cost of one try, instead of probing the disk again at each line.
struct LogFileTraits {
    using Value = FILE*;
    static Value Empty() noexcept { return reinterpret_cast<FILE*>(UINTPTR_MAX); }
    static void Close(Value file) noexcept;
};
using UniqueLogFile = UniqueResource<LogFileTraits>;

class LogOneImpl final : public LogOne {
public:
    /// Makes the log's directory. The file is opened by the first line.
    /// @throws std::bad_alloc when memory is exhausted.
    explicit LogOneImpl(const char* path);
    ~LogOneImpl() override;

    LogOneImpl(const LogOneImpl&) = delete;
    LogOneImpl& operator=(const LogOneImpl&) = delete;

    void WriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                const wchar_t* format, ...) noexcept override;
    void Write(const char* tag, const char* function, const char* file, int32_t line, int32_t level, const char* format,
               ...) noexcept override;
    void VWriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                 const wchar_t* format, va_list arguments) noexcept override;
    void VWrite(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                const char* format, va_list arguments) noexcept override;
    void Trace(const char* tag, const char* function, const char* file, int32_t line, bool enter) noexcept override;
    void Disable() noexcept override;
    void Enable() noexcept override;
    void SetMaxSizeKB(uint32_t kibibytes) noexcept override;
    void SetBackupCount(int32_t count) noexcept override;
    void SetLevel(int32_t level) noexcept override;
    void SetName(const char* name) noexcept override;
    void SetOutputMode(uint32_t bits) noexcept override;

private:
    struct LineOrigin {
        const char* tag;
        const char* function;
        const char* file;
        int32_t line;
        int32_t level;

        bool IsComplete() const noexcept { return tag != nullptr && function != nullptr && file != nullptr; }
    };
    static constexpr size_t kLineBytes = 16384; // prefix, message, line end and terminator

    template <class AppendMessage>
    void WriteLine(const LineOrigin& origin, AppendMessage append) noexcept;
    template <class AppendMessage>
    bool BuildLine(const LineOrigin& origin, AppendMessage append) noexcept;
    void ChooseFile(const char* path);
    bool UseFile(const std::string& directory, const std::string& fileName) noexcept;

    // All of these under the registry lock.
    bool PrepareFile(bool owned);
    bool OpenFile() noexcept;
    void WriteHeader() noexcept;
    void Rotate();
    bool IsFull() const noexcept;
    bool LetOthersClose() noexcept;
    RotationPlan PlanCopies(const LogNameParts& parts) const;
    int BuildPrefix(const LineOrigin& origin) noexcept;
    bool WritesToFile() const noexcept;
    void WriteOut(const char* text) noexcept;

    bool disabled_ = false;
    bool reopenPending_ = true;
    char fileName_[kLogNameBytes] = {};
    char directory_[kLogNameBytes] = {}; // ends in "\"
    UniqueLogFile file_;
    int32_t level_ = 3;
    int32_t maxSize_ = 5 * 1024 * 1024; // bytes
    int32_t backupCount_ = 1;
    char name_[256] = {};
    uint32_t outputMode_ = 1;
    std::unique_ptr<char[]> lineBuffer_;
    ProcessLock processLock_;
    std::string postponed_; // lines that found the lock taken and are not in the file yet
    uint32_t tries_ = 0;    // to take the lock since it was owned last, that one included
};
