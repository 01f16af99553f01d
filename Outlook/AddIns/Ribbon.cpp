#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/Appointments.h"
#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/RibbonControls.h"
#include "Outlook/AddIns/RibbonImage.h"
#include "support/LogLine.h"
#include "support/Text.h"

#include <string_view>

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the add-in object in the log

/// Gives the keyboard focus to the body editor of an appointment's window. When a window on the way is missing, the
/// handle is null. `SetFocus` then removes the focus, but only from windows of this thread.
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

HRESULT ReadCustomUI(BSTR ribbonId, BSTR& xml) {
    LogLine(kSource, L"AddIn::GetCustomUI").Info() << L"RibbonID: " << ribbonId;
    HRSRC found = GetRscByRibbonID(ribbonId);
    HGLOBAL loaded = found != nullptr ? ::LoadResource(ModuleState::module, found) : nullptr;
    if (loaded == nullptr) {
        // Deliberate: an unknown id sets no error, so the result is S_OK without a text. Office then shows nothing of
        // this add-in on that ribbon.
        const DWORD error = ::GetLastError();
        LogLine(kSource, L"AddIn::GetCustomUI").Error() << L"LoadResource fail.";
        return HRESULT_FROM_WIN32(error);
    }
    const char* text = static_cast<const char*>(::LockResource(loaded));
    const std::wstring wide = ToWide(std::string_view(text, ::SizeofResource(ModuleState::module, found)));
    xml = ::SysAllocString(wide.c_str());
    return xml != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT AskVisible(IDispatch* control, VARIANT_BOOL& visible) {
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    if (!GetAppointItemForRibbon(control, inspector, item)) {
        return S_OK;
    }
    MeetingInfo info;
    const bool isOurs = GetMeetingInfo(item, info) == IsMeeting::Yes && info.isMeetingItem;
    const RibbonControl* const row = FindControl(GetControlId(control));
    const Shown shown = row != nullptr ? row->shown : Shown::Always;
    visible = shown == (isOurs ? Shown::UnlessOurs : Shown::IfOurs) ? VARIANT_FALSE : VARIANT_TRUE;
    return S_OK;
}

HRESULT AskEnabled(IDispatch* control, VARIANT_BOOL& enable) {
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    if (!GetAppointItemForRibbon(control, inspector, item)) {
        return S_OK;
    }
    MeetingInfo info;
    if (GetMeetingInfo(item, info) == IsMeeting::No) {
        return S_FALSE; // Deliberate: a success for Office. A caller by v-table learns that there is no meeting.
    }
    if (info.meetingStatus == Outlook::olMeetingCanceled) {
        enable = VARIANT_FALSE;
    }
    return S_OK;
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
        return ReadCustomUI(ribbonId, *xml);
    });
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
    const UINT stringId = FindLabel(id, LanguageOf(languageId_));
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
        return AskVisible(control, *visible);
    });
}

HRESULT AddIn::GetEnable(IDispatch* control, VARIANT_BOOL* enable) noexcept {
    return GuardComCall(kSource, L"AddIn::GetEnable", [&]() -> HRESULT {
        if (control == nullptr || enable == nullptr) {
            LogLine(kSource, L"AddIn::GetEnable").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        *enable = VARIANT_TRUE;
        return AskEnabled(control, *enable);
    });
}

HRESULT AddIn::OnLoadImage(BSTR imageName, IPictureDisp** image) noexcept {
    if (image != nullptr) {
        *image = nullptr;
    }
    return GuardComCall(kSource, L"AddIn::OnLoadImage", [&]() -> HRESULT {
        if (imageName == nullptr) {
            LogLine(kSource, L"AddIn::OnLoadImage").Error() << L"Invalid arg.";
            return E_INVALIDARG;
        }
        if (image == nullptr) {
            LogLine(kSource, L"AddIn::OnLoadImage").Error() << L"Invalid pointer.";
            return E_POINTER;
        }
        return LoadRibbonImage(imageName, image);
    });
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
        return PressControl(control);
    });
}

HRESULT AddIn::PressControl(IDispatch* control) {
    const std::wstring id = GetControlId(control);
    LogLine(kSource, L"AddIn::OnAction").Info() << L"Action item id: " << id;
    const RibbonControl* const pressed = FindControl(id);
    if (pressed == nullptr) {
        LogLine(kSource, L"AddIn::OnAction").Warning() << L"Unkown ribbon id: " << id;
        return E_NOTIMPL;
    }
    // On the explorer's ribbon, and after a failure here, both stay null. The task is posted in every case.
    Outlook::_InspectorPtr inspector;
    Outlook::_AppointmentItemPtr item;
    MeetingInfo info;
    if (GetAppointItemForRibbon(control, inspector, item)) {
        GetMeetingInfo(item, info);
    }
    if (pressed->press == Press::SendsScheduling && item && info.confOutlookId.empty()) {
        SetAppointmentItemFlag(item, Marker::kFlag, true); // the appointment is ours before the action runs
    }
    if (pressed->press == Press::Deletes && item) {
        Outlook::Delete(item); // The host then raises the item's before-delete event.
        return S_OK;
    }
    if (pressed->press == Press::SendsScheduling || pressed->press == Press::SendsChange) {
        currentInspector_ = inspector;
        FocusBodyEditor(inspector); // The meeting's text is written at the caret of this editor.
    }
    taskWindow_.Post([this, type = pressed->action, item] { ActionTask(type, item); });
    return S_OK;
}
