#include "workbench/hostile/Run.h"
#include "workbench/hostile/Sender.h"

#include "workbench/gauges/HeapCheck.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/gauges/Watchdog.h"

#include "support/Text.h"

#include <windows.h>
#include <comdef.h>
#include <objbase.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <exception>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum ExitCode : int { kStood = 0, kFailed = 1, kBadCommandLine = 2, kNoAnswer = 3, kCrashed = 4 };

constexpr std::chrono::seconds kMostSilence{150}; // generous: a machine with too much to do is no fault of the add-in
// Of the image's GlobalFlag: marks behind each block, a pattern in what is free, arguments checked.
constexpr ULONG kHeapFlags = 0x70;

constexpr const char* kHelp =
    R"(Loads the real add-in into the stand-in Outlook and sends mutated messages to its windows from a second process.

usage: workbench_hostile [MESSAGES] [--seed N] [--self-test]

  MESSAGES     how many are sent (default 1000000)
  --seed N     the same sequence again; each run prints its own first
  --self-test  only damages some heap blocks of its own, and fails unless each damage is noticed

Exit codes: 0 the add-in stood it and still does its work, 1 it does not, 2 wrong command line, 3 Outlook's main thread
hangs, 4 Outlook crashed.
)";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::uint64_t ReadNumber(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        throw UsageError("\"" + std::string(text) + "\" is no number");
    }
    return value;
}

/// Asked before any handler: the system passes a crash inside a window procedure over, as if nothing had been.
LONG WINAPI OnException(EXCEPTION_POINTERS* raised) noexcept {
    const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
    if (!process::IsCrash(record.ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    std::printf("FAILED: Outlook crashed with 0x%08lx at %p\n", record.ExceptionCode, record.ExceptionAddress);
    std::fflush(stdout);
    ::TerminateProcess(::GetCurrentProcess(), kCrashed);
    return EXCEPTION_CONTINUE_SEARCH;
}

ULONG GlobalFlags() {
    using Ask = ULONG(NTAPI*)();
    const auto ask = reinterpret_cast<Ask>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetNtGlobalFlags")));
    return ask ? ask() : 0;
}

/// A check that notices nothing is worth nothing.
int TestHeapChecks() {
    const std::vector<std::string> missed = gauges::MissedHeapFaults();
    for (const std::string& fault : missed) {
        std::printf("FAILED: nobody notices the damage of %s\n", fault.c_str());
    }
    if (missed.empty()) {
        std::printf("each kind of damage to a heap is noticed\n");
    }
    return missed.empty() ? kStood : kFailed;
}

int Play(const hostile::RunOptions& options) {
    if ((GlobalFlags() & kHeapFlags) != kHeapFlags) {
        std::printf("FAILED: the system does not check this program's heaps; scripts/hostile has it do so\n");
        return kFailed;
    }
    std::printf("seed %llu, %llu messages\n", static_cast<unsigned long long>(options.seed),
                static_cast<unsigned long long>(options.messages));
    std::fflush(stdout);
    ::AddVectoredExceptionHandler(1, &OnException);
    gauges::Watchdog watchdog(kMostSilence);
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    try {
        hostile::Run run(options, watchdog);
        return run.Play() ? kStood : kFailed;
    } catch (const std::exception& error) {
        std::printf("FAILED: %s\n", error.what());
    } catch (const _com_error& error) {
        std::printf("FAILED: status 0x%08lx\n", static_cast<unsigned long>(error.Error()));
    }
    return kFailed;
}

int Start(const std::vector<std::string>& arguments) {
    if (arguments.size() == 5 && arguments[0] == "--send") { // the second process
        return hostile::Send({ToWide(arguments[1]), ReadNumber(arguments[2]), ReadNumber(arguments[3]),
                              static_cast<DWORD>(ReadNumber(arguments[4]))});
    }
    hostile::RunOptions options;
    options.seed = std::random_device{}();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--help" || arguments[i] == "-h") {
            std::fputs(kHelp, stdout);
            return kStood;
        }
        if (arguments[i] == "--self-test") {
            return TestHeapChecks();
        }
        if (arguments[i] == "--seed") {
            options.seed = ReadNumber(++i < arguments.size() ? arguments[i] : std::string());
        } else {
            options.messages = ReadNumber(arguments[i]);
        }
    }
    return Play(options);
}

} // namespace

int main(int count, char** texts) {
    int code = kFailed;
    try {
        code = Start({texts + 1, texts + count});
    } catch (const UsageError& error) {
        std::fprintf(stderr, "workbench_hostile: %s\nworkbench_hostile --help tells the options\n", error.what());
        code = kBadCommandLine;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "workbench_hostile: %s\n", error.what());
    }
    std::fflush(stdout);
    return code;
}
