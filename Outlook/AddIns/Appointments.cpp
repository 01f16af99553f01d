#include "Outlook/AddIns/Appointments.h"

#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/Marker.h"
#include "support/LogLine.h"
#include "support/OleTime.h"
#include "support/Text.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the add-in object in the log

std::wstring_view View(const _bstr_t& text) {
    return text.length() != 0 ? std::wstring_view(text, text.length()) : std::wstring_view();
}

_bstr_t MakeBstr(const std::wstring& text) {
    _bstr_t made;
    BSTR& place = made.GetBSTR(); // both steps may find no memory; the second must not lose the text of the first
    place = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (place == nullptr) {
        throw _com_error(E_OUTOFMEMORY);
    }
    return made;
}

} // namespace

bool GetAppointmentItemComment(Outlook::_AppointmentItem* item, Json::Value& json) {
    json = Json::Value();
    Outlook::FormDescriptionPtr form;
    if (FAILED(Outlook::GetFormDescription(item, form)) || !form) {
        return false;
    }
    _bstr_t comment;
    if (FAILED(Outlook::GetComment(form, comment)) || comment.length() == 0) {
        return false;
    }
    std::string error;
    if (!Marker::Parse(ToUtf8(View(comment)), json, error)) {
        LogLine(kSource, L"AddIn::GetAppointmentItemComment").Info() << L"Not Nembrameeting item. " << error;
        return false;
    }
    return true;
}

void SetAppointmentItemComment(Outlook::_AppointmentItem* item, const Json::Value& json) {
    Outlook::FormDescriptionPtr form;
    if (FAILED(Outlook::GetFormDescription(item, form)) || !form) {
        return;
    }
    Outlook::PutComment(form, MakeBstr(ToWide(Marker::Write(json))));
}

void SetAppointmentItemFlag(Outlook::_AppointmentItem* item, const char* key, bool value) {
    Json::Value json;
    GetAppointmentItemComment(item, json); // A missing or unreadable comment starts a new object.
    json[key] = value;
    SetAppointmentItemComment(item, json);
}

void SetAppointmentItemString(Outlook::_AppointmentItem* item, const char* key, const std::wstring& text) {
    Json::Value json;
    GetAppointmentItemComment(item, json);
    json[key] = ToUtf8(text);
    SetAppointmentItemComment(item, json);
}

bool IsNewItem(Outlook::_AppointmentItem* item) {
    Json::Value json;
    GetAppointmentItemComment(item, json);
    return Marker::IsNewItem(json, false);
}

IsMeeting GetMeetingInfo(Outlook::_AppointmentItem* item, MeetingInfo& info) {
    constexpr const wchar_t* kMethod = L"AddIn::GetMeetingInfo";
    MeetingInfo snapshot;
    long meetingStatus = 0;
    HRESULT status = Outlook::GetMeetingStatus(item, meetingStatus);
    if (FAILED(status)) {
        LogLine(kSource, kMethod).Error() << L"get_MeetingStatus fail: 0x" << Hex(status);
        return IsMeeting::No;
    }
    LogLine(kSource, kMethod).Info() << L"get_MeetingStatus " << meetingStatus;
    snapshot.meetingStatus = meetingStatus;
    snapshot.isOutlookMeeting = meetingStatus == Outlook::olMeeting;

    // A text that cannot be read stays empty.
    _bstr_t text;
    Outlook::GetSubject(item, text);
    snapshot.subject = View(text);
    Outlook::GetLocation(item, text);
    snapshot.location = View(text);
    Outlook::GetBody(item, text);
    snapshot.body = View(text);

    DATE date = 0;
    if (FAILED(Outlook::GetStartUTC(item, date))) {
        return IsMeeting::No;
    }
    snapshot.startTime = UnixSecondsFromOleDate(date);

    Json::Value marker;
    GetAppointmentItemComment(item, marker);
    snapshot.isMeetingItem = Marker::HasFlag(marker);
    snapshot.confId = ToWide(Marker::ConfId(marker));
    snapshot.isNewItem = Marker::IsNewItem(marker, snapshot.isNewItem);

    status = Outlook::GetEndUTC(item, date);
    if (FAILED(status)) {
        LogLine(kSource, kMethod).Error() << L"get_EndUTC fail 0x" << Hex(status);
        return IsMeeting::No;
    }
    snapshot.endTime = UnixSecondsFromOleDate(date);

    const bool hasEntryId = SUCCEEDED(Outlook::GetEntryID(item, text));
    snapshot.confOutlookId = View(text);
    info = std::move(snapshot);
    return hasEntryId && (info.isOutlookMeeting || info.isMeetingItem) ? IsMeeting::Yes : IsMeeting::No;
}

HRESULT GetAppointItemForInspector(Outlook::_Inspector* inspector, Outlook::_AppointmentItemPtr& item) {
    item = nullptr;
    IDispatchPtr current;
    const HRESULT status = Outlook::GetCurrentItem(inspector, current);
    if (FAILED(status) || !current) {
        LogLine(kSource, L"AddIn::GetAppointItemForInspector").Error() << L"get current item fail: 0x" << Hex(status);
        return status;
    }
    return current->QueryInterface(&item);
}

HRESULT GetAppointItemOfEvent(const wchar_t* method, Outlook::_Inspector* inspector,
                              Outlook::_AppointmentItemPtr& item) {
    IDispatchPtr current;
    const HRESULT status = Outlook::GetCurrentItem(inspector, current);
    if (FAILED(status)) {
        LogLine(kSource, method).Warning() << L"get cureent item fail: 0x" << Hex(status);
        return status;
    }
    // Deliberate: a window without an item is not ours, and this is no error.
    if (!current || FAILED(current->QueryInterface(&item))) {
        LogLine(kSource, method).Info() << L"Not appointment item.";
        return E_NOINTERFACE;
    }
    return S_OK;
}

HRESULT GetAppointItemFromEntryId(Outlook::_Application* application, const std::wstring& entryId,
                                  Outlook::_AppointmentItemPtr& item) {
    constexpr const wchar_t* kMethod = L"AddIn::GetAppointItemFromEntryId";
    item = nullptr;
    Outlook::_NameSpacePtr session;
    HRESULT status = Outlook::GetSession(application, session);
    if (FAILED(status) || !session) {
        LogLine(kSource, kMethod).Error() << L"get session fail: 0x" << Hex(status);
        return status;
    }
    Outlook::_FoldersPtr folders;
    status = Outlook::GetFolders(session, folders);
    if (FAILED(status) || !folders) {
        // Deliberate: the same text as for an inspector's item; the method's name tells them apart.
        LogLine(kSource, kMethod).Error() << L"get current item fail: 0x" << Hex(status);
        return status;
    }
    long count = 0;
    Outlook::GetCount(folders, count);
    const _bstr_t id = MakeBstr(entryId);
    for (int index = 1; index <= count; ++index) {
        // Deliberate: a store without a folder is skipped, as one that fails. Another store may know the item.
        Outlook::MAPIFolderPtr folder;
        _bstr_t storeId;
        if (FAILED(Outlook::GetItem(folders, index, folder)) || !folder ||
            FAILED(Outlook::GetStoreID(folder, storeId)) || storeId.length() == 0) {
            continue;
        }
        IDispatchPtr found;
        if (SUCCEEDED(Outlook::GetItemFromID(session, id, storeId, found)) && found) {
            return found->QueryInterface(&item);
        }
    }
    LogLine(kSource, kMethod).Error() << L"not found.";
    return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
}

HRESULT CreateMeetingItem(Outlook::_Application* application, Outlook::_AppointmentItemPtr& item) {
    item = nullptr;
    IDispatchPtr created;
    HRESULT status = Outlook::CreateItem(application, Outlook::olAppointmentItem, created);
    if (SUCCEEDED(status)) {
        // Deliberate: a success without an item is logged and returned as a failure.
        status = created ? created->QueryInterface(&item) : E_POINTER;
    }
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::CreateMeetingItem").Error() << L"create item fail: 0x" << Hex(status);
    }
    return status;
}

void PutMeeting(Outlook::_AppointmentItem* item, const NotifyData& data) {
    Outlook::PutSubject(item, MakeBstr(data.subject));
    Outlook::PutLocation(item, MakeBstr(data.url));
    Outlook::PutStartUTC(item, OleDateFromUnixSeconds(data.startTime));
    Outlook::PutEndUTC(item, OleDateFromUnixSeconds(data.endTime));
    Outlook::PutBody(item, MakeBstr(data.contents));
}
