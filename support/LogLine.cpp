#include "support/LogLine.h"

#include "support/AddinLog.h"
#include "support/LogOne.h"
#include "support/Text.h"

#include <windows.h>
#include <shlwapi.h>

LogLine::LogLine(const wchar_t* source, const wchar_t* function, int line)
    : source_(::PathFindFileNameW(source)), function_(function), line_(line) {}

LogLine::~LogLine() {
    if (source_ == nullptr || function_ == nullptr) {
        return;
    }
    try {
        const std::string text = ToUtf8(stream_.view());
        LogOneWrite(AddinLogId(), "", static_cast<int32_t>(level_), ToUtf8(function_).c_str(), ToUtf8(source_).c_str(),
                    line_, "%s", text.c_str());
    } catch (...) {
        // The line is lost; a log statement never fails its function.
    }
}

std::wostream& LogLine::Error() {
    level_ = LogLevel::Error;
    return stream_;
}

std::wostream& LogLine::Warning() {
    level_ = LogLevel::Warning;
    return stream_;
}

std::wostream& LogLine::Info() {
    level_ = LogLevel::Info;
    return stream_;
}

std::wostream& LogLine::Debug() {
    level_ = LogLevel::Debug;
    return stream_;
}
