#pragma once

#include "channel/CMessageTask.h"

/// What all tasks of the process share. Private to the task's own sources.
struct CMessageTask::Shared {
    MC_Critical_Section instanceLock{true};
    std::shared_ptr<CMessageTask> instance; // under instanceLock
};
