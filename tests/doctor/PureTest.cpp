#include "doctor/LogText.h"
#include "doctor/PeImage.h"
#include "tests/doctor/MadeImage.h"

#include <gmock/gmock.h>

#include <string>

using doctor::BlackOut;
using doctor::ImageMachine;
using doctor::ImportedLibraries;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using made::Put;

TEST(ProgramFile, TellsItsKindAndItsImports) {
    EXPECT_EQ(ImageMachine(made::Image()), doctor::kMachineX64);
    const auto libraries = ImportedLibraries(made::Image());
    ASSERT_TRUE(libraries);
    EXPECT_THAT(*libraries, ElementsAre("a.dll", "b.dll"));
}

TEST(ProgramFile, IsReadWithinItsBoundsWhenItIsDamaged) {
    const std::string whole = made::Image();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string part(whole, 0, length); // its own memory, whose end sanitizers watch
        EXPECT_EQ(ImageMachine(part).has_value(), length >= made::kHeaders + 6) << length;
        ImportedLibraries(part);
    }
    // Every byte of the headers and of the table as the largest number.
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string damaged = whole;
        Put(damaged, at, 0xFFFFFFFF, std::min<std::size_t>(4, whole.size() - at));
        ImageMachine(damaged);
        ImportedLibraries(damaged);
    }
    std::string endless = whole; // a table without an end
    Put(endless, made::kSections + 16, 0xFFFFFFFF);
    for (std::size_t at = made::kData; at + 4 <= endless.size(); at += 4) {
        Put(endless, at, 0x1040);
    }
    EXPECT_FALSE(ImportedLibraries(endless));
}

TEST(LogText, TakesOnlyFirstLinesOfEntries) {
    const auto entries = doctor::ParseLog("Logone(v3.0) Begin Time:2026\r\n"
                                          "[2026-01-02 10:00:01.000][P:32/T:36][Inf][DllMain:30 DllMain]Built at x\r\n"
                                          "more][P:1/T:2][Inf][a]b\n"
                                          "[2026-01-02 10:00:01.000][P:x/T:36][Inf][a]b\n"
                                          "[2026-01-02 10:00:01.000][P:33/T:36][Err][AddIn:1 A::B]no]end");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].process, 32U);
    EXPECT_EQ(entries[0].time, "2026-01-02 10:00:01.000");
    EXPECT_EQ(entries[0].text, "Built at x");
    EXPECT_EQ(entries[1].level, "Err");
    EXPECT_EQ(entries[1].text, "no]end");
}

TEST(EventText, IsTakenFromTheStringsAlone) {
    const doctor::Event event = doctor::ParseEvent(
        L"<Event xmlns='http://schemas'><System><Provider Name='Outlook'/><EventID Qualifiers='0'>59</EventID></System>"
        L"<EventData><Data>ProgID: a</Data>\r\n<Data Name='b'>Reason</Data></EventData></Event>");
    EXPECT_EQ(event.id, 59U);
    EXPECT_EQ(event.text, L" ProgID: a Reason ");
    for (const wchar_t* damaged : {L"", L"<EventID", L"<EventID>", L"<EventID></System>", L"</System><"}) {
        EXPECT_EQ(doctor::ParseEvent(damaged).id, 0U);
    }
}

TEST(EventText, HasTheStartUpTimes) {
    EXPECT_THAT(doctor::BootTimes(L"Name: One Description: A 7 ProgID: One.AddIn GUID: {1} Load Behavior: 3 HKLM: 1 "
                                  L"Location: c:\\one 2.dll Boot Time (Milliseconds): 1203 Name: Two 9 ProgID: "
                                  L"Two.AddIn GUID: {2} Startzeit (Millisekunden): 16 "),
                ElementsAre(std::pair(L"One.AddIn", 1203UL), std::pair(L"Two.AddIn", 16UL)));
    EXPECT_TRUE(doctor::BootTimes(L"ProgID: ").empty());
}

TEST(LogText, LosesTheContentsOfMessages) {
    const std::string log =
        "[2026-01-02 10:00:01.000][P:1/T:2][Inf][Meeting:92 Meeting::OnAction]Data: {\n"
        "\t\"subject\" : \"Secret\",\n"
        "}\n\r\n"
        "[2026-01-02 10:00:01.000][P:1/T:2][Inf][Meeting:124 Meeting::OnRecvMsg]{\"confId\":\"77\"}\r\n"
        "[2026-01-02 10:00:01.000][P:1/T:2][Err][Meeting:128 Meeting::OnRecvMsg]parse msg fail\r\n";
    const std::string kept = doctor::WithoutContents(log);
    EXPECT_THAT(kept, Not(HasSubstr("Secret")));
    EXPECT_THAT(kept, Not(HasSubstr("77")));
    EXPECT_THAT(kept, HasSubstr("Meeting::OnAction]"));
    EXPECT_THAT(kept, HasSubstr("parse msg fail"));
}

TEST(LogText, LosesNamesAndAddresses) {
    const std::string black = "\xE2\x96\xA0\xE2\x96\xA0\xE2\x96\xA0";
    const std::vector<std::string> words = {"Ann", "", "\xE7\x8E\x8B"};
    EXPECT_EQ(BlackOut("C:\\Users\\ANN\\x", words), "C:\\Users\\" + black + "\\x");
    EXPECT_EQ(BlackOut("by \xE7\x8E\x8B.", words), "by " + black + ".");
    EXPECT_EQ(BlackOut("<a.b@c-d.example>, x", words), "<" + black + ">, x");
    EXPECT_EQ(BlackOut("@ a @ b@", words), "@ a @ b@");
}
