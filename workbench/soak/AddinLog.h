#pragma once

#include "workbench/soak/MessageFlow.h"

#include "workbench/gauges/AddinLogTail.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace soak {

/// Follows the add-in's own log: which commands the channel accepted, and which notifications came out of it.
class AddinLog {
public:
    AddinLog(MessageFlow& commands, MessageFlow& notifications);

    void Read();

    std::size_t refused = 0; // commands that found no client
    std::size_t errors = 0;  // lines of that level
    std::size_t warnings = 0;

private:
    void TakeEntry(const gauges::AddinLogLine& line);
    void TakeResult(std::string_view text);

    MessageFlow& commands_;
    MessageFlow& notifications_;
    gauges::AddinLogTail tail_;
    std::string command_; // written on several lines
    bool collecting_ = false;
    bool hasCommand_ = false;
    bool launched_ = false; // the command found no client, and the add-in tried to start it
};

} // namespace soak
