#include "workbench/verify/endings/Lines.h"

#include <gmock/gmock.h>

using verify::LogAccount;

namespace {

std::string Entry(const std::string& text) {
    return "[2026-03-04 10:00:00.123][P:260/T:264][Inf][AddIn:159 AddIn::GetIDsOfNames]" + text + "\r\n";
}

std::string Line(const char* mark, std::uint64_t number) {
    return Entry("rgszName: " + verify::NumberedText(mark, number));
}

TEST(LogLines, AreWholeInWhateverFormTheAddInWritesThem) {
    LogAccount log;
    log.Take("Logone(v3.0) Begin Time:2026-03-04 10:00:00.001\r\n" + Entry("") + Entry("Data: {\n\t\"cmd\" : 2\n}\n") +
             Entry("rgszName: OnAction") + Line("A", 49));
    EXPECT_EQ(log.entries, 4u);
    EXPECT_THAT(log.torn, testing::IsEmpty());
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
        LogAccount log;
        log.Take(test.content);
        EXPECT_FALSE(log.torn.empty());
    }
}

TEST(LogLines, AreCountedByWriterOverSeveralFiles) {
    LogAccount log;
    log.Take(Line("A", 3) + Line("B", 0) + Line("A", 4));
    log.Take(Line("A", 4) + Line("A", 9) + Line("A", 6) + Line("B", 1));
    const auto& first = log.writers.at("A");
    EXPECT_EQ(first.first, 3u);
    EXPECT_EQ(first.last, 9u);
    EXPECT_EQ(first.whole, 5u);
    EXPECT_EQ(first.lostInside, 4u); // 5 to 8: the 6 that comes late is out of order
    EXPECT_EQ(first.disordered, 2u);
    const auto& second = log.writers.at("B");
    EXPECT_EQ(second.first + second.lostInside + second.disordered, 0u);
}

} // namespace
