#include "Outlook/AddIns/ModuleState.h"

namespace ModuleState {

HRESULT GetPath(std::wstring& path) {
    constexpr DWORD kLongestPath = 32768;
    path.resize(MAX_PATH);
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        const DWORD error = length != 0 ? ERROR_SUCCESS : ::GetLastError();
        if (length < path.size() || path.size() >= kLongestPath) {
            path.resize(length);
            return HRESULT_FROM_WIN32(error);
        }
        path.resize(path.size() * 2); // It was cut.
    }
}

} // namespace ModuleState
