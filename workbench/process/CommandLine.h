#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace process {

/// The program and its arguments, each quoted, with blanks between.
std::wstring JoinCommandLine(std::wstring_view program, const std::vector<std::wstring>& arguments);

/// The arguments of this program without its name.
std::vector<std::wstring> OwnArguments();

/// The same in UTF-8 and in the order of the option parser: the last one first.
std::vector<std::string> ParserArguments();

} // namespace process
