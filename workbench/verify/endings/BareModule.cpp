// A module without content, built as the add-in is: what its load and unload leave behind in the process is the
// toolchain's run-time, which the add-in cannot help either.
#include <windows.h>

#include <sstream>
#include <stdexcept>

extern "C" __declspec(dllexport) int UseRunTime() {
    std::wostringstream stream;
    stream << L"number " << 7;
    try {
        throw std::runtime_error("caught");
    } catch (const std::exception&) {
        return static_cast<int>(stream.str().size());
    }
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, void*) {
    return TRUE;
}
