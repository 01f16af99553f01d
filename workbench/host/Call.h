#pragma once

#include "workbench/host/ComHeaders.h"

#include <string>

namespace workbench {

class DispatchObject;
class OutlookHost;
struct HostCore;

/// One Invoke as a member's handler sees it: arguments in natural order, results in the type the member has.
class Call {
public:
    Call(DispatchObject& self, HostCore& core, WORD flags, const DISPPARAMS& params, VARIANT* result)
        : self_(self), core_(core), flags_(flags), params_(params), result_(result) {}

    DispatchObject& Self() const { return self_; }
    HostCore& Core() const { return core_; }
    OutlookHost& Host() const;
    bool IsPut() const { return (flags_ & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }

    /// Null when the argument is missing or was omitted with VT_ERROR and DISP_E_PARAMNOTFOUND.
    const VARIANT* Argument(UINT index) const;
    HRESULT Long(UINT index, long& value) const;
    HRESULT Text(UINT index, std::wstring& value) const;
    HRESULT Date(UINT index, DATE& value) const;

    HRESULT Return(const std::wstring& text);
    /// A number, a date or a truth value.
    HRESULT Give(_variant_t value);
    /// Null is "no object", in the way the habits say.
    HRESULT Return(const DispatchPtr& object);

    // Both directions of a read-write property of an item.
    HRESULT Property(std::wstring& value);
    HRESULT PropertyLong(long& value);
    HRESULT PropertyDate(DATE& value);

private:
    HRESULT Coerce(UINT index, VARTYPE type, _variant_t& value) const;

    DispatchObject& self_;
    HostCore& core_;
    WORD flags_;
    const DISPPARAMS& params_;
    VARIANT* result_;
};

} // namespace workbench
