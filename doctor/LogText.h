#pragma once

#include "doctor/Machine.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace doctor {

/// First line of an entry of the add-in's log. Texts are UTF-8.
struct LogEntry {
    std::string time; ///< local, "2022-09-01 10:06:20.123"
    std::uint32_t process = 0;
    std::string level;  ///< "Err", "War", "Inf" or "Dbg"
    std::string source; ///< "File:line Class::Method"
    std::string text;
};

/// The text with which each load of the module begins.
inline constexpr std::string_view kLoadMark = "Built at";

/// Lines that do not begin as an entry are left out: they belong to the text of the entry before.
std::vector<LogEntry> ParseLog(std::string_view log);

/// The log without the texts of commands and notifications, which contain subjects, ids and invitations.
std::string WithoutContents(std::string_view log);

/// Replaces these words, whatever their case, and everything that looks like a mail address.
std::string BlackOut(std::string_view text, const std::vector<std::string>& words);

/// Number and strings of an event in its XML form. The strings stand one after the other, without the marks.
Event ParseEvent(std::wstring_view xml);

/// Start-up times in an event of Outlook that lists its add-ins: ProgID and milliseconds.
std::vector<std::pair<std::wstring, unsigned long>> BootTimes(std::wstring_view event);

} // namespace doctor
