#include "osadapter/include/kosa.h"
#include "support/UniqueResource.h"
#include "tests/support/TempFolder.h"
#include "workbench/verify/core/ImportPatch.h"

#include <gtest/gtest.h>

#include <winioctl.h>

#include <fcntl.h>
#include <io.h>

#include <climits>
#include <cstdlib>

namespace {

/// Which call of a replaced function fails. Only one thread calls.
struct Plan {
    int callsBefore = -1; // -1: none fails
    bool onward = false;  // every later call fails as well
    bool struck = false;

    bool Strikes() {
        if (callsBefore < 0 || callsBefore-- > 0) {
            return false;
        }
        struck = true;
        callsBefore = onward ? 0 : -1;
        return true;
    }
};

Plan g_plan;
decltype(&malloc) g_malloc = nullptr;
decltype(&::FindNextFileW) g_findNext = nullptr;

void* FailingMalloc(size_t bytes) {
    return g_plan.Strikes() ? nullptr : g_malloc(bytes);
}

BOOL WINAPI FailingFindNext(HANDLE find, WIN32_FIND_DATAW* data) {
    if (g_plan.Strikes()) {
        ::SetLastError(ERROR_NETNAME_DELETED); // a network folder that went away
        return FALSE;
    }
    return g_findNext(find, data);
}

template <class Function>
Function Replace(const char* name, Function replacement) {
    return reinterpret_cast<Function>(
        verify::PatchImport(::GetModuleHandleW(nullptr), name, reinterpret_cast<void*>(replacement)));
}

/// Fails each allocation of the call in turn, alone and with all later ones. The call must then answer -1.
template <class Call>
void ExpectFailureForEachCall(Call call, int success) {
    for (const bool onward : {false, true}) {
        for (int number = 0;; ++number) {
            g_plan = {number, onward};
            const int result = call();
            g_plan.callsBefore = -1;
            if (!g_plan.struck) {
                EXPECT_GT(number, 1);
                EXPECT_EQ(result, success);
                break;
            }
            EXPECT_EQ(result, -1) << "call " << number << (onward ? " and all later ones" : "");
        }
    }
}

class ExhaustedMemory : public testing::Test {
protected:
    static void SetUpTestSuite() { g_malloc = Replace("malloc", &FailingMalloc); }
    void SetUp() override {
        if (g_malloc == nullptr) {
            GTEST_SKIP() << "this runtime is linked in, its malloc cannot be replaced";
        }
    }
    const TempFolder folder_;
};

int Scan(const char* path) {
    KosaDirEntry** list = nullptr;
    const int count = KOSA_ScanDir(path, &list, nullptr, KOSA_Alphasort);
    KOSA_DestoryNameList(list, count);
    return count;
}

TEST_F(ExhaustedMemory, IsNotTheEndOfAScannedDirectory) {
    folder_.Write("a", "");
    folder_.Write("b", "");
    const std::string path = folder_.Utf8("");
    ExpectFailureForEachCall([&] { return Scan(path.c_str()); }, 4);
}

TEST_F(ExhaustedMemory, FailsToMakeLevels) {
    const std::string path = folder_.Utf8("a/b/c");
    ExpectFailureForEachCall([&] { return KOSA_MkDir_P(path.c_str(), 0); }, 0);
    EXPECT_TRUE(std::filesystem::is_directory(folder_.Path() / "a/b/c"));
}

TEST(FailedWalk, IsNotTheEndOfAScannedDirectory) {
    const TempFolder folder;
    folder.Write("a", "");
    const std::string path = folder.Utf8("");
    g_findNext = Replace("FindNextFileW", &FailingFindNext);
    ASSERT_NE(g_findNext, nullptr);
    ExpectFailureForEachCall([&] { return Scan(path.c_str()); }, 3);
}

decltype(&_strnicmp) g_compare = nullptr;

// Windows' universal runtime ends the process over a count above INT_MAX.
int StrictCompare(const char* a, const char* b, size_t count) {
    EXPECT_LE(count, size_t{INT_MAX});
    return g_compare(a, b, count);
}

TEST(TextsOfAnyCount, AreComparedWithinTheRuntimesLimit) {
    g_compare = Replace("_strnicmp", &StrictCompare);
    if (g_compare == nullptr) {
        g_compare = &_strnicmp; // the runtime is linked in, and checks the count itself
    }
    EXPECT_EQ(KOSA_StriNCmp("aBc", "AbC", SIZE_MAX), 0);
    EXPECT_LT(KOSA_StriNCmp("a", "B", SIZE_MAX), 0);
}

constexpr int64_t kLarge = 0x1'0000'0000 + 10; // bytes: the family gives the low 32 bits

// A file of this size that takes no room on the disk.
void MakeLarge(const std::filesystem::path& path) {
    const UniqueHandle file(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD done = 0;
    ::DeviceIoControl(file.Get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &done, nullptr);
    LARGE_INTEGER size;
    size.QuadPart = kLarge;
    ASSERT_TRUE(::SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) && ::SetEndOfFile(file.Get()));
}

// Windows' universal runtime refuses a position that does not fit into its 32-bit functions.
long StrictSeek(int descriptor, long offset, int origin) {
    const int64_t position = _lseeki64(descriptor, offset, origin);
    return position > INT32_MAX ? -1 : static_cast<long>(position);
}

long StrictTell(FILE* stream) {
    const int64_t position = _ftelli64(stream);
    return position > INT32_MAX ? -1 : static_cast<long>(position);
}

TEST(LargeFiles, GiveTheLow32BitsOfSizesAndPositions) {
    const TempFolder folder;
    MakeLarge(folder.Path() / "large");
    Replace("_lseek", &StrictSeek);
    Replace("ftell", &StrictTell);
    const std::string path = folder.Utf8("large");
    KosaStat status;
    EXPECT_EQ(KOSA_Stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.size, 10u);
    uint32_t size = 0;
    EXPECT_EQ(KOSA_GetFileSize(path.c_str(), &size), 0);
    EXPECT_EQ(size, 10u);

    const int descriptor = KOSA_Open(path.c_str(), _O_RDWR | _O_BINARY, 0);
    EXPECT_EQ(KOSA_FStat(descriptor, &status), 0);
    EXPECT_EQ(status.size, 10u);
    EXPECT_EQ(KOSA_LSeek(descriptor, -4, SEEK_END), 6);
    EXPECT_EQ(KOSA_Write(descriptor, "abcd", 4), 4);
    EXPECT_EQ(KOSA_LSeek(descriptor, -0x7FFFFFFF, SEEK_CUR), static_cast<int32_t>(kLarge - 0x7FFFFFFF));
    EXPECT_EQ(KOSA_Close(descriptor), 0);

    FILE* const stream = KOSA_Fopen(path.c_str(), "r+b");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(KOSA_Fseek(stream, -4, SEEK_END), 0);
    EXPECT_EQ(KOSA_Ftell(stream), 6);
    EXPECT_EQ(KOSA_Fgetc(stream), 'a');
    EXPECT_EQ(KOSA_Fseek(stream, 1, SEEK_CUR), 0);
    EXPECT_EQ(KOSA_Fgetc(stream), 'c');
    EXPECT_EQ(KOSA_Fseek(stream, 0x7FFFFFFF, SEEK_SET), 0);
    EXPECT_EQ(KOSA_Fseek(stream, 2, SEEK_CUR), 0);
    EXPECT_EQ(KOSA_Ftell(stream), INT32_MIN + 1);
    EXPECT_EQ(KOSA_Fclose(stream), 0);
}

} // namespace
