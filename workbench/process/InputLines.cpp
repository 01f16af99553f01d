#include "workbench/process/InputLines.h"

#include <windows.h>

#include <deque>
#include <mutex>
#include <thread>

namespace process {

struct InputLines::Lines {
    std::mutex lock;
    std::deque<std::string> ready;

    /// Without the run-time's streams: at the end of the process they wait for a thread that reads.
    void Read() noexcept {
        try {
            std::string line;
            char letter = 0;
            DWORD size = 0;
            while (::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), &letter, 1, &size, nullptr) && size == 1) {
                if (letter == '\n') {
                    const std::scoped_lock hold(lock);
                    ready.push_back(std::move(line));
                    line.clear();
                } else if (letter != '\r') {
                    line += letter;
                }
            }
        } catch (...) { // without memory nothing more is read
        }
    }
};

InputLines::InputLines() : lines_(std::make_shared<Lines>()) {
    std::thread([lines = lines_] { lines->Read(); }).detach();
}

std::optional<std::string> InputLines::Take() {
    const std::scoped_lock hold(lines_->lock);
    if (lines_->ready.empty()) {
        return std::nullopt;
    }
    std::string line = std::move(lines_->ready.front());
    lines_->ready.pop_front();
    return line;
}

} // namespace process
