#pragma once

#include "workbench/client/TranscriptEntry.h"

#include "support/UniqueResource.h"

#include <mutex>
#include <string>
#include <string_view>

namespace meeting_client {

/// The file of everything that happened. Each line is with the system before `Write` returns, so that it outlives a
/// crash of the client. Any thread.
class Transcript {
public:
    /// @param path UTF-8; empty for none. An existing file is continued.
    /// @throws std::runtime_error when the file cannot be opened.
    explicit Transcript(const std::string& path);

    /// Fills in the time. A line that cannot be written is lost.
    void Write(TranscriptEntry entry);
    void Note(std::string_view text) { WriteText("note", text); }
    void Fault(std::string_view text) { WriteText("fault", text); }

private:
    void WriteText(const char* kind, std::string_view text);

    std::mutex lock_;
    UniqueHandle file_;
};

} // namespace meeting_client
