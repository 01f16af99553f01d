// A program that stands for OUTLOOK.EXE. It loads the add-in by its program id, as Outlook does, and keeps it until its
// input ends or a minute has passed.
#include <windows.h>
#include <objbase.h>

#include <cstdio>

int main() {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    CLSID id{};
    IUnknown* object = nullptr;
    HRESULT status = ::CLSIDFromProgID(L"NembraMeeting.OutlookAddin", &id);
    if (SUCCEEDED(status)) {
        status =
            ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&object));
    }
    std::printf("status %08lX\n", static_cast<unsigned long>(status));
    std::fflush(stdout);
    ::Sleep(60'000);
    return 0;
}
