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
    // Deliberate: FALSE for the two messages above as well. After FALSE for WM_INITDIALOG the dialog manager sets no
    // focus. At its activation the dialog gives the focus to its first visible button. Without one it keeps the focus
    // and receives the keys itself.
    return FALSE;
}

} // namespace

INT_PTR ShowDialog(const DialogTemplates& dialog, Language language, const OwnerWindow& owner) {
    // The owner's window is read now: it may have closed since it was found, and a dialog of a closed owner would not
    // appear.
    return ::DialogBoxParamW(ModuleState::module, MAKEINTRESOURCEW(dialog[language]), owner.Get(), &DialogProc, 0);
}
