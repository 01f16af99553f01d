#pragma once

#include "workbench/client/TranscriptEntry.h"

#include "support/UniqueResource.h"

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

namespace meeting_client {

/// The file of everything that happened. Each line is with the system before `Write` returns, so that it outlives a
/// crash of the client. Any thread.
class Transcript {
public:
    /// @param path UTF-8; "-" for the standard output, empty for none. An existing file is continued.
    /// @throws std::runtime_error when the file cannot be opened.
    explicit Transcript(const std::string& path);

    /// Fills in the times. A line that cannot be written is lost.
    void Write(TranscriptEntry entry);
    void Note(std::string_view text);
    void Fault(std::string_view text);

private:
    std::mutex lock_;
    UniqueHandle file_;
    HANDLE output_ = nullptr; // the file or the standard output, which is not owned
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace meeting_client
