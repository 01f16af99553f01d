#include "support/AddinLog.h"

#include "support/LoggerRegistry.h"
#include "support/LogOne.h"
#include "support/Text.h"
#include "support/UniqueResource.h"

#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <atomic>
#include <cwchar>

namespace {

constexpr wchar_t kLogFile[] = L"NembraMeeting\\log\\outlookaddin.txt";
constexpr int32_t kMaxSizeKB = 1048576; // 1 GiB
static_assert(kMaxSizeKB <= kLargestLogKB);
constexpr int32_t kBackupCount = 2;
// Deliberate: debug lines are dropped, and with them the channel's own log, which has lines for each window message and
// each segment and would push everything else out of the file.
constexpr int32_t kThreshold = 2;
constexpr int32_t kNoLevel = INT32_MIN;

std::atomic<uint32_t> g_logId{0};
std::atomic<int32_t> g_threshold{kNoLevel};

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
    return g_logId.load(std::memory_order_acquire);
}

int32_t AddinLogThreshold() noexcept {
    return g_threshold.load(std::memory_order_relaxed);
}

void NoteLogThreshold(uint32_t id, int32_t threshold) noexcept {
    if (id == AddinLogId()) {
        g_threshold.store(threshold, std::memory_order_relaxed);
    }
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
        g_threshold.store(id != 0 ? kThreshold : kNoLevel, std::memory_order_relaxed);
        g_logId.store(id, std::memory_order_release);
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
    g_threshold.store(kNoLevel, std::memory_order_relaxed);
    const uint32_t id = g_logId.exchange(0, std::memory_order_acq_rel);
    if (LoggingAlive() && LoggersAtRest()) {
        LogOneClose(id);
    }
}
