#pragma once

#include "channel/CMessageTask.h"

/// What all tasks of the process share. Private to the task's own sources.
struct CMessageTask::Shared {
    MC_Critical_Section instanceLock{true};
    std::shared_ptr<CMessageTask> instance; // under instanceLock
    // Held over "register the class, create the window" and over "take the class away", so that an ending window
    // thread never removes the class between these two steps of its successor.
    MC_Critical_Section classLock{true};
};
