#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/runtime_guard.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace {

using RuntimeStat = struct _stat64; // with a 32-bit size the call fails for large files in some runtimes

void CopyStat(const RuntimeStat& from, KosaStat& to) noexcept {
    to.device = from.st_dev;
    to.inode = from.st_ino;
    to.mode = from.st_mode;
    to.linkCount = from.st_nlink;
    to.userId = from.st_uid;
    to.groupId = from.st_gid;
    to.specialDevice = from.st_rdev;
    to.size = static_cast<uint32_t>(from.st_size); // the low 32 bits
    to.accessTime = from.st_atime;
    to.modificationTime = from.st_mtime;
    to.changeTime = from.st_ctime;
}

int ReportStat(int result, const RuntimeStat& from, KosaStat& to) noexcept {
    if (result == 0) {
        CopyStat(from, to);
    }
    return result;
}

} // namespace

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
    return static_cast<long>(_lseeki64(descriptor, offset, origin)); // the low 32 bits
}

int KOSA_Ftruncate(int descriptor, long size) {
    const RuntimeGuard guard;
    return _chsize(descriptor, size);
}

// Deliberate: success without effect. Descriptors of Windows have no such flags.
int KOSA_Fcntl(int /*descriptor*/, int /*command*/, int /*argument*/) {
    return 0;
}

int KOSA_Stat(const char* path, KosaStat* status) {
    if (path == nullptr || status == nullptr) {
        return -1;
    }
    *status = {};
    const UniqueText<wchar_t> wide = ToWidePath(path);
    if (wide == nullptr) {
        return kUnconvertible;
    }
    RuntimeStat raw = {};
    return ReportStat(_wstat64(wide.get(), &raw), raw, *status);
}

int KOSA_FStat(int descriptor, KosaStat* status) {
    if (status == nullptr) {
        return -1;
    }
    *status = {};
    RuntimeStat raw = {};
    const RuntimeGuard guard;
    return ReportStat(_fstat64(descriptor, &raw), raw, *status);
}

int KOSA_GetFileSize(const char* path, uint32_t* size) {
    if (IsEmptyText(path) || size == nullptr) {
        return -1;
    }
    KosaStat status;
    if (KOSA_Stat(path, &status) != 0) {
        return 1;
    }
    *size = status.size;
    return 0;
}

int KOSA_Ioctl(int32_t device, uint32_t code, void* input, uint32_t inputSize, void* output, uint32_t outputSize,
               uint32_t* returned) {
    // A handle has 32 significant bits. Widening with the sign keeps INVALID_HANDLE_VALUE (-1).
    const HANDLE handle = reinterpret_cast<HANDLE>(static_cast<intptr_t>(device));
    DWORD written = 0;
    const BOOL done = ::DeviceIoControl(handle, code, input, inputSize, output, outputSize, &written, nullptr);
    if (returned != nullptr) {
        *returned = written;
    }
    return done ? 0 : -1;
}

int KOSA_CloseHandle(void* handle) {
    return ::CloseHandle(handle) ? 0 : -1;
}
