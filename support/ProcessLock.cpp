#include "support/ProcessLock.h"

#include <sddl.h>

#include <cstdint>
#include <cwchar>

namespace {

constexpr DWORD kPatience = 100; // ms; a line takes some ten microseconds, a rotation some ten milliseconds
constexpr DWORD kAccess = SYNCHRONIZE | MUTEX_MODIFY_STATE;

// An elevated regsvr32 may make the mutex before Outlook does, and its own default lets nobody in who is not elevated.
// This one grants the interactive users kAccess. The label keeps processes below medium integrity out.
constexpr wchar_t kSecurity[] = L"D:(A;;0x100001;;;IU)S:(ML;;NWNRNX;;;ME)";

struct LocalTraits {
    using Value = void*;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value memory) noexcept { ::LocalFree(memory); }
};

} // namespace

// The name of a kernel object must not hold separators, so a hash of the path stands for it (FNV-1a).
std::array<wchar_t, 48> ProcessLock::NameOf(const char* path) noexcept {
    uint64_t hash = 0xCBF29CE484222325;
    for (; *path != '\0'; ++path) {
        hash = (hash ^ static_cast<unsigned char>(*path)) * 0x100000001B3;
    }
    std::array<wchar_t, 48> name{};
    std::swprintf(name.data(), name.size(), L"Local\\NembraLog-%016llx", static_cast<unsigned long long>(hash));
    return name;
}

ProcessLock::ProcessLock(const char* path) noexcept {
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), nullptr, FALSE};
    const BOOL readable = ::ConvertStringSecurityDescriptorToSecurityDescriptorW(
        kSecurity, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr);
    const UniqueResource<LocalTraits> descriptor(attributes.lpSecurityDescriptor);
    if (readable) {
        mutex_.Reset(::CreateMutexExW(&attributes, NameOf(path).data(), 0, kAccess));
    }
}

bool ProcessLock::Lock(bool mayWait) noexcept {
    if (!mutex_) {
        return true;
    }
    const DWORD result = ::WaitForSingleObject(mutex_.Get(), mayWait ? kPatience : 0);
    owned_ = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    return result != WAIT_TIMEOUT; // A wait that fails excludes nobody either.
}

void ProcessLock::Unlock() noexcept {
    if (owned_) {
        owned_ = false;
        ::ReleaseMutex(mutex_.Get());
    }
}
