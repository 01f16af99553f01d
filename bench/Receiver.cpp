#include "bench/Receiver.h"

#include "bench/Measure.h"
#include "support/Text.h"
#include "workbench/process/OwnProgram.h"

#include <cstdio>
#include <new>

namespace bench {
namespace {

constexpr wchar_t kWindowName[] = L"NbmProxyOutlookClientWnd"; // class and title

ReceiverState* g_state = nullptr; // receiving process only

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COPYDATA:
        g_state->counter = Now();
        g_state->bytes += reinterpret_cast<const COPYDATASTRUCT*>(lParam)->cbData;
        ++g_state->messages;
        return TRUE;
    case WM_DESTROY:
        ::PostQuitMessage(0);
        return 0;
    default:
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

UniqueHandle OpenState(const std::string& name) {
    return UniqueHandle(
        ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(ReceiverState), name.c_str()));
}

void* MapState(const UniqueHandle& mapping) {
    void* view = ::MapViewOfFile(mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(ReceiverState));
    Require(view != nullptr, "no memory shared with the receiver");
    return view;
}

} // namespace

Receiver::Receiver()
    : name_("nembra-bench-" + std::to_string(::GetCurrentProcessId())),
      mapping_(OpenState(name_)),
      view_(MapState(mapping_)),
      state_(new (view_.Get()) ReceiverState{}),
      process_(process::ProgramPath(), {L"--receive", ToWide(name_)}, process::Streams::OutputRead) {
    std::string ready;
    Require(process_.ReadLine(ready), "the receiver has not started");
    window_ = ::FindWindowW(kWindowName, kWindowName);
    Require(window_ != nullptr, "the receiver's window is not there");
}

Receiver::~Receiver() {
    ::PostMessageW(window_, WM_CLOSE, 0, 0);
}

int RunReceiver(const std::string& name) {
    const UniqueHandle mapping = OpenState(name);
    const UniqueResource<Receiver::ViewTraits> view(MapState(mapping));
    g_state = static_cast<ReceiverState*>(view.Get());

    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = &WindowProcedure;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowName;
    ::RegisterClassExW(&windowClass);
    const HWND window = ::CreateWindowExW(0, kWindowName, kWindowName, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                          windowClass.hInstance, nullptr);
    Require(window != nullptr, "the receiver's window cannot be made");
    std::printf("ready\n");
    std::fflush(stdout);
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
    return 0;
}

} // namespace bench
