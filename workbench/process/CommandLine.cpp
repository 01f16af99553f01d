#include "workbench/process/CommandLine.h"

namespace process {

std::wstring QuoteArgument(std::wstring_view argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring_view::npos) {
        return std::wstring(argument);
    }
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') { // backslashes count double before a quotation mark only
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L'"';
}

std::wstring JoinCommandLine(std::wstring_view program, const std::vector<std::wstring>& arguments) {
    std::wstring line = L"\"" + std::wstring(program) + L"\"";
    for (const std::wstring& argument : arguments) {
        line += L' ' + QuoteArgument(argument);
    }
    return line;
}

} // namespace process
