#include "osadapter/include/kosa.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct Scanned {
    explicit Scanned(const std::string& path, KosaDirFilter filter = nullptr, KosaDirCompare compare = nullptr)
        : count(KOSA_ScanDir(path.c_str(), &list, filter, compare)) {
        for (int index = 0; index < count; ++index) {
            names.push_back(list[index]->name);
        }
    }
    ~Scanned() { KOSA_DestoryNameList(list, count); }
    KosaDirEntry** list = nullptr;
    int count;
    std::vector<std::string> names;
};

int WithoutDots(const KosaDirEntry* entry) {
    return entry->name[0] != '.';
}

int Backwards(const void* a, const void* b) {
    return KOSA_Alphasort(b, a);
}

TEST(AdapterDirectories, ListEveryEntryAndEndWithNull) {
    const TempFolder folder;
    folder.Write("one.txt", "1");
    std::filesystem::create_directory(folder.Path() / L"\u4e8c");
    std::filesystem::create_directory(folder.Path() / L"\U0001F600");
    KosaDir* const directory = KOSA_OpenDir(folder.Utf8("").c_str());
    ASSERT_NE(directory, nullptr);
    std::multiset<std::string> names;
    KosaDirEntry* entry = nullptr;
    while (KOSA_ReadDir_S(directory, nullptr, &entry) == 0 && entry != nullptr) {
        names.insert(entry->name);
    }
    EXPECT_THAT(names, UnorderedElementsAre(".", "..", "one.txt", "\xE4\xBA\x8C", "\xED\xA0\xBD\xED\xB8\x80"));
    EXPECT_EQ(KOSA_TellDir(directory), 0);
    EXPECT_EQ(KOSA_DirFd(directory), 0);
    KOSA_RewindDir(directory);
    KOSA_SeekDir(directory, 0);
    EXPECT_EQ(KOSA_ReadDir_S(directory, nullptr, &entry), 0);
    EXPECT_EQ(entry, nullptr);
    EXPECT_EQ(KOSA_ReadDir_S(directory, nullptr, nullptr), -1);
    EXPECT_EQ(KOSA_CloseDir(directory), 0);
    EXPECT_EQ(KOSA_OpenDir(folder.Utf8("missing").c_str()), nullptr);
    EXPECT_EQ(KOSA_OpenDir(folder.Utf8("one.txt").c_str()), nullptr);
}

TEST(AdapterDirectories, AreScannedFilteredAndSorted) {
    const TempFolder folder;
    for (const char* name : {"b", "a", "c.txt"}) {
        folder.Write(name, "");
    }
    EXPECT_THAT(Scanned(folder.Utf8("")).names, UnorderedElementsAre(".", "..", "a", "b", "c.txt"));
    EXPECT_THAT(Scanned(folder.Utf8(""), WithoutDots, KOSA_Alphasort).names, ElementsAre("a", "b", "c.txt"));
    EXPECT_THAT(Scanned(folder.Utf8(""), WithoutDots, Backwards).names, ElementsAre("c.txt", "b", "a"));
    EXPECT_EQ(Scanned(folder.Utf8(""), [](const KosaDirEntry*) { return 0; }).count, 0);

    KosaDirEntry entry = {"a"};
    KosaDirEntry* const some = &entry;
    KosaDirEntry* const none = nullptr;
    for (const KosaDirCompare compare : {KOSA_Alphasort, KOSA_Versionsort}) {
        EXPECT_EQ(compare(nullptr, &some), -1);
        EXPECT_EQ(compare(&none, &some), -1);
        EXPECT_EQ(compare(&some, &none), 1);
        EXPECT_EQ(compare(&some, &some), 0);
    }
}

TEST(AdapterDirectories, GiveAtMost1024Entries) {
    const TempFolder folder;
    for (int number = 0; number < 1030; ++number) {
        folder.Write(std::to_string(number), "");
    }
    const Scanned all(folder.Utf8(""));
    EXPECT_EQ(all.count, 1024);
    EXPECT_EQ(std::set<std::string>(all.names.begin(), all.names.end()).size(), 1024u);
    // Entries that compare equal keep the system's order, here all of them.
    EXPECT_EQ(Scanned(folder.Utf8(""), nullptr, KOSA_Versionsort).names, all.names);
    // An entry that the filter rejects takes no slot.
    EXPECT_EQ(Scanned(folder.Utf8(""), [](const KosaDirEntry* entry) { return int{entry->name[0] == '9'}; }).count,
              1 + 10 + 100);
}

TEST(AdapterDirectories, CopyAtMost256BytesOfAName) {
    const TempFolder folder;
    std::wstring wide;
    std::string narrow;
    for (int count = 0; count < 50; ++count) { // 200 bytes on most disks, 300 in the family's own encoding
        wide += L"\U0001F600";
        narrow += "\xED\xA0\xBD\xED\xB8\x80";
    }
    std::ofstream(folder.Path() / wide) << "";
    EXPECT_THAT(Scanned(folder.Utf8(""), WithoutDots).names, ElementsAre(narrow.substr(0, 256)));
}

} // namespace
