#pragma once

/// The platform's smart pointers and texts for COM. comdef.h defines pointer types only for interfaces that are
/// declared before it, and some toolchains define none. A second declaration of a type is harmless.
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
