#pragma once

#include <cstdarg>
#include <cstdint>

/// A size-limited, rotating, line-oriented log file. Texts are zero-terminated UTF-8 unless wide. Any thread; no
/// operation reports a failure, the line is dropped instead.
///
/// The parameters of a line: `tag` stands in brackets of its own unless it is empty; `file` is reduced to the part
/// behind its last separator; `level` is a `LogLevel`, lines above the threshold are dropped. A line with a null text,
/// with a level that has no name or longer than 16383 bytes, line end included, is dropped; so is a wide message of
/// more than 16383 units.
class LogOne {
public:
    /// Wide line. The message is converted to the ANSI code page and follows the word "Content:".
    virtual void WriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                        const wchar_t* format, ...) noexcept = 0;
    virtual void Write(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                       const char* format, ...) noexcept = 0;
    virtual void VWriteW(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                         const wchar_t* format, va_list arguments) noexcept = 0;
    virtual void VWrite(const char* tag, const char* function, const char* file, int32_t line, int32_t level,
                        const char* format, va_list arguments) noexcept = 0;

    /// An "[Enter]" or "[Leave]" line; written only at threshold 3 and above.
    virtual void Trace(const char* tag, const char* function, const char* file, int32_t line, bool enter) noexcept = 0;

    virtual ~LogOne() = default;

    /// A disabled logger drops every line.
    virtual void Disable() noexcept = 0;
    virtual void Enable() noexcept = 0;

    /// @param kibibytes size at which the file is rotated before the next line. Deliberate: no overflow check, since
    ///   the callers' values are constants. They check them against `kLargestLogKB`.
    virtual void SetMaxSizeKB(uint32_t kibibytes) noexcept = 0;
    /// @param count rotated copies to keep; ignored when not positive.
    virtual void SetBackupCount(int32_t count) noexcept = 0;
    virtual void SetLevel(int32_t level) noexcept = 0;
    /// A free-form name of up to 255 bytes that nothing reads.
    virtual void SetName(const char* name) noexcept = 0;
    /// @param bits bit 0 writes to the file, bit 1 builds lines also when no file is open.
    virtual void SetOutputMode(uint32_t bits) noexcept = 0;
};
