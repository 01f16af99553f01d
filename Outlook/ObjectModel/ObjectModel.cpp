#include "Outlook/ObjectModel/ObjectModel.h"

#include "Outlook/ObjectModel/Dispatch.h"

namespace Outlook {
namespace {

// Each interface has members of its own: the same name can have another id on another interface.
namespace ApplicationMembers {
Member session{L"Session"}, version{L"Version"}, activeExplorer{L"ActiveExplorer"}, explorers{L"Explorers"},
    inspectors{L"Inspectors"}, languageSettings{L"LanguageSettings"}, createItem{L"CreateItem"};
}
namespace LanguageMembers {
Member languageId{L"LanguageID"};
}
namespace SessionMembers {
Member folders{L"Folders"}, getItemFromId{L"GetItemFromID"};
}
namespace FoldersMembers {
Member count{L"Count"}, item{L"Item"};
}
namespace FolderMembers {
Member storeId{L"StoreID"};
}
namespace InspectorMembers {
Member currentItem{L"CurrentItem"}, close{L"Close"};
}
namespace AppointmentMembers {
Member subject{L"Subject"}, location{L"Location"}, body{L"Body"}, entryId{L"EntryID"}, startUtc{L"StartUTC"},
    endUtc{L"EndUTC"}, meetingStatus{L"MeetingStatus"}, saved{L"Saved"}, formDescription{L"FormDescription"},
    getInspector{L"GetInspector"}, remove{L"Delete"}, display{L"Display"};
}
namespace FormMembers {
Member comment{L"Comment"};
}
namespace ControlMembers {
Member id{L"Id"}, context{L"Context"};
}
namespace RibbonMembers {
Member invalidateControl{L"InvalidateControl"};
}

VARIANT Text(const _bstr_t& text) {
    VARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = const_cast<wchar_t*>(static_cast<const wchar_t*>(text)); // borrowed for the call
    return value;
}

VARIANT Number(long number) {
    VARIANT value = {};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

VARIANT Index(int index) {
    VARIANT value = {};
    value.vt = VT_INT;
    value.intVal = index;
    return value;
}

VARIANT Date(DATE date) {
    VARIANT value = {};
    value.vt = VT_DATE;
    value.date = date;
    return value;
}

VARIANT Omitted() {
    VARIANT value = {};
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

/// A call without an object as its result returns a null object or an empty value. Both are success.
template <class Interface>
HRESULT TakeObject(HRESULT status, _variant_t& result, Interface& object) {
    object = nullptr;
    if (FAILED(status)) {
        return status;
    }
    const bool holdsObject = result.vt == VT_DISPATCH || result.vt == VT_UNKNOWN;
    if (!holdsObject || result.punkVal == nullptr) {
        return result.vt == VT_EMPTY || result.vt == VT_NULL || holdsObject ? S_OK : DISP_E_TYPEMISMATCH;
    }
    return result.punkVal->QueryInterface(&object);
}

/// Converts the result to the wanted type. `result` is cleared on failure.
HRESULT Convert(HRESULT status, _variant_t& result, VARTYPE type) {
    return FAILED(status) || result.vt == type ? status
                                               : ::VariantChangeType(&result, &result, VARIANT_ALPHABOOL, type);
}

template <class Interface>
HRESULT GetObjectProperty(IDispatch* object, Member& member, Interface& value) {
    _variant_t result;
    const HRESULT status = GetProperty(object, member, result);
    return TakeObject(status, result, value);
}

HRESULT GetTextProperty(IDispatch* object, Member& member, _bstr_t& text) {
    text = _bstr_t();
    _variant_t result;
    const HRESULT status = Convert(GetProperty(object, member, result), result, VT_BSTR);
    if (SUCCEEDED(status)) {
        text = _bstr_t(result.bstrVal, false); // on exhausted memory, `result` still owns the text
        result.Detach();
    }
    return status;
}

HRESULT TakeNumber(HRESULT status, _variant_t& result, long& number) {
    status = Convert(status, result, VT_I4);
    number = SUCCEEDED(status) ? result.lVal : 0;
    return status;
}

HRESULT GetNumberProperty(IDispatch* object, Member& member, long& number) {
    _variant_t result;
    const HRESULT status = GetProperty(object, member, result);
    return TakeNumber(status, result, number);
}

HRESULT GetDateProperty(IDispatch* object, Member& member, DATE& date) {
    _variant_t result;
    const HRESULT status = Convert(GetProperty(object, member, result), result, VT_DATE);
    date = SUCCEEDED(status) ? result.date : 0.0;
    return status;
}

HRESULT CallWithoutResult(IDispatch* object, Member& member, std::initializer_list<VARIANT> arguments = {}) {
    _variant_t ignored;
    return CallMethod(object, member, ignored, arguments);
}

} // namespace

HRESULT GetSession(_Application* application, _NameSpacePtr& session) {
    return GetObjectProperty(application, ApplicationMembers::session, session);
}

HRESULT GetVersion(_Application* application, _bstr_t& version) {
    return GetTextProperty(application, ApplicationMembers::version, version);
}

HRESULT ActiveExplorer(_Application* application, _ExplorerPtr& explorer) {
    _variant_t result;
    const HRESULT status = CallMethod(application, ApplicationMembers::activeExplorer, result);
    return TakeObject(status, result, explorer);
}

HRESULT GetExplorers(_Application* application, _ExplorersPtr& explorers) {
    return GetObjectProperty(application, ApplicationMembers::explorers, explorers);
}

HRESULT GetInspectors(_Application* application, _InspectorsPtr& inspectors) {
    return GetObjectProperty(application, ApplicationMembers::inspectors, inspectors);
}

HRESULT GetLanguageSettings(_Application* application, LanguageSettingsPtr& settings) {
    return GetObjectProperty(application, ApplicationMembers::languageSettings, settings);
}

HRESULT CreateItem(_Application* application, OlItemType type, IDispatchPtr& item) {
    _variant_t result;
    const HRESULT status = CallMethod(application, ApplicationMembers::createItem, result, {Number(type)});
    return TakeObject(status, result, item);
}

HRESULT GetLanguageID(LanguageSettings* settings, MsoAppLanguageID which, long& language) {
    _variant_t result;
    const HRESULT status = GetProperty(settings, LanguageMembers::languageId, result, {Number(which)});
    return TakeNumber(status, result, language);
}

HRESULT GetFolders(_NameSpace* session, _FoldersPtr& folders) {
    return GetObjectProperty(session, SessionMembers::folders, folders);
}

HRESULT GetItemFromID(_NameSpace* session, const _bstr_t& entryId, const _bstr_t& storeId, IDispatchPtr& item) {
    _variant_t result;
    const HRESULT status = CallMethod(session, SessionMembers::getItemFromId, result, {Text(entryId), Text(storeId)});
    return TakeObject(status, result, item);
}

HRESULT GetCount(_Folders* folders, long& count) {
    return GetNumberProperty(folders, FoldersMembers::count, count);
}

HRESULT GetItem(_Folders* folders, int index, MAPIFolderPtr& folder) {
    _variant_t result;
    const HRESULT status = CallMethod(folders, FoldersMembers::item, result, {Index(index)});
    return TakeObject(status, result, folder);
}

HRESULT GetStoreID(MAPIFolder* folder, _bstr_t& storeId) {
    return GetTextProperty(folder, FolderMembers::storeId, storeId);
}

HRESULT GetCurrentItem(_Inspector* inspector, IDispatchPtr& item) {
    return GetObjectProperty(inspector, InspectorMembers::currentItem, item);
}

HRESULT Close(_Inspector* inspector, OlInspectorClose mode) {
    return CallWithoutResult(inspector, InspectorMembers::close, {Number(mode)});
}

HRESULT GetSubject(_AppointmentItem* item, _bstr_t& subject) {
    return GetTextProperty(item, AppointmentMembers::subject, subject);
}

HRESULT GetLocation(_AppointmentItem* item, _bstr_t& location) {
    return GetTextProperty(item, AppointmentMembers::location, location);
}

HRESULT GetBody(_AppointmentItem* item, _bstr_t& body) {
    return GetTextProperty(item, AppointmentMembers::body, body);
}

HRESULT GetEntryID(_AppointmentItem* item, _bstr_t& entryId) {
    return GetTextProperty(item, AppointmentMembers::entryId, entryId);
}

HRESULT GetStartUTC(_AppointmentItem* item, DATE& start) {
    return GetDateProperty(item, AppointmentMembers::startUtc, start);
}

HRESULT GetEndUTC(_AppointmentItem* item, DATE& end) {
    return GetDateProperty(item, AppointmentMembers::endUtc, end);
}

HRESULT GetMeetingStatus(_AppointmentItem* item, long& status) {
    return GetNumberProperty(item, AppointmentMembers::meetingStatus, status);
}

HRESULT GetSaved(_AppointmentItem* item, bool& saved) {
    _variant_t result;
    const HRESULT status = Convert(GetProperty(item, AppointmentMembers::saved, result), result, VT_BOOL);
    saved = SUCCEEDED(status) && result.boolVal != VARIANT_FALSE;
    return status;
}

HRESULT GetFormDescription(_AppointmentItem* item, FormDescriptionPtr& form) {
    return GetObjectProperty(item, AppointmentMembers::formDescription, form);
}

HRESULT GetInspector(_AppointmentItem* item, _InspectorPtr& inspector) {
    return GetObjectProperty(item, AppointmentMembers::getInspector, inspector);
}

HRESULT PutSubject(_AppointmentItem* item, const _bstr_t& subject) {
    return PutProperty(item, AppointmentMembers::subject, Text(subject));
}

HRESULT PutLocation(_AppointmentItem* item, const _bstr_t& location) {
    return PutProperty(item, AppointmentMembers::location, Text(location));
}

HRESULT PutBody(_AppointmentItem* item, const _bstr_t& body) {
    return PutProperty(item, AppointmentMembers::body, Text(body));
}

HRESULT PutStartUTC(_AppointmentItem* item, DATE start) {
    return PutProperty(item, AppointmentMembers::startUtc, Date(start));
}

HRESULT PutEndUTC(_AppointmentItem* item, DATE end) {
    return PutProperty(item, AppointmentMembers::endUtc, Date(end));
}

HRESULT PutMeetingStatus(_AppointmentItem* item, OlMeetingStatus status) {
    return PutProperty(item, AppointmentMembers::meetingStatus, Number(status));
}

HRESULT Delete(_AppointmentItem* item) {
    return CallWithoutResult(item, AppointmentMembers::remove);
}

HRESULT Display(_AppointmentItem* item) {
    return CallWithoutResult(item, AppointmentMembers::display, {Omitted()});
}

HRESULT GetComment(FormDescription* form, _bstr_t& comment) {
    return GetTextProperty(form, FormMembers::comment, comment);
}

HRESULT PutComment(FormDescription* form, const _bstr_t& comment) {
    return PutProperty(form, FormMembers::comment, Text(comment));
}

HRESULT GetId(IRibbonControl* control, _bstr_t& id) {
    return GetTextProperty(control, ControlMembers::id, id);
}

HRESULT GetContext(IRibbonControl* control, IDispatchPtr& context) {
    return GetObjectProperty(control, ControlMembers::context, context);
}

HRESULT InvalidateControl(IRibbonUI* ribbon, const _bstr_t& controlId) {
    return CallWithoutResult(ribbon, RibbonMembers::invalidateControl, {Text(controlId)});
}

} // namespace Outlook
