#pragma once

#include <string>
#include <string_view>

/// Converts UTF-16 to UTF-8. Unpaired surrogates become U+FFFD. Empty gives empty. Any thread.
/// @throws std::bad_alloc when memory is exhausted.
std::string ToUtf8(std::wstring_view text);

/// Converts UTF-8 to UTF-16. Malformed bytes become U+FFFD. Empty gives empty. Any thread.
/// @throws std::bad_alloc when memory is exhausted.
std::wstring ToWide(std::string_view text);
