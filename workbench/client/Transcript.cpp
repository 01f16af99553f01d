#include "workbench/client/Transcript.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <stdexcept>

namespace meeting_client {
namespace {

std::string Now() {
    SYSTEMTIME now{};
    ::GetSystemTime(&now);
    return fmt::format("{}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", now.wYear, now.wMonth, now.wDay, now.wHour,
                       now.wMinute, now.wSecond, now.wMilliseconds);
}

} // namespace

Transcript::Transcript(const std::string& path) {
    if (path.empty()) {
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
}

void Transcript::Write(TranscriptEntry entry) {
    if (!file_) {
        return;
    }
    const std::lock_guard<std::mutex> hold(lock_);
    entry.time = Now();
    const std::string line = ToLine(entry) + '\n';
    DWORD written = 0;
    ::WriteFile(file_.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void Transcript::WriteText(const char* kind, std::string_view text) {
    TranscriptEntry entry;
    entry.kind = kind;
    entry.bytes = text;
    Write(std::move(entry));
}

} // namespace meeting_client
