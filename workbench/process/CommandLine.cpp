#include "workbench/process/CommandLine.h"

#include "support/Text.h"

#include <windows.h>
#include <shellapi.h>

namespace process {
namespace {

/// One argument as the C run-time's and CommandLineToArgvW's rules take it apart again.
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

} // namespace

std::wstring JoinCommandLine(std::wstring_view program, const std::vector<std::wstring>& arguments) {
    std::wstring line = L"\"" + std::wstring(program) + L"\"";
    for (const std::wstring& argument : arguments) {
        line += L' ' + QuoteArgument(argument);
    }
    return line;
}

std::vector<std::wstring> OwnArguments() {
    int count = 0;
    wchar_t** texts = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::wstring> arguments;
    for (int i = 1; texts && i < count; ++i) {
        arguments.emplace_back(texts[i]);
    }
    ::LocalFree(texts);
    return arguments;
}

std::vector<std::string> ParserArguments() {
    std::vector<std::string> arguments;
    for (const std::wstring& argument : OwnArguments()) {
        arguments.insert(arguments.begin(), ToUtf8(argument));
    }
    return arguments;
}

} // namespace process
