#pragma once

#include <cstdint>

/// Bounded formatting with the C library's conversions.
/// @param size of the destination in bytes, 1 to 0x7FFFFFFF.
/// @param count characters to write at most, up to 0x7FFFFFFE. Below size, or -1 ("as much as fits"), a longer text is
/// cut. With a count of size or more, a longer text is refused and the destination emptied.
/// @return characters written, terminator not counted; -1 when the text was cut or refused, for null, for a size or
/// count out of range and on a formatting error. A destination with a size is always terminated. Any thread.
int32_t SecureFormat(char* destination, uint64_t size, int64_t count, const char* format, ...) noexcept;
