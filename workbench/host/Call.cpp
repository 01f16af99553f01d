#include "workbench/host/Call.h"

#include "workbench/host/HostCore.h"

namespace workbench {

OutlookHost& Call::Host() const {
    return *core_.host;
}

const VARIANT* Call::Argument(UINT index) const {
    if (index >= params_.cArgs) {
        return nullptr;
    }
    const VARIANT& argument = params_.rgvarg[params_.cArgs - 1 - index]; // the last argument comes first
    const bool omitted = argument.vt == VT_ERROR && argument.scode == DISP_E_PARAMNOTFOUND;
    return omitted ? nullptr : &argument;
}

HRESULT Call::Coerce(UINT index, VARTYPE type, _variant_t& value) const {
    const VARIANT* argument = Argument(index);
    if (!argument) {
        return DISP_E_PARAMNOTOPTIONAL;
    }
    return ::VariantChangeType(&value, const_cast<VARIANT*>(argument), 0, type);
}

HRESULT Call::Long(UINT index, long& value) const {
    _variant_t changed;
    const HRESULT status = Coerce(index, VT_I4, changed);
    if (SUCCEEDED(status)) {
        value = changed.lVal;
    }
    return status;
}

HRESULT Call::Text(UINT index, std::wstring& value) const {
    _variant_t changed;
    const HRESULT status = Coerce(index, VT_BSTR, changed);
    if (SUCCEEDED(status)) {
        value.assign(changed.bstrVal ? changed.bstrVal : L"", ::SysStringLen(changed.bstrVal));
    }
    return status;
}

HRESULT Call::Date(UINT index, DATE& value) const {
    _variant_t changed;
    const HRESULT status = Coerce(index, VT_DATE, changed);
    if (SUCCEEDED(status)) {
        value = changed.date;
    }
    return status;
}

HRESULT Call::Return(const std::wstring& text) {
    if (!result_) {
        return S_OK;
    }
    // An empty property is a null BSTR or an empty one in the real host; the null form is the harsher one.
    BSTR copy = text.empty() ? nullptr : ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!copy && !text.empty()) {
        return E_OUTOFMEMORY;
    }
    result_->vt = VT_BSTR;
    result_->bstrVal = copy;
    return S_OK;
}

HRESULT Call::Give(_variant_t value) {
    if (result_) {
        *result_ = value.Detach();
    }
    return S_OK;
}

HRESULT Call::Return(const DispatchPtr& object) {
    if (!result_ || (!object && core_.habits.nullAsEmpty)) {
        return S_OK;
    }
    return Give(_variant_t(object.GetInterfacePtr()));
}

HRESULT Call::Property(std::wstring& value) {
    return IsPut() ? Text(0, value) : Return(value);
}
HRESULT Call::PropertyLong(long& value) {
    return IsPut() ? Long(0, value) : Give(value);
}
HRESULT Call::PropertyDate(DATE& value) {
    return IsPut() ? Date(0, value) : Give(_variant_t(value, VT_DATE));
}

} // namespace workbench
