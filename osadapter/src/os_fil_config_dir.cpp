#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <windows.h>

#include <direct.h>
#include <stdlib.h>

#include <cstring>

// Zeroed memory of the family; KOSA_CloseDir frees everything.
struct KosaDir {
    HANDLE find;
    bool firstPending; // KOSA_OpenDir found the first entry, and it has not been read yet
    WIN32_FIND_DATAW data;
    KosaDirEntry entry; // owns its name
};

namespace {

constexpr char kUnit[] = "os_fil_config";
constexpr char kEveryEntry[] = "\\*";

struct DirClose {
    void operator()(KosaDir* directory) const noexcept { KOSA_CloseDir(directory); }
};
using UniqueDir = std::unique_ptr<KosaDir, DirClose>;

void FreeName(KosaDirEntry& entry) noexcept {
    AdapterFree()(const_cast<char*>(entry.name));
    entry.name = nullptr;
}

UniqueText<wchar_t> SearchPattern(const char* path) noexcept {
    const size_t length = strlen(path);
    const size_t bytes = length + sizeof(kEveryEntry);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    const UniqueText<char> pattern(static_cast<char*>(KOSA_MemMallocD(static_cast<uint32_t>(bytes), __LINE__, kUnit)));
    if (pattern == nullptr) {
        return nullptr;
    }
    memcpy(pattern.get(), path, length);
    memcpy(pattern.get() + length, kEveryEntry, sizeof(kEveryEntry));
    return ToWidePath(pattern.get());
}

/// @return false when memory is exhausted.
bool TakeName(KosaDir& directory) noexcept {
    FreeName(directory.entry);
    directory.entry.name = ToNarrowPath(directory.data.cFileName).release();
    return directory.entry.name != nullptr;
}

enum class Step { Entry, End, Error };

Step NextEntry(KosaDir& directory) noexcept {
    if (directory.firstPending) {
        directory.firstPending = false;
        return Step::Entry;
    }
    if (!::FindNextFileW(directory.find, &directory.data)) {
        return ::GetLastError() == ERROR_NO_MORE_FILES ? Step::End : Step::Error;
    }
    return TakeName(directory) ? Step::Entry : Step::Error;
}

/// A list element while it is sorted. The entry comes first: the comparison is given pointers to it.
struct SortedRow {
    KosaDirEntry* entry;
    KosaDirCompare compare;
    int place; // in the list so far
};

/// The runtime's qsort may swap elements that compare equal, so the place decides between those.
int CompareRows(const void* a, const void* b) noexcept {
    const SortedRow& first = *static_cast<const SortedRow*>(a);
    const SortedRow& second = *static_cast<const SortedRow*>(b);
    const int order = first.compare(&first.entry, &second.entry);
    return order != 0 ? order : first.place - second.place;
}

/// @return false when memory is exhausted.
bool Sort(KosaDirEntry** list, int count, KosaDirCompare compare) noexcept {
    const size_t used = static_cast<size_t>(count);
    const std::unique_ptr<SortedRow[], AdapterFree> rows(
        static_cast<SortedRow*>(KOSA_MemMallocD(static_cast<uint32_t>(used * sizeof(SortedRow)), __LINE__, kUnit)));
    if (rows == nullptr) {
        return false;
    }
    for (int place = 0; place < count; ++place) {
        rows[place] = {list[place], compare, place};
    }
    qsort(rows.get(), used, sizeof(SortedRow), CompareRows);
    for (int place = 0; place < count; ++place) {
        list[place] = rows[place].entry;
    }
    return true;
}

/// The list while it grows. Its destructor frees what was not handed over.
class NameTable {
public:
    NameTable() noexcept
        : slots_(static_cast<KosaDirEntry**>(
              KOSA_MemMallocS(KOSA_SCAN_MAX_ENTRIES * sizeof(KosaDirEntry*), 0, __LINE__, kUnit))) {}
    ~NameTable() { KOSA_DestoryNameList(slots_, count_); }
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    explicit operator bool() const noexcept { return slots_ != nullptr; }
    bool IsFull() const noexcept { return count_ == KOSA_SCAN_MAX_ENTRIES; }

    bool Add(const char* name) noexcept {
        void* const memory = KOSA_MemMallocS(sizeof(KosaDirEntry), 0, __LINE__, kUnit);
        if (memory == nullptr) {
            return false;
        }
        KosaDirEntry* const record = static_cast<KosaDirEntry*>(memory);
        slots_[count_++] = record;
        // One byte more than a name may have, for its terminator.
        char* const copy = static_cast<char*>(KOSA_MemMallocS(KOSA_SCAN_NAME_SIZE + 1, 0, __LINE__, kUnit));
        if (copy == nullptr) {
            return false;
        }
        memcpy(copy, name, strnlen(name, KOSA_SCAN_NAME_SIZE));
        record->name = copy;
        return true;
    }

    /// Sorts the list, frees the unused slots and hands the list over. @return the count; -1 when memory is exhausted.
    int HandOver(KosaDirCompare compare, KosaDirEntry**& list) noexcept {
        if (count_ == 0) {
            list = nullptr;
            return 0;
        }
        if (compare != nullptr && !Sort(slots_, count_, compare)) {
            return -1;
        }
        void* const reduced = realloc(slots_, static_cast<size_t>(count_) * sizeof(KosaDirEntry*));
        if (reduced == nullptr) {
            return -1;
        }
        slots_ = nullptr;
        list = static_cast<KosaDirEntry**>(reduced);
        return count_;
    }

private:
    KosaDirEntry** slots_;
    int count_ = 0;
};

const char* NameOf(const void* element) noexcept {
    const KosaDirEntry* const entry = element == nullptr ? nullptr : *static_cast<KosaDirEntry* const*>(element);
    return entry == nullptr ? nullptr : entry->name;
}

constexpr char kSeparators[] = "/\\";

/// Makes every level below what `prefix` holds already. @param prefix room for the path and two bytes more.
/// @return false when a level's path cannot be converted.
bool MakeLevels(const char* path, char* prefix, size_t length) noexcept {
    for (const char* part = path; *part != '\0';) {
        const size_t partLength = strcspn(part, kSeparators);
        if (partLength > 0) {
            memcpy(prefix + length, part, partLength);
            length += partLength;
            prefix[length++] = '/';
            prefix[length] = '\0';
            const UniqueText<wchar_t> level = ToWidePath(prefix);
            if (level == nullptr) {
                return false;
            }
            _wmkdir(level.get()); // fails for every level that exists already
        }
        part += partLength;
        part += *part != '\0' ? 1 : 0;
    }
    return true;
}

} // namespace

KosaDir* KOSA_OpenDir(const char* path) {
    if (path == nullptr) {
        return nullptr;
    }
    const UniqueText<wchar_t> pattern = SearchPattern(path);
    if (pattern == nullptr) {
        return nullptr;
    }
    UniqueDir directory(static_cast<KosaDir*>(KOSA_MemMallocS(sizeof(KosaDir), 0, __LINE__, kUnit)));
    if (directory == nullptr) {
        return nullptr;
    }
    directory->find = ::FindFirstFileW(pattern.get(), &directory->data);
    if (directory->find == INVALID_HANDLE_VALUE || !TakeName(*directory)) {
        return nullptr;
    }
    directory->firstPending = true;
    return directory.release();
}

KosaDirEntry* KOSA_ReadDir(KosaDir* directory) {
    return directory != nullptr && NextEntry(*directory) == Step::Entry ? &directory->entry : nullptr;
}

int KOSA_ReadDir_S(KosaDir* directory, KosaDirEntry* /*storage*/, KosaDirEntry** entry) {
    if (entry == nullptr) {
        return -1;
    }
    *entry = KOSA_ReadDir(directory);
    return directory == nullptr ? -1 : 0;
}

int KOSA_CloseDir(KosaDir* directory) {
    if (directory == nullptr) {
        return -1;
    }
    const bool closed = directory->find != INVALID_HANDLE_VALUE && ::FindClose(directory->find);
    FreeName(directory->entry);
    AdapterFree()(directory);
    return closed ? 0 : -1;
}

// Deliberate: these have no effect. The system lists a directory forwards only, without positions.
void KOSA_RewindDir(KosaDir* /*directory*/) {}

void KOSA_SeekDir(KosaDir* /*directory*/, long /*position*/) {}

long KOSA_TellDir(KosaDir* directory) {
    return directory == nullptr ? -1 : 0;
}

int KOSA_DirFd(KosaDir* directory) {
    return directory == nullptr ? -1 : 0;
}

int KOSA_ScanDir(const char* path, KosaDirEntry*** list, KosaDirFilter filter, KosaDirCompare compare) {
    if (path == nullptr || list == nullptr) {
        return -1;
    }
    const UniqueDir listing(KOSA_OpenDir(path));
    NameTable table;
    if (listing == nullptr || !table) {
        return -1;
    }
    Step step = Step::Entry;
    while (!table.IsFull() && (step = NextEntry(*listing)) == Step::Entry) {
        const KosaDirEntry& entry = listing->entry;
        if ((filter == nullptr || filter(&entry) != 0) && !table.Add(entry.name)) {
            return -1;
        }
    }
    if (step == Step::Error) {
        return -1;
    }
    return table.HandOver(compare, *list);
}

void KOSA_DestoryNameList(KosaDirEntry** list, int count) {
    if (list == nullptr) {
        return;
    }
    for (int index = 0; index < count; ++index) {
        if (list[index] != nullptr) {
            KOSA_MemFreeD(const_cast<char*>(list[index]->name), __LINE__, kUnit);
            KOSA_MemFreeD(list[index], __LINE__, kUnit);
        }
    }
    KOSA_MemFreeD(list, __LINE__, kUnit);
}

int KOSA_Alphasort(const void* a, const void* b) {
    const char* const first = NameOf(a);
    const char* const second = NameOf(b);
    if (first == nullptr) {
        return -1;
    }
    return second == nullptr ? 1 : strcoll(first, second);
}

// Deliberate: all entries compare equal. The family has no order of version numbers.
int KOSA_Versionsort(const void* a, const void* b) {
    if (NameOf(a) == nullptr) {
        return -1;
    }
    return NameOf(b) == nullptr ? 1 : 0;
}

int KOSA_MkDir_P(const char* path, int /*mode*/) {
    if (IsEmptyText(path)) {
        return -1;
    }
    // Deliberate: nothing is made. A path of one level counts as a directory that exists.
    if (strpbrk(path, kSeparators) == nullptr) {
        return 0;
    }
    const size_t bytes = strlen(path) + 2;
    if (bytes > UINT32_MAX) {
        return -1;
    }
    const UniqueText<char> prefix(
        static_cast<char*>(KOSA_MemMallocS(static_cast<uint32_t>(bytes), 0, __LINE__, kUnit)));
    if (prefix == nullptr) {
        return -1;
    }
    // Deliberate: a path with "//" loses its leading "/" as well, so "/a//b" is made below the current directory. A
    // leading "\" is always lost.
    const bool keepsRoot = *path == '/' && strstr(path, "//") == nullptr;
    prefix[0] = keepsRoot ? '/' : '\0';
    // Deliberate: 0 also when the system refuses a level. The caller notices when it uses the directory.
    return MakeLevels(path, prefix.get(), keepsRoot ? 1 : 0) ? 0 : -1;
}
