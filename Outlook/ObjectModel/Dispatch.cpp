#include "Outlook/ObjectModel/Dispatch.h"

#include "Outlook/ObjectModel/ComPointers.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <iterator>

namespace Outlook {
namespace {

constexpr size_t kMostArguments = 4; // the longest call of this add-in has two

#ifndef NDEBUG
bool OnTheFirstCallersThread() {
    static const DWORD first = ::GetCurrentThreadId();
    return first == ::GetCurrentThreadId();
}
#endif

/// Reads the status in the host's exception record and frees the record's texts.
HRESULT TakeStatus(EXCEPINFO& exception) noexcept {
    if (exception.pfnDeferredFillIn != nullptr) {
        exception.pfnDeferredFillIn(&exception);
    }
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    // A record may contain the older 16-bit code instead of a status, or neither.
    return FAILED(exception.scode) ? exception.scode : DISP_E_EXCEPTION;
}

HRESULT Invoke(IDispatch* object, Member& member, WORD kind, DISPPARAMS& parameters, VARIANT* result) {
    if (object == nullptr) {
        throw _com_error(E_POINTER);
    }
    assert(OnTheFirstCallersThread());
    DISPID id = DISPID_UNKNOWN;
    HRESULT status = member.Find(object, id);
    if (FAILED(status)) {
        return status;
    }
    EXCEPINFO exception = {};
    UINT wrongArgument = 0;
    status = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, result, &exception, &wrongArgument);
    return status == DISP_E_EXCEPTION ? TakeStatus(exception) : status;
}

HRESULT InvokeWithArguments(IDispatch* object, Member& member, WORD kind, VARIANT& result,
                            std::initializer_list<VARIANT> arguments) {
    ::VariantInit(&result);
    if (arguments.size() > kMostArguments) {
        return E_INVALIDARG;
    }
    std::array<VARIANT, kMostArguments> reversed = {}; // The host takes the last argument first.
    std::reverse_copy(arguments.begin(), arguments.end(), reversed.begin());
    DISPPARAMS parameters = {reversed.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    const HRESULT status = Invoke(object, member, kind, parameters, &result);
    if (FAILED(status)) {
        ::VariantClear(&result); // A failed call may have left a partial result.
    }
    return status;
}

} // namespace

HRESULT Member::Find(IDispatch* object, DISPID& id) noexcept {
    id = id_.load(std::memory_order_relaxed);
    if (id != DISPID_UNKNOWN) {
        return S_OK;
    }
    LPOLESTR name = const_cast<LPOLESTR>(name_);
    const HRESULT status = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (SUCCEEDED(status)) {
        id_.store(id, std::memory_order_relaxed);
    }
    return status;
}

HRESULT GetProperty(IDispatch* object, Member& member, VARIANT& result, std::initializer_list<VARIANT> arguments) {
    return InvokeWithArguments(object, member, DISPATCH_PROPERTYGET, result, arguments);
}

HRESULT PutProperty(IDispatch* object, Member& member, const VARIANT& value) {
    VARIANT argument = value; // a shallow copy; the caller still owns the value
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&argument, &put, 1, 1};
    return Invoke(object, member, DISPATCH_PROPERTYPUT, parameters, nullptr);
}

HRESULT CallMethod(IDispatch* object, Member& member, VARIANT& result, std::initializer_list<VARIANT> arguments) {
    return InvokeWithArguments(object, member, DISPATCH_METHOD, result, arguments);
}

} // namespace Outlook
