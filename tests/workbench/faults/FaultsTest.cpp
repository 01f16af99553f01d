#include "support/Text.h"
#include "support/UniqueResource.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

using testing::HasSubstr;

namespace {

struct Played {
    DWORD code = 0;
    std::string output;
};

std::filesystem::path Folder() {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path();
}

/// Runs the program that plays faulty_module.
Played Play(const std::string& arguments) {
    std::wstring command = L"\"" + (Folder() / L"faulty_stage.exe").wstring() + L"\" " + ToWide(arguments);
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    EXPECT_TRUE(::CreatePipe(&readEnd, &writeEnd, &inheritable, 0));
    const UniqueHandle output(readEnd);
    UniqueHandle childEnd(writeEnd);
    ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = writeEnd;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(
        ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process));
    const UniqueHandle thread(process.hThread);
    const UniqueHandle owned(process.hProcess);
    childEnd.Reset();
    Played played;
    char block[4096];
    DWORD size = 0;
    while (::ReadFile(output.Get(), block, sizeof block, &size, nullptr) && size != 0) {
        std::copy_if(block, block + size, std::back_inserter(played.output), [](char c) { return c != '\r'; });
    }
    ::WaitForSingleObject(owned.Get(), INFINITE);
    ::GetExitCodeProcess(owned.Get(), &played.code);
    return played;
}

} // namespace

TEST(FaultsProgram, FindsEachFaultAtItsPointAndNoOther) {
    struct Row {
        const char* arguments;
        const char* violation; // null: none
    };
    for (const Row& row : {
             Row{"sound", nullptr},
             Row{"load", nullptr},
             Row{"leaks", "VIOLATION: leaks --kind allocation --from 2 --only  malloc: leak: heap blocks"},
             Row{"crashes", "VIOLATION: crashes --kind allocation --from 1 --only  malloc: crash: 0xc0000005"},
             Row{"hangs --patience 1", "VIOLATION: hangs --kind allocation --from 1 --only  malloc: hang"},
             Row{"throws", "VIOLATION: throws --kind allocation --from 1 --only  malloc: an exception left the module"},
             Row{"aborts",
                 "VIOLATION: aborts --kind allocation --from 1 --only  malloc: crash: the module calls abort"},
             Row{"stays-broken", "VIOLATION: stays-broken --kind allocation --from 1 --only  malloc: the unharmed"},
             Row{"keeps-key",
                 "VIOLATION: keeps-key --kind registry --from 2 --only  RegOpenKeyExW: leak: registry keys"},
             Row{"text", "VIOLATION: text --kind json --from 2 --only  : crash: 0xc0000005"},
         }) {
        SCOPED_TRACE(row.arguments);
        const Played played = Play(row.arguments);
        if (row.violation == nullptr) {
            EXPECT_EQ(played.code, 0u) << played.output;
            EXPECT_THAT(played.output, HasSubstr("\n0 violations\n"));
        } else {
            EXPECT_EQ(played.code, 1u);
            EXPECT_THAT(played.output, HasSubstr(row.violation));
        }
    }
}

TEST(FaultsProgram, GoesOnBehindACrashAndCountsEveryPoint) {
    const Played played = Play("crashes --kind allocation");
    EXPECT_THAT(played.output,
                HasSubstr("| allocation                   |       3 |       3 |      0 |       1 |     0 |"))
        << played.output;
}

TEST(FaultsProgram, PlaysJustThePointThatAViolationNames) {
    EXPECT_EQ(Play("leaks --kind allocation --from 2 --only").code, 1u);
    EXPECT_EQ(Play("leaks --kind allocation --from 1 --only").code, 0u);
}

TEST(FaultsProgram, RefusesAModuleWithAnImportThatNobodyKnows) {
    const Played played = Play("sound --module \"" + ToUtf8((Folder() / L"unlisted_module.dll").wstring()) + "\"");
    EXPECT_EQ(played.code, 1u);
    EXPECT_THAT(played.output, HasSubstr("GetDiskFreeSpaceExW"));
}
