#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>

namespace {

template <class Pointer>
long long AsNumber(Pointer* pointer) {
    return reinterpret_cast<intptr_t>(pointer);
}

struct Call {
    const char* call;
    std::function<long long()> run;
    long long answer; // or the error it leaves
};

void ExpectAnswers(std::initializer_list<Call> calls) {
    for (const Call& test : calls) {
        SCOPED_TRACE(test.call);
        EXPECT_EQ(test.run(), test.answer);
    }
}

TEST(AdapterAnswers, StreamsAndDescriptors) {
    char byte = 'x';
    fpos_t position = {};
    const char* volatile empty = ""; // the compiler objects to a format that it sees to be empty
    ExpectAnswers({
        {"Creat null", [] { return KOSA_Creat(nullptr, 0); }, -1},
        {"Creat unconvertible", [] { return KOSA_Creat("", 0); }, 1},
        {"Open null", [] { return KOSA_Open(nullptr, 0, 0); }, -1},
        {"Open unconvertible", [] { return KOSA_Open("", 0, 0); }, 1},
        {"Close", [] { return KOSA_Close(-1); }, -1},
        {"Read null", [] { return KOSA_Read(0, nullptr, 1); }, -1},
        {"Read bad", [&] { return KOSA_Read(1000, &byte, 1); }, -1},
        {"Write null", [] { return KOSA_Write(1, nullptr, 1); }, -1},
        {"LSeek bad", [] { return KOSA_LSeek(1000, 0, SEEK_SET); }, -1},
        {"Ftruncate bad", [] { return KOSA_Ftruncate(1000, 0); }, -1},
        {"Fcntl", [] { return KOSA_Fcntl(-1, -1, -1); }, 0},
        {"Fopen null path", [] { return AsNumber(KOSA_Fopen(nullptr, "w")); }, 0},
        {"Fopen null mode", [] { return AsNumber(KOSA_Fopen("x", nullptr)); }, 0},
        {"Fopen empty path", [] { return AsNumber(KOSA_Fopen("", "w")); }, 0},
        {"Fopen_w null path", [] { return AsNumber(KOSA_Fopen_w(nullptr, L"w")); }, 0},
        {"Fopen_w null mode", [] { return AsNumber(KOSA_Fopen_w(L"x", nullptr)); }, 0},
        {"Fclose", [] { return KOSA_Fclose(nullptr); }, -1},
        {"Feof", [] { return KOSA_Feof(nullptr); }, -1},
        {"Ferror", [] { return KOSA_Ferror(nullptr); }, -1},
        {"Fflush", [] { return KOSA_Fflush(nullptr); }, -1},
        {"Fgetc", [] { return KOSA_Fgetc(nullptr); }, -1},
        {"Fileno", [] { return KOSA_Fileno(nullptr); }, -1},
        {"Fputc", [] { return KOSA_Fputc('a', nullptr); }, -1},
        {"Fputs null text", [] { return KOSA_Fputs(nullptr, stdout); }, -1},
        {"Fputs null stream", [] { return KOSA_Fputs("a", nullptr); }, -1},
        {"Fgets null buffer", [] { return AsNumber(KOSA_Fgets(nullptr, 1, stdin)); }, 0},
        {"Fgets null stream", [&] { return AsNumber(KOSA_Fgets(&byte, 1, nullptr)); }, 0},
        {"Fread null buffer", [] { return KOSA_Fread(nullptr, 1, 1, stdin); }, 0},
        {"Fread null stream", [&] { return KOSA_Fread(&byte, 1, 1, nullptr); }, 0},
        {"Fwrite null buffer", [] { return KOSA_Fwrite(nullptr, 1, 1, stdout); }, 0},
        {"Fwrite null stream", [&] { return KOSA_Fwrite(&byte, 1, 1, nullptr); }, 0},
        {"Fseek", [] { return KOSA_Fseek(nullptr, 0, SEEK_SET); }, -1},
        {"Ftell", [] { return KOSA_Ftell(nullptr); }, -1},
        {"Fgetpos null stream", [&] { return KOSA_Fgetpos(nullptr, &position); }, -1},
        {"Fgetpos null record", [] { return KOSA_Fgetpos(stdout, nullptr); }, -1},
        {"Fsetpos null stream", [&] { return KOSA_Fsetpos(nullptr, &position); }, -1},
        {"Fsetpos null record", [] { return KOSA_Fsetpos(stdout, nullptr); }, -1},
        {"Fprintf null stream", [] { return KOSA_Fprintf(nullptr, "x"); }, -1},
        {"Fprintf empty format", [&] { return KOSA_Fprintf(stdout, empty); }, -1},
        {"Fprintf null format", [] { return KOSA_Fprintf(stdout, nullptr); }, -1},
        {"Printf null format", [] { return KOSA_Printf(nullptr); }, -1},
        {"Printf empty format", [&] { return KOSA_Printf(empty); }, 0},
    });
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
    ExpectAnswers({
        {"Access null", [] { return KOSA_Access(nullptr, 0); }, -1},
        {"Access empty", [] { return KOSA_Access("", 0); }, -1},
        {"ChDir null", [] { return KOSA_ChDir(nullptr); }, -1},
        {"ChDir empty", [] { return KOSA_ChDir(""); }, -1},
        {"Remove null", [] { return KOSA_Remove(nullptr); }, -1},
        {"Remove empty", [] { return KOSA_Remove(""); }, -1},
        {"Rename null old", [] { return KOSA_Rename(nullptr, "x"); }, -1},
        {"Rename empty new", [] { return KOSA_Rename("x", ""); }, -1},
        {"CopyFile null source", [] { return KOSA_CopyFile(nullptr, "x"); }, -1},
        {"CopyFile null destination", [] { return KOSA_CopyFile("x", nullptr); }, -1},
        {"CopyFile unconvertible", [] { return KOSA_CopyFile("x", ""); }, 1},
        {"MkDir null", [] { return KOSA_MkDir(nullptr, 0); }, -1},
        {"MkDir empty", [] { return KOSA_MkDir("", 0); }, -1},
        {"MkDir_P null", [] { return KOSA_MkDir_P(nullptr, 0); }, -1},
        {"MkDir_P empty", [] { return KOSA_MkDir_P("", 0); }, -1},
        {"MkDir_P here", [] { return KOSA_MkDir_P(".", 0); }, 0},
        {"MkDir_P above", [] { return KOSA_MkDir_P("..", 0); }, 0},
        {"MkDir_P slashes", [] { return KOSA_MkDir_P("//", 0); }, 0},
        {"RmDir null", [] { return KOSA_RmDir(nullptr); }, -1},
        {"Stat null path", [&] { return KOSA_Stat(nullptr, &status); }, -1},
        {"Stat null out", [] { return KOSA_Stat(".", nullptr); }, -1},
        {"Stat unconvertible", [&] { return KOSA_Stat("", &status); }, 1},
        {"FStat null out", [] { return KOSA_FStat(0, nullptr); }, -1},
        {"FStat bad", [&] { return KOSA_FStat(1000, &status); }, -1},
        {"GetFileSize null", [&] { return KOSA_GetFileSize(nullptr, &size); }, -1},
        {"GetFileSize empty", [&] { return KOSA_GetFileSize("", &size); }, -1},
        {"GetFileSize null out", [] { return KOSA_GetFileSize(".", nullptr); }, -1},
        {"GetFileSize missing", [&] { return KOSA_GetFileSize("no such file", &size); }, 1},
        {"GetCwd null", [] { return AsNumber(KOSA_GetCwd(nullptr, 100)); }, 0},
        {"GetCwd small", [&] { return AsNumber(KOSA_GetCwd(&byte, 1)); }, 0},
        {"RelPath null path", [&] { return KOSA_RelPath(nullptr, &byte, 1); }, 1},
        {"RelPath null buffer", [] { return KOSA_RelPath("x", nullptr, 100); }, 1},
        {"OpenDir null", [] { return AsNumber(KOSA_OpenDir(nullptr)); }, 0},
        {"ReadDir null", [] { return AsNumber(KOSA_ReadDir(nullptr)); }, 0},
        {"ReadDir_S null", [&] { return KOSA_ReadDir_S(nullptr, nullptr, &entry); }, -1},
        {"CloseDir null", [] { return KOSA_CloseDir(nullptr); }, -1},
        {"TellDir null", [] { return KOSA_TellDir(nullptr); }, -1},
        {"DirFd null", [] { return KOSA_DirFd(nullptr); }, -1},
        {"ScanDir null", [&] { return KOSA_ScanDir(nullptr, &list, nullptr, nullptr); }, -1},
        {"ScanDir null list", [] { return KOSA_ScanDir(".", nullptr, nullptr, nullptr); }, -1},
        {"ScanDir missing", [&] { return KOSA_ScanDir("no such folder", &list, nullptr, nullptr); }, -1},
        {"Ioctl bad", [] { return KOSA_Ioctl(-1, 0, nullptr, 0, nullptr, 0, nullptr); }, -1},
        {"CloseHandle null", [] { return KOSA_CloseHandle(nullptr); }, -1},
    });
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
    ExpectAnswers({
        {"StrLen null", [] { return KOSA_StrLen(nullptr); }, 0},
        {"StrCmp null", [] { return KOSA_StrCmp(nullptr, "a"); }, -1},
        {"StrCmp unsigned", [] { return KOSA_StrCmp("\x80", "a"); }, 1},
        {"StrCmp less", [] { return KOSA_StrCmp("a", "z"); }, -1},
        {"StrNCmp null", [] { return KOSA_StrNCmp("a", nullptr, 1); }, -1},
        {"StriCmp null", [] { return KOSA_StriCmp(nullptr, nullptr); }, -1},
        {"StriCmp equal", [] { return KOSA_StriCmp("aBc", "AbC"); }, 0},
        {"StriNCmp null", [] { return KOSA_StriNCmp(nullptr, "a", 1); }, -1},
        {"StriNCmp equal", [] { return KOSA_StriNCmp("aBx", "AbY", 2); }, 0},
        {"StrChr null", [] { return AsNumber(KOSA_StrChr(nullptr, 'a')); }, 0},
        {"StrrChr null", [] { return AsNumber(KOSA_StrrChr(nullptr, 'a')); }, 0},
        {"StrStr null", [] { return AsNumber(KOSA_StrStr("a", nullptr)); }, 0},
        {"StrDup null", [] { return AsNumber(KOSA_StrDup(nullptr)); }, 0},
        {"StrTok_S null context", [&] { return AsNumber(KOSA_StrTok_S(buffer, delimiters, nullptr)); }, 0},
        {"StrTok_S null delimiters", [&] { return AsNumber(KOSA_StrTok_S(buffer, nullptr, &context)); }, 0},
        {"StrTok_S nothing", [&] { return AsNumber(KOSA_StrTok_S(nullptr, delimiters, &context)); }, 0},
        {"StrToLower null", [] { return AsNumber(KOSA_StrToLower(nullptr)); }, 0},
        {"StrToUper null", [] { return AsNumber(KOSA_StrToUper(nullptr)); }, 0},
        {"StrToInt null", [] { return KOSA_StrToInt(nullptr); }, 0},
        {"StrToFloat null", [] { return static_cast<long long>(KOSA_StrToFloat(nullptr)); }, 0},
        {"Strtol null", [&] { return KOSA_Strtol(nullptr, &context, 10); }, 0},
        {"Strtoul null", [&] { return KOSA_Strtoul(nullptr, &context, 10); }, 0},
        {"IntToStr null", [] { return AsNumber(KOSA_IntToStr(1, nullptr)); }, 0},
        {"FloatToStr null", [] { return AsNumber(KOSA_FloatToStr(1, nullptr)); }, 0},
        {"MemCmp null", [] { return KOSA_MemCmp("a", nullptr, 1); }, -1},
        {"StrError_S null", [] { return KOSA_StrError_S(nullptr, 10, ENOENT); }, -1},
        {"StrError_S", [&] { return KOSA_StrError_S(buffer, sizeof(buffer), ENOENT); }, 0},
        {"LocaleToUnicodeW", [] { return AsNumber(ZEP_LocaleToUnicodeW(nullptr)); }, 0},
        {"UnicodeToLocale", [] { return AsNumber(ZEP_UnicodeToLocale(nullptr)); }, 0},
        {"UnicodeToUtf8", [] { return AsNumber(ZEP_UnicodeToUtf8(nullptr)); }, 0},
        {"Utf8ToUnicodeW", [] { return AsNumber(ZEP_Utf8ToUnicodeW(nullptr)); }, 0},
        {"Utf8ToUnicodeA", [] { return AsNumber(ZEP_Utf8ToUnicodeA(nullptr)); }, 0},
        {"LocaleToUtf8", [] { return AsNumber(ZEP_LocaleToUtf8(nullptr)); }, 0},
        {"Utf8ToLocale", [] { return AsNumber(ZEP_Utf8ToLocale(nullptr)); }, 0},
    });
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
        ExpectAnswers({
            {"Access", [&] { return KOSA_Access(file, 0); }, 1},
            {"Creat", [&] { return KOSA_Creat(file, 0); }, 1},
            {"Open", [&] { return KOSA_Open(file, 0, 0); }, 1},
            {"Fopen", [&] { return AsNumber(KOSA_Fopen(file, "w")); }, 0},
            {"Fopen mode", [&] { return AsNumber(KOSA_Fopen(other.c_str(), ("w" + std::string(end)).c_str())); }, 0},
            {"Rename", [&] { return KOSA_Rename(file, other.c_str()); }, 1},
            {"Rename to", [&] { return KOSA_Rename(folder.Utf8("keep").c_str(), file); }, 1},
            {"CopyFile", [&] { return KOSA_CopyFile(file, other.c_str()); }, 1},
            {"CopyFile to", [&] { return KOSA_CopyFile(other.c_str(), file); }, 1},
            {"Stat", [&] { return KOSA_Stat(file, &status); }, 1},
            {"GetFileSize", [&] { return KOSA_GetFileSize(file, &size); }, 1},
            {"Remove", [&] { return KOSA_Remove(file); }, 1},
            {"ChDir", [&] { return KOSA_ChDir(directory); }, -1},
            {"MkDir", [&] { return KOSA_MkDir((other + end).c_str(), 0); }, -1},
            {"MkDir_P", [&] { return KOSA_MkDir_P((other + end + "/a").c_str(), 0); }, -1},
            {"RmDir", [&] { return KOSA_RmDir(directory); }, -1},
            {"OpenDir", [&] { return AsNumber(KOSA_OpenDir((zeroFolder + "\\a").c_str())); }, 0},
            {"ScanDir", [&] { return KOSA_ScanDir((zeroFolder + "\\a").c_str(), &list, nullptr, nullptr); }, -1},
        });
        EXPECT_EQ(folder.Read("keep"), "1");
        EXPECT_EQ(folder.Read("other"), "(missing)");
        EXPECT_FALSE(std::filesystem::exists(folder.Path() / "other"));
        EXPECT_TRUE(std::filesystem::exists(folder.Path() / "folder"));
    }
}

TEST(AdapterAnswers, LeaveTheErrorOfTheWrappedCall) {
    const TempFolder folder;
    folder.Write("file", "1");
    const std::string file = folder.Utf8("file");
    const std::string missing = folder.Utf8("no\\such");
    KosaStat status;
    const Call cases[] = {
        {"Access", [&] { return KOSA_Access(missing.c_str(), 0); }, ENOENT},
        {"ChDir", [&] { return KOSA_ChDir(missing.c_str()); }, ENOENT},
        {"Creat", [&] { return KOSA_Creat(missing.c_str(), 0); }, ENOENT},
        {"Open", [&] { return KOSA_Open(missing.c_str(), 0, 0); }, ENOENT},
        {"Fopen", [&] { return AsNumber(KOSA_Fopen(missing.c_str(), "r")); }, ENOENT},
        {"Remove", [&] { return KOSA_Remove(missing.c_str()); }, ENOENT},
        {"Rename", [&] { return KOSA_Rename(missing.c_str(), missing.c_str()); }, ENOENT},
        {"MkDir", [&] { return KOSA_MkDir(missing.c_str(), 0); }, ENOENT},
        {"MkDir existing", [&] { return KOSA_MkDir(folder.Utf8("").c_str(), 0); }, EEXIST},
        {"RmDir", [&] { return KOSA_RmDir(missing.c_str()); }, ENOENT},
        {"Stat", [&] { return KOSA_Stat(missing.c_str(), &status); }, ENOENT},
        {"Close", [] { return KOSA_Close(1000); }, EBADF},
        {"success leaves it alone", [&] { return KOSA_Access(file.c_str(), 0); }, EDOM},
    };
    for (const Call& test : cases) {
        SCOPED_TRACE(test.call);
        KOSA_SetLastErr(EDOM);
        test.run();
        EXPECT_EQ(KOSA_GetLastErr(), test.answer);
    }
}

} // namespace
