#include "workbench/process/ChildProcess.h"
#include "workbench/process/CommandLine.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/process/Start.h"

#include "tests/support/TempFolder.h"

#include <windows.h>
#include <shellapi.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using process::ChildProcess;
using process::kStartTries;
using process::Streams;

namespace {

constexpr wchar_t kCounter[] = L"NEMBRA_REPEATED_STARTS";

/// The file that counts repeated starts, in place of that of the whole test run.
class Counter {
public:
    Counter() {
        ::GetEnvironmentVariableW(kCounter, before_, MAX_PATH);
        ::SetEnvironmentVariableW(kCounter, (folder_.Path() / L"starts.txt").c_str());
    }
    ~Counter() { ::SetEnvironmentVariableW(kCounter, before_); }
    std::ptrdiff_t Lines() const {
        const std::string text = folder_.Read("starts.txt");
        return std::count(text.begin(), text.end(), '\n');
    }

private:
    TempFolder folder_;
    wchar_t before_[MAX_PATH] = L"";
};

} // namespace

TEST(ProcessStart, IsRepeatedAfterWinesFailureOnlyAndCounted) {
    constexpr int kNever = 1000;
    for (const auto& [error, failures, calls] :
         {std::tuple{ERROR_INTERNAL_ERROR, 0, 1}, std::tuple{ERROR_INTERNAL_ERROR, 2, 3},
          std::tuple{ERROR_INTERNAL_ERROR, kNever, kStartTries}, std::tuple{ERROR_FILE_NOT_FOUND, kNever, 1}}) {
        SCOPED_TRACE(testing::Message() << "error " << error << ", " << failures << " times");
        const Counter counter;
        int called = 0;
        const bool started = process::StartRepeatedly([&, error = error, failures = failures] {
            ::SetLastError(static_cast<DWORD>(error));
            return ++called > failures;
        });
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(error));
        EXPECT_EQ(started, failures < kNever);
        EXPECT_EQ(called, calls);
        EXPECT_EQ(counter.Lines(), calls - 1);
    }
}

TEST(ProcessStart, TellsTheErrorOfAProgramThatIsNotThere) {
    try {
        ChildProcess(process::ProgramPath() + L".missing", {}, Streams::Own);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "a child process cannot be started: error 2");
    }
}

TEST(CommandLine, TheSystemTakesItApartAgain) {
    const std::vector<std::wstring> arguments = {
        L"",         L"plain",     L"two words",        L"notify {\"a\":\"b c\"}",
        L"back\\\\", L"end in \\", L"\\\"quoted\\\\\"", L"\x4F1A\x8BAE"};
    int count = 0;
    wchar_t** texts = ::CommandLineToArgvW(process::JoinCommandLine(L"C:\\a folder\\x.exe", arguments).c_str(), &count);
    ASSERT_NE(texts, nullptr);
    EXPECT_EQ(std::wstring(texts[0]), L"C:\\a folder\\x.exe");
    EXPECT_EQ(std::vector<std::wstring>(texts + 1, texts + count), arguments);
    ::LocalFree(texts);
}
