#include "workbench/demo/Registration.h"

#include "workbench/demo/Programs.h"
#include "workbench/host/Describe.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <objbase.h>

#include <optional>
#include <utility>

namespace demo {
namespace {

constexpr wchar_t kProgId[] = L"NembraMeeting.OutlookAddin";
constexpr const wchar_t* kOfficeKeys[] = {
    // From the outermost; a machine on which nobody installed an add-in yet may lack the last, or all.
    L"SOFTWARE\\Microsoft\\Office",
    L"SOFTWARE\\Microsoft\\Office\\Outlook",
    L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins",
};
constexpr const wchar_t* kAddInsKey = kOfficeKeys[2];
// The tests that register the add-in use the same mutex.
constexpr wchar_t kTurn[] = L"NembraRegistrationTest";
constexpr DWORD kTurnLimit = 60'000; // ms
constexpr wchar_t kLoadAtStart[] = L"3";
constexpr wchar_t kServer[] = L"\\InprocServer32";

std::wstring ClassKey() {
    return L"CLSID\\" + workbench::DescribeIid(CLSID_NembraMeeting);
}

std::wstring AddInKey() {
    return std::wstring(kAddInsKey) + L"\\" + kProgId;
}

/// Null when it is not there.
UniqueKey OpenKey(HKEY root, const std::wstring& path) {
    HKEY opened = nullptr;
    ::RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened);
    return UniqueKey(opened);
}

/// "none" when it is not there.
std::wstring LoadBehaviorOf(const std::wstring& progId) {
    const std::wstring path = std::wstring(kAddInsKey) + L"\\" + progId;
    DWORD number = 0;
    DWORD size = sizeof number;
    const LSTATUS status =
        ::RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), L"LoadBehavior", RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? std::to_wstring(number) : L"none";
}

std::wstring Tool() {
    wchar_t folder[MAX_PATH] = L"";
    ::GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\regsvr32.exe";
}

} // namespace

std::wstring ReadText(HKEY root, const std::wstring& path, const wchar_t* name) {
    wchar_t text[4096] = L"";
    DWORD size = sizeof text;
    ::RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

Registration::Registration(Story& story, std::wstring dll, bool installed)
    : story_(story), dll_(std::move(dll)), removed_(installed) {
    story_.Act(L"Office's set-up has made the list of Outlook's add-ins", kTurnLimit + 1000);
    turn_.Reset(::CreateMutexW(nullptr, FALSE, kTurn));
    const DWORD waited = ::WaitForSingleObject(turn_.Get(), kTurnLimit);
    if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
        throw StepFailed("another program has been using the registration for too long");
    }
}

Registration::~Registration() {
    try {
        if (!removed_ && ReadText(HKEY_CLASSES_ROOT, ClassKey() + kServer) == dll_) {
            RunToEnd(Tool(), {L"/s", L"/u", dll_});
        }
    } catch (...) {
        // Without memory the entries stay; the next registration overwrites them.
    }
    for (const wchar_t* path : madeKeys_) { // fails, as it should, on a key with others' entries
        ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, path);
    }
    ::ReleaseMutex(turn_.Get());
}

void Registration::Install() {
    const std::wstring other = ReadText(HKEY_CLASSES_ROOT, ClassKey() + kServer);
    if (!other.empty() && other != dll_) {
        throw StepFailed("another copy is installed here and stays as it is (use --by-path): " + ToUtf8(other));
    }
    if (!removed_) {
        MakeOfficeKey();
        Register();
    }
    TellEntries();
}

void Registration::MakeOfficeKey() {
    for (const wchar_t* path : kOfficeKeys) {
        if (!OpenKey(HKEY_LOCAL_MACHINE, path)) {
            madeKeys_.insert(madeKeys_.begin(), path);
        }
    }
    HKEY made = nullptr;
    const LSTATUS status =
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kAddInsKey, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &made, nullptr);
    const UniqueKey key(made);
    story_.Data(L"key", std::wstring(L"HKLM\\") + kAddInsKey);
    if (status != ERROR_SUCCESS) {
        throw StepFailed("the key could not be made; it needs an elevated prompt (--by-path does without)");
    }
}

void Registration::Register() {
    story_.Act(L"The add-in's set-up registers it: regsvr32 /s OutlookAddIn.dll", kProgramLimit + 1000);
    if (!RunTool({L"/s"})) {
        throw StepFailed(
            "regsvr32 failed: 3 means that it could not load the file, 5 that the file could not register, "
            "as without an elevated prompt (--by-path needs none)");
    }
}

void Registration::TellEntries() {
    const std::wstring server = ClassKey() + kServer;
    const std::wstring found = ReadText(HKEY_CLASSES_ROOT, server);
    const std::wstring classId = ReadText(HKEY_CLASSES_ROOT, std::wstring(kProgId) + L"\\CLSID");
    story_.Data(L"class", L"HKCR\\" + ClassKey() + L" = " + ReadText(HKEY_CLASSES_ROOT, ClassKey()));
    story_.Data(L"  server", L"…\\InprocServer32 = " + found);
    story_.Data(L"  threads",
                L"…\\InprocServer32, ThreadingModel = " + ReadText(HKEY_CLASSES_ROOT, server, L"ThreadingModel"));
    story_.Data(L"ProgID", std::wstring(L"HKCR\\") + kProgId + L"\\CLSID = " + classId);
    story_.Data(L"add-in key", L"HKLM\\" + AddInKey());
    story_.Data(L"  name", L"FriendlyName = " + ReadText(HKEY_LOCAL_MACHINE, AddInKey(), L"FriendlyName"));
    story_.Data(L"  load", L"LoadBehavior = " + LoadBehaviorOf(kProgId));
    story_.Check(L"The class leads to this file, the ProgID to the class",
                 found == dll_ && classId == workbench::DescribeIid(CLSID_NembraMeeting));
}

std::wstring Registration::FindInOutlooksList() {
    story_.Act(L"It looks through its list of add-ins for those to load at start");
    const UniqueKey list = OpenKey(HKEY_LOCAL_MACHINE, kAddInsKey);
    bool found = false;
    wchar_t progId[256] = L"";
    for (DWORD index = 0, length = 256;
         ::RegEnumKeyExW(list.Get(), index, progId, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        const std::wstring behaviour = LoadBehaviorOf(progId);
        story_.Data(L"add-in", progId + (L", LoadBehavior " + behaviour));
        found = found || (std::wstring_view(progId) == kProgId && behaviour == kLoadAtStart);
    }
    if (!found) {
        throw StepFailed("the add-in is not among those to load at start");
    }
    return kProgId;
}

void Registration::Remove() {
    story_.Act(L"The add-in's set-up removes it: regsvr32 /s /u OutlookAddIn.dll", kProgramLimit + 1000);
    if (!RunTool({L"/s", L"/u"})) {
        throw StepFailed("regsvr32 failed");
    }
    removed_ = true;
    bool anyLeft = false;
    for (const auto& [root, path] : {std::pair(HKEY_CLASSES_ROOT, ClassKey()),
                                     {HKEY_CLASSES_ROOT, kProgId},
                                     {HKEY_CLASSES_ROOT, std::wstring(kProgId) + L".1"},
                                     {HKEY_LOCAL_MACHINE, AddInKey()}}) {
        const bool left = static_cast<bool>(OpenKey(root, path));
        anyLeft = anyLeft || left;
        story_.Data(left ? L"left" : L"gone", (root == HKEY_CLASSES_ROOT ? L"HKCR\\" : L"HKLM\\") + path);
    }
    CLSID ignored{};
    story_.Check(L"All its keys are gone, its ProgID leads nowhere; Outlook's list of add-ins stays",
                 !anyLeft && ::CLSIDFromProgID(kProgId, &ignored) == CO_E_CLASSSTRING &&
                     OpenKey(HKEY_LOCAL_MACHINE, kAddInsKey));
}

bool Registration::RunTool(std::vector<std::wstring> options) {
    options.push_back(dll_);
    const std::optional<DWORD> code = RunToEnd(Tool(), options);
    story_.Data(L"exit code", code ? std::to_wstring(*code) : L"none");
    return code == 0U;
}

} // namespace demo
