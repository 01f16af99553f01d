#include "osadapter/include/kosa.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <functional>
#include <set>

namespace {

TEST(AdapterAnswers, ForNullAndEmptyArguments) {
    KosaDirEntry* entry = nullptr;
    char byte = 'x';
    const struct {
        const char* call;
        std::function<long long()> run;
        long long answer;
    } cases[] = {
        {"Fopen null path", [] { return reinterpret_cast<intptr_t>(KOSA_Fopen(nullptr, "w")); }, 0},
        {"Fopen empty path", [] { return reinterpret_cast<intptr_t>(KOSA_Fopen("", "w")); }, 0},
        {"Fclose", [] { return KOSA_Fclose(nullptr); }, -1},
        {"Fflush", [] { return KOSA_Fflush(nullptr); }, -1},
        {"Fseek", [] { return KOSA_Fseek(nullptr, 0, SEEK_SET); }, -1},
        {"Ftell", [] { return KOSA_Ftell(nullptr); }, -1},
        {"Fprintf null stream", [] { return KOSA_Fprintf(nullptr, "x"); }, -1},
        {"Fprintf empty format", [] { return KOSA_Fprintf(stdout, ""); }, -1},
        {"Fprintf null format", [] { return KOSA_Fprintf(stdout, nullptr); }, -1},
        {"Access null", [] { return KOSA_Access(nullptr, 0); }, -1},
        {"Access empty", [] { return KOSA_Access("", 0); }, -1},
        {"Remove empty", [] { return KOSA_Remove(""); }, -1},
        {"Rename null old", [] { return KOSA_Rename(nullptr, "x"); }, -1},
        {"Rename empty new", [] { return KOSA_Rename("x", ""); }, -1},
        {"MkDir null", [] { return KOSA_MkDir(nullptr, 0); }, -1},
        {"GetCwd null", [] { return reinterpret_cast<intptr_t>(KOSA_GetCwd(nullptr, 100)); }, 0},
        {"GetCwd small", [&] { return reinterpret_cast<intptr_t>(KOSA_GetCwd(&byte, 1)); }, 0},
        {"OpenDir null", [] { return reinterpret_cast<intptr_t>(KOSA_OpenDir(nullptr)); }, 0},
        {"ReadDir null", [] { return reinterpret_cast<intptr_t>(KOSA_ReadDir(nullptr)); }, 0},
        {"ReadDir_S null", [&] { return KOSA_ReadDir_S(nullptr, nullptr, &entry); }, -1},
        {"CloseDir null", [] { return KOSA_CloseDir(nullptr); }, -1},
        {"StrLen null", [] { return static_cast<long long>(KOSA_StrLen(nullptr)); }, 0},
        {"StrCmp null", [] { return KOSA_StrCmp(nullptr, "a"); }, -1},
        {"StrCmp unsigned", [] { return KOSA_StrCmp("\x80", "a"); }, 1},
        {"StrCmp less", [] { return KOSA_StrCmp("a", "z"); }, -1},
        {"StrStr null", [] { return reinterpret_cast<intptr_t>(KOSA_StrStr("a", nullptr)); }, 0},
        {"StrrChr null", [] { return reinterpret_cast<intptr_t>(KOSA_StrrChr(nullptr, 'a')); }, 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.call);
        EXPECT_EQ(test.run(), test.answer);
    }
    EXPECT_EQ(byte, 'x');
}

TEST(AdapterFiles, WithAnEmptyModeAreNotTouched) {
    const TempFolder folder;
    EXPECT_EQ(KOSA_Fopen(folder.Utf8("a.txt").c_str(), ""), nullptr);
    EXPECT_EQ(folder.Read("a.txt"), "(missing)");
}

TEST(AdapterFiles, AreWrittenRenamedAndRemovedUnderUtf8Names) {
    const TempFolder folder;
    const std::string first = folder.Utf8("\xE7\xBA\xAA\xE8\xA6\x81.txt");
    const std::string second = folder.Utf8("b.txt");
    FILE* const file = KOSA_Fopen(first.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    const std::string longText(5000, 'y');
    EXPECT_EQ(KOSA_Fprintf(file, "%d %s|%I64u|", 7, "ab", 18446744073709551615ULL), 26);
    EXPECT_EQ(KOSA_Fprintf(file, "%s", longText.c_str()), 5000);
    EXPECT_EQ(KOSA_Ftell(file), 5026);
    EXPECT_EQ(KOSA_Fclose(file), 0);
    EXPECT_EQ(folder.Read(L"\u7eaa\u8981.txt"), "7 ab|18446744073709551615|" + longText);

    EXPECT_EQ(KOSA_Rename(first.c_str(), second.c_str()), 0);
    EXPECT_EQ(KOSA_Access(second.c_str(), 0), 0);
    EXPECT_EQ(KOSA_Remove(second.c_str()), 0);
    errno = 0;
    EXPECT_EQ(KOSA_Access(second.c_str(), 0), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(AdapterFiles, ReportMissingLevelsThroughErrno) {
    const TempFolder folder;
    errno = 0;
    EXPECT_EQ(KOSA_MkDir(folder.Utf8("a\\b").c_str(), 0755), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(KOSA_MkDir(folder.Utf8("a").c_str(), 0755), 0);
    EXPECT_EQ(KOSA_MkDir(folder.Utf8("a").c_str(), 0755), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST(AdapterFiles, AboveTheBasicPlaneGoUnderACutName) {
    const TempFolder folder;
    FILE* const file = KOSA_Fopen(folder.Utf8("\xF0\x92\x8D\x85.txt").c_str(), "w"); // U+12345
    ASSERT_NE(file, nullptr);
    KOSA_Fclose(file);
    EXPECT_EQ(folder.Read(L"\u2345.txt"), "");
}

TEST(AdapterDirectories, ListEveryEntryAndEndWithNull) {
    const TempFolder folder;
    folder.Write("one.txt", "1");
    std::filesystem::create_directory(folder.Path() / L"\u4e8c");
    KosaDir* const directory = KOSA_OpenDir(folder.Utf8("").c_str());
    ASSERT_NE(directory, nullptr);
    std::multiset<std::string> names;
    KosaDirEntry* entry = nullptr;
    while (KOSA_ReadDir_S(directory, nullptr, &entry) == 0 && entry != nullptr) {
        names.insert(entry->name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(".", "..", "one.txt", "\xE4\xBA\x8C"));
    EXPECT_EQ(KOSA_ReadDir_S(directory, nullptr, &entry), 0);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(KOSA_CloseDir(directory), 0);
    EXPECT_EQ(KOSA_OpenDir(folder.Utf8("missing").c_str()), nullptr);
}

TEST(AdapterDirectories, TheCurrentOneNeedsRoomForItsTerminator) {
    char whole[2000] = {};
    ASSERT_EQ(KOSA_GetCwd(whole, sizeof(whole)), whole);
    const size_t length = KOSA_StrLen(whole);
    char exact[2000] = {};
    EXPECT_EQ(KOSA_GetCwd(exact, static_cast<uint32_t>(length)), nullptr);
    EXPECT_EQ(KOSA_GetCwd(exact, static_cast<uint32_t>(length + 1)), exact);
    EXPECT_STREQ(exact, whole);
}

} // namespace
