#include "workbench/client/Transcript.h"

#include "support/Text.h"

#include <cstdio>
#include <stdexcept>

namespace meeting_client {
namespace {

std::string Now() {
    SYSTEMTIME now{};
    ::GetSystemTime(&now);
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", unsigned{now.wYear}, unsigned{now.wMonth},
                  unsigned{now.wDay}, unsigned{now.wHour}, unsigned{now.wMinute}, unsigned{now.wSecond},
                  unsigned{now.wMilliseconds});
    return text;
}

} // namespace

Transcript::Transcript(const std::string& path) {
    if (path.empty()) {
        return;
    }
    if (path == "-") {
        output_ = ::GetStdHandle(STD_OUTPUT_HANDLE);
        return;
    }
    const HANDLE file =
        ::CreateFileW(ToWide(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD error = ::GetLastError();
        throw std::runtime_error("cannot open the transcript \"" + path + "\": error " + std::to_string(error));
    }
    file_.Reset(file);
    output_ = file;
}

void Transcript::Write(TranscriptEntry entry) {
    if (!output_) {
        return;
    }
    const std::lock_guard<std::mutex> hold(lock_);
    entry.time = Now();
    const auto passed = std::chrono::steady_clock::now() - start_;
    entry.microseconds =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
    const std::string line = ToLine(entry) + '\n';
    DWORD written = 0;
    ::WriteFile(output_, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void Transcript::Note(std::string_view text) {
    TranscriptEntry entry;
    entry.kind = "note";
    entry.bytes = text;
    Write(std::move(entry));
}

void Transcript::Fault(std::string_view text) {
    TranscriptEntry entry;
    entry.kind = "fault";
    entry.bytes = text;
    Write(std::move(entry));
}

} // namespace meeting_client
