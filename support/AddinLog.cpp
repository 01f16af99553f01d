#include "support/AddinLog.h"

#include "support/LoggerRegistry.h"
#include "support/LogLine.h"
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
constexpr int32_t kBackupCount = 2;

std::atomic<uint32_t> g_logId{0};

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
    const LogOneConfig config = {narrow.c_str(), kMaxSizeKB, kBackupCount, kAddinLogThreshold};
    return LogOneOpen(&config);
}

} // namespace

uint32_t AddinLogId() noexcept {
    return g_logId.load(std::memory_order_acquire);
}

void OpenAddinLogUnder(const wchar_t* folder) noexcept {
    wchar_t path[MAX_PATH] = {};
    if (AddinLogId() != 0 || std::wcslen(folder) >= MAX_PATH) {
        return;
    }
    std::wmemcpy(path, folder, std::wcslen(folder));
    if (!::PathAppendW(path, kLogFile)) {
        return;
    }
    try {
        g_logId.store(OpenLog(path), std::memory_order_release);
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

void CloseAddinLog(bool processEnds) noexcept {
    if (processEnds && !(LoggingAlive() && LoggersAtRest())) {
        return;
    }
    LogOneClose(AddinLogId());
    g_logId.store(0, std::memory_order_release);
}
