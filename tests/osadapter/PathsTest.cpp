#include "osadapter/include/kosa.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

// Makes a fresh folder the current one and goes back afterwards.
class CurrentFolder : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(KOSA_GetCwd(before_, sizeof(before_)), nullptr);
        ASSERT_EQ(KOSA_ChDir(folder_.Utf8("").c_str()), 0);
    }
    void TearDown() override { EXPECT_EQ(KOSA_ChDir(before_), 0); }

    bool Has(const std::filesystem::path& name) const { return std::filesystem::is_directory(folder_.Path() / name); }

    const TempFolder folder_;
    char before_[2000] = {};
};

TEST_F(CurrentFolder, IsReadInUtf8WithRoomForTheTerminator) {
    char whole[2000] = {};
    ASSERT_EQ(KOSA_GetCwd(whole, sizeof(whole)), whole);
    EXPECT_NE(strstr(whole, "\xE4\xBC\x9A\xE8\xAE\xAE"), nullptr);
    const size_t length = strlen(whole);
    const std::unique_ptr<char[]> exact(new char[length + 1]);
    EXPECT_EQ(KOSA_GetCwd(exact.get(), static_cast<uint32_t>(length)), nullptr);
    EXPECT_EQ(KOSA_GetCwd(exact.get(), static_cast<uint32_t>(length + 1)), exact.get());
    EXPECT_STREQ(exact.get(), whole);
}

TEST_F(CurrentFolder, MakesEveryMissingLevel) {
    EXPECT_EQ(KOSA_MkDir_P("single", 0755), 0);
    EXPECT_FALSE(Has("single"));
    ASSERT_EQ(KOSA_MkDir("a", 0755), 0);
    EXPECT_EQ(KOSA_MkDir_P("a/b\\c", 0755), 0);
    EXPECT_TRUE(Has("a/b/c"));
    EXPECT_EQ(KOSA_MkDir_P("d//e///f/", 0755), 0);
    EXPECT_TRUE(Has("d/e/f"));
    EXPECT_EQ(KOSA_MkDir_P("\\g\\h", 0755), 0); // a leading backslash is not kept
    EXPECT_TRUE(Has("g/h"));
    EXPECT_EQ(KOSA_MkDir_P("/i//j", 0755), 0); // nor a leading slash beside a doubled one
    EXPECT_TRUE(Has("i/j"));
    EXPECT_EQ(KOSA_MkDir_P(folder_.Utf8("\xE4\xBC\x9A\\\xE8\xAE\xAE/x").c_str(), 0755), 0);
    EXPECT_TRUE(Has(L"\u4f1a/\u8bae/x"));
    folder_.Write("file", "");
    EXPECT_EQ(KOSA_MkDir_P("file/below", 0755), 0); // cannot be made
    EXPECT_FALSE(Has("file/below"));

    EXPECT_EQ(KOSA_RmDir("a/b"), -1); // not empty
    EXPECT_EQ(KOSA_RmDir("a/b/c"), 0);
    EXPECT_FALSE(Has("a/b/c"));
}

TEST_F(CurrentFolder, KeepsALeadingSlash) {
    // The drive's root: only a name that cannot be mistaken for another, removed at once.
    const std::string name = "/nembra-" + std::to_string(::GetCurrentProcessId());
    EXPECT_EQ(KOSA_MkDir_P((name + "/x").c_str(), 0755), 0);
    EXPECT_EQ(KOSA_Access((name + "/x").c_str(), 0), 0);
    EXPECT_FALSE(Has(name.substr(1)));
    EXPECT_EQ(KOSA_RmDir((name + "/x").c_str()), 0);
    EXPECT_EQ(KOSA_RmDir(name.c_str()), 0);
}

TEST(RelPath, RemovesDotsAndKeepsEveryOtherByte) {
    const struct {
        const char* path;
        const char* result;
    } cases[] = {
        {"C:\\a\\.\\b\\..\\c.txt", "C:\\a\\c.txt"},
        {"C:\\a\\..\\..\\b", "C:\\b"},
        {"a\\b\\..\\c", "a\\c"},
        // The third byte and the separator would be one character in a Chinese code page.
        {"C:\\\xE4\xBC\x9A\\..\\\xE8\xAE\xAE", "C:\\\xE8\xAE\xAE"},
        {"C:\\\xF0\x9F\x98\x80\\x", "C:\\\xF0\x9F\x98\x80\\x"},
        {"", "\\"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.path);
        char result[300];
        memset(result, 'j', sizeof(result));
        EXPECT_EQ(KOSA_RelPath(test.path, result, sizeof(result)), 0);
        EXPECT_STREQ(result, test.result);
    }
}

TEST(RelPath, TakesAResultOfExactlyTheSizeWithoutTerminator) {
    char result[] = "jjjjjjj";
    EXPECT_EQ(KOSA_RelPath("C:\\.\\ab", result, 4), 1);
    EXPECT_STREQ(result, "jjjjjjj");
    EXPECT_EQ(KOSA_RelPath("C:\\.\\ab", result, 5), 0);
    EXPECT_STREQ(result, "C:\\abjj");
    EXPECT_EQ(KOSA_RelPath("C:\\.\\ab", result, 6), 0);
    EXPECT_STREQ(result, "C:\\ab");
    char large[2000];
    const std::string root = "C:\\";
    EXPECT_EQ(KOSA_RelPath((root + std::string(256, 'x')).c_str(), large, sizeof(large)), 0);
    EXPECT_EQ(strlen(large), 259u);
    for (const size_t length : {258, 259, 1000, 5000}) {
        SCOPED_TRACE(length);
        EXPECT_EQ(KOSA_RelPath((root + std::string(length, 'x')).c_str(), large, sizeof(large)), 1);
    }
}

} // namespace
