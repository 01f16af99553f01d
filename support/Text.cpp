#include "support/Text.h"

#include <windows.h>

#include <climits>
#include <new>

namespace {

// Most texts are labels and log lines: they are converted once, into the stack, and cost at most one allocation.
constexpr int kStackUnits = 512;

// The platform counts in int.
int CheckedLength(size_t length) {
    if (length > static_cast<size_t>(INT_MAX)) {
        throw std::bad_alloc();
    }
    return static_cast<int>(length);
}

int Encode(std::wstring_view text, char* out, int size) noexcept {
    return ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out, size, nullptr, nullptr);
}

int Decode(std::string_view text, wchar_t* out, int size) noexcept {
    return ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out, size);
}

template <class Unit, class View, class Convert>
std::basic_string<Unit> ConvertText(View text, int worstGrowth, Convert convert) {
    std::basic_string<Unit> result;
    const int length = CheckedLength(text.size());
    if (length == 0) {
        return result;
    }
    if (length <= kStackUnits / worstGrowth) {
        Unit units[kStackUnits];
        const int written = convert(text, units, kStackUnits);
        result.assign(units, static_cast<size_t>(written));
        return result;
    }
    result.resize(static_cast<size_t>(convert(text, nullptr, 0)));
    convert(text, result.data(), CheckedLength(result.size()));
    return result;
}

} // namespace

std::string ToUtf8(std::wstring_view text) {
    // One UTF-16 unit takes at most three bytes.
    return ConvertText<char>(text, 3, Encode);
}

std::wstring ToWide(std::string_view text) {
    return ConvertText<wchar_t>(text, 1, Decode);
}
