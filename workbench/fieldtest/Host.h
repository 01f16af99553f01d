#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace fieldtest {

/// A call to Outlook has failed.
class HostError : public std::runtime_error {
public:
    HostError(const wchar_t* member, HRESULT status);
    const HRESULT status;
};

// Members of Outlook's objects by name. @throws HostError, _com_error for a null object.
_variant_t Get(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments = {});
_variant_t Call(IDispatch* object, const wchar_t* name, std::initializer_list<VARIANT> arguments = {});
void Put(IDispatch* object, const wchar_t* name, const VARIANT& value);
/// Null when the value is no object.
IDispatchPtr ObjectOf(const _variant_t& value);
IDispatchPtr Child(IDispatch* object, const wchar_t* name);
std::string Text(IDispatch* object, const wchar_t* name); // UTF-8
bool SameObject(IDispatch* one, IDispatch* other);

/// An open window of an item.
struct OpenItem {
    IDispatchPtr inspector;
    IDispatchPtr item;
    explicit operator bool() const { return item != nullptr; }
};
/// A window that closes meanwhile is left out.
std::vector<OpenItem> OpenItems(IDispatch* application);

/// The visible main and item windows of Outlook.
std::vector<HWND> OutlookWindows();
/// The application of the Outlook that runs on this desktop; null when there is none. Starts none.
IDispatchPtr RunningOutlook();

/// While it lives, calls to Outlook are repeated for a while when it is busy, and given up when it does not answer.
class BoundedCalls {
public:
    BoundedCalls();
    ~BoundedCalls();
    BoundedCalls(const BoundedCalls&) = delete;
    BoundedCalls& operator=(const BoundedCalls&) = delete;

private:
    UINT_PTR timer_ = 0;
};

} // namespace fieldtest
