#pragma once

#include "workbench/host/OutlookHost.h"

#include <memory>

namespace interactive {

/// Ids of the main window's controls.
enum MainControl : int { kMail = 101, kCalendar, kNew, kOpen, kDelete, kAppointments };

/// Ids of the controls of an appointment's window.
enum EditorControl : int { kSubject = 201, kStart, kEnd, kSave, kSaveAndClose, kSend, kDeleteItem };

/// The user's controls of a main window: mail or calendar, and the saved appointments.
std::shared_ptr<workbench::WindowControls> MakeMainControls(workbench::OutlookHost& outlook,
                                                            workbench::Explorer& explorer);

/// The user's controls of an appointment's window. A change goes into the item at once; the item is stored by "Save".
std::shared_ptr<workbench::WindowControls> MakeEditorControls(workbench::Inspector& inspector);

/// Asks whether to save, as Outlook does when the window of a changed item is closed. @return kClosePrompt for
/// "Cancel".
workbench::OlInspectorClose AskClose(workbench::Inspector& inspector);

} // namespace interactive
