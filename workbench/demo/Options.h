#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace demo {

inline constexpr wchar_t kOnlyStart[] = L"start";

struct Options {
    bool chinese = false;
    bool colour = false;
    bool verbose = false;
    bool byPath = false;    ///< load the file itself, without registration
    bool installed = false; ///< an installer has installed `dll`; the story neither registers nor removes it
    bool help = false;
    unsigned pace = 0;     ///< milliseconds between two steps
    std::wstring pictures; ///< folder of the pictures; empty for none
    std::wstring scenario; ///< empty: all; kOnlyStart: none
    std::wstring dll;      ///< empty: the one built with this program
};

/// A message for the user about what is wrong.
class OptionsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @param arguments without the program's name. @throws OptionsError.
Options ParseOptions(const std::vector<std::wstring>& arguments);

const char* HelpText();

} // namespace demo
