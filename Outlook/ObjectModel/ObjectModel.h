#pragma once

#include "Outlook/ObjectModel/Interfaces.h"

/// The members of the host's object model that the add-in uses, one function each. A function returns the host's own
/// status. Its output is empty (null, zero) unless the call succeeds. A successful call may still return a null object.
/// A call on a null object raises E_POINTER as a COM error. User-interface thread only: a host call can pump messages,
/// so hold references of your own and read state again afterwards.
namespace Outlook {

enum OlItemType : long { olAppointmentItem = 1 };
enum OlInspectorClose : long { olSave = 0, olDiscard = 1, olPromptForSave = 2 };
enum OlMeetingStatus : long {
    olNonMeeting = 0,
    olMeeting = 1,
    olMeetingReceived = 3,
    olMeetingCanceled = 5,
    olMeetingReceivedAndCanceled = 7
};
enum MsoAppLanguageID : long { msoLanguageIDUI = 2 };

HRESULT GetSession(_Application* application, _NameSpacePtr& session);
HRESULT GetVersion(_Application* application, _bstr_t& version);
HRESULT ActiveExplorer(_Application* application, _ExplorerPtr& explorer);
HRESULT GetExplorers(_Application* application, _ExplorersPtr& explorers);
HRESULT GetInspectors(_Application* application, _InspectorsPtr& inspectors);
HRESULT GetLanguageSettings(_Application* application, LanguageSettingsPtr& settings);
HRESULT CreateItem(_Application* application, OlItemType type, IDispatchPtr& item);

HRESULT GetLanguageID(LanguageSettings* settings, MsoAppLanguageID which, long& language);

HRESULT GetFolders(_NameSpace* session, _FoldersPtr& folders);
HRESULT GetItemFromID(_NameSpace* session, const _bstr_t& entryId, const _bstr_t& storeId, IDispatchPtr& item);
HRESULT GetCount(_Folders* folders, long& count);
/// The index is passed as VT_INT.
HRESULT GetItem(_Folders* folders, int index, MAPIFolderPtr& folder);
HRESULT GetStoreID(MAPIFolder* folder, _bstr_t& storeId);

HRESULT GetCurrentItem(_Inspector* inspector, IDispatchPtr& item);
HRESULT Close(_Inspector* inspector, OlInspectorClose mode);

HRESULT GetSubject(_AppointmentItem* item, _bstr_t& subject);
HRESULT GetLocation(_AppointmentItem* item, _bstr_t& location);
HRESULT GetBody(_AppointmentItem* item, _bstr_t& body);
HRESULT GetEntryID(_AppointmentItem* item, _bstr_t& entryId);
HRESULT GetStartUTC(_AppointmentItem* item, DATE& start);
HRESULT GetEndUTC(_AppointmentItem* item, DATE& end);
HRESULT GetMeetingStatus(_AppointmentItem* item, long& status);
HRESULT GetSaved(_AppointmentItem* item, bool& saved);
HRESULT GetFormDescription(_AppointmentItem* item, FormDescriptionPtr& form);
HRESULT GetInspector(_AppointmentItem* item, _InspectorPtr& inspector);
HRESULT PutSubject(_AppointmentItem* item, const _bstr_t& subject);
HRESULT PutLocation(_AppointmentItem* item, const _bstr_t& location);
HRESULT PutBody(_AppointmentItem* item, const _bstr_t& body);
HRESULT PutStartUTC(_AppointmentItem* item, DATE start);
HRESULT PutEndUTC(_AppointmentItem* item, DATE end);
HRESULT PutMeetingStatus(_AppointmentItem* item, OlMeetingStatus status);
HRESULT Delete(_AppointmentItem* item);
/// Shows the item in a window of its own that is not modal.
HRESULT Display(_AppointmentItem* item);

HRESULT GetComment(FormDescription* form, _bstr_t& comment);
HRESULT PutComment(FormDescription* form, const _bstr_t& comment);

HRESULT GetId(IRibbonControl* control, _bstr_t& id);
HRESULT GetContext(IRibbonControl* control, IDispatchPtr& context);
HRESULT InvalidateControl(IRibbonUI* ribbon, const _bstr_t& controlId);

} // namespace Outlook
