#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <initializer_list>

namespace Outlook {

/// One member of one host interface, called by name. The name is looked up once per process, at its first use: all
/// objects of an interface have the same ids. Static storage; a shorter life only repeats the lookup.
class Member {
public:
    constexpr explicit Member(const wchar_t* name) noexcept : name_(name) {}

    HRESULT Find(IDispatch* object, DISPID& id) noexcept;

private:
    const wchar_t* name_;
    std::atomic<DISPID> id_{DISPID_UNKNOWN};
};

/// The three helpers below return the host's own failure: DISP_E_EXCEPTION becomes the status in the exception record.
/// A null object raises E_POINTER as a COM error. User-interface thread only.

/// Reads a property, with its index when it has one. `result` is initialised first and belongs to the caller.
HRESULT GetProperty(IDispatch* object, Member& member, VARIANT& result, std::initializer_list<VARIANT> arguments = {});

HRESULT PutProperty(IDispatch* object, Member& member, const VARIANT& value);

/// Calls a method. The arguments have the order of the host's documentation.
HRESULT CallMethod(IDispatch* object, Member& member, VARIANT& result, std::initializer_list<VARIANT> arguments = {});

} // namespace Outlook
