#pragma once

#include "support/Text.h"

#include <optional>
#include <source_location>
#include <sstream>

/// Values of a log line's level; smaller is more severe. The add-in's log drops `Debug` unless its threshold is raised.
enum class LogLevel : int { Error = 0, Warning = 1, Info = 2, Debug = 3 };

/// One line of the add-in's log. Made, filled and written in one statement:
/// `LogLine(kSource, L"AddIn::OnLoad").Info() << L"Ribbon loaded " << count;`
/// The line is written when the object dies; a failure to write it is never reported. A statement throws only what its
/// own arguments throw, and one that the log drops formats nothing. Any thread.
class LogLine {
public:
    /// @param source source file without its ending, as in L"AddIns/Action"; only the part after the last separator
    ///   stands in the line.
    /// @param function in the form L"Class::Method". Both texts are only pointed to and outlive the statement.
    LogLine(const wchar_t* source, const wchar_t* function,
            int line = static_cast<int>(std::source_location::current().line())) noexcept;
    ~LogLine();

    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    /// Each sets the level; text follows with `<<`. Without one of them the level is `Info`.
    LogLine& Error() noexcept { return At(LogLevel::Error); }
    LogLine& Warning() noexcept { return At(LogLevel::Warning); }
    LogLine& Info() noexcept { return At(LogLevel::Info); }
    LogLine& Debug() noexcept { return At(LogLevel::Debug); }

    /// Takes what a wide stream takes, manipulators included. A value that finds no memory is left out.
    template <class Value>
    LogLine& operator<<(const Value& value) noexcept {
        return Append([&](std::wostream& stream) { stream << value; });
    }
    LogLine& operator<<(const wchar_t* text) noexcept {
        return Append([&](std::wostream& stream) { stream << text; });
    }
    /// Narrow texts are UTF-8; null is an empty one.
    LogLine& operator<<(const char* text) noexcept {
        return Append([&](std::wostream& stream) { stream << ToWide(text != nullptr ? text : ""); });
    }
    LogLine& operator<<(const std::string& text) noexcept {
        return Append([&](std::wostream& stream) { stream << ToWide(text); });
    }

private:
    LogLine& At(LogLevel level) noexcept;

    template <class Write>
    LogLine& Append(Write write) noexcept {
        if (!dropped_) {
            try {
                write(stream_ ? *stream_ : stream_.emplace());
            } catch (...) {
                // Statements stand in functions that must not throw.
            }
        }
        return *this;
    }

    std::optional<std::wostringstream> stream_; // made by the first text of a line that is written
    const wchar_t* source_; // Pointers, so that a statement cannot fail for want of memory before it has begun.
    const wchar_t* function_;
    int line_;
    LogLevel level_ = LogLevel::Info;
    bool dropped_ = false;
};
