#include "workbench/fieldtest/Console.h"

#include "workbench/host/Pump.h"

#include <windows.h>

#include <atomic>
#include <cstdio>

namespace fieldtest {
namespace {

constexpr unsigned kLook = 50; // ms
constexpr ULONGLONG kSecond = 1000;

std::atomic<bool> g_stop = false;

} // namespace

void Console::Say(const std::string& text) const {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

Waited Console::Await(const std::function<bool()>& holds, unsigned seconds) {
    const ULONGLONG begin = ::GetTickCount64();
    ULONGLONG shown = 0; // seconds
    for (;;) {
        if (g_stop) {
            throw Stopped();
        }
        if (holds()) {
            std::fputs(shown == 0 ? "" : "\n", stdout);
            return Waited::Held;
        }
        if (auto line = input_.Take()) {
            entered = std::move(*line);
            if (entered == "q") {
                throw Stopped();
            }
            return Waited::Entered;
        }
        const ULONGLONG passed = (::GetTickCount64() - begin) / kSecond;
        if (passed >= seconds) {
            return Waited::TimedOut;
        }
        if (passed > shown) {
            std::fputs(shown == 0 ? "    waiting ." : ".", stdout);
            std::fflush(stdout);
            shown = passed;
        }
        workbench::PumpFor(kLook);
    }
}

void Console::RequestStop() noexcept {
    g_stop = true;
}

} // namespace fieldtest
