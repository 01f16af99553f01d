#pragma once

#include "support/UniqueResource.h"

#include <cstdint>

/// Unnamed manual-reset event, not signalled at first. When the platform refuses it, `Set` and `Reset` do nothing and
/// `Wait` answers false. Any thread.
class MC_Event {
public:
    MC_Event() noexcept;
    virtual ~MC_Event() = default;

    MC_Event(const MC_Event&) = delete;
    MC_Event& operator=(const MC_Event&) = delete;

    void Set() noexcept;
    void Reset() noexcept;

    /// @param milliseconds time-out; 0xFFFFFFFF waits without end.
    /// @return true when the event is signalled, false on time-out or failure.
    bool Wait(uint32_t milliseconds) const noexcept;

private:
    UniqueHandle event_;
};
