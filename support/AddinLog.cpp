#include "support/AddinLog.h"

#include "support/LoggerRegistry.h"
#include "support/LogOneApi.h"
#include "support/Text.h"
#include "support/UniqueResource.h"

#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cwchar>

namespace {

constexpr wchar_t kLogFile[] = L"NembraMeeting\\log\\outlookaddin.txt";
constexpr int32_t kMaxSizeKB = 1048576; // 1 GiB
static_assert(kMaxSizeKB <= kLargestLogKB);
constexpr int32_t kBackupCount = 2;
// Deliberate: debug lines are dropped, and with them the channel's own log, which has lines for each window message and
// each segment and would push everything else out of the file.
constexpr int32_t kThreshold = 2;

struct ItemListTraits {
    using Value = PIDLIST_ABSOLUTE;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value list) noexcept { ::CoTaskMemFree(list); } // the shell's allocator
};
using UniqueItemList = UniqueResource<ItemListTraits>;

// Leaves `path` empty when the shell does not know the folder. Runs under the loader lock.
void GetRoamingFolder(wchar_t (&path)[MAX_PATH]) noexcept {
    PIDLIST_ABSOLUTE found = nullptr;
    const HRESULT result = ::SHGetSpecialFolderLocation(nullptr, CSIDL_APPDATA, &found);
    const UniqueItemList list(found);
    if (FAILED(result) || !::SHGetPathFromIDListW(list.Get(), path)) {
        path[0] = L'\0';
    }
}

uint32_t OpenLog(const wchar_t* path) {
    const std::string narrow = ToUtf8(path);
    const LogOneConfig config = {narrow.c_str(), kMaxSizeKB, kBackupCount, kThreshold};
    return LogOneOpen(&config);
}

} // namespace

uint32_t AddinLogId() noexcept {
    return g_addinLogger.id.load(std::memory_order_acquire);
}

int32_t AddinLogThreshold() noexcept {
    return g_addinLogger.threshold.load(std::memory_order_relaxed);
}

void OpenAddinLogUnder(const wchar_t* folder) noexcept {
    wchar_t path[MAX_PATH] = {};
    if (AddinLogId() != 0 || std::wcslen(folder) >= MAX_PATH) {
        return;
    }
    std::wmemcpy(path, folder, std::wcslen(folder) + 1);
    if (!::PathAppendW(path, kLogFile)) {
        return;
    }
    try {
        const uint32_t id = OpenLog(path);
        g_addinLogger.threshold = id != 0 ? kThreshold : AddinLogger::kNoLevel;
        g_addinLogger.id = id;
    } catch (...) {
        // The add-in runs without a log.
    }
}

void OpenAddinLog() noexcept {
    if (AddinLogId() != 0) {
        return; // Spares the shell's folder look-up.
    }
    wchar_t folder[MAX_PATH] = {};
    GetRoamingFolder(folder);
    OpenAddinLogUnder(folder);
}

void CloseAddinLog() noexcept {
    g_addinLogger.threshold = AddinLogger::kNoLevel;
    const uint32_t id = g_addinLogger.id.exchange(0);
    if (LoggingAlive() && LoggersAtRest()) {
        LogOneClose(id);
    }
}
