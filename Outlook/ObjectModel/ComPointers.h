#pragma once

/// The platform's smart pointers and texts for COM, from one place: comdef.h makes pointer types only for interfaces
/// that are declared before it, and not every toolchain's makes any. Declaring one twice is harmless.
#include <windows.h>
#include <ole2.h>
#include <ocidl.h>

#include <comdef.h>

_COM_SMARTPTR_TYPEDEF(IUnknown, __uuidof(IUnknown));
_COM_SMARTPTR_TYPEDEF(IDispatch, __uuidof(IDispatch));
_COM_SMARTPTR_TYPEDEF(ITypeLib, __uuidof(ITypeLib));
_COM_SMARTPTR_TYPEDEF(ITypeInfo, __uuidof(ITypeInfo));
_COM_SMARTPTR_TYPEDEF(IOleWindow, __uuidof(IOleWindow));
_COM_SMARTPTR_TYPEDEF(IStream, __uuidof(IStream));
