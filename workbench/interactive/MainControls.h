#pragma once

#include "workbench/host/OutlookHost.h"

#include <vector>

namespace interactive {

/// Ids of the main window's controls.
enum MainControl : int { kMail = 101, kCalendar, kNew, kOpen, kDelete, kAppointments };

/// The user's controls of a main window: mail or calendar, and the saved appointments.
class MainControls : public workbench::WindowControls {
public:
    MainControls(workbench::OutlookHost& outlook, workbench::Explorer& explorer);

    void OnSize(const RECT& client) override;
    void OnRepaint() override;
    void OnCommand(WORD control, WORD code) override;

private:
    HWND Control(int id) const { return ::GetDlgItem(explorer_.Window(), id); }
    workbench::ItemPtr Selected() const;

    workbench::OutlookHost& outlook_;
    workbench::Explorer& explorer_;
    std::vector<workbench::ItemPtr> listed_;
};

} // namespace interactive
