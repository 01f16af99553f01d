#pragma once

#include "workbench/host/ComHeaders.h"

#include <string>
#include <vector>

/// A client that knows names only, as a script does.
namespace workbench {

struct Answer {
    HRESULT status = E_FAIL; // of Invoke
    HRESULT scode = S_OK;    // of EXCEPINFO
    bool texts = false;      // whether EXCEPINFO had its texts
    bool deferred = false;   // whether they came by pfnDeferredFillIn
    _variant_t value;

    DispatchPtr Object() const { return DispatchPtr(value.vt == VT_DISPATCH ? value.pdispVal : nullptr); }
    std::wstring Text() const { return value.vt == VT_BSTR && value.bstrVal ? value.bstrVal : L""; }
};

inline Answer Ask(IDispatch* object, const wchar_t* name, WORD flags, std::vector<_variant_t> arguments = {},
                  bool named = true) {
    Answer answer;
    DISPID id = 0;
    LPOLESTR text = const_cast<LPOLESTR>(name);
    answer.status = object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(answer.status)) {
        return answer;
    }
    DISPID put = DISPID_PROPERTYPUT;
    const std::vector<_variant_t> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS params{const_cast<_variant_t*>(reversed.data()), nullptr, static_cast<UINT>(reversed.size()), 0};
    if (flags == DISPATCH_PROPERTYPUT && named) {
        params.rgdispidNamedArgs = &put;
        params.cNamedArgs = 1;
    }
    EXCEPINFO exception{};
    answer.status =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &answer.value, &exception, nullptr);
    if (exception.pfnDeferredFillIn) {
        answer.deferred = true;
        exception.pfnDeferredFillIn(&exception);
    }
    answer.scode = exception.scode;
    answer.texts = exception.bstrSource && exception.bstrDescription && exception.bstrHelpFile;
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    return answer;
}

inline Answer Get(IDispatch* object, const wchar_t* name, std::vector<_variant_t> arguments = {}) {
    return Ask(object, name, DISPATCH_PROPERTYGET, std::move(arguments));
}
inline Answer Put(IDispatch* object, const wchar_t* name, const _variant_t& value) {
    return Ask(object, name, DISPATCH_PROPERTYPUT, {value});
}
inline Answer CallMethod(IDispatch* object, const wchar_t* name, std::vector<_variant_t> arguments = {}) {
    return Ask(object, name, DISPATCH_METHOD, std::move(arguments));
}

} // namespace workbench
