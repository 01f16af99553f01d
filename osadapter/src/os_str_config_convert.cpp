#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "osadapter/src/adapter_memory.h"

#include <windows.h>

#include <climits>
#include <cstring>

namespace {

constexpr char kUnit[] = "os_str_config";

// The system's converters count in int. A longer text gives null, as exhausted memory does.
int CheckedLength(size_t length) noexcept {
    return length > INT_MAX ? -1 : static_cast<int>(length);
}

template <class Unit>
UniqueText<Unit> NewUnits(size_t count) noexcept {
    const size_t bytes = count * sizeof(Unit);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    return UniqueText<Unit>(static_cast<Unit*>(KOSA_MemMallocD(static_cast<uint32_t>(bytes), __LINE__, kUnit)));
}

/// A result with its length, which the second step of a two-step conversion needs.
template <class Unit>
struct Converted {
    UniqueText<Unit> text; // null when there is none
    int length = 0;        // in units
};

/// Asks for the length, allocates and converts. @param convert takes an output (null to ask for the length) and its
/// size, and returns the units written, 0 on failure. When the conversion fails, the result is filled with zeros.
template <class Unit, class Convert>
Converted<Unit> ConvertToNew(Convert convert) noexcept {
    const int units = convert(nullptr, 0);
    Converted<Unit> output{NewUnits<Unit>(static_cast<size_t>(units) + 1), units};
    if (output.text == nullptr) {
        return {};
    }
    if (units > 0 && convert(output.text.get(), units) > 0) {
        output.text[static_cast<size_t>(units)] = 0;
    } else {
        memset(output.text.get(), 0, (static_cast<size_t>(units) + 1) * sizeof(Unit));
        output.length = 0;
    }
    return output;
}

Converted<wchar_t> Widen(const char* text, UINT codePage, DWORD flags) noexcept {
    const int length = text == nullptr ? -1 : CheckedLength(strlen(text));
    if (length < 0) {
        return {};
    }
    return ConvertToNew<wchar_t>(
        [=](wchar_t* output, int room) { return ::MultiByteToWideChar(codePage, flags, text, length, output, room); });
}

UniqueText<char> Narrow(const wchar_t* text, int length, UINT codePage) noexcept {
    if (text == nullptr || length < 0) {
        return nullptr;
    }
    return ConvertToNew<char>([=](char* output, int room) {
               return ::WideCharToMultiByte(codePage, 0, text, length, output, room, nullptr, nullptr);
           })
        .text;
}

UniqueText<char> Narrow(const wchar_t* text, UINT codePage) noexcept {
    return Narrow(text, text == nullptr ? -1 : CheckedLength(wcslen(text)), codePage);
}

UniqueText<char> Narrow(const Converted<wchar_t>& wide, UINT codePage) noexcept {
    return Narrow(wide.text.get(), wide.length, codePage);
}

/// The ANSI code page of a system may be UTF-8, and the system refuses the flag for UTF-8.
DWORD LocaleFlags() noexcept {
    return ::GetACP() == CP_UTF8 ? 0 : MB_PRECOMPOSED;
}

} // namespace

wchar_t* ZEP_LocaleToUnicodeW(const char* text) {
    return Widen(text, CP_ACP, LocaleFlags()).text.release();
}

char* ZEP_UnicodeToLocale(const wchar_t* text) {
    return Narrow(text, CP_ACP).release();
}

char* ZEP_UnicodeToUtf8(const wchar_t* text) {
    return Narrow(text, CP_UTF8).release();
}

wchar_t* ZEP_Utf8ToUnicodeW(const char* text) {
    return Widen(text, CP_UTF8, 0).text.release();
}

char* ZEP_Utf8ToUnicodeA(const char* text) {
    const Converted<wchar_t> wide = Widen(text, CP_UTF8, 0);
    if (wide.text == nullptr) {
        return nullptr;
    }
    const size_t bytes = (static_cast<size_t>(wide.length) + 1) * sizeof(wchar_t);
    UniqueText<char> copy = NewUnits<char>(bytes);
    if (copy != nullptr) {
        memcpy(copy.get(), wide.text.get(), bytes);
    }
    return copy.release();
}

char* ZEP_LocaleToUtf8(const char* text) {
    return Narrow(Widen(text, CP_ACP, LocaleFlags()), CP_UTF8).release();
}

char* ZEP_Utf8ToLocale(const char* text) {
    return Narrow(Widen(text, CP_UTF8, 0), CP_ACP).release();
}

void ZEP_StrMemFree(void* text) {
    KOSA_MemFreeD(text, __LINE__, kUnit);
}
