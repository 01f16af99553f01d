#pragma once

#include "workbench/host/ComHeaders.h"

namespace workbench {

class OutlookHost;

/// While it lives, other processes get this host's application by the class of "Outlook.Application". Host thread;
/// their calls run there, whenever it handles messages.
class ApplicationClass {
public:
    /// @throws _com_error when the class cannot be registered.
    explicit ApplicationClass(OutlookHost& host);
    ~ApplicationClass();
    ApplicationClass(const ApplicationClass&) = delete;
    ApplicationClass& operator=(const ApplicationClass&) = delete;

private:
    DWORD cookie_ = 0;
};

} // namespace workbench
