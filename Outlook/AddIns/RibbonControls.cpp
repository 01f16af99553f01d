#include "Outlook/AddIns/RibbonControls.h"

#include "Outlook/AddIns/Appointments.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "support/LogLine.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the add-in object in the log

constexpr std::wstring_view kGroupPrefix = L"GroupNembra";
constexpr PerLanguage<unsigned> kGroupLabel{IDS_GROUP_ZH, IDS_GROUP_EN};

} // namespace

const RibbonControl* FindControl(std::wstring_view id) {
    const auto* found = std::find_if(std::begin(kRibbonControls), std::end(kRibbonControls),
                                     [id](const RibbonControl& control) { return control.id == id; });
    return found != std::end(kRibbonControls) ? found : nullptr;
}

unsigned FindLabel(std::wstring_view id, Language language) {
    if (const RibbonControl* control = FindControl(id)) {
        return control->label[language];
    }
    return id.starts_with(kGroupPrefix) ? kGroupLabel[language] : 0;
}

HRSRC GetRscByRibbonID(const std::wstring& ribbonId) {
    ::SetLastError(ERROR_SUCCESS); // so that an unknown id does not return the error of an older call
    HRSRC found = nullptr;
    if (ribbonId == L"Microsoft.Outlook.Explorer") {
        found = ::FindResourceW(ModuleState::module, MAKEINTRESOURCEW(IDR_RIBBON_EXPLORER), L"XML");
    } else if (ribbonId == L"Microsoft.Outlook.Appointment") {
        found = ::FindResourceW(ModuleState::module, MAKEINTRESOURCEW(IDR_RIBBON_APPOINTMENT), L"XML");
    }
    if (found == nullptr) {
        const DWORD error = ::GetLastError();
        LogLine(kSource, L"AddIn::GetRscByRibbonID").Error() << L"Find resource of " << ribbonId << L" fail: " << error;
        ::SetLastError(error); // the caller returns it, and logging may have changed it
    }
    return found;
}

std::wstring GetControlId(IDispatch* control) {
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

HRESULT GetInspectorForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector) {
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

bool GetAppointItemForRibbon(IDispatch* control, Outlook::_InspectorPtr& inspector,
                             Outlook::_AppointmentItemPtr& item) {
    if (FAILED(GetInspectorForRibbon(control, inspector)) || !inspector) {
        return false;
    }
    return SUCCEEDED(GetAppointItemForInspector(inspector, item)) && item;
}
