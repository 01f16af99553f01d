#include "workbench/fieldtest/Host.h"

#include "workbench/client/Meetings.h"
#include "workbench/wire/Window.h"

#include "Outlook/ObjectModel/Dispatch.h"
#include "support/Text.h"

#include <objidl.h>

#include <fmt/format.h>

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

void Check(HRESULT status, const wchar_t* name) {
    if (FAILED(status)) {
        throw HostError(fmt::format("{} failed with 0x{:08X}", ToUtf8(name), static_cast<unsigned>(status)));
    }
}

} // namespace

// The names are looked up at each call: here one name serves several interfaces.
_variant_t Get(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    _variant_t result;
    Check(Outlook::GetProperty(object, member, result, arguments), name);
    return result;
}

_variant_t Call(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments) {
    Outlook::Member member(name);
    _variant_t result;
    Check(Outlook::CallMethod(object, member, result, arguments), name);
    return result;
}

void Put(IDispatch* object, const wchar_t* name, const VARIANT& value) {
    Outlook::Member member(name);
    Check(Outlook::PutProperty(object, member, value), name);
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

Json::Value MarkerOf(IDispatch* item) {
    return meeting_client::ParseObject(Comment(item)).value_or(Json::objectValue);
}

void PutComment(IDispatch* item, const char* text) {
    Put(Child(item, L"FormDescription"), L"Comment", _variant_t(ToWide(text).c_str()));
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
                found.push_back({inspector, item, Text(item, L"Subject"), MarkerOf(item)});
            }
        } catch (const HostError&) {
        } catch (const _com_error&) {
        }
    }
    return found;
}

std::vector<HWND> OutlookWindows() {
    std::vector<HWND> windows = wire::FindAll(ToWide(kOutlookWindow).c_str(), nullptr);
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
