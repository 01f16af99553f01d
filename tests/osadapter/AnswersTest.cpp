#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

TEST(AdapterAnswers, StreamsAndDescriptors) {
    char byte = 'x';
    fpos_t position = {};
    const char* volatile empty = ""; // the compiler objects to a format that it sees to be empty
    EXPECT_EQ(KOSA_Creat(nullptr, 0), -1);
    EXPECT_EQ(KOSA_Creat("", 0), 1);
    EXPECT_EQ(KOSA_Open(nullptr, 0, 0), -1);
    EXPECT_EQ(KOSA_Open("", 0, 0), 1);
    EXPECT_EQ(KOSA_Close(-1), -1);
    EXPECT_EQ(KOSA_Read(0, nullptr, 1), -1);
    EXPECT_EQ(KOSA_Read(1000, &byte, 1), -1);
    EXPECT_EQ(KOSA_Write(1, nullptr, 1), -1);
    EXPECT_EQ(KOSA_LSeek(1000, 0, SEEK_SET), -1);
    EXPECT_EQ(KOSA_Ftruncate(1000, 0), -1);
    EXPECT_EQ(KOSA_Fcntl(-1, -1, -1), 0);
    EXPECT_EQ(KOSA_Fopen(nullptr, "w"), nullptr);
    EXPECT_EQ(KOSA_Fopen("x", nullptr), nullptr);
    EXPECT_EQ(KOSA_Fopen("", "w"), nullptr);
    EXPECT_EQ(KOSA_Fopen_w(nullptr, L"w"), nullptr);
    EXPECT_EQ(KOSA_Fopen_w(L"x", nullptr), nullptr);
    EXPECT_EQ(KOSA_Fclose(nullptr), -1);
    EXPECT_EQ(KOSA_Feof(nullptr), -1);
    EXPECT_EQ(KOSA_Ferror(nullptr), -1);
    EXPECT_EQ(KOSA_Fflush(nullptr), -1);
    EXPECT_EQ(KOSA_Fgetc(nullptr), -1);
    EXPECT_EQ(KOSA_Fileno(nullptr), -1);
    EXPECT_EQ(KOSA_Fputc('a', nullptr), -1);
    EXPECT_EQ(KOSA_Fputs(nullptr, stdout), -1);
    EXPECT_EQ(KOSA_Fputs("a", nullptr), -1);
    EXPECT_EQ(KOSA_Fgets(nullptr, 1, stdin), nullptr);
    EXPECT_EQ(KOSA_Fgets(&byte, 1, nullptr), nullptr);
    EXPECT_EQ(KOSA_Fread(nullptr, 1, 1, stdin), 0u);
    EXPECT_EQ(KOSA_Fread(&byte, 1, 1, nullptr), 0u);
    EXPECT_EQ(KOSA_Fwrite(nullptr, 1, 1, stdout), 0u);
    EXPECT_EQ(KOSA_Fwrite(&byte, 1, 1, nullptr), 0u);
    EXPECT_EQ(KOSA_Fseek(nullptr, 0, SEEK_SET), -1);
    EXPECT_EQ(KOSA_Ftell(nullptr), -1);
    EXPECT_EQ(KOSA_Fgetpos(nullptr, &position), -1);
    EXPECT_EQ(KOSA_Fgetpos(stdout, nullptr), -1);
    EXPECT_EQ(KOSA_Fsetpos(nullptr, &position), -1);
    EXPECT_EQ(KOSA_Fsetpos(stdout, nullptr), -1);
    EXPECT_EQ(KOSA_Fprintf(nullptr, "x"), -1);
    EXPECT_EQ(KOSA_Fprintf(stdout, empty), -1);
    EXPECT_EQ(KOSA_Fprintf(stdout, nullptr), -1);
    EXPECT_EQ(KOSA_Printf(nullptr), -1);
    EXPECT_EQ(KOSA_Printf(empty), 0);
    KOSA_Rewind(nullptr);
    KOSA_Clearerr(nullptr);
    EXPECT_EQ(byte, 'x');
}

TEST(AdapterAnswers, PathsAndDirectories) {
    char byte = 'x';
    KosaStat status;
    uint32_t size = 5;
    KosaDirEntry* entry = nullptr;
    KosaDirEntry** list = nullptr;
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        SCOPED_TRACE(testing::PrintToString(none));
        EXPECT_EQ(KOSA_Access(none, 0), -1);
        EXPECT_EQ(KOSA_ChDir(none), -1);
        EXPECT_EQ(KOSA_Remove(none), -1);
        EXPECT_EQ(KOSA_Rename(none, "x"), -1);
        EXPECT_EQ(KOSA_Rename("x", none), -1);
        EXPECT_EQ(KOSA_MkDir(none, 0), -1);
        EXPECT_EQ(KOSA_MkDir_P(none, 0), -1);
        EXPECT_EQ(KOSA_GetFileSize(none, &size), -1);
    }
    EXPECT_EQ(KOSA_CopyFile(nullptr, "x"), -1);
    EXPECT_EQ(KOSA_CopyFile("x", nullptr), -1);
    EXPECT_EQ(KOSA_CopyFile("x", ""), 1);
    EXPECT_EQ(KOSA_MkDir_P(".", 0), 0);
    EXPECT_EQ(KOSA_MkDir_P("..", 0), 0);
    EXPECT_EQ(KOSA_MkDir_P("//", 0), 0);
    EXPECT_EQ(KOSA_RmDir(nullptr), -1);
    EXPECT_EQ(KOSA_Stat(nullptr, &status), -1);
    EXPECT_EQ(KOSA_Stat(".", nullptr), -1);
    EXPECT_EQ(KOSA_Stat("", &status), 1);
    EXPECT_EQ(KOSA_FStat(0, nullptr), -1);
    EXPECT_EQ(KOSA_FStat(1000, &status), -1);
    EXPECT_EQ(KOSA_GetFileSize(".", nullptr), -1);
    EXPECT_EQ(KOSA_GetFileSize("no such file", &size), 1);
    EXPECT_EQ(KOSA_GetCwd(nullptr, 100), nullptr);
    EXPECT_EQ(KOSA_GetCwd(&byte, 1), nullptr);
    EXPECT_EQ(KOSA_RelPath(nullptr, &byte, 1), 1);
    EXPECT_EQ(KOSA_RelPath("x", nullptr, 100), 1);
    EXPECT_EQ(KOSA_OpenDir(nullptr), nullptr);
    EXPECT_EQ(KOSA_ReadDir(nullptr), nullptr);
    EXPECT_EQ(KOSA_ReadDir_S(nullptr, nullptr, &entry), -1);
    EXPECT_EQ(KOSA_CloseDir(nullptr), -1);
    EXPECT_EQ(KOSA_TellDir(nullptr), -1);
    EXPECT_EQ(KOSA_DirFd(nullptr), -1);
    EXPECT_EQ(KOSA_ScanDir(nullptr, &list, nullptr, nullptr), -1);
    EXPECT_EQ(KOSA_ScanDir(".", nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(KOSA_ScanDir("no such folder", &list, nullptr, nullptr), -1);
    EXPECT_EQ(KOSA_Ioctl(-1, 0, nullptr, 0, nullptr, 0, nullptr), -1);
    EXPECT_EQ(KOSA_CloseHandle(nullptr), -1);
    KOSA_RewindDir(nullptr);
    KOSA_SeekDir(nullptr, 1);
    KOSA_DestoryNameList(nullptr, 3);
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(size, 5u);
}

TEST(AdapterAnswers, TextsAndConversions) {
    char delimiters[] = ",";
    char* context = nullptr;
    char buffer[20] = {};
    EXPECT_EQ(KOSA_StrLen(nullptr), 0u);
    EXPECT_EQ(KOSA_StrCmp(nullptr, "a"), -1);
    EXPECT_EQ(KOSA_StrCmp("\x80", "a"), 1);
    EXPECT_EQ(KOSA_StrCmp("a", "z"), -1);
    EXPECT_EQ(KOSA_StrNCmp("a", nullptr, 1), -1);
    EXPECT_EQ(KOSA_StriCmp(nullptr, nullptr), -1);
    EXPECT_EQ(KOSA_StriCmp("aBc", "AbC"), 0);
    EXPECT_EQ(KOSA_StriNCmp(nullptr, "a", 1), -1);
    EXPECT_EQ(KOSA_StriNCmp("aBx", "AbY", 2), 0);
    EXPECT_EQ(KOSA_StrChr(nullptr, 'a'), nullptr);
    EXPECT_EQ(KOSA_StrrChr(nullptr, 'a'), nullptr);
    EXPECT_EQ(KOSA_StrStr("a", nullptr), nullptr);
    EXPECT_EQ(KOSA_StrDup(nullptr), nullptr);
    EXPECT_EQ(KOSA_StrTok_S(buffer, delimiters, nullptr), nullptr);
    EXPECT_EQ(KOSA_StrTok_S(buffer, nullptr, &context), nullptr);
    EXPECT_EQ(KOSA_StrTok_S(nullptr, delimiters, &context), nullptr);
    EXPECT_EQ(KOSA_StrToLower(nullptr), nullptr);
    EXPECT_EQ(KOSA_StrToUper(nullptr), nullptr);
    EXPECT_EQ(KOSA_StrToInt(nullptr), 0);
    EXPECT_EQ(KOSA_StrToFloat(nullptr), 0);
    EXPECT_EQ(KOSA_Strtol(nullptr, &context, 10), 0);
    EXPECT_EQ(KOSA_Strtoul(nullptr, &context, 10), 0u);
    EXPECT_EQ(KOSA_IntToStr(1, nullptr), nullptr);
    EXPECT_EQ(KOSA_FloatToStr(1, nullptr), nullptr);
    EXPECT_EQ(KOSA_MemCmp("a", nullptr, 1), -1);
    EXPECT_EQ(KOSA_StrError_S(nullptr, 10, ENOENT), -1);
    EXPECT_EQ(KOSA_StrError_S(buffer, sizeof(buffer), ENOENT), 0);
    EXPECT_EQ(ZEP_LocaleToUnicodeW(nullptr), nullptr);
    EXPECT_EQ(ZEP_UnicodeToLocale(nullptr), nullptr);
    EXPECT_EQ(ZEP_UnicodeToUtf8(nullptr), nullptr);
    EXPECT_EQ(ZEP_Utf8ToUnicodeW(nullptr), nullptr);
    EXPECT_EQ(ZEP_Utf8ToUnicodeA(nullptr), nullptr);
    EXPECT_EQ(ZEP_LocaleToUtf8(nullptr), nullptr);
    EXPECT_EQ(ZEP_Utf8ToLocale(nullptr), nullptr);
    ZEP_StrMemFree(nullptr);
    EXPECT_STREQ(buffer, std::string(strerror(ENOENT)).substr(0, sizeof(buffer) - 1).c_str());
    ::SetLastError(10035); // the socket library keeps its error where the system keeps its own
    EXPECT_EQ(KOSA_GetLastSocketErr(), 10035);
}

// A sequence whose value has 16 zero bits at its low end must not end the path there and name another file.
TEST(AdapterAnswers, RefuseAPathWithAZeroUnit) {
    const TempFolder folder;
    folder.Write("keep", "1");
    std::filesystem::create_directory(folder.Path() / "folder");
    const std::string other = folder.Utf8("other");
    KosaStat status;
    uint32_t size = 0;
    KosaDirEntry** list = nullptr;
    for (const char* end : {"\xF0\xA0\x80\x80.txt", "\xC0\x80", "\xE0\x80\x80x", "\xFC"}) { // the first is U+20000
        SCOPED_TRACE(testing::PrintToString(end));
        const std::string zeroFile = folder.Utf8("keep") + end;
        const std::string zeroFolder = folder.Utf8("folder") + end;
        const char* const file = zeroFile.c_str();
        const char* const directory = zeroFolder.c_str();
        EXPECT_EQ(KOSA_Access(file, 0), 1);
        EXPECT_EQ(KOSA_Creat(file, 0), 1);
        EXPECT_EQ(KOSA_Open(file, 0, 0), 1);
        EXPECT_EQ(KOSA_Fopen(file, "w"), nullptr);
        EXPECT_EQ(KOSA_Fopen(other.c_str(), ("w" + std::string(end)).c_str()), nullptr);
        EXPECT_EQ(KOSA_Rename(file, other.c_str()), 1);
        EXPECT_EQ(KOSA_Rename(folder.Utf8("keep").c_str(), file), 1);
        EXPECT_EQ(KOSA_CopyFile(file, other.c_str()), 1);
        EXPECT_EQ(KOSA_CopyFile(other.c_str(), file), 1);
        EXPECT_EQ(KOSA_Stat(file, &status), 1);
        EXPECT_EQ(KOSA_GetFileSize(file, &size), 1);
        EXPECT_EQ(KOSA_Remove(file), 1);
        EXPECT_EQ(KOSA_ChDir(directory), -1);
        EXPECT_EQ(KOSA_MkDir((other + end).c_str(), 0), -1);
        EXPECT_EQ(KOSA_MkDir_P((other + end + "/a").c_str(), 0), -1);
        EXPECT_EQ(KOSA_RmDir(directory), -1);
        EXPECT_EQ(KOSA_OpenDir((zeroFolder + "\\a").c_str()), nullptr);
        EXPECT_EQ(KOSA_ScanDir((zeroFolder + "\\a").c_str(), &list, nullptr, nullptr), -1);
        EXPECT_EQ(folder.Read("keep"), "1");
        EXPECT_EQ(folder.Read("other"), "(missing)");
        EXPECT_FALSE(std::filesystem::exists(folder.Path() / "other"));
        EXPECT_TRUE(std::filesystem::exists(folder.Path() / "folder"));
    }
}

/// The error after the call. It is EDOM when the call leaves it alone.
template <class Call>
int ErrorOf(Call call) {
    KOSA_SetLastErr(EDOM);
    call();
    return KOSA_GetLastErr();
}

TEST(AdapterAnswers, LeaveTheErrorOfTheWrappedCall) {
    const TempFolder folder;
    folder.Write("file", "1");
    const std::string file = folder.Utf8("file");
    const std::string missingPath = folder.Utf8("no\\such");
    const char* const missing = missingPath.c_str();
    KosaStat status;
    EXPECT_EQ(ErrorOf([&] { KOSA_Access(missing, 0); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_ChDir(missing); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Creat(missing, 0); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Open(missing, 0, 0); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Fopen(missing, "r"); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Remove(missing); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Rename(missing, missing); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_MkDir(missing, 0); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_MkDir(folder.Utf8("").c_str(), 0); }), EEXIST);
    EXPECT_EQ(ErrorOf([&] { KOSA_RmDir(missing); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Stat(missing, &status); }), ENOENT);
    EXPECT_EQ(ErrorOf([&] { KOSA_Close(1000); }), EBADF);
    EXPECT_EQ(ErrorOf([&] { KOSA_Access(file.c_str(), 0); }), EDOM);
}

} // namespace
