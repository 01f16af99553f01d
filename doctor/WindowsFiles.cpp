#include "doctor/WindowsMachine.h"

#include "support/UniqueResource.h"

#include <windows.h>
#include <shlobj.h>
#include <softpub.h>
#include <wintrust.h>

#include <algorithm>

namespace doctor {
namespace {

Access FromError(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_NOT_READY:
    case ERROR_DIRECTORY:
        return Access::Absent;
    default:
        return Access::Denied;
    }
}

Answer<std::string> ReadPart(const std::wstring& path, std::size_t limit, bool fromEnd) {
    const HANDLE opened =
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE) {
        return {FromError(::GetLastError()), {}};
    }
    const UniqueHandle file(opened);
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file.Get(), &size)) {
        return {Access::Denied, {}};
    }
    std::string content(static_cast<std::size_t>(std::min<ULONGLONG>(static_cast<ULONGLONG>(size.QuadPart), limit)),
                        '\0');
    LARGE_INTEGER start{};
    start.QuadPart = fromEnd ? size.QuadPart - static_cast<LONGLONG>(content.size()) : 0;
    DWORD read = 0;
    if (!::SetFilePointerEx(file.Get(), start, nullptr, FILE_BEGIN) ||
        !::ReadFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr)) {
        return {Access::Denied, {}};
    }
    content.resize(read);
    return {Access::Found, std::move(content)};
}

/// The process's token without an administrator's rights, as AccessCheck takes it.
UniqueHandle OrdinaryToken() {
    HANDLE own = nullptr;
    HANDLE restricted = nullptr;
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE | TOKEN_ASSIGN_PRIMARY, &own)) {
        return {};
    }
    const UniqueHandle ownOwner(own);
    BYTE administrators[SECURITY_MAX_SID_SIZE] = {};
    DWORD size = sizeof administrators;
    SID_AND_ATTRIBUTES disabled = {administrators, 0};
    if (!::CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size) ||
        !::CreateRestrictedToken(own, 0, 1, &disabled, 0, nullptr, 0, nullptr, &restricted)) {
        return {};
    }
    const UniqueHandle restrictedOwner(restricted);
    ::DuplicateToken(restricted, SecurityImpersonation, &token);
    return UniqueHandle(token);
}

/// Name of the certificate with which a verified file was signed; empty without one.
std::wstring SignerName(HANDLE state) {
    CRYPT_PROVIDER_DATA* data = ::WTHelperProvDataFromStateData(state);
    CRYPT_PROVIDER_SGNR* signer = data == nullptr ? nullptr : ::WTHelperGetProvSignerFromChain(data, 0, FALSE, 0);
    if (signer == nullptr || signer->csCertChain == 0 || signer->pasCertChain == nullptr) {
        return {};
    }
    wchar_t name[256] = L"";
    ::CertGetNameStringW(signer->pasCertChain[0].pCert, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name,
                         static_cast<DWORD>(std::size(name)));
    return name;
}

SignatureState ToState(LONG status) {
    switch (static_cast<HRESULT>(status)) {
    case S_OK:
        return SignatureState::Valid;
    case TRUST_E_BAD_DIGEST:
        return SignatureState::Altered;
    case TRUST_E_NOSIGNATURE:
    case TRUST_E_SUBJECT_FORM_UNKNOWN:
    case TRUST_E_PROVIDER_UNKNOWN:
        return SignatureState::None;
    default:
        return SignatureState::Untrusted;
    }
}

} // namespace

Answer<std::string> WindowsMachine::Head(const std::wstring& path, std::size_t limit) const {
    return ReadPart(path, limit, false);
}

Answer<std::string> WindowsMachine::Tail(const std::wstring& path, std::size_t limit) const {
    return ReadPart(path, limit, true);
}

Answer<FileVersion> WindowsMachine::Version(const std::wstring& path) const {
    std::vector<std::uint8_t> data(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
    void* found = nullptr;
    UINT size = 0;
    if (data.empty() || !::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) ||
        !::VerQueryValueW(data.data(), L"\\", &found, &size) || size < sizeof(VS_FIXEDFILEINFO)) {
        return {};
    }
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
    return {Access::Found,
            {{HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS),
              LOWORD(fixed->dwFileVersionLS)}}};
}

Signature WindowsMachine::SignatureOf(const std::wstring& path) const {
    WINTRUST_FILE_INFO file{};
    file.cbStruct = sizeof file;
    file.pcwszFilePath = path.c_str();
    WINTRUST_DATA data{};
    data.cbStruct = sizeof data;
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_NONE;
    data.dwUnionChoice = WTD_CHOICE_FILE;
    data.pFile = &file;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL; // no network
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    const LONG status = ::WinVerifyTrust(nullptr, &action, &data);
    Signature signature{ToState(status), {}, static_cast<std::uint32_t>(status)};
    if (signature.state != SignatureState::None) {
        signature.signer = SignerName(data.hWVTStateData);
    }
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    ::WinVerifyTrust(nullptr, &action, &data);
    return signature;
}

Answer<bool> WindowsMachine::Writable(const std::wstring& path) const {
    constexpr SECURITY_INFORMATION kParts =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD bytes = 0;
    ::GetFileSecurityW(path.c_str(), kParts, nullptr, 0, &bytes);
    std::vector<std::uint8_t> descriptor(bytes);
    if (!::GetFileSecurityW(path.c_str(), kParts, descriptor.data(), bytes, &bytes)) {
        return {FromError(::GetLastError()), false};
    }
    const UniqueHandle token = OrdinaryToken();
    if (!token) {
        return {Access::Denied, false};
    }
    GENERIC_MAPPING mapping = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    PRIVILEGE_SET privileges{};
    DWORD size = sizeof privileges;
    DWORD granted = 0;
    BOOL allowed = FALSE;
    // For a folder the same bit allows to make files in it.
    if (!::AccessCheck(descriptor.data(), token.Get(), FILE_WRITE_DATA, &mapping, &privileges, &size, &granted,
                       &allowed)) {
        return {Access::Denied, false};
    }
    return {Access::Found, allowed != FALSE};
}

std::optional<std::uint64_t> WindowsMachine::FreeBytes(const std::wstring& folder) const {
    ULARGE_INTEGER free{};
    if (!::GetDiskFreeSpaceExW(folder.c_str(), &free, nullptr, nullptr)) {
        return std::nullopt;
    }
    return free.QuadPart;
}

std::wstring WindowsMachine::Folder(Place place) const {
    wchar_t path[MAX_PATH] = L"";
    switch (place) {
    case Place::System:
        ::GetSystemDirectoryW(path, MAX_PATH);
        return path;
    case Place::Log:
        ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
        return path + std::wstring(L"\\NembraMeeting\\log");
    case Place::Installed:
        ::SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES, nullptr, SHGFP_TYPE_CURRENT, path);
        return path + std::wstring(L"\\Nembra\\OutlookAddIn");
    case Place::Program:
        break;
    }
    std::wstring program(32768, L'\0'); // the longest path
    program.resize(::GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return program;
}

} // namespace doctor
