#include "workbench/verify/endings/ExitPlan.h"
#include "workbench/verify/endings/Lines.h"

#include <gmock/gmock.h>

using verify::ExitPlan;
using verify::LineChecker;
using verify::WriterAccount;

namespace {

std::string Entry(const std::string& text) {
    return "[2026-03-04 10:00:00.123][P:260/T:264][Inf][AddIn:159 AddIn::GetIDsOfNames]" + text + "\r\n";
}

std::string Line(const char* mark, std::uint64_t number) {
    return Entry("rgszName: " + verify::NumberedText(mark, number));
}

TEST(LogLines, AreWholeInWhateverFormTheAddInWritesThem) {
    LineChecker checker;
    checker.Take("Logone(v3.0) Begin Time:2026-03-04 10:00:00.001\r\n" + Entry("") +
                 Entry("Data: {\n\t\"cmd\" : 2\n}\n") + Entry("rgszName: OnAction") + Line("A", 49));
    EXPECT_EQ(checker.Headers(), 1u);
    EXPECT_EQ(checker.Entries(), 4u);
    EXPECT_THAT(checker.Torn(), testing::IsEmpty());
}

TEST(LogLines, ThatAreTornAreSeen) {
    const std::string line = Line("A", 7);
    const std::string other = Line("B", 8);
    std::string changed = line;
    changed[changed.size() - 6] = '?';
    const struct {
        const char* name;
        std::string content;
    } cases[] = {
        {"no end", line.substr(0, line.size() - 1)},
        {"no beginning", line.substr(5)},
        {"cut in its stamp and overwritten", line.substr(0, 20) + other},
        {"cut in its text and overwritten", line.substr(0, line.size() - 9) + other},
        {"a piece missing", line.substr(0, line.size() - 9) + line.substr(line.size() - 5)},
        {"a byte changed", changed},
        {"a hole", Entry(std::string(9, '\0'))},
        {"two lines in one", line.substr(0, line.size() - 2) + other},
        {"an unknown level", "[2026-03-04 10:00:00.123][P:260/T:264][Xyz][AddIn:159 A::B]text\r\n"},
        {"a line end in the middle", line.substr(0, 90) + "\r\n" + line.substr(90)},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        LineChecker checker;
        checker.Take(test.content);
        EXPECT_GT(checker.TornCount(), 0u);
    }
}

TEST(LogLines, AreCountedByWriterOverSeveralFiles) {
    LineChecker checker;
    checker.Take(Line("A", 3) + Line("B", 0) + Line("A", 4));
    checker.Take(Line("A", 4) + Line("A", 9) + Line("A", 6) + Line("B", 1));
    const WriterAccount& first = checker.Writers().at("A");
    EXPECT_EQ(first.first, 3u);
    EXPECT_EQ(first.last, 9u);
    EXPECT_EQ(first.whole, 5u);
    EXPECT_EQ(first.duplicated, 1u);
    EXPECT_EQ(first.lostInside, 4u); // 5 to 8: the 6 that comes late is out of order
    EXPECT_EQ(first.disordered, 1u);
    const WriterAccount& second = checker.Writers().at("B");
    EXPECT_EQ(second.first + second.lostInside + second.duplicated + second.disordered, 0u);
}

TEST(ExitPlans, ComeInTurnAndAreTheSameInTheOtherProcess) {
    for (std::uint64_t number = 0; number < 100; ++number) {
        const ExitPlan plan(number, 5);
        SCOPED_TRACE(plan.Text());
        EXPECT_EQ(static_cast<std::uint64_t>(plan.ending), number % static_cast<std::uint64_t>(verify::Ending::Count));
        EXPECT_EQ(ExitPlan(number, 5).Text(), plan.Text());
    }
    EXPECT_NE(ExitPlan(0, 5).Text(), ExitPlan(0, 6).Text());
}

} // namespace
