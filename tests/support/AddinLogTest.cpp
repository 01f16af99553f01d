#include "support/AddinLog.h"
#include "support/LogOneApi.h"
#include "support/LoggerRegistry.h"
#include "support/LogLine.h"
#include "support/MC_Event.h"
#include "tests/support/LogText.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <iomanip>
#include <thread>

namespace {

using testing::ElementsAre;

constexpr wchar_t kFile[] = L"NembraMeeting\\log\\outlookaddin.txt";

// Counts how often it is formatted; throws when asked to.
struct Counted {
    int* count;
    bool throws = false;
};
std::wostream& operator<<(std::wostream& stream, const Counted& counted) {
    ++*counted.count;
    return counted.throws ? throw std::runtime_error("no text") : stream << L"x";
}

class AddinLog : public testing::Test {
protected:
    AddinLog() { OpenAddinLogUnder(folder_.Path().c_str()); }
    ~AddinLog() override { CloseAddinLog(); }

    std::vector<std::string> Lines() const { return LogLines(folder_.Read(kFile)); }

    TempFolder folder_;
};

TEST_F(AddinLog, HoldsLinesInUtf8AndDropsDebug) {
    LogLine(L"AddIns/Action", L"AddIn::ActionTask", 81).Info() << L"action result: 0x" << std::hex << 255;
    LogLine(L"DllMain", L"\u4f1a\u8bae::B", 2).Error() << L"\u4f1a\U0001F600%s";
    LogLine(L"Folder\\Notify", L"A::B", 3).Warning();
    LogLine(L"x", L"A::B", 4).Debug() << L"dropped";
    const std::string own = "[Inf][x:" + std::to_string(__LINE__ + 1) + " A::B]";
    LogLine(L"x", L"A::B").Info() << L"";
    LogLine(nullptr, nullptr).Info() << L"without a place";
    EXPECT_THAT(Lines(), ElementsAre("[Inf][Action:81 AddIn::ActionTask]action result: 0xff",
                                     "[Err][DllMain:2 \xE4\xBC\x9A\xE8\xAE\xAE::B]\xE4\xBC\x9A\xF0\x9F\x98\x80%s",
                                     "[War][Notify:3 A::B]", own));
}

TEST_F(AddinLog, FollowsItsThresholdAndFormatsNoDroppedLine) {
    int formatted = 0;
    LogLine(L"s", L"f", 1).Debug() << Counted{&formatted};
    LogOneSetLevel(AddinLogId(), 3);
    LogLine(L"s", L"f", 2).Debug() << Counted{&formatted};
    LogOneSetLevel(AddinLogId() + 1, 0); // another log's
    LogLine(L"s", L"f", 3) << Counted{&formatted};
    LogOneSetLevel(AddinLogId(), 0);
    LogLine(L"s", L"f", 4).Info() << Counted{&formatted};
    LogLine(L"s", L"f", 5) << Counted{&formatted};
    LogLine(L"s", L"f", 6).Error() << L"a" << Counted{&formatted, true} << std::string("\u4f1a") << "b";
    CloseAddinLog();
    LogLine(L"s", L"f", 7).Error() << Counted{&formatted};
    EXPECT_THAT(Lines(), ElementsAre("[Dbg][s:2 f]x", "[Inf][s:3 f]x", "[Err][s:6 f]a\xE4\xBC\x9A\x62"));
    EXPECT_EQ(formatted, 3);
}

TEST_F(AddinLog, OpensOnceAndClosesForLaterLines) {
    const TempFolder other;
    const uint32_t id = AddinLogId();
    ASSERT_NE(id, 0u);
    OpenAddinLogUnder(other.Path().c_str());
    OpenAddinLog();
    EXPECT_EQ(AddinLogId(), id);
    { const LogLine line(L"x", L"f", 1); } // no level chosen
    CloseAddinLog();
    EXPECT_EQ(AddinLogId(), 0u);
    LogLine(L"x", L"f", 2).Error() << L"closed";
    EXPECT_THAT(Lines(), ElementsAre("[Inf][x:1 f]"));
    EXPECT_EQ(other.Read(kFile), "(missing)");
}

// The end of a process kills threads wherever they are; on newer systems asking for the lock of one ends the process.
TEST_F(AddinLog, IsClosedWhileAThreadIsInsideIt) {
    const uint32_t id = AddinLogId();
    MC_Event taken;
    MC_Event done;
    std::thread writer([&] {
        const MC_Lock lock(&RegistryLock());
        taken.Set();
        EXPECT_TRUE(done.Wait(60000));
    });
    taken.Wait(60000);
    CloseAddinLog();
    EXPECT_EQ(AddinLogId(), 0u);
    done.Set();
    writer.join();
    LogOneClose(id);
}

TEST_F(AddinLog, WithoutAFolderIsRelativeToTheCurrentDirectory) {
    CloseAddinLog();
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    OpenAddinLogUnder(L"");
    std::filesystem::current_path(before);
    LogLine(L"x", L"f", 1).Info() << L"here";
    EXPECT_THAT(Lines(), ElementsAre("[Inf][x:1 f]here"));
}

} // namespace
