#pragma once

#include "Outlook/ObjectModel/ObjectModel.h"

class SinkTables;

/// The host's window that a dialog or the client's window belongs to: the inspector's in which an appointment stands,
/// or the active explorer's when there is no appointment. User-interface thread.
///
/// The host makes an inspector for an appointment that stands in none as soon as it is asked for it, and announces it
/// like any other. The add-in then follows a window that nobody sees and that never closes. So the destructor lets the
/// tables forget an inspector that came in this way, unless it has become visible meanwhile.
class OwnerWindow {
public:
    OwnerWindow(SinkTables& sinks, Outlook::_Application* application, Outlook::_AppointmentItem* item);
    ~OwnerWindow();
    OwnerWindow(const OwnerWindow&) = delete;
    OwnerWindow& operator=(const OwnerWindow&) = delete;

    /// The window, or null when there is none (any more). It can close whenever messages are pumped.
    HWND Get() const noexcept { return ::IsWindow(window_) ? window_ : nullptr; }

private:
    SinkTables& sinks_;
    Outlook::_InspectorPtr unseen_; // an inspector that this lookup alone may have brought up
    HWND window_ = nullptr;
};
