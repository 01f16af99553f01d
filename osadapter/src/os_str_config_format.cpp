#include "osadapter/src/runtime_guard.h"
#include "osadapter/src/secure_format.h"

#include <cstdio>

namespace {

constexpr int32_t kFailed = -1;
constexpr uint64_t kMaxSize = 0x7FFFFFFF;
constexpr int64_t kToFit = -1;
constexpr int64_t kMaxCount = 0x7FFFFFFE;

} // namespace

int32_t SecureFormatList(char* destination, uint64_t size, int64_t count, const char* format,
                         va_list arguments) noexcept {
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
    const int length = vsnprintf(destination, room, format, arguments);
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

int32_t SecureFormat(char* destination, uint64_t size, int64_t count, const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    const int32_t result = SecureFormatList(destination, size, count, format, arguments);
    va_end(arguments);
    return result;
}
