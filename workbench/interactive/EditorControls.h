#pragma once

#include "workbench/host/OutlookHost.h"

namespace interactive {

/// Ids of the controls of an appointment's window.
enum EditorControl : int { kSubject = 201, kStart, kEnd, kSave, kSaveAndClose, kSend, kDeleteItem };

/// The user's controls of an appointment's window. A change goes into the item at once; the item is stored by "Save".
class EditorControls : public workbench::WindowControls {
public:
    explicit EditorControls(workbench::Inspector& inspector);

    void OnSize(const RECT& client) override;
    void OnRepaint() override;
    void OnCommand(WORD control, WORD code) override;

private:
    HWND Control(int id) const { return ::GetDlgItem(inspector_.Window(), id); }
    void TakeOver(WORD control);
    void TakeOverTime(WORD control);

    workbench::Inspector& inspector_;
    int typing_ = 0;       // the control whose text the user changes now: it is not written
    bool showing_ = false; // true while this class writes the texts itself
};

/// Asks whether to save, as Outlook does when the window of a changed item is closed. @return kClosePrompt for
/// "Cancel".
workbench::OlInspectorClose AskClose(workbench::Inspector& inspector);

} // namespace interactive
