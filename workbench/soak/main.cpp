#include "workbench/soak/Soak.h"

#include <windows.h>
#include <comdef.h>
#include <objbase.h>

#include <cstdio>
#include <exception>
#include <random>

namespace {

enum ExitCode : int { kNoViolation = 0, kViolations = 1, kBadCommandLine = 2 };

int Run(soak::Options options) {
    if (!options.seedGiven) {
        options.seed = std::random_device{}();
    }
    std::printf("seed %llu, %llu s\n", static_cast<unsigned long long>(options.seed),
                static_cast<unsigned long long>(options.seconds));
    std::fflush(stdout);
    try {
        soak::Soak soak(options);
        return soak.Run() ? kNoViolation : kViolations;
    } catch (const std::exception& error) {
        std::printf("VIOLATION: %s\n", error.what());
    } catch (const _com_error& error) {
        std::printf("VIOLATION: status 0x%08lx\n", static_cast<unsigned long>(error.Error()));
    }
    return kViolations;
}

} // namespace

int main(int count, char** texts) {
    try {
        const soak::Options options = soak::ParseOptions({texts + 1, texts + count});
        if (options.help) {
            std::fputs(soak::HelpText(), stdout);
            return kNoViolation;
        }
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const int code = Run(options);
        ::CoUninitialize();
        return code;
    } catch (const soak::OptionsError& error) {
        std::fprintf(stderr, "workbench_soak: %s\nworkbench_soak --help tells the options\n", error.what());
        return kBadCommandLine;
    }
}
