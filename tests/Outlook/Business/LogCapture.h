#pragma once

#include "support/LogLine.h"

#include <string>
#include <vector>

/// Takes the place of the add-in's log in a test program: `LogLine` writes here.
namespace LogCapture {

struct Line {
    LogLevel level;
    std::wstring source;
    std::wstring function;
    std::wstring text;
};

void Clear();
/// The lines of one function, oldest first.
std::vector<Line> Of(const std::wstring& function);

} // namespace LogCapture
