#include "workbench/fieldtest/Host.h"

#include "Outlook/ObjectModel/Dispatch.h"
#include "support/Text.h"

#include <objidl.h>

#include <fmt/format.h>

#include <algorithm>

namespace fieldtest {
namespace {

constexpr CLSID kOutlookClass = {0x0006F03A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr DWORD kBusyLimit = 10'000;   // ms in which a busy Outlook may refuse calls
constexpr DWORD kAnswerLimit = 30'000; // ms in which a call must be answered
constexpr DWORD kAgain = 200;          // ms until a refused call is repeated

class Filter final : public IMessageFilter {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        if (!object) {
            return E_POINTER;
        }
        *object = riid == IID_IUnknown || riid == IID_IMessageFilter ? static_cast<IMessageFilter*>(this) : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 1; } // there is one for the whole process
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }
    DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD, HTASK, DWORD, LPINTERFACEINFO) noexcept override {
        return SERVERCALL_ISHANDLED;
    }
    DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK, DWORD ticks, DWORD) noexcept override {
        return ticks < kBusyLimit ? kAgain : static_cast<DWORD>(-1);
    }
    DWORD STDMETHODCALLTYPE MessagePending(HTASK, DWORD ticks, DWORD) noexcept override {
        return ticks < kAnswerLimit ? PENDINGMSG_WAITDEFPROCESS : PENDINGMSG_CANCELCALL;
    }
};
Filter g_filter;

_variant_t Checked(const wchar_t* name, HRESULT status, const VARIANT& result = {}) {
    if (FAILED(status)) {
        throw HostError(fmt::format("{} failed with 0x{:08X}", ToUtf8(name), static_cast<unsigned>(status)));
    }
    return _variant_t(const_cast<VARIANT&>(result), false);
}

} // namespace

// The names are looked up at each call: here one name serves several interfaces.
_variant_t Get(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    VARIANT result{};
    const HRESULT status = Outlook::GetProperty(object, member, result, arguments);
    return Checked(name, status, result);
}

_variant_t Call(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    VARIANT result{};
    const HRESULT status = Outlook::CallMethod(object, member, result, arguments);
    return Checked(name, status, result);
}

void Put(IDispatch* object, const wchar_t* name, const VARIANT& value) {
    Outlook::Member member(name);
    Checked(name, Outlook::PutProperty(object, member, value));
}

IDispatchPtr ObjectOf(const _variant_t& value) {
    return value.vt == VT_DISPATCH ? IDispatchPtr(value.pdispVal) : IDispatchPtr();
}

IDispatchPtr Child(IDispatch* object, const wchar_t* name) {
    return ObjectOf(Get(object, name));
}

std::string Text(IDispatch* object, const wchar_t* name) {
    const _variant_t value = Get(object, name);
    return value.vt == VT_BSTR && value.bstrVal ? ToUtf8({value.bstrVal, ::SysStringLen(value.bstrVal)}) : "";
}

bool SameObject(IDispatch* one, IDispatch* other) {
    return IUnknownPtr(one).GetInterfacePtr() == IUnknownPtr(other).GetInterfacePtr();
}

std::string Comment(IDispatch* item) {
    return Text(Child(item, L"FormDescription"), L"Comment");
}

void PutComment(IDispatch* item, const wchar_t* text) {
    Put(Child(item, L"FormDescription"), L"Comment", _variant_t(text));
}

IDispatchPtr StoredItem(IDispatch* application, const std::string& entryId) {
    try {
        return ObjectOf(Call(Child(application, L"Session"), L"GetItemFromID", {_variant_t(ToWide(entryId).c_str())}));
    } catch (const HostError&) {
        return nullptr;
    }
}

std::vector<OpenItem> OpenItems(IDispatch* application) {
    std::vector<OpenItem> found;
    const IDispatchPtr inspectors = Child(application, L"Inspectors");
    const long count = Get(inspectors, L"Count");
    for (long number = 1; number <= count; ++number) {
        try {
            const IDispatchPtr inspector = ObjectOf(Call(inspectors, L"Item", {_variant_t(number)}));
            const IDispatchPtr item = inspector ? Child(inspector, L"CurrentItem") : IDispatchPtr();
            if (item) {
                found.push_back({inspector, item});
            }
        } catch (const HostError&) {
        }
    }
    return found;
}

std::wstring ClassOf(HWND window) {
    wchar_t name[64] = L"";
    ::GetClassNameW(window, name, 64);
    return name;
}

std::vector<HWND> OutlookWindows() {
    std::vector<HWND> windows; // the order of the windows may change meanwhile
    for (HWND window = nullptr; (window = ::FindWindowExW(nullptr, window, kOutlookWindow, nullptr)) != nullptr &&
                                std::find(windows.begin(), windows.end(), window) == windows.end();) {
        windows.push_back(window);
    }
    std::erase_if(windows, [](HWND window) { return !::IsWindowVisible(window); });
    return windows;
}

IDispatchPtr RunningOutlook() {
    IDispatchPtr application;
    if (!OutlookWindows().empty()) { // without a window the class would start another Outlook, which loads no add-in
        application.CreateInstance(kOutlookClass, nullptr, CLSCTX_LOCAL_SERVER);
    }
    return application;
}

void BoundCalls() {
    ::SetTimer(nullptr, 0, 1000, nullptr); // a call's wait looks at the time at a message only
    ::CoRegisterMessageFilter(&g_filter, nullptr);
}

} // namespace fieldtest
