#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <direct.h>
#include <io.h>
#include <stdlib.h>
#include <wchar.h>

#include <cstring>

namespace {

constexpr int kUnconvertible = 1;

struct RuntimeFree {
    void operator()(void* memory) const noexcept { free(memory); }
};

} // namespace

int KOSA_Access(const char* path, int mode) {
    if (IsEmptyText(path)) {
        return -1;
    }
    const UniqueText<wchar_t> wide = ToWidePath(path);
    return wide == nullptr ? kUnconvertible : _waccess(wide.get(), mode);
}

int KOSA_Remove(const char* path) {
    if (IsEmptyText(path)) {
        return -1;
    }
    const UniqueText<wchar_t> wide = ToWidePath(path);
    return wide == nullptr ? kUnconvertible : _wremove(wide.get());
}

int KOSA_Rename(const char* oldPath, const char* newPath) {
    if (IsEmptyText(oldPath) || IsEmptyText(newPath)) {
        return -1;
    }
    const UniqueText<wchar_t> oldWide = ToWidePath(oldPath);
    const UniqueText<wchar_t> newWide = ToWidePath(newPath);
    if (oldWide == nullptr || newWide == nullptr) {
        return kUnconvertible;
    }
    return _wrename(oldWide.get(), newWide.get());
}

int KOSA_MkDir(const char* path, int /*mode*/) {
    const UniqueText<wchar_t> wide = ToWidePath(path);
    return wide == nullptr ? -1 : _wmkdir(wide.get());
}

char* KOSA_GetCwd(char* buffer, uint32_t size) {
    if (buffer == nullptr) {
        return nullptr;
    }
    const std::unique_ptr<wchar_t[], RuntimeFree> current(_wgetcwd(nullptr, 0));
    const UniqueText<char> narrow = ToNarrowPath(current.get());
    if (narrow == nullptr) {
        return nullptr;
    }
    const size_t length = strlen(narrow.get());
    if (length >= size) {
        return nullptr;
    }
    memcpy(buffer, narrow.get(), length + 1);
    return buffer;
}
