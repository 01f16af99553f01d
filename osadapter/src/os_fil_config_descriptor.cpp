#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/runtime_guard.h"

#include <fcntl.h>
#include <io.h>

int KOSA_Creat(const char* path, int permission) {
    if (path == nullptr) {
        return -1;
    }
    const UniqueText<wchar_t> wide = ToWidePath(path);
    const RuntimeGuard guard;
    return wide == nullptr ? kUnconvertible : _wcreat(wide.get(), permission);
}

int KOSA_Open(const char* path, int flags, int permission) {
    if (path == nullptr) {
        return -1;
    }
    const UniqueText<wchar_t> wide = ToWidePath(path);
    const RuntimeGuard guard;
    return wide == nullptr ? kUnconvertible : _wopen(wide.get(), flags, permission);
}

int KOSA_Close(int descriptor) {
    const RuntimeGuard guard;
    return _close(descriptor);
}

int KOSA_Read(int descriptor, void* buffer, uint32_t count) {
    const RuntimeGuard guard;
    return buffer == nullptr ? -1 : _read(descriptor, buffer, count);
}

int KOSA_Write(int descriptor, const void* buffer, uint32_t count) {
    const RuntimeGuard guard;
    return buffer == nullptr ? -1 : _write(descriptor, buffer, count);
}

long KOSA_LSeek(int descriptor, long offset, int origin) {
    const RuntimeGuard guard;
    return _lseek(descriptor, offset, origin);
}

int KOSA_Ftruncate(int descriptor, long size) {
    const RuntimeGuard guard;
    return _chsize(descriptor, size);
}

// Deliberate: success without effect. Portable callers set flags here that Windows descriptors do not have.
int KOSA_Fcntl(int /*descriptor*/, int /*command*/, int /*argument*/) {
    return 0;
}
