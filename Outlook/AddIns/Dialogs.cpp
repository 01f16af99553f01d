#include "Outlook/AddIns/Dialogs.h"

#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/OwnerWindow.h"

namespace {

INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM /*lParam*/) noexcept {
    if (message == WM_INITDIALOG) {
        // Shared: the system keeps the icon for all dialogs and frees it.
        const HANDLE icon = ::LoadImageW(ModuleState::module, MAKEINTRESOURCEW(IDI_ADDIN), IMAGE_ICON,
                                         ::GetSystemMetrics(SM_CXSMICON), ::GetSystemMetrics(SM_CYSMICON), LR_SHARED);
        ::SendMessageW(dialog, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    } else if (message == WM_COMMAND && HIWORD(wParam) == 0) {
        ::EndDialog(dialog, LOWORD(wParam));
    }
    // Deliberate: FALSE for the two above as well. Nothing needs a message to be kept from the dialog manager. It then
    // sets no focus when it makes the dialog, but the dialog passes the focus of its activation on to its first button
    // that can be seen, or keeps it and takes the keys itself.
    return FALSE;
}

} // namespace

INT_PTR ShowDialog(const DialogTemplates& dialog, Language language, const OwnerWindow& owner) {
    // The owner is asked now: it may have closed since it was found, and a dialog of a closed owner would not appear.
    return ::DialogBoxParamW(ModuleState::module, MAKEINTRESOURCEW(dialog[language]), owner.Get(), &DialogProc, 0);
}
