#include "workbench/fieldtest/Console.h"

#include "workbench/host/Pump.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

namespace fieldtest {
namespace {

constexpr unsigned kLook = 50; // ms
constexpr ULONGLONG kSecond = 1000;

std::atomic<bool> g_stop = false;

} // namespace

struct Console::Input {
    std::mutex lock;
    std::deque<std::string> lines;

    std::optional<std::string> Take() {
        const std::scoped_lock hold(lock);
        if (lines.empty()) {
            return std::nullopt;
        }
        std::string line = std::move(lines.front());
        lines.pop_front();
        return line;
    }

    /// Without the run-time's streams: at the end of the process they wait for a thread that reads.
    void Read() noexcept {
        try {
            std::string line;
            char letter = 0;
            DWORD size = 0;
            while (::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), &letter, 1, &size, nullptr) && size == 1) {
                if (letter == '\n') {
                    const std::scoped_lock hold(lock);
                    lines.push_back(std::move(line));
                    line.clear();
                } else if (letter != '\r') {
                    line += letter;
                }
            }
        } catch (...) {
            RequestStop(); // without memory nothing can be asked any more
        }
    }
};

Console::Console() : input_(std::make_shared<Input>()) {
    // A read cannot be interrupted in every kind of input, so nobody waits for this thread.
    std::thread([input = input_] { input->Read(); }).detach();
}

void Console::Say(const std::string& text) const {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

Waited Console::Await(const std::function<bool()>& holds, unsigned seconds, std::string* line) {
    const ULONGLONG begin = ::GetTickCount64();
    ULONGLONG shown = 0; // seconds
    const auto result = [&](Waited waited) {
        if (shown != 0) {
            Say("");
        }
        return waited;
    };
    for (;;) {
        if (g_stop) {
            throw Stopped();
        }
        if (holds()) {
            return result(Waited::Held);
        }
        if (const auto entered = input_->Take()) {
            if (*entered == "q") {
                throw Stopped();
            }
            if (line) {
                *line = *entered;
            }
            return result(Waited::Skipped);
        }
        const ULONGLONG passed = (::GetTickCount64() - begin) / kSecond;
        if (passed >= seconds) {
            return result(Waited::TimedOut);
        }
        if (passed > shown) {
            std::fputs(shown == 0 ? "    waiting ." : ".", stdout);
            std::fflush(stdout);
            shown = passed;
        }
        workbench::PumpFor(kLook);
    }
}

std::string Console::Ask(unsigned seconds) {
    std::string line;
    Await([] { return false; }, seconds, &line);
    return line;
}

void Console::RequestStop() noexcept {
    g_stop = true;
}

} // namespace fieldtest
