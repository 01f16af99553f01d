#include "support/LogLine.h"

#include "support/AddinLog.h"
#include "support/LogOne.h"
#include "support/Text.h"

#include <windows.h>
#include <shlwapi.h>

LogLine::LogLine(const wchar_t* source, const wchar_t* function, int line)
    : source_(::PathFindFileNameW(source)), function_(function), line_(line) {}

LogLine::~LogLine() {
    const auto level = static_cast<int32_t>(level_);
    if (source_ == nullptr || function_ == nullptr || level > kAddinLogThreshold) {
        return;
    }
    try {
        const std::string text = stream_ ? ToUtf8(stream_->view()) : std::string();
        LogOneWrite(AddinLogId(), "", level, ToUtf8(function_).c_str(), ToUtf8(source_).c_str(), line_, "%s",
                    text.c_str());
    } catch (...) {
        // The line is lost; a log statement never fails its function.
    }
}

std::wostream& LogLine::At(LogLevel level) {
    level_ = level;
    if (static_cast<int32_t>(level) > kAddinLogThreshold) {
        return dropped_; // Debug statements stand in every reference count; they must cost next to nothing.
    }
    try {
        return stream_ ? *stream_ : stream_.emplace();
    } catch (...) {
        return dropped_; // No memory: the text is lost. Statements stand in functions that must not throw.
    }
}
