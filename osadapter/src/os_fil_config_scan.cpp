#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr char kUnit[] = "os_fil_config";
constexpr int kMaxEntries = 1024;
constexpr size_t kNameBytes = 256;

struct DirClose {
    void operator()(KosaDir* directory) const noexcept {
        const int kept = errno;
        KOSA_CloseDir(directory);
        errno = kept;
    }
};
using UniqueListing = std::unique_ptr<KosaDir, DirClose>;

/// The list while it grows. What it holds is freed unless it is handed over.
class NameTable {
public:
    NameTable() noexcept
        : slots_(
              static_cast<KosaDirEntry**>(KOSA_MemMallocS(kMaxEntries * sizeof(KosaDirEntry*), 0, __LINE__, kUnit))) {}
    ~NameTable() { KOSA_DestoryNameList(slots_, count_); }
    NameTable(const NameTable&) = delete;
    NameTable& operator=(const NameTable&) = delete;

    explicit operator bool() const noexcept { return slots_ != nullptr; }
    bool IsFull() const noexcept { return count_ == kMaxEntries; }

    bool Add(const char* name) noexcept {
        void* const memory = KOSA_MemMallocS(sizeof(KosaDirEntry), 0, __LINE__, kUnit);
        if (memory == nullptr) {
            return false;
        }
        KosaDirEntry* const record = static_cast<KosaDirEntry*>(memory);
        slots_[count_++] = record;
        // 256 bytes of the name, and one more that terminates those that are longer.
        char* const copy = static_cast<char*>(KOSA_MemMallocS(kNameBytes + 1, 0, __LINE__, kUnit));
        if (copy == nullptr) {
            return false;
        }
        memcpy(copy, name, strnlen(name, kNameBytes));
        record->name = copy;
        return true;
    }

    /// Gives what is not used back and hands the list over. @return false when memory is exhausted.
    bool HandOver(KosaDirCompare compare, KosaDirEntry**& list, int& count) noexcept {
        const size_t used = static_cast<size_t>(count_);
        if (used == 0) {
            list = nullptr;
            count = 0;
            return true;
        }
        void* const reduced = realloc(slots_, used * sizeof(KosaDirEntry*));
        if (reduced == nullptr) {
            return false;
        }
        slots_ = nullptr;
        list = static_cast<KosaDirEntry**>(reduced);
        count = count_;
        if (compare != nullptr) {
            qsort(list, used, sizeof(KosaDirEntry*), compare);
        }
        return true;
    }

private:
    KosaDirEntry** slots_;
    int count_ = 0;
};

const char* NameOf(const void* element) noexcept {
    const KosaDirEntry* const entry = element == nullptr ? nullptr : *static_cast<KosaDirEntry* const*>(element);
    return entry == nullptr ? nullptr : entry->name;
}

} // namespace

int KOSA_ScanDir(const char* path, KosaDirEntry*** list, KosaDirFilter filter, KosaDirCompare compare) {
    if (path == nullptr || list == nullptr) {
        return -1;
    }
    const UniqueListing listing(KOSA_OpenDir(path));
    NameTable table;
    if (listing == nullptr || !table) {
        return -1;
    }
    while (!table.IsFull()) {
        const KosaDirEntry* const entry = KOSA_ReadDir(listing.get());
        if (entry == nullptr) {
            break;
        }
        if (filter != nullptr && filter(entry) == 0) {
            continue;
        }
        if (!table.Add(entry->name)) {
            return -1;
        }
    }
    int count = -1;
    return table.HandOver(compare, *list, count) ? count : -1;
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
