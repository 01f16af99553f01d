#include "workbench/client/UriScheme.h"

#include "workbench/process/CommandLine.h"
#include "workbench/process/OwnProgram.h"

namespace meeting_client {
namespace {

constexpr wchar_t kUserKey[] = L"Software\\Classes\\quorvex";
constexpr wchar_t kMergedKey[] = L"quorvex"; // below HKEY_CLASSES_ROOT
constexpr wchar_t kCommand[] = L"\\shell\\open\\command";

long WriteText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    return ::RegSetKeyValueW(root, path.c_str(), name, REG_SZ, text.c_str(),
                             static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

long WriteScheme(HKEY root, const std::wstring& path, const std::wstring& command) {
    long result = WriteText(root, path, nullptr, L"URL:NEMBRA CLOUD Meeting");
    if (result == ERROR_SUCCESS) {
        result = WriteText(root, path, L"URL Protocol", L"");
    }
    return result == ERROR_SUCCESS ? WriteText(root, path + kCommand, nullptr, command) : result;
}

// The command that the system would run for the scheme.
std::wstring MergedCommand() {
    wchar_t text[4096] = L"";
    DWORD size = sizeof text;
    const std::wstring path = std::wstring(kMergedKey) + kCommand;
    const long read = ::RegGetValueW(HKEY_CLASSES_ROOT, path.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, text, &size);
    return read == ERROR_SUCCESS ? text : L"";
}

} // namespace

long RegisterUriScheme(const std::vector<std::wstring>& arguments) {
    const std::wstring command = process::JoinCommandLine(process::ProgramPath(), arguments) + L" \"%1\"";
    const long result = WriteScheme(HKEY_CURRENT_USER, kUserKey, command);
    if (result != ERROR_SUCCESS || MergedCommand() == command) {
        return result;
    }
    // Wine's classes root shows only the machine's classes, not the user's.
    return WriteScheme(HKEY_CLASSES_ROOT, kMergedKey, command);
}

long UnregisterUriScheme() {
    const long result = ::RegDeleteTreeW(HKEY_CURRENT_USER, kUserKey);
    // The remaining entry is deleted only when it is ours: it may belong to the installed client.
    if (MergedCommand().starts_with(process::JoinCommandLine(process::ProgramPath(), {}))) {
        ::RegDeleteTreeW(HKEY_CLASSES_ROOT, kMergedKey);
    }
    return result == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : result;
}

} // namespace meeting_client
