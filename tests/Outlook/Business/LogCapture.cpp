#include "tests/Outlook/Business/LogCapture.h"

#include <mutex>

namespace {

struct Capture {
    std::mutex lock;
    std::vector<LogCapture::Line> lines;
};

// Never destroyed: the channel thread may still log when the program ends.
Capture& TheCapture() {
    static Capture& capture = *new Capture;
    return capture;
}

} // namespace

namespace LogCapture {

void Clear() {
    const std::lock_guard hold(TheCapture().lock);
    TheCapture().lines.clear();
}

std::vector<Line> Of(const std::wstring& function) {
    const std::lock_guard hold(TheCapture().lock);
    std::vector<Line> found;
    for (const Line& line : TheCapture().lines) {
        if (line.function == function) {
            found.push_back(line);
        }
    }
    return found;
}

} // namespace LogCapture

LogLine::LogLine(const wchar_t* source, const wchar_t* function, int line) noexcept
    : source_(source), function_(function), line_(line) {}

LogLine::~LogLine() {
    const std::lock_guard hold(TheCapture().lock);
    TheCapture().lines.push_back({level_, source_, function_, stream_ ? stream_->str() : std::wstring()});
}

LogLine& LogLine::At(LogLevel level) noexcept {
    level_ = level;
    return *this;
}
