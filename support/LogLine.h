#pragma once

#include <optional>
#include <source_location>
#include <sstream>

/// Values of a log line's level; smaller is more severe. The add-in's log drops `Debug`.
enum class LogLevel : int { Error = 0, Warning = 1, Info = 2, Debug = 3 };

/// One line of the add-in's log. Made, filled and written in one statement:
/// `LogLine(kSource, L"AddIn::OnLoad").Info() << L"Ribbon loaded " << count;`
/// The line is written when the object dies; a failure to write it is never reported. Any thread.
class LogLine {
public:
    /// @param source source file without its ending, as in L"AddIns/Action"; only the part after the last separator
    ///   stands in the line.
    /// @param function in the form L"Class::Method". Both texts are only pointed to and outlive the statement.
    LogLine(const wchar_t* source, const wchar_t* function,
            int line = static_cast<int>(std::source_location::current().line()));
    ~LogLine();

    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    /// Each sets the level and gives the stream to fill. Without one of them the level is `Info`.
    std::wostream& Error() { return At(LogLevel::Error); }
    std::wostream& Warning() { return At(LogLevel::Warning); }
    std::wostream& Info() { return At(LogLevel::Info); }
    std::wostream& Debug() { return At(LogLevel::Debug); }

private:
    std::wostream& At(LogLevel level);

    std::optional<std::wostringstream> stream_; // made for a line that will be written
    std::wostream dropped_{nullptr};            // takes a line that will not, and formats nothing
    const wchar_t* source_; // Pointers, so that a statement cannot fail for want of memory before it has begun.
    const wchar_t* function_;
    int line_;
    LogLevel level_ = LogLevel::Info;
};

/// Opens the add-in's log, "NembraMeeting\log\outlookaddin.txt" under the user's roaming application data.
/// Does nothing when it is open. The file itself is opened by the first line. Called by `DllMain` under the loader
/// lock.
void OpenAddinLog() noexcept;

/// Closes the add-in's log; later lines are dropped until it is opened again.
/// @param processEnds only the calling thread is left. A log that another one was killed in is left to the system: it
///   can neither be waited for nor trusted, and what was written to it has been flushed.
void CloseAddinLog(bool processEnds = false) noexcept;
