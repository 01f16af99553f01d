#include "support/LogOneApi.h"

#include "support/FunctionTrace.h"
#include "support/LogOneImpl.h"
#include "support/LoggerRegistry.h"
#include "tests/support/LogText.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kHeader[] = R"(Logone\(v3\.0\) Begin Time:\d+-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\r\n)";

bool Matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, std::regex(pattern));
}

class Logger : public testing::Test {
protected:
    ~Logger() override { LogOneClose(id_); }

    uint32_t OpenPath(const std::string& path, int32_t maxSizeKB = 0, int32_t backups = 2, int32_t level = 2) {
        const LogOneConfig config = {path.c_str(), maxSizeKB, backups, level};
        return id_ = LogOneOpen(&config);
    }
    uint32_t Open(const char* name, int32_t maxSizeKB = 0) { return OpenPath(folder_.Utf8(name), maxSizeKB); }
    void Write(const std::string& text, int32_t level = 2, const char* tag = "") const {
        LogOneWrite(id_, tag, level, "A::B", "AddIns/File", 81, "%s", text.c_str());
    }
    std::vector<std::string> Lines(const char* name = "log.txt") const { return LogLines(folder_.Read(name)); }
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TempFolder folder_;
    uint32_t id_ = 0;
};

TEST_F(Logger, WritesHeaderAndLinesByteForByte) {
    ASSERT_NE(Open("a/b\\log.txt"), 0u);
    EXPECT_EQ(folder_.Read("a/b/log.txt"), "(missing)"); // opened by the first line
    Write("action result: 0x0");
    Write("\xE4\xBC\x9A %d", 0, "TAG");
    const std::string content = folder_.Read("a/b/log.txt");
    std::smatch match;
    const std::regex pattern(std::string(kHeader) + kLogStamp + R"(\[Inf\]\[File:81 A::B\]action result: 0x0\r\n)" +
                             kLogStamp + "\\[Err\\]\\[TAG\\]\\[File:81 A::B\\]\xE4\xBC\x9A %d\\r\\n");
    ASSERT_TRUE(std::regex_match(content, match, pattern)) << content;
    EXPECT_EQ(match[1], std::to_string(::GetCurrentProcessId()));
    EXPECT_EQ(match[2], std::to_string(::GetCurrentThreadId()));
}

TEST_F(Logger, DropsLevelsAboveTheThresholdAndWithoutAName) {
    Open("log.txt");
    Write("d", 3);
    EXPECT_TRUE(Matches(folder_.Read("log.txt"), kHeader)); // a dropped line opens the file all the same
    Write("i", 2);
    Write("w", 1);
    Write("e", 0);
    Write("nameless", -1);
    LogOneSetLevel(id_, 3);
    Write("d", 3);
    Write("nameless", 4);
    EXPECT_THAT(Lines(), ElementsAre("[Inf][File:81 A::B]i", "[War][File:81 A::B]w", "[Err][File:81 A::B]e",
                                     "[Dbg][File:81 A::B]d"));
}

TEST_F(Logger, DropsLinesWithANullTextOrTooLong) {
    Open("log.txt");
    Write("x");
    const size_t prefix = folder_.Read("log.txt").rfind('x') - folder_.Read("log.txt").rfind('\n', 60) - 1;
    const size_t longest = 16384 - prefix - 3; // line end and terminator
    Write(std::string(longest + 1, 'y'));
    Write(std::string(100000, 'y'));
    Write(std::string(longest, 'z'));
    LogOneWrite(id_, nullptr, 0, "f", "s", 1, "n");
    LogOneWrite(id_, "", 0, nullptr, "s", 1, "n");
    LogOneWrite(id_, "", 0, "f", nullptr, 1, "n");
    LogOneWrite(id_, "", 0, "f", "s", 1, nullptr);
    LogOneWrite(id_, "", 0, std::string(20000, 'f').c_str(), "s", 1, "n");
    EXPECT_THAT(Lines(), ElementsAre("[Inf][File:81 A::B]x", "[Inf][File:81 A::B]" + std::string(longest, 'z')));
}

TEST_F(Logger, RotatesThroughItsCopies) {
    OpenPath(folder_.Utf8("log.txt"), 1, 3);
    folder_.Write("log_1.txt", "first copy");
    folder_.Write("log_2.old", "second copy");
    for (const char* const last : {"log_3.txt", "log_3.bak"}) {
        folder_.Write(last, "removed");
    }
    for (const char* const other : {"log_9.txt", "log_x.txt"}) {
        folder_.Write(other, "left alone");
    }
    Write(std::string(1100, 'a'));
    Write("b"); // finds the file above 1 KiB
    EXPECT_THAT(Names(), ElementsAre("log.txt", "log_1.txt", "log_2.txt", "log_3.txt", "log_9.txt", "log_x.txt"));
    EXPECT_EQ(folder_.Read("log_2.txt"), "first copy");
    EXPECT_EQ(folder_.Read("log_3.txt"), "second copy");
    EXPECT_THAT(Lines("log_1.txt"), SizeIs(1));
    EXPECT_TRUE(Matches(folder_.Read("log.txt"), std::string(kHeader) + kLogStamp + R"(\[Inf\].*\]b\r\n)"));
}

TEST_F(Logger, RotatesAtExactlyTheLimit) {
    for (const size_t size : {1023, 1024}) {
        const std::string name = std::to_string(size) + ".txt";
        Open(name.c_str(), 1);
        Write("");
        const std::string content = folder_.Read(name);
        const size_t emptyLine = content.size() - content.find('\n') - 1;
        Write(std::string(size - content.size() - emptyLine, 'a'));
        ASSERT_EQ(folder_.Read(name).size(), size);
        Write("next");
        LogOneClose(id_);
    }
    EXPECT_THAT(Names(), ElementsAre("1023.txt", "1024.txt", "1024_1.txt"));
}

TEST_F(Logger, WithoutAnExtensionEndsAtItsFirstRotation) {
    Open("plain", 1);
    Write(std::string(1100, 'a'));
    const std::string content = folder_.Read("plain");
    Write("b");
    Write("c");
    EXPECT_EQ(folder_.Read("plain"), content);
    EXPECT_THAT(Names(), ElementsAre("plain"));
}

TEST_F(Logger, ThatCannotOpenItsFileIsSilent) {
    std::filesystem::create_directory(folder_.Path() / "log.txt"); // a folder in the file's place
    ASSERT_NE(Open("log.txt", 1), 0u);
    Write("a");
    Write("b");
    std::filesystem::remove(folder_.Path() / "log.txt");
    Write("c"); // not tried again
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Logger, WithoutADirectoryFallsBackUnderTheCurrentOne) {
    folder_.Write("file", "in the directory's place");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    const uint32_t id = Open("file\\sub\\log.txt");
    const uint32_t second = OpenPath("rel/../plain.txt");
    Write("relative");
    std::filesystem::current_path(before);
    LogOneWrite(id, "", 0, "f", "s", 1, "fallback");
    LogOneClose(id);
    LogOneClose(second);
    EXPECT_THAT(Lines("Log/MyLog.log"), ElementsAre("[Err][s:1 f]fallback"));
    EXPECT_THAT(Lines("plain.txt"), ElementsAre("[Inf][File:81 A::B]relative"));
}

TEST_F(Logger, OpenedTwiceIsOneAndClosedIdsStayUnknown) {
    const uint32_t first = Open("log.txt");
    EXPECT_EQ(OpenPath(folder_.Utf8("log.txt"), 0, 0, 0), first);
    Write("dropped by the second opening's threshold", 2);
    Write("kept", 0);
    LogOneClose(first);
    Write("closed", 0);
    LogOneSetLevel(first, 3);
    LogOneSetMaxSize(first, 1);
    LogOneClose(first);
    LogOneClose(4711);
    EXPECT_THAT(Lines(), ElementsAre("[Err][File:81 A::B]kept"));
    EXPECT_EQ(Open("log.txt"), first + 1);
    EXPECT_EQ(LogOneOpen(nullptr), 0u);
    const LogOneConfig noPath = {};
    EXPECT_EQ(LogOneOpen(&noPath), 0u);
}

TEST_F(Logger, OfManyThreadsTearsNoLine) {
    constexpr std::string_view kLetters = "abcdefgh"; // one for each thread
    constexpr size_t kLines = 500;
    Open("log.txt");
    std::vector<std::thread> threads;
    for (const char letter : kLetters) {
        threads.emplace_back([this, letter] {
            for (size_t line = 0; line < kLines; ++line) {
                Write(std::string(20 + line, letter));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> lines = Lines();
    ASSERT_THAT(lines, SizeIs(kLetters.size() * kLines));
    std::ranges::stable_sort(lines, {}, [](const std::string& line) { return line.empty() ? '-' : line.back(); });
    for (size_t at = 0; at < lines.size(); ++at) { // each thread's lines in its own order
        ASSERT_EQ(lines[at], "[Inf][File:81 A::B]" + std::string(20 + at % kLines, kLetters[at / kLines]));
    }
}

TEST_F(Logger, WritesWideLinesInTheAnsiCodePage) {
    LogOneImpl log(folder_.Utf8("wide.txt").c_str());
    log.WriteW("T", "f", "s", 1, 3, L"%s=%d", L"value", 5);
    log.WriteW("T", "f", "s", 1, 3, L"%s", L"");
    log.WriteW("T", "f", "s", 1, 3, L"%s", std::wstring(20000, L'x').c_str());
    log.WriteW("T", "f", "s", 1, 3, L"%s", std::wstring(16370, L'x').c_str()); // fits, but not behind the prefix
    log.WriteW("T", "f", "s", 1, 3, nullptr);
    EXPECT_THAT(Lines("wide.txt"), ElementsAre("[Dbg][T][s:1 f]Content:value=5", "[Dbg][T][s:1 f]Content:"));
}

TEST_F(Logger, DisabledOrWithoutTheFileBitWritesNothing) {
    LogOneImpl log(folder_.Utf8("log.txt").c_str());
    log.Disable();
    log.Write("", "f", "s", 1, 0, "a");
    EXPECT_THAT(Names(), IsEmpty());
    log.Enable();
    log.SetOutputMode(2);
    log.Write("", "f", "s", 1, 0, "b");
    log.Trace("", "f", "s", 1, true);
    log.SetOutputMode(1);
    log.SetBackupCount(0);
    log.SetName(std::string(1000, 'n').c_str());
    log.Write("", "f", "s", 1, 0, "c");
    EXPECT_THAT(Lines(), ElementsAre("[Err][s:1 f]c"));
}

std::vector<std::string> g_traced;

void RecordTrace(int32_t level, const char* tag, const char* format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    g_traced.push_back(std::to_string(level) + tag +
                       std::regex_replace(text, std::regex(R"(\[\d[^\]]*\]\[T:\d+\])"), ""));
}

TEST_F(Logger, TracesScopes) {
    LogOneImpl log(folder_.Utf8("log.txt").c_str());
    LogOne* logger = &log;
    { const FunctionTrace trace(&logger, 7, "T", "f", "s", nullptr, FunctionTraceMode::Logger); }
    log.SetLevel(2);
    { const FunctionTrace trace(&logger, 8, "T", "f", "s", nullptr, FunctionTraceMode::Logger); }
    { const FunctionTrace trace(&logger, 9, "T", "f", "s", RecordTrace, FunctionTraceMode::Callback); }
    { const FunctionTrace trace(&logger, 9, "T", nullptr, "s", RecordTrace, FunctionTraceMode::Callback); }
    EXPECT_THAT(Lines(), ElementsAre("[Dbg][T][s:7 f][Enter]", "[Dbg][T][s:7 f][Leave]"));
    EXPECT_THAT(g_traced, ElementsAre("7T[f:9]Enter f", "6T[f:9]Leave f"));
}

// The end of a process kills threads wherever they are, also in the middle of a line.
TEST(LoggerTeardownDeathTest, DoesNotWaitForAThreadThatHoldsTheLocks) {
    const auto exitWithTakenLocks = [] {
        std::thread([] {
            ApiLock().Lock();
            RegistryLock().Lock();
        }).join();
        std::exit(7);
    };
    EXPECT_EXIT(exitWithTakenLocks(), testing::ExitedWithCode(7), "");
}

} // namespace
