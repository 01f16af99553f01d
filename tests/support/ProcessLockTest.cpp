#include "support/ProcessLock.h"

#include "support/LogOne.h"
#include "support/Text.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>

// Other processes are this program again, with one of the disabled cases below.
namespace {

constexpr wchar_t kPathVariable[] = L"NEMBRA_SHARED_LOG";
constexpr DWORD kPatience = 60'000;
constexpr int kLines = 3000;

std::string SharedPath() {
    wchar_t path[MAX_PATH] = L"";
    ::GetEnvironmentVariableW(kPathVariable, path, MAX_PATH);
    return ToUtf8(path);
}

class OtherProcess {
public:
    OtherProcess(const std::string& path, const wchar_t* test) {
        wchar_t program[MAX_PATH] = L"";
        ::GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring line = L"\"" + std::wstring(program) +
                            L"\" --gtest_also_run_disabled_tests --gtest_filter=OtherProcess.DISABLED_" + test;
        ::SetEnvironmentVariableW(kPathVariable, ToWide(path).c_str());
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION made{};
        if (::CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made)) {
            process_.Reset(made.hProcess);
            ::CloseHandle(made.hThread);
        }
    }
    ~OtherProcess() { ::TerminateProcess(process_.Get(), 1); }

    /// @return its exit code.
    DWORD AwaitEnd() const {
        DWORD code = STILL_ACTIVE;
        ::WaitForSingleObject(process_.Get(), kPatience);
        ::GetExitCodeProcess(process_.Get(), &code);
        return code;
    }

private:
    UniqueHandle process_;
};

void WriteNumbers(const std::string& path, const char* mark) {
    const LogOneConfig config = {path.c_str(), 0, 1, 2};
    const uint32_t id = LogOneOpen(&config);
    for (int number = 0; number < kLines; ++number) {
        LogOneWrite(id, "", 0, mark, "s", 1, "%d %s.", number, std::string(number % 100 == 0 ? 6000 : 20, 'x').c_str());
    }
    LogOneClose(id);
}

TEST(OtherProcess, DISABLED_Writes) {
    WriteNumbers(SharedPath(), "B");
}

TEST(OtherProcess, DISABLED_EndsInsideTheLock) {
    ProcessLock lock(SharedPath().c_str());
    lock.Lock();
    ::TerminateProcess(::GetCurrentProcess(), 5);
}

TEST(SharedLog, OfTwoProcessesTearsNoLine) {
    const TempFolder folder;
    const std::string path = folder.Utf8("log.txt");
    const OtherProcess other(path, L"Writes");
    for (const ULONGLONG end = ::GetTickCount64() + kPatience; folder.Read("log.txt") == "(missing)";) {
        ASSERT_LT(::GetTickCount64(), end);
        ::Sleep(1);
    }
    WriteNumbers(path, "A");
    ASSERT_EQ(other.AwaitEnd(), 0u);
    const std::regex pattern(R"(\[[^\]]*\]\[P:\d+/T:\d+\]\[Err\]\[s:1 (.)\](\d+) x+\.\r)");
    std::map<std::string, int> next;
    std::istringstream stream(folder.Read("log.txt"));
    for (std::string line; std::getline(stream, line);) {
        std::smatch match;
        if (std::regex_match(line, match, pattern)) {
            EXPECT_EQ(std::stoi(match[2]), next[match[1]]++);
        } else {
            EXPECT_EQ(line.rfind("Logone(v3.0) Begin Time:", 0), 0u) << line;
        }
    }
    EXPECT_EQ(next["A"], kLines);
    EXPECT_EQ(next["B"], kLines);
}

TEST(SharedLock, OfAProcessThatHasEndedIsTaken) {
    const TempFolder folder;
    const std::string path = folder.Utf8("log.txt");
    ProcessLock lock(path.c_str()); // keeps the word alive
    ASSERT_EQ(OtherProcess(path, L"EndsInsideTheLock").AwaitEnd(), 5u);
    lock.Lock(); // returns
    // The word is this process's now: another one that ends inside has to wait for it first.
    const OtherProcess next(path, L"EndsInsideTheLock");
    lock.Unlock();
    EXPECT_EQ(next.AwaitEnd(), 5u);
}

} // namespace
