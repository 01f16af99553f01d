#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/path_encoding.h"
#include "osadapter/src/runtime_guard.h"

#include <windows.h>

#include <shlwapi.h>

#include <direct.h>
#include <io.h>
#include <stdlib.h>
#include <wchar.h>

#include <cstring>
#include <utility>

namespace {

constexpr char kUnit[] = "os_fil_config";

// The memory is zeroed, so the text is terminated wherever the conversion ends.
template <class Unit>
UniqueText<Unit> NewText(size_t length) noexcept {
    const size_t bytes = (length + 1) * sizeof(Unit);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    return UniqueText<Unit>(static_cast<Unit*>(KOSA_MemMallocS(static_cast<uint32_t>(bytes), 0, __LINE__, kUnit)));
}

constexpr uint32_t kCanonicalBytes = MAX_PATH + 1;

struct RuntimeFree {
    void operator()(void* memory) const noexcept { free(memory); }
};

} // namespace

UniqueText<wchar_t> ToWidePath(const char* path) noexcept {
    if (IsEmptyText(path)) {
        return nullptr;
    }
    const size_t units = path_encoding::CountUnits(path);
    UniqueText<wchar_t> wide = NewText<wchar_t>(units);
    if (wide == nullptr) {
        return nullptr;
    }
    // U+20000, cut to 16 bits, is zero. It would end the path early, and KOSA_Remove would remove another file.
    const size_t stored = path_encoding::DecodeUtf8(path, wide.get(), units);
    return wmemchr(wide.get(), L'\0', stored) == nullptr ? std::move(wide) : nullptr;
}

UniqueText<char> ToNarrowPath(const wchar_t* path) noexcept {
    if (path == nullptr) {
        return nullptr;
    }
    UniqueText<char> narrow = NewText<char>(path_encoding::CountBytes(path));
    if (narrow != nullptr) {
        path_encoding::EncodeUtf8(path, narrow.get());
    }
    return narrow;
}

int KOSA_ChDir(const char* path) {
    const UniqueText<wchar_t> wide = ToWidePath(path);
    return wide == nullptr ? -1 : _wchdir(wide.get());
}

int KOSA_Access(const char* path, int mode) {
    if (IsEmptyText(path)) {
        return -1;
    }
    const UniqueText<wchar_t> wide = ToWidePath(path);
    const RuntimeGuard guard;
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

int KOSA_RmDir(const char* path) {
    const UniqueText<wchar_t> wide = ToWidePath(path);
    return wide == nullptr ? -1 : _wrmdir(wide.get());
}

int KOSA_CopyFile(const char* source, const char* destination) {
    if (source == nullptr || destination == nullptr) {
        return -1;
    }
    const UniqueText<wchar_t> from = ToWidePath(source);
    const UniqueText<wchar_t> to = ToWidePath(destination);
    if (from == nullptr || to == nullptr) {
        return kUnconvertible;
    }
    return ::CopyFileW(from.get(), to.get(), FALSE) ? 0 : -1;
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

int KOSA_RelPath(const char* path, char* buffer, uint32_t size) {
    if (path == nullptr || buffer == nullptr) {
        return 1;
    }
    // The system's narrow function reads the path in the ANSI code page, where a byte of a UTF-8 character can form one
    // character with the separator after it. Here each byte becomes one unit, so separators and dots stay visible.
    wchar_t wide[kCanonicalBytes];
    size_t given = 0;
    for (; path[given] != '\0' && given + 1 < kCanonicalBytes; ++given) {
        wide[given] = static_cast<unsigned char>(path[given]);
    }
    if (path[given] != '\0') {
        return 1;
    }
    wide[given] = L'\0';
    wchar_t canonical[kCanonicalBytes] = {};
    if (!::PathCanonicalizeW(canonical, wide)) {
        return 1;
    }
    const size_t length = wcslen(canonical);
    if (length > size) {
        return 1;
    }
    // Deliberate: a result of exactly `size` bytes is accepted. It fills the buffer, which then has no terminator.
    for (size_t index = 0; index < length + (length < size ? 1 : 0); ++index) {
        buffer[index] = static_cast<char>(canonical[index]);
    }
    return 0;
}
