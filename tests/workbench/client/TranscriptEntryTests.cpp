#include "workbench/client/TranscriptEntry.h"

#include <gtest/gtest.h>

#include <string>

namespace meeting_client {
namespace {

TEST(TranscriptEntry, EveryKindOfBytesComesBackFromItsLine) {
    const std::string texts[] = {
        "",
        "{\n\t\"cmd\" : 4\n}\n",
        "quote \" backslash \\ bell \a",
        "\xE4\xBC\x9A\xE8\xAE\xAE \xF0\x9F\x93\x85",
        std::string("a\0b", 3),
        "\xE4\xBC",         // a character cut in two
        "\xC0\xAF",         // an overlong form
        "\xED\xA0\x80",     // a surrogate
        "\xF4\x90\x80\x80", // beyond Unicode
        "\xFF\xFE",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(ToHex(text));
        TranscriptEntry entry;
        entry.time = "2025-03-04T05:06:07.089Z";
        entry.microseconds = 12'345'678'901;
        entry.kind = "copydata";
        entry.direction = "out";
        entry.number = 0xFFFF'FFFF'FFFF'FFFF;
        entry.size = text.size();
        entry.bytes = text;
        entry.terminated = false;
        entry.result = "not taken: error 5";
        const std::string line = ToLine(entry);
        EXPECT_EQ(line.find('\n'), std::string::npos);
        EXPECT_TRUE(IsUtf8(line));
        const auto back = FromLine(line);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->bytes, text);
        EXPECT_EQ(back->time, entry.time);
        EXPECT_EQ(back->microseconds, entry.microseconds);
        EXPECT_EQ(back->number, entry.number);
        EXPECT_EQ(back->size, entry.size);
        EXPECT_EQ(back->direction, "out");
        EXPECT_EQ(back->result, entry.result);
        EXPECT_FALSE(back->terminated);
        EXPECT_FALSE(back->null);
    }
}

TEST(TranscriptEntry, ALineThatIsStillBeingWrittenIsNoEntry) {
    TranscriptEntry entry;
    entry.kind = "note";
    entry.bytes = "x";
    const std::string line = ToLine(entry);
    EXPECT_TRUE(FromLine(line));
    for (std::size_t length = 0; length < line.size(); ++length) {
        EXPECT_FALSE(FromLine(line.substr(0, length))) << length;
    }
}

} // namespace
} // namespace meeting_client
