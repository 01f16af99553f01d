#include "bench/Receiver.h"

#include "bench/Measure.h"
#include "support/Text.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/wire/Window.h"

#include <cstdio>
#include <new>

namespace bench {
namespace {

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
    window_ = wire::Find(wire::kClientWindow);
    Require(window_ != nullptr, "the receiver's window is not there");
}

Receiver::~Receiver() {
    ::PostThreadMessageW(::GetWindowThreadProcessId(window_, nullptr), WM_QUIT, 0, 0);
}

int RunReceiver(const std::string& name) {
    const UniqueHandle mapping = OpenState(name);
    const UniqueResource<Receiver::ViewTraits> view(MapState(mapping));
    ReceiverState& state = *static_cast<ReceiverState*>(view.Get());
    const wire::Window window(wire::kClientWindow, [&state](HWND, const COPYDATASTRUCT& data) {
        state.counter = Now();
        state.bytes += data.cbData;
        ++state.messages;
        return TRUE;
    });
    std::printf("ready\n");
    std::fflush(stdout);
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
    return 0;
}

} // namespace bench
