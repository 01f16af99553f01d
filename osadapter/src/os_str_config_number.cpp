#include "osadapter/include/kosa.h"
#include "osadapter/src/runtime_guard.h"
#include "osadapter/src/secure_format.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr int32_t kFailed = -1;
constexpr uint64_t kMaxSize = 0x7FFFFFFF;
constexpr int64_t kToFit = -1;
constexpr int64_t kMaxCount = 0x7FFFFFFE;

} // namespace

int32_t SecureFormat(char* destination, uint64_t size, int64_t count, const char* format, ...) noexcept {
    if (destination == nullptr || size == 0) {
        return kFailed;
    }
    *destination = '\0';
    if (format == nullptr || size > kMaxSize || count < kToFit || count > kMaxCount) {
        return kFailed;
    }
    const bool wholeDestination = count == kToFit || static_cast<uint64_t>(count) >= size;
    const size_t room = static_cast<size_t>(wholeDestination ? size : static_cast<uint64_t>(count) + 1);
    const RuntimeGuard guard;
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(destination, room, format, arguments);
    va_end(arguments);
    if (length < 0) {
        *destination = '\0';
        return kFailed;
    }
    if (static_cast<size_t>(length) < room) {
        return length;
    }
    if (wholeDestination && count != kToFit) {
        *destination = '\0';
    }
    return kFailed;
}

int KOSA_StrToInt(const char* text) {
    return text == nullptr ? 0 : atoi(text); // NOLINT(cert-err34-c) this function is its wrapper
}

double KOSA_StrToFloat(const char* text) {
    return text == nullptr ? 0.0 : atof(text); // NOLINT(cert-err34-c) this function is its wrapper
}

long KOSA_Strtol(const char* text, char** end, int base) {
    if (text == nullptr) {
        if (end != nullptr) {
            *end = nullptr;
        }
        return 0;
    }
    const RuntimeGuard guard;
    return strtol(text, end, base);
}

unsigned long KOSA_Strtoul(const char* text, char** end, int base) {
    if (text == nullptr) {
        if (end != nullptr) {
            *end = nullptr;
        }
        return 0;
    }
    const RuntimeGuard guard;
    return strtoul(text, end, base);
}

int KOSA_StrToInt32(const char* text, int32_t* value) {
    if (text != nullptr && value != nullptr) {
        const int kept = errno;
        char* end = nullptr;
        const long long number = strtoll(text, &end, 0);
        errno = kept;
        // Out of its own range, strtoll returns a limit of the wider type, which is outside this range as well.
        if (end != text && number >= INT32_MIN && number <= INT32_MAX) {
            *value = static_cast<int32_t>(number);
            return 0;
        }
    }
    errno = 0;
    return 1;
}

char* KOSA_IntToStr(int value, char* buffer) {
    if (buffer != nullptr) {
        // Deliberate: one byte less than the longest number needs. Callers have buffers of exactly this size.
        SecureFormat(buffer, KOSA_NUMBER_TEXT_SIZE, KOSA_NUMBER_TEXT_SIZE - 1, "%d", value);
    }
    return buffer;
}

char* KOSA_FloatToStr(double value, char* buffer) {
    if (buffer != nullptr) {
        SecureFormat(buffer, KOSA_NUMBER_TEXT_SIZE, KOSA_NUMBER_TEXT_SIZE - 1, "%f", value);
    }
    return buffer;
}

int KOSA_Ultostr(char* buffer, uint32_t size, uint32_t value, int base) {
    const uint32_t used = std::min<uint32_t>(size, KOSA_ULTOSTR_SIZE);
    const char* const format = base == 8 ? "%o" : base == 16 ? "%x" : "%u";
    return SecureFormat(buffer, used, static_cast<int64_t>(used) - 1, format, value);
}
