#include "support/Text.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

struct Played {
    DWORD code = 0;
    std::string output;
};

std::filesystem::path Folder() {
    return std::filesystem::path(process::ProgramPath()).parent_path();
}

/// Runs the program that plays faulty_module. @param words arguments with blanks between them.
Played Play(const std::string& words, const std::vector<std::wstring>& more = {}) {
    std::vector<std::wstring> arguments = {L"faults"};
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        arguments.push_back(ToWide(word));
    }
    arguments.insert(arguments.end(), more.begin(), more.end());
    process::ChildProcess program((Folder() / L"faulty_stage.exe").wstring(), arguments, process::Streams::OutputRead);
    Played played;
    for (std::string line; program.ReadLine(line);) {
        played.output += line + '\n';
    }
    played.code = program.Wait();
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
             Row{"leaks --kind allocation --from 1 --only", nullptr},
             Row{"leaks --kind allocation --from 2 --only", "\n1 violations in "},
             Row{"leaks", "VIOLATION: leaks --kind allocation --from 2 --only  malloc: leak: heap blocks"},
             Row{"crashes", "VIOLATION: crashes --kind allocation --from 1 --only  malloc: crash: 0xc0000005"},
             Row{"hangs --patience 4", "VIOLATION: hangs --kind allocation --from 1 --only  malloc: hang"},
             Row{"throws", "VIOLATION: throws --kind allocation --from 1 --only  malloc: an exception left the module"},
             Row{"aborts",
                 "VIOLATION: aborts --kind allocation --from 1 --only  malloc: crash: the module calls abort"},
             Row{"stays-broken", "VIOLATION: stays-broken --kind allocation --from 1 --only  malloc: the unharmed"},
             Row{"keeps-key",
                 "VIOLATION: keeps-key --kind registry --from 2 --only  RegOpenKeyExW: leak: registry keys"},
             Row{"text", "VIOLATION: text --kind json --from 2 --only  text: crash: 0xc0000005"},
         }) {
        SCOPED_TRACE(row.arguments);
        const Played played = Play(row.arguments);
        EXPECT_EQ(played.code, row.violation == nullptr ? 0u : 1u) << played.output;
        EXPECT_THAT(played.output, HasSubstr(row.violation == nullptr ? "\n0 violations in " : row.violation));
    }
}

TEST(FaultsProgram, PlaysTheOtherKindsBehindACrash) {
    const Played played = Play("crashes --patience 4");
    EXPECT_THAT(played.output, HasSubstr("| allocation | 3 | 1 | 0 | 1 | 0 | 0 | 0 |"));
    EXPECT_THAT(played.output, HasSubstr("| allocation+ | 3 | 1 | 0 | 1 | 0 | 0 | 0 |"));
}

TEST(FaultsProgram, RefusesAModuleWithAnImportThatNobodyKnows) {
    const Played played = Play("sound", {L"--module", (Folder() / L"unlisted_module.dll").wstring()});
    EXPECT_EQ(played.code, 1u);
    EXPECT_THAT(played.output, HasSubstr("GetDiskFreeSpaceExW"));
}
