#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/ControlIds.h"
#include "Outlook/AddIns/LogText.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/ModuleState.h"
#include "resources/resource.h"
#include "support/LogLine.h"
#include "support/Text.h"

#include <string_view>

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the whole class in the log

struct LabelRule {
    std::wstring_view controlId;
    UINT chineseId;
    UINT englishId;
};

constexpr LabelRule kLabelRules[] = {
    {ControlIds::kStartMail, IDS_START_ZH, IDS_START_EN},
    {ControlIds::kStartCalendar, IDS_START_ZH, IDS_START_EN},
    {ControlIds::kStartVideoMail, IDS_START_VIDEO_ZH, IDS_START_VIDEO_EN},
    {ControlIds::kStartVideoCalendar, IDS_START_VIDEO_ZH, IDS_START_VIDEO_EN},
    {ControlIds::kStartAudioMail, IDS_START_AUDIO_ZH, IDS_START_AUDIO_EN},
    {ControlIds::kStartAudioCalendar, IDS_START_AUDIO_ZH, IDS_START_AUDIO_EN},
    {ControlIds::kBookMail, IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN},
    {ControlIds::kBookCalendar, IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN},
    {ControlIds::kBookAppointment, IDS_SCHEDULE_ZH, IDS_SCHEDULE_EN},
    {ControlIds::kModifyAppointment, IDS_SETTINGS_ZH, IDS_SETTINGS_EN},
    {ControlIds::kCancelAppointment, IDS_CANCEL_ZH, IDS_CANCEL_EN},
};

/// The string id of a control's label in the language wanted, 0 for a control that has none.
UINT FindLabel(std::wstring_view controlId, bool chinese) {
    for (const LabelRule& rule : kLabelRules) {
        if (rule.controlId == controlId) {
            return chinese ? rule.chineseId : rule.englishId;
        }
    }
    if (controlId.starts_with(ControlIds::kGroupPrefix)) {
        return chinese ? IDS_GROUP_ZH : IDS_GROUP_EN;
    }
    return 0;
}

/// Gives the keyboard focus to the body editor of an appointment's window. A window that is missing on the way ends
/// in a null handle, which takes the focus from nobody else's window but this thread's.
void FocusBodyEditor(Outlook::_Inspector* inspector) {
    IOleWindowPtr oleWindow;
    if (inspector == nullptr || FAILED(inspector->QueryInterface(&oleWindow))) {
        return;
    }
    HWND window = nullptr;
    oleWindow->GetWindow(&window);
    for (const wchar_t* childClass : {L"AfxWndW", L"AfxWndW", L"#32770", L"AfxWndA", L"_WwB", L"_WwG"}) {
        // Without this test a missing parent would mean the desktop.
        window = window == nullptr ? nullptr : ::FindWindowExW(window, nullptr, childClass, nullptr);
    }
    ::SetFocus(window);
}

bool IsOneOf(std::wstring_view id, const wchar_t* first, const wchar_t* second) {
    return id == first || id == second;
}

} // namespace

HRESULT AddIn::OnLoad(IDispatch* ribbon) noexcept {
    return GuardComCall(kSource, L"AddIn::OnLoad", [&] {
        Outlook::IRibbonUIPtr fresh;
        if (ribbon != nullptr) {
            ribbon->QueryInterface(&fresh);
        }
        ribbonUI_ = fresh;
        return S_OK;
    });
}

HRESULT AddIn::GetCustomUI(BSTR ribbonId, BSTR* xml) noexcept {
    if (xml != nullptr) {
        *xml = nullptr;
    }
    return GuardComCall(kSource, L"AddIn::GetCustomUI", [&]() -> HRESULT {
        if (ribbonId == nullptr || xml == nullptr) {
            LogLine(kSource, L"AddIn::GetCustomUI").Error() << L"Invalid param.";
            return E_POINTER;
        }
        return CustomUI(ribbonId, *xml);
    });
}

HRESULT AddIn::CustomUI(BSTR ribbonId, BSTR& xml) {
    LogLine(kSource, L"AddIn::GetCustomUI").Info() << L"RibbonID: " << ribbonId;
    HRSRC found = GetRscByRibbonID(ribbonId);
    HGLOBAL loaded = found != nullptr ? ::LoadResource(ModuleState::module, found) : nullptr;
    if (loaded == nullptr) {
        // Deliberate: an id that is none of ours leaves no error behind and so answers S_OK without a text; Office then
        // shows nothing of this add-in on that ribbon.
        const DWORD error = ::GetLastError();
        LogLine(kSource, L"AddIn::GetCustomUI").Error() << L"LoadResource fail.";
        return HRESULT_FROM_WIN32(error);
    }
    const char* text = static_cast<const char*>(::LockResource(loaded));
    const std::wstring wide = ToWide(std::string_view(text, ::SizeofResource(ModuleState::module, found)));
    xml = ::SysAllocString(wide.c_str());
    return xml != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRSRC AddIn::GetRscByRibbonID(const std::wstring& ribbonId) {
    ::SetLastError(ERROR_SUCCESS); // so that an unknown id does not answer with an older call's error
    HRSRC found = nullptr;
    if (ribbonId == L"Microsoft.Outlook.Explorer") {
        found = ::FindResourceW(ModuleState::module, MAKEINTRESOURCEW(IDR_RIBBON_EXPLORER), L"XML");
    } else if (ribbonId == L"Microsoft.Outlook.Appointment") {
        found = ::FindResourceW(ModuleState::module, MAKEINTRESOURCEW(IDR_RIBBON_APPOINTMENT), L"XML");
    }
    if (found == nullptr) {
        const DWORD error = ::GetLastError();
        LogLine(kSource, L"AddIn::GetRscByRibbonID").Error() << L"Find resource of " << ribbonId << L" fail: " << error;
        ::SetLastError(error); // the caller answers with it, and logging may have changed it
    }
    return found;
}

std::wstring AddIn::GetControlId(IDispatch* control) {
    // Deliberate: an object that is no ribbon control ends the callback with E_POINTER, as any null object does.
    Outlook::IRibbonControlPtr ribbonControl;
    control->QueryInterface(&ribbonControl);
    _bstr_t id;
    const HRESULT status = Outlook::GetId(ribbonControl, id);
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::GetControlId").Error() << L"get_Id fail: 0x" << Hex(status);
        return {};
    }
    return id.length() != 0 ? std::wstring(id, id.length()) : std::wstring();
}

HRESULT AddIn::GetInspectorForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector) {
    constexpr const wchar_t* kMethod = L"AddIn::GetInspectorForRibbon";
    inspector = nullptr;
    Outlook::IRibbonControlPtr ribbonControl;
    HRESULT status = control->QueryInterface(&ribbonControl);
    if (FAILED(status)) {
        LogLine(kSource, kMethod).Error() << L"query interface fail: 0x" << Hex(status);
        return status;
    }
    IDispatchPtr context;
    status = Outlook::GetContext(ribbonControl, context);
    if (FAILED(status)) {
        LogLine(kSource, kMethod).Error() << L"get context fail: 0x" << Hex(status);
        return status;
    }
    if (!context) {
        return status;
    }
    // On the explorer's ribbon the context is an explorer, so this fails there by design.
    status = context->QueryInterface(&inspector);
    if (FAILED(status)) {
        LogLine(kSource, kMethod).Error() << L"query interface fail: 0x" << Hex(status);
    }
    return status;
}

/// @return true when the control stands in the window of an appointment; `inspector` may be set without.
bool AddIn::GetAppointItemForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector,
                                    Outlook::_AppointmentItemPtr& item) {
    if (FAILED(GetInspectorForRibbon(control, inspector)) || !inspector) {
        return false;
    }
    return SUCCEEDED(GetAppointItemForInspector(inspector, item)) && item;
}

HRESULT AddIn::GetLabel(IDispatch* control, BSTR* label) noexcept {
    if (label != nullptr) {
        *label = nullptr;
    }
    return GuardComCall(kSource, L"AddIn::GetLabel", [&]() -> HRESULT {
        if (control == nullptr || label == nullptr) {
            LogLine(kSource, L"AddIn::GetLabel").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        return Label(control, *label);
    });
}

HRESULT AddIn::Label(IDispatch* control, BSTR& label) {
    const std::wstring id = GetControlId(control);
    const UINT stringId = FindLabel(id, IsChinese());
    if (stringId == 0) {
        LogLine(kSource, L"AddIn::GetLabel").Warning() << L"Id of " << id << L" not found.";
        return E_NOTIMPL;
    }
    wchar_t text[256] = {};
    ::LoadStringW(ModuleState::module, stringId, text, ARRAYSIZE(text));
    label = ::SysAllocString(text);
    return label != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT AddIn::GetVisible(IDispatch* control, VARIANT_BOOL* visible) noexcept {
    return GuardComCall(kSource, L"AddIn::GetVisible", [&]() -> HRESULT {
        if (control == nullptr || visible == nullptr) {
            LogLine(kSource, L"AddIn::GetVisible").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        *visible = VARIANT_TRUE;
        return Visible(control, *visible);
    });
}

HRESULT AddIn::Visible(IDispatch* control, VARIANT_BOOL& visible) {
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    if (!GetAppointItemForRibbon(control, inspector, item)) {
        return S_OK;
    }
    MeetingInfo info;
    const bool isOurs = GetMeetingInfo(item, info) && info.isMeetingItem;
    const std::wstring id = GetControlId(control);
    const bool hidden = isOurs ? id == ControlIds::kBookAppointment
                               : IsOneOf(id, ControlIds::kCancelAppointment, ControlIds::kModifyAppointment);
    visible = hidden ? VARIANT_FALSE : VARIANT_TRUE;
    return S_OK;
}

HRESULT AddIn::GetEnable(IDispatch* control, VARIANT_BOOL* enable) noexcept {
    return GuardComCall(kSource, L"AddIn::GetEnable", [&]() -> HRESULT {
        if (control == nullptr || enable == nullptr) {
            LogLine(kSource, L"AddIn::GetEnable").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        *enable = VARIANT_TRUE;
        return Enabled(control, *enable);
    });
}

HRESULT AddIn::Enabled(IDispatch* control, VARIANT_BOOL& enable) {
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    if (!GetAppointItemForRibbon(control, inspector, item)) {
        return S_OK;
    }
    MeetingInfo info;
    if (!GetMeetingInfo(item, info)) {
        return S_FALSE; // Deliberate: success to Office, and tells a caller by v-table that there is no meeting.
    }
    if (info.meetingStatus == Outlook::olMeetingCanceled) {
        enable = VARIANT_FALSE;
    }
    return S_OK;
}

HRESULT AddIn::OnAction(IDispatch* control) noexcept {
    return GuardComCall(kSource, L"AddIn::OnAction", [&]() -> HRESULT {
        if (control == nullptr) {
            LogLine(kSource, L"AddIn::OnAction").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        if (eventHandler_ == nullptr) {
            LogLine(kSource, L"AddIn::OnAction").Warning() << L"Event handler not set.";
            return E_FAIL;
        }
        return Act(control);
    });
}

HRESULT AddIn::Act(IDispatch* control) {
    const std::wstring id = GetControlId(control);
    LogLine(kSource, L"AddIn::OnAction").Info() << L"Action item id: " << id;
    const ControlIds::ControlAction* action = ControlIds::FindAction(id);
    if (action == nullptr) {
        LogLine(kSource, L"AddIn::OnAction").Warning() << L"Unkown ribbon id: " << id;
        return E_NOTIMPL;
    }
    // On the explorer's ribbon, and after a failure here, both stay null and the task is posted all the same.
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    MeetingInfo info;
    if (GetAppointItemForRibbon(control, inspector, item)) {
        GetMeetingInfo(item, info);
    }
    if (id == ControlIds::kBookAppointment && item && info.confOutlookId.empty()) {
        SetAppointmentItemFlag(item, Marker::kFlag, true); // the add-in's own before the schedule runs
    }
    if (id == ControlIds::kCancelAppointment && item) {
        Outlook::Delete(item); // What follows is the item's before-delete event.
        return S_OK;
    }
    if (IsOneOf(id, ControlIds::kBookAppointment, ControlIds::kModifyAppointment)) {
        currentInspector_ = inspector;
        FocusBodyEditor(inspector); // The meeting's text is written at the caret there.
    }
    PostTask([this, type = action->type, item] { ActionTask(type, item); });
    return S_OK;
}
