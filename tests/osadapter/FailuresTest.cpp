#include "osadapter/include/kosa.h"
#include "tests/support/TempFolder.h"
#include "workbench/gauges/ImportPatch.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>

namespace {

/// Which call of a replaced function fails. Each test is a process of its own, and only its one thread calls.
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
        gauges::PatchImport(::GetModuleHandleW(nullptr), name, reinterpret_cast<void*>(replacement)));
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
    void SetUp() override {
        g_malloc = Replace("malloc", &FailingMalloc);
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

} // namespace
