#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "support/UniqueResource.h"

#include <windows.h>

#include <direct.h>
#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <new>

struct KosaDir {
    UniqueFind find;
    bool firstPending = false;
    WIN32_FIND_DATAW data = {};
    UniqueText<char> name;
    KosaDirEntry entry = {};
};

namespace {

constexpr char kUnit[] = "os_fil_config";
constexpr char kEveryEntry[] = "\\*";

struct DirFree {
    void operator()(KosaDir* directory) const noexcept {
        directory->~KosaDir();
        AdapterFree()(directory);
    }
};
using UniqueDir = std::unique_ptr<KosaDir, DirFree>;

UniqueDir NewDir() noexcept {
    void* const memory = KOSA_MemMallocS(sizeof(KosaDir), 0, __LINE__, kUnit);
    return UniqueDir(memory == nullptr ? nullptr : new (memory) KosaDir);
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

bool TakeName(KosaDir& directory) noexcept {
    directory.name = ToNarrowPath(directory.data.cFileName);
    directory.entry.name = directory.name.get();
    return directory.name != nullptr;
}

enum class Step { Entry, End, Error };

Step NextEntry(KosaDir& directory) noexcept {
    if (directory.firstPending) {
        directory.firstPending = false;
        return Step::Entry;
    }
    if (!::FindNextFileW(directory.find.Get(), &directory.data)) {
        return ::GetLastError() == ERROR_NO_MORE_FILES ? Step::End : Step::Error;
    }
    return TakeName(directory) ? Step::Entry : Step::Error;
}

struct DirClose {
    void operator()(KosaDir* directory) const noexcept {
        const int kept = errno;
        KOSA_CloseDir(directory);
        errno = kept;
    }
};
using UniqueListing = std::unique_ptr<KosaDir, DirClose>;

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

/// The list while it grows. What it holds is freed unless it is handed over.
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
    UniqueDir directory = NewDir();
    const UniqueText<wchar_t> pattern = SearchPattern(path);
    if (directory == nullptr || pattern == nullptr) {
        return nullptr;
    }
    directory->find.Reset(::FindFirstFileW(pattern.get(), &directory->data));
    if (!directory->find || !TakeName(*directory)) {
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
    const UniqueDir owned(directory);
    return ::FindClose(owned->find.Detach()) ? 0 : -1;
}

// Deliberate: the system's find goes forward only, so positions are accepted and mean nothing.
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
    const UniqueListing listing(KOSA_OpenDir(path));
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

// Deliberate: no version order is offered; all entries are equal.
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
    // Deliberate: a path of one level is taken for a directory that is there; callers pass plain file names' folders.
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
    // Deliberate: doubled slashes are dropped together with a leading one, so "/a//b" is made below the current
    // directory; and only a leading "/" is kept, a leading "\" is not.
    const bool keepsRoot = *path == '/' && strstr(path, "//") == nullptr;
    prefix[0] = keepsRoot ? '/' : '\0';
    // Deliberate: success also when the last level could not be made; callers see it when they use the directory.
    return MakeLevels(path, prefix.get(), keepsRoot ? 1 : 0) ? 0 : -1;
}
