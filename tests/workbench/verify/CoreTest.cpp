#include "workbench/verify/core/LogTail.h"
#include "workbench/verify/core/HeapCheck.h"
#include "workbench/verify/core/ImportPatch.h"
#include "workbench/verify/core/Session.h"
#include "workbench/verify/core/Usage.h"

#include "support/UniqueResource.h"
#include "tests/fakes/FakeDispatch.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

DWORD g_slept = 0;

void WINAPI NoteSleep(DWORD milliseconds) {
    g_slept = milliseconds;
}

} // namespace

TEST(VerifyLineTail, ALineComesOnceAndOnlyWhenItIsComplete) {
    const TempFolder folder;
    const std::filesystem::path path = folder.Path() / "lines.txt";
    std::ofstream file(path, std::ios::binary);
    file << "before\n" << std::flush;
    verify::LineTail all(path);
    verify::LineTail added(path, true);
    file << "one\r\n\ntw" << std::flush;
    EXPECT_THAT(all.Read(), ElementsAre("before", "one", ""));
    EXPECT_THAT(added.Read(), ElementsAre("one", ""));
    EXPECT_THAT(added.Read(), IsEmpty());
    file << "o\n" << std::flush;
    EXPECT_THAT(added.Read(), ElementsAre("two"));
    EXPECT_THAT(verify::LineTail(folder.Path() / "none").Read(), IsEmpty());
}

TEST(VerifyAddinLog, OnlyALineWithAHeadOfThatProcessHasOne) {
    const auto read = [](const char* line) { return verify::ReadAddinLogLine(line, "[P:12/T:"); };
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

TEST(VerifyImportPatch, TheModuleCallsWhatTookThePlace) {
    void(WINAPI* const instead)(DWORD) = &NoteSleep;
    const HMODULE self = ::GetModuleHandleW(nullptr);
    EXPECT_EQ(verify::PatchImport(self, "NoSuchFunction", nullptr), nullptr);
    void* const original = verify::PatchImport(self, "Sleep", reinterpret_cast<void*>(instead));
    ASSERT_NE(original, nullptr);
    ::Sleep(123'456);
    EXPECT_EQ(verify::PatchImport(self, "Sleep", original), reinterpret_cast<void*>(instead));
    EXPECT_EQ(g_slept, 123'456u);
}

// Without the system's help the write behind a block stays unseen; these need none.
TEST(VerifyHeapCheck, NoticesLateWritesAndDoubleFrees) {
    ASSERT_TRUE(verify::HeapsAreSound());
    for (const std::string& missed : verify::MissedHeapFaults()) {
        EXPECT_THAT(missed, testing::Not(testing::AnyOf(testing::StartsWith("a late write"),
                                                        testing::StartsWith("giving back twice"),
                                                        testing::StartsWith("the heaps are damaged"))));
    }
    EXPECT_EQ(verify::DamagedFrees(), 0u);
    EXPECT_TRUE(verify::HeapsAreSound());
}

// The account that all modes share: each of these faults is planted and must be noticed. A lost message is planted in
// MessageFlowTest, a lost log line in LinesTest, a crash and a hang in FaultsTest.
TEST(VerifyAccount, NoticesAKeptHandleAndKeptMemory) {
    constexpr verify::Usage kSlack = {16, verify::kNotJudged, 0, 8, 8, 16U << 20, 256U << 10, verify::kNotJudged};
    const auto makeWindow = [] {
        return UniqueWindow(
            ::CreateWindowExW(0, L"STATIC", L"kept", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr));
    };
    makeWindow(); // the first one makes the system open things of its own, and so does the first call
    verify::MeasureUsage();
    const verify::Usage before = verify::MeasureUsage();
    EXPECT_EQ(verify::Growth(before, verify::MeasureUsage(), kSlack), "");
    {
        std::vector<UniqueHandle> kept(17);
        for (UniqueHandle& handle : kept) {
            handle.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        }
        const std::vector<char> block(300'000);
        const UniqueWindow window = makeWindow();
        const verify::Usage with = verify::MeasureUsage();
        EXPECT_EQ(with[verify::kHandles], before[verify::kHandles] + kept.size());
        EXPECT_GE(with[verify::kHeapBytes], before[verify::kHeapBytes] + block.size());
        const std::string grown = verify::Growth(before, with, kSlack);
        for (const char* thing : {"handles ", "windows ", "allocated bytes "}) {
            EXPECT_THAT(grown, HasSubstr(thing));
        }
        EXPECT_EQ(verify::Growth(before, with, kSlack, verify::ScaledGrowth(before, with, 1, 1)), "");
    }
    const verify::Usage after = verify::MeasureUsage();
    EXPECT_EQ(after[verify::kHandles], before[verify::kHandles]);
    EXPECT_EQ(verify::Growth(before, after, kSlack), "");
    EXPECT_EQ(verify::ScaledGrowth({5}, {6}, 10, 100)[verify::kHandles], 10u);
    EXPECT_THAT(verify::GrowthOf({{"keys", 1}}, {{"keys", 2}}), ElementsAre("leak: keys 1 -> 2"));
    EXPECT_THAT(verify::GrowthOf({{"keys", 1}}, {{"keys", 2}}, {{{"keys", 0}}, {{"keys", 1}}}), IsEmpty());
}

TEST(VerifyAccount, NoticesAKeptReferenceAndAKeptSink) {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    verify::Session session;
    session.Connect();
    EXPECT_THAT(session.End(), IsEmpty());
    session.Connect();
    session.Host().Application().Detach(); // nobody releases it
    IUnknown* const addIn = session.AddIn().Object();
    addIn->AddRef();
    FakeDispatch sink(workbench::kIidExplorersEvents); // that nobody takes off
    DWORD cookie = 0;
    session.Host().ExplorersEvents().Advise(workbench::kIidExplorersEvents, &sink, &cookie);
    EXPECT_THAT(session.End(), testing::IsSupersetOf({HasSubstr("references left on the add-in: 1"),
                                                      HasSubstr("still advised: Explorers"), HasSubstr("still held")}));
}
