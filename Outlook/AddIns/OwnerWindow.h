#pragma once

#include "Outlook/ObjectModel/ObjectModel.h"

class SinkTables;

/// The host's window above which a dialog or the client's window appears: the inspector of an appointment, or the
/// active explorer when there is no appointment. User-interface thread.
///
/// When the host is asked for the inspector of an appointment that has none, it creates one and announces it like any
/// other. The add-in would then follow an invisible window that never closes. The destructor therefore removes such an
/// inspector from the tables, unless it has become visible meanwhile.
class OwnerWindow {
public:
    OwnerWindow(SinkTables& sinks, Outlook::_Application* application, Outlook::_AppointmentItem* item);
    ~OwnerWindow();
    OwnerWindow(const OwnerWindow&) = delete;
    OwnerWindow& operator=(const OwnerWindow&) = delete;

    /// The window, or null when there is none or it has closed. It can close whenever messages are pumped.
    HWND Get() const noexcept { return ::IsWindow(window_) ? window_ : nullptr; }

private:
    SinkTables& sinks_;
    Outlook::_InspectorPtr unseen_; // an inspector that only this lookup may have created
    HWND window_ = nullptr;
};
