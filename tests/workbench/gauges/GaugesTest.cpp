#include "workbench/gauges/AddinLogTail.h"
#include "workbench/gauges/HeapCheck.h"
#include "workbench/gauges/ImportPatch.h"
#include "workbench/gauges/LineTail.h"
#include "workbench/gauges/Usage.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TemporaryFile {
public:
    TemporaryFile() {
        wchar_t folder[MAX_PATH + 1] = L"";
        wchar_t file[MAX_PATH] = L"";
        ::GetTempPathW(static_cast<DWORD>(std::size(folder)), folder);
        ::GetTempFileNameW(folder, L"gau", 0, file);
        path_ = file;
    }
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    const std::filesystem::path& Path() const { return path_; }
    void Append(const char* text) const { std::ofstream(path_, std::ios::binary | std::ios::app) << text; }

private:
    std::filesystem::path path_;
};

DWORD g_slept = 0;

void WINAPI NoteSleep(DWORD milliseconds) {
    g_slept = milliseconds;
}

} // namespace

TEST(GaugesLineTail, ALineComesOnceAndOnlyWhenItIsComplete) {
    const TemporaryFile file;
    file.Append("before\n");
    gauges::LineTail all(file.Path());
    gauges::LineTail added(file.Path(), true);
    file.Append("one\r\n\ntw");
    EXPECT_THAT(all.Read(), ElementsAre("before", "one", ""));
    EXPECT_THAT(added.Read(), ElementsAre("one", ""));
    EXPECT_THAT(added.Read(), IsEmpty());
    file.Append("o\n");
    EXPECT_THAT(added.Read(), ElementsAre("two"));
    EXPECT_THAT(gauges::LineTail(file.Path() / L"none").Read(), IsEmpty());
}

TEST(GaugesAddinLog, OnlyALineWithAHeadOfThatProcessHasOne) {
    const auto read = [](const char* line) { return gauges::ReadAddinLogLine(line, "[P:12/T:"); };
    const auto line = read("[2026-01-01 10:00:00.000][P:12/T:7][Inf][Business/Meeting:70 Meeting::OnRecvMsg]a]b][c");
    EXPECT_TRUE(line.hasHead);
    EXPECT_EQ(line.level, "Inf");
    EXPECT_EQ(line.function, "Meeting::OnRecvMsg");
    EXPECT_EQ(line.text, "a]b][c");
    for (const char* other : {"", "}", "[", "[2026-01-01 10:00:00.000][P:13/T:7][Inf][a:1 B]x",
                              "[2026-01-01 10:00:00.000][P:12/T:7][Inf]", "text [P:12/T:7][Inf][a:1 B]x"}) {
        SCOPED_TRACE(other);
        EXPECT_FALSE(read(other).hasHead);
        EXPECT_EQ(read(other).text, other);
    }
}

TEST(GaugesUsage, TellsWhatIsTakenAndGivenBack) {
    constexpr std::size_t kBlocks = 100;
    constexpr std::size_t kBytes = 10'000;
    gauges::MeasureUsage(); // the first call makes the system open things of its own
    const gauges::Usage before = gauges::MeasureUsage();
    std::vector<std::unique_ptr<char[]>> blocks;
    std::vector<HANDLE> handles;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        blocks.push_back(std::make_unique<char[]>(kBytes));
        handles.push_back(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    }
    const gauges::Usage with = gauges::MeasureUsage();
    EXPECT_EQ(with.handles, before.handles + kBlocks);
    EXPECT_GE(with.heapBytes, before.heapBytes + kBlocks * kBytes);
    for (HANDLE handle : handles) {
        ::CloseHandle(handle);
    }
    blocks.clear();
    const gauges::Usage after = gauges::MeasureUsage();
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_LT(after.heapBytes, before.heapBytes + kBytes);
}

TEST(GaugesImportPatch, TheModuleCallsWhatTookThePlace) {
    void(WINAPI* const instead)(DWORD) = &NoteSleep;
    const HMODULE self = ::GetModuleHandleW(nullptr);
    EXPECT_EQ(gauges::PatchImport(self, "NoSuchFunction", nullptr), nullptr);
    void* const original = gauges::PatchImport(self, "Sleep", reinterpret_cast<void*>(instead));
    ASSERT_NE(original, nullptr);
    ::Sleep(123'456);
    EXPECT_EQ(gauges::PatchImport(self, "Sleep", original), reinterpret_cast<void*>(instead));
    EXPECT_EQ(g_slept, 123'456u);
}

// Without the system's help the write behind a block stays unseen; these need none.
TEST(GaugesHeapCheck, NoticesLateWritesAndDoubleFrees) {
    ASSERT_TRUE(gauges::HeapsAreSound());
    for (const std::string& missed : gauges::MissedHeapFaults()) {
        EXPECT_THAT(missed, testing::Not(testing::AnyOf(testing::StartsWith("a late write"),
                                                        testing::StartsWith("giving back twice"),
                                                        testing::StartsWith("the heaps are damaged"))));
    }
    EXPECT_EQ(gauges::DamagedFrees(), 0u);
    EXPECT_TRUE(gauges::HeapsAreSound());
}
