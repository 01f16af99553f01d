#include "workbench/soak/AddinLog.h"

namespace soak {

AddinLog::AddinLog(MessageFlow& commands, MessageFlow& notifications)
    : commands_(commands), notifications_(notifications) {}

void AddinLog::Read() {
    for (const gauges::AddinLogLine& line : tail_.Read()) {
        if (line.hasHead) {
            TakeEntry(line);
        } else if (collecting_) {
            command_ += line.text;
        }
    }
}

void AddinLog::TakeEntry(const gauges::AddinLogLine& line) {
    constexpr std::string_view kData = "Data: ";
    collecting_ = false;
    errors += line.level == "Err" ? 1 : 0;
    warnings += line.level == "War" ? 1 : 0;
    if (line.function == "Meeting::OnAction" && line.text.starts_with(kData)) {
        command_ = line.text.substr(kData.size());
        collecting_ = hasCommand_ = true;
        launched_ = false;
    } else if (line.function == "Meeting::OnAction" && line.text.starts_with("ShellExecute fail")) {
        launched_ = true; // no program owns the launch URI here, so that every launch leaves this line
    } else if (line.function == "AddIn::ActionTask" && line.text.starts_with("action result: ")) {
        TakeResult(line.text);
    } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Inf") {
        notifications_.Got(line.text);
    }
}

void AddinLog::TakeResult(std::string_view text) {
    constexpr std::string_view kClientStarting = "a0080001";
    if (!hasCommand_) {
        return;
    }
    hasCommand_ = false;
    if (launched_ || text.find(kClientStarting) != std::string_view::npos) {
        ++refused;
    } else {
        commands_.Sent(command_);
    }
}

} // namespace soak
