#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "support/UniqueResource.h"

#include <windows.h>

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
    if (directory == nullptr) {
        return nullptr;
    }
    if (directory->firstPending) {
        directory->firstPending = false;
        return &directory->entry;
    }
    if (!::FindNextFileW(directory->find.Get(), &directory->data) || !TakeName(*directory)) {
        return nullptr;
    }
    return &directory->entry;
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
