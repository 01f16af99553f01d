#pragma once

#include <windows.h>

namespace hostile {

/// Lets time pass faster for a module: its sleeps are shorter and its performance counter runs ahead. The channel of
/// the add-in reads one message in 20 ms, which would keep a run of a million busy for hours; nothing else of it
/// changes.
/// @return false when the module does not import what it takes.
bool QuickenClock(HMODULE module) noexcept;

} // namespace hostile
