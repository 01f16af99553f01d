#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/runtime_guard.h"

#include <sys/stat.h>
#include <sys/types.h>

namespace {

using RuntimeStat = struct _stat64i32; // 64-bit times, 32-bit size

void CopyStat(const RuntimeStat& from, KosaStat& to) noexcept {
    to.device = from.st_dev;
    to.inode = from.st_ino;
    to.mode = from.st_mode;
    to.linkCount = from.st_nlink;
    to.userId = from.st_uid;
    to.groupId = from.st_gid;
    to.specialDevice = from.st_rdev;
    to.size = static_cast<uint32_t>(from.st_size);
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
    return ReportStat(_wstat64i32(wide.get(), &raw), raw, *status);
}

int KOSA_FStat(int descriptor, KosaStat* status) {
    if (status == nullptr) {
        return -1;
    }
    *status = {};
    RuntimeStat raw = {};
    const RuntimeGuard guard;
    return ReportStat(_fstat64i32(descriptor, &raw), raw, *status);
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
