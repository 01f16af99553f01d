#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

#include <json/value.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace fieldtest {

/// A call to Outlook has failed.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
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
/// The text in which the add-in keeps its marker.
std::string Comment(IDispatch* item);
Json::Value MarkerOf(IDispatch* item); ///< an empty object when there is none
void PutComment(IDispatch* item, const char* text);
/// A stored item; null when there is none.
IDispatchPtr StoredItem(IDispatch* application, const std::string& entryId);

/// An open window of an item.
struct OpenItem {
    IDispatchPtr inspector;
    IDispatchPtr item;
    std::string subject;
    Json::Value marker; ///< an empty object when there is none
    explicit operator bool() const { return item != nullptr; }
};
/// A window that closes meanwhile is left out; so are items without a form description, which are no appointments.
std::vector<OpenItem> OpenItems(IDispatch* application);

inline constexpr char kOutlookWindow[] = "rctrl_renwnd32"; // class of Outlook's main and item windows
/// The visible ones of them.
std::vector<HWND> OutlookWindows();
/// The application of the Outlook that runs on this desktop; null when there is none. Starts none.
IDispatchPtr RunningOutlook();

/// From now on calls of this thread are repeated for a while when Outlook is busy, and given up when it does not
/// answer.
void BoundCalls();

} // namespace fieldtest
