#pragma once

#include <windows.h>
#include <ole2.h>
#include <ocidl.h>
#include <olectl.h>
#include <comdef.h>
#include <comip.h>

namespace workbench {

/// Names an interface for _com_ptr_t. The platform's own names (IDispatchPtr …) are not declared by every toolchain,
/// and where they are not, two headers that declare them cannot be used together.
template <class Type, const IID* Id>
struct NamedInterface {
    using Interface = Type;
    static Type* GetInterfacePtr() noexcept { return nullptr; }
    static Type& GetInterface() noexcept { return *GetInterfacePtr(); }
    static const IID& GetIID() noexcept { return *Id; }
};

using UnknownPtr = _com_ptr_t<NamedInterface<IUnknown, &IID_IUnknown>>;
using DispatchPtr = _com_ptr_t<NamedInterface<IDispatch, &IID_IDispatch>>;
using PicturePtr = _com_ptr_t<NamedInterface<IPictureDisp, &IID_IPictureDisp>>;

} // namespace workbench
