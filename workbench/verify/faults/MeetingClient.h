#pragma once

#include <string_view>

/// The meeting client's end of the channel: its hidden window, here on a thread of this process. Once there it stays.
namespace verify::client {

/// Starts it, unless it is there.
void Start();
bool IsThere();

void ForgetCommands();
/// Whether a command with that text came since then; segments are looked at one by one.
bool Has(std::string_view text);

/// Whether the add-in's window is there.
bool HasServer();
/// Sends to it. @return false when there is none.
bool Notify(std::string_view json);

/// Sends the end of the last message in segments once more: one of which a segment was lost waits for it in the add-in,
/// by the rules of the channel.
void EndSegments();

} // namespace verify::client
