#include "workbench/fieldtest/Host.h"

#include "Outlook/ObjectModel/Dispatch.h"
#include "support/Text.h"

#include <objidl.h>

#include <cstdio>

namespace fieldtest {
namespace {

constexpr wchar_t kWindowClass[] = L"rctrl_renwnd32";
constexpr CLSID kOutlookClass = {0x0006F03A, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr DWORD kBusyLimit = 10'000;   // ms in which a busy Outlook may refuse calls
constexpr DWORD kAnswerLimit = 30'000; // ms in which a call must be answered
constexpr DWORD kAgain = 200;          // ms until a refused call is repeated

std::string Describe(const wchar_t* member, HRESULT status) {
    char code[16] = "";
    std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(status));
    return ToUtf8(member) + " failed with " + code;
}

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

_variant_t Checked(const wchar_t* name, HRESULT status, VARIANT& result) {
    if (FAILED(status)) {
        throw HostError(name, status);
    }
    return _variant_t(result, false);
}

} // namespace

HostError::HostError(const wchar_t* member, HRESULT failure)
    : std::runtime_error(Describe(member, failure)), status(failure) {}

// The names are looked up at each call: here one name serves several interfaces.
_variant_t Get(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    VARIANT result{};
    return Checked(name, Outlook::GetProperty(object, member, result, arguments), result);
}

_variant_t Call(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    VARIANT result{};
    return Checked(name, Outlook::CallMethod(object, member, result, arguments), result);
}

void Put(IDispatch* object, const wchar_t* name, const VARIANT& value) {
    Outlook::Member member(name);
    const HRESULT status = Outlook::PutProperty(object, member, value);
    if (FAILED(status)) {
        throw HostError(name, status);
    }
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

std::vector<HWND> OutlookWindows() {
    std::vector<HWND> windows;
    ::EnumWindows(
        [](HWND window, LPARAM found) noexcept -> BOOL {
            wchar_t name[64] = L"";
            ::GetClassNameW(window, name, 64);
            try {
                if (::IsWindowVisible(window) && std::wstring(name) == kWindowClass) {
                    reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
                }
            } catch (...) {
                return FALSE;
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&windows));
    return windows;
}

IDispatchPtr RunningOutlook() {
    IDispatchPtr application;
    if (!OutlookWindows().empty()) { // without a window the class would start another Outlook, which loads no add-in
        application.CreateInstance(kOutlookClass, nullptr, CLSCTX_LOCAL_SERVER);
    }
    return application;
}

BoundedCalls::BoundedCalls() : timer_(::SetTimer(nullptr, 0, 1000, nullptr)) { // a wait ends at a message only
    ::CoRegisterMessageFilter(&g_filter, nullptr);
}

BoundedCalls::~BoundedCalls() {
    ::CoRegisterMessageFilter(nullptr, nullptr);
    ::KillTimer(nullptr, timer_);
}

} // namespace fieldtest
