#pragma once

#include "workbench/process/ChildProcess.h"

#include "support/UniqueResource.h"

#include <windows.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace verify {

/// Another process of this program. @throws std::runtime_error
process::ChildProcess StartChild(const std::vector<std::wstring>& arguments,
                                 process::Streams streams = process::Streams::Shared);

/// An event that both sides open by name. A name is used once.
UniqueHandle SharedEvent(const std::wstring& name);
std::wstring NewName();

/// Reports a crash of the calling process as "crash: CODE at ADDRESS" and ends it with the exception's code, also where
/// the system would pass the crash over: in a window procedure, or while the process ends.
void ReportCrashes();

/// Calls a function again and again on a thread of its own, while it lives.
class Ticker {
public:
    Ticker(std::chrono::milliseconds between, std::function<void()> tick);

private:
    std::jthread thread_;
};

/// Ends the process when the main thread has given no sign of life for too long, and tells what it was doing as
/// "hang: TEXT".
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit);

    void Doing(std::string what); // a sign of life, as the next one
    void Beat();

private:
    void Look();

    const std::chrono::seconds limit_;
    std::mutex lock_;
    std::string what_ = "starting";
    std::chrono::steady_clock::time_point lastSign_ = std::chrono::steady_clock::now();
    Ticker ticker_; // last: it uses the others
};

} // namespace verify
