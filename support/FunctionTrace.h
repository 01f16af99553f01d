#pragma once

#include "support/LogOne.h"

#include <cstdint>

/// Takes a trace line, printf-style.
using FunctionTraceCallback = void (*)(int32_t level, const char* tag, const char* format, ...);

enum class FunctionTraceMode : int32_t { Logger = 0, Callback = 1 };

/// Reports a scope's start and end, to a callback or to a logger. Does nothing when a text is missing. All pointers
/// outlive the scope. One thread.
class FunctionTrace {
public:
    /// @param logger the variable that holds the logger to use; read anew at each end of the scope.
    FunctionTrace(LogOne* const* logger, int32_t line, const char* tag, const char* function, const char* file,
                  FunctionTraceCallback callback, FunctionTraceMode mode) noexcept;
    virtual ~FunctionTrace();

    FunctionTrace(const FunctionTrace&) = delete;
    FunctionTrace& operator=(const FunctionTrace&) = delete;

private:
    void Report(bool enter) const noexcept;
    void CallBack(bool enter) const;

    LogOne* const* logger_;
    int32_t line_;
    const char* tag_;
    const char* function_;
    const char* file_;
    FunctionTraceCallback callback_;
    FunctionTraceMode mode_;
};
