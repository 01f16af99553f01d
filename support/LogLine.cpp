#include "support/LogLine.h"

#include "support/AddinLog.h"
#include "support/LogOneApi.h"

#include <windows.h>
#include <shlwapi.h>

LogLine::LogLine(const wchar_t* source, const wchar_t* function, int line) noexcept
    : source_(source), function_(function), line_(line) {
    At(LogLevel::Info);
}

LogLine::~LogLine() {
    if (source_ == nullptr || function_ == nullptr || dropped_) {
        return;
    }
    try {
        const std::string text = stream_ ? ToUtf8(stream_->view()) : std::string();
        LogOneWrite(AddinLogId(), "", static_cast<int32_t>(level_), ToUtf8(function_).c_str(),
                    ToUtf8(::PathFindFileNameW(source_)).c_str(), line_, "%s", text.c_str());
    } catch (...) {
        // The line is lost; a log statement never fails its function.
    }
}

// Debug statements stand in every reference count, so a dropped one must cost next to nothing.
LogLine& LogLine::At(LogLevel level) noexcept {
    level_ = level;
    dropped_ = static_cast<int32_t>(level) > AddinLogThreshold();
    return *this;
}
