#include "Outlook/ObjectModel/ObjectModel.h"

#include "Outlook/ObjectModel/Dispatch.h"

namespace Outlook {
namespace {

// Each interface has members of its own: the same name can have another id on another interface.
Member applicationSession{L"Session"}, applicationVersion{L"Version"}, applicationActiveExplorer{L"ActiveExplorer"},
    applicationExplorers{L"Explorers"}, applicationInspectors{L"Inspectors"},
    applicationLanguageSettings{L"LanguageSettings"}, applicationCreateItem{L"CreateItem"};
Member languageLanguageId{L"LanguageID"};
Member sessionFolders{L"Folders"}, sessionGetItemFromId{L"GetItemFromID"};
Member foldersCount{L"Count"}, foldersItem{L"Item"};
Member folderStoreId{L"StoreID"};
Member inspectorCurrentItem{L"CurrentItem"}, inspectorClose{L"Close"};
Member appointmentSubject{L"Subject"}, appointmentLocation{L"Location"}, appointmentBody{L"Body"},
    appointmentEntryId{L"EntryID"}, appointmentStartUtc{L"StartUTC"}, appointmentEndUtc{L"EndUTC"},
    appointmentMeetingStatus{L"MeetingStatus"}, appointmentSaved{L"Saved"},
    appointmentFormDescription{L"FormDescription"}, appointmentGetInspector{L"GetInspector"},
    appointmentRemove{L"Delete"}, appointmentDisplay{L"Display"};
Member formComment{L"Comment"};
Member ribbonControlId{L"Id"}, ribbonControlContext{L"Context"};
Member ribbonInvalidateControl{L"InvalidateControl"};

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

template <class Interface>
HRESULT CallForObject(IDispatch* object, Member& member, Interface& value,
                      std::initializer_list<VARIANT> arguments = {}) {
    _variant_t result;
    const HRESULT status = CallMethod(object, member, result, arguments);
    return TakeObject(status, result, value);
}

HRESULT CallWithoutResult(IDispatch* object, Member& member, std::initializer_list<VARIANT> arguments = {}) {
    _variant_t ignored;
    return CallMethod(object, member, ignored, arguments);
}

} // namespace

HRESULT GetSession(_Application* application, _NameSpacePtr& session) {
    return GetObjectProperty(application, applicationSession, session);
}

HRESULT GetVersion(_Application* application, _bstr_t& version) {
    return GetTextProperty(application, applicationVersion, version);
}

HRESULT ActiveExplorer(_Application* application, _ExplorerPtr& explorer) {
    return CallForObject(application, applicationActiveExplorer, explorer);
}

HRESULT GetExplorers(_Application* application, _ExplorersPtr& explorers) {
    return GetObjectProperty(application, applicationExplorers, explorers);
}

HRESULT GetInspectors(_Application* application, _InspectorsPtr& inspectors) {
    return GetObjectProperty(application, applicationInspectors, inspectors);
}

HRESULT GetLanguageSettings(_Application* application, LanguageSettingsPtr& settings) {
    return GetObjectProperty(application, applicationLanguageSettings, settings);
}

HRESULT CreateItem(_Application* application, OlItemType type, IDispatchPtr& item) {
    return CallForObject(application, applicationCreateItem, item, {Number(type)});
}

HRESULT GetLanguageID(LanguageSettings* settings, MsoAppLanguageID which, long& language) {
    _variant_t result;
    const HRESULT status = GetProperty(settings, languageLanguageId, result, {Number(which)});
    return TakeNumber(status, result, language);
}

HRESULT GetFolders(_NameSpace* session, _FoldersPtr& folders) {
    return GetObjectProperty(session, sessionFolders, folders);
}

HRESULT GetItemFromID(_NameSpace* session, const _bstr_t& entryId, const _bstr_t& storeId, IDispatchPtr& item) {
    return CallForObject(session, sessionGetItemFromId, item, {Text(entryId), Text(storeId)});
}

HRESULT GetCount(_Folders* folders, long& count) {
    return GetNumberProperty(folders, foldersCount, count);
}

HRESULT GetItem(_Folders* folders, int index, MAPIFolderPtr& folder) {
    return CallForObject(folders, foldersItem, folder, {Index(index)});
}

HRESULT GetStoreID(MAPIFolder* folder, _bstr_t& storeId) {
    return GetTextProperty(folder, folderStoreId, storeId);
}

HRESULT GetCurrentItem(_Inspector* inspector, IDispatchPtr& item) {
    return GetObjectProperty(inspector, inspectorCurrentItem, item);
}

HRESULT Close(_Inspector* inspector, OlInspectorClose mode) {
    return CallWithoutResult(inspector, inspectorClose, {Number(mode)});
}

HRESULT GetSubject(_AppointmentItem* item, _bstr_t& subject) {
    return GetTextProperty(item, appointmentSubject, subject);
}

HRESULT GetLocation(_AppointmentItem* item, _bstr_t& location) {
    return GetTextProperty(item, appointmentLocation, location);
}

HRESULT GetBody(_AppointmentItem* item, _bstr_t& body) {
    return GetTextProperty(item, appointmentBody, body);
}

HRESULT GetEntryID(_AppointmentItem* item, _bstr_t& entryId) {
    return GetTextProperty(item, appointmentEntryId, entryId);
}

HRESULT GetStartUTC(_AppointmentItem* item, DATE& start) {
    return GetDateProperty(item, appointmentStartUtc, start);
}

HRESULT GetEndUTC(_AppointmentItem* item, DATE& end) {
    return GetDateProperty(item, appointmentEndUtc, end);
}

HRESULT GetMeetingStatus(_AppointmentItem* item, long& status) {
    return GetNumberProperty(item, appointmentMeetingStatus, status);
}

HRESULT GetSaved(_AppointmentItem* item, bool& saved) {
    _variant_t result;
    const HRESULT status = Convert(GetProperty(item, appointmentSaved, result), result, VT_BOOL);
    saved = SUCCEEDED(status) && result.boolVal != VARIANT_FALSE;
    return status;
}

HRESULT GetFormDescription(_AppointmentItem* item, FormDescriptionPtr& form) {
    return GetObjectProperty(item, appointmentFormDescription, form);
}

HRESULT GetInspector(_AppointmentItem* item, _InspectorPtr& inspector) {
    return GetObjectProperty(item, appointmentGetInspector, inspector);
}

HRESULT PutSubject(_AppointmentItem* item, const _bstr_t& subject) {
    return PutProperty(item, appointmentSubject, Text(subject));
}

HRESULT PutLocation(_AppointmentItem* item, const _bstr_t& location) {
    return PutProperty(item, appointmentLocation, Text(location));
}

HRESULT PutBody(_AppointmentItem* item, const _bstr_t& body) {
    return PutProperty(item, appointmentBody, Text(body));
}

HRESULT PutStartUTC(_AppointmentItem* item, DATE start) {
    return PutProperty(item, appointmentStartUtc, Date(start));
}

HRESULT PutEndUTC(_AppointmentItem* item, DATE end) {
    return PutProperty(item, appointmentEndUtc, Date(end));
}

HRESULT PutMeetingStatus(_AppointmentItem* item, OlMeetingStatus status) {
    return PutProperty(item, appointmentMeetingStatus, Number(status));
}

HRESULT Delete(_AppointmentItem* item) {
    return CallWithoutResult(item, appointmentRemove);
}

HRESULT Display(_AppointmentItem* item) {
    return CallWithoutResult(item, appointmentDisplay, {Omitted()});
}

HRESULT GetComment(FormDescription* form, _bstr_t& comment) {
    return GetTextProperty(form, formComment, comment);
}

HRESULT PutComment(FormDescription* form, const _bstr_t& comment) {
    return PutProperty(form, formComment, Text(comment));
}

HRESULT GetId(IRibbonControl* control, _bstr_t& id) {
    return GetTextProperty(control, ribbonControlId, id);
}

HRESULT GetContext(IRibbonControl* control, IDispatchPtr& context) {
    return GetObjectProperty(control, ribbonControlContext, context);
}

HRESULT InvalidateControl(IRibbonUI* ribbon, const _bstr_t& controlId) {
    return CallWithoutResult(ribbon, ribbonInvalidateControl, {Text(controlId)});
}

} // namespace Outlook
