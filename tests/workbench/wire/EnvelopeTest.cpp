#include "workbench/wire/Envelope.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace wire {
namespace {

using ::testing::ElementsAre;

const std::string kHead = "%pre_nbmsdk%";
const std::string kTail = "%end_flag%";

std::string X(std::size_t count) {
    return std::string(count, 'x');
}

TEST(Split, CutsWhereTheWireFormatSays) {
    struct Case {
        std::size_t length;
        std::vector<std::string> texts; // worked out by hand
    };
    const Case cases[] = {
        {0, {}},
        {1, {"x"}},
        {1023, {X(1023)}},
        {1024, {kHead + X(1011), kHead + X(13) + kTail}},
        {2022, {kHead + X(1011), kHead + X(1011) + kTail}},
        {2023, {kHead + X(1011), kHead + X(1011), kHead + X(1) + kTail}},
        {3033, {kHead + X(1011), kHead + X(1011), kHead + X(1011) + kTail}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        std::vector<std::string> texts;
        for (const Envelope& envelope : Split(X(c.length), 7)) {
            EXPECT_EQ(envelope.number, c.length > 1023 ? 7U : 0U);
            texts.push_back(envelope.text);
        }
        EXPECT_EQ(texts, c.texts);
    }
}

TEST(Joiner, NamesWhatTheSenderDidWrong) {
    struct Case {
        const char* what;
        std::uint64_t number;
        std::string bytes; // as they travel
        std::vector<std::string> faults;
    };
    const std::string nul(1, '\0');
    const Case cases[] = {
        {"faultless", 0, "ok" + nul, {}},
        {"no NUL", 0, "ok", {"not NUL-terminated"}},
        {"longer cbData", 0, "ok" + nul + nul, {"cbData is not the length + 1 (4)"}},
        {"empty", 0, nul, {"empty text"}},
        {"too long for a whole one", 0, X(1024) + nul, {"whole message too long (1024)"}},
        {"no prefix", 9, "text" + nul, {"segment without its prefix"}},
        {"short middle segment", 9, kHead + X(1010) + nul, {"segment of a wrong size (1010)"}},
        {"long last segment", 9, kHead + X(1012) + kTail + nul, {"last segment of a wrong size (1012)"}},
        {"number too large", 0x1'0000'000A, kHead + X(1011) + nul, {"number beyond 32 bits"}},
        {"end without a start", 8, kHead + X(5) + kTail + nul, {"last segment without a first one"}},
    };
    Joiner joiner;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(joiner.Take(c.number, c.bytes.data(), c.bytes.size()).faults, c.faults);
    }
    EXPECT_THAT(joiner.Take(0, nullptr, 0).faults, ElementsAre("no bytes"));
}

} // namespace
} // namespace wire
