#include "support/FunctionTrace.h"

#include "support/LogFormat.h"
#include "support/LoggerRegistry.h"

#include <windows.h>

namespace {

// Deliberate: the start and the end of a scope have different levels.
constexpr int32_t kEnterLevel = 7;
constexpr int32_t kLeaveLevel = 6;

} // namespace

FunctionTrace::FunctionTrace(LogOne* const* logger, int32_t line, const char* tag, const char* function,
                             const char* file, FunctionTraceCallback callback, FunctionTraceMode mode) noexcept
    : logger_(logger), line_(line), tag_(tag), function_(function), file_(file), callback_(callback), mode_(mode) {
    Report(true);
}

FunctionTrace::~FunctionTrace() {
    Report(false);
}

void FunctionTrace::Report(bool enter) const noexcept {
    if (function_ == nullptr || file_ == nullptr || tag_ == nullptr) {
        return;
    }
    if (mode_ == FunctionTraceMode::Callback && callback_ != nullptr) {
        try {
            CallBack(enter);
        } catch (...) {
            // Tracing never fails the traced function.
        }
        return;
    }
    if (logger_ != nullptr && *logger_ != nullptr && LoggingAlive()) {
        (*logger_)->Trace(tag_, function_, file_, line_, enter);
    }
}

void FunctionTrace::CallBack(bool enter) const {
    char time[kLogTimeBytes];
    FormatLocalTime(time);
    const unsigned long thread = ::GetCurrentThreadId();
    if (enter) {
        callback_(kEnterLevel, tag_, "[%s][T:%lu][%s:%d]Enter %s", time, thread, function_, line_, function_);
    } else {
        callback_(kLeaveLevel, tag_, "[%s][T:%lu][%s:%d]Leave %s", time, thread, function_, line_, function_);
    }
}
