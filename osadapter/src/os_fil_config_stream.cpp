#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"

#include <wchar.h>

#include <cstdarg>

namespace {

constexpr size_t kShortTextBytes = 1024;

// The toolchain's own stream formatter stores character by character, each under the stream's lock. Short texts, which
// is nearly every log line, are therefore formatted on the stack and written in one piece.
int PrintToStream(FILE* stream, const char* format, va_list arguments) noexcept {
    char text[kShortTextBytes];
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    int result = -1;
    if (length >= 0 && static_cast<size_t>(length) < sizeof(text)) {
        const size_t bytes = static_cast<size_t>(length);
        result = fwrite(text, 1, bytes, stream) == bytes ? length : -1;
    } else if (length >= 0) {
        result = vfprintf(stream, format, again);
    }
    va_end(again);
    return result < 0 ? -1 : result;
}

} // namespace

FILE* KOSA_Fopen(const char* path, const char* mode) {
    if (IsEmptyText(path) || IsEmptyText(mode)) {
        return nullptr;
    }
    const UniqueText<wchar_t> widePath = ToWidePath(path);
    const UniqueText<wchar_t> wideMode = ToWidePath(mode);
    if (widePath == nullptr || wideMode == nullptr) {
        return nullptr;
    }
    return _wfopen(widePath.get(), wideMode.get());
}

int KOSA_Fclose(FILE* stream) {
    return stream == nullptr ? -1 : fclose(stream);
}

int KOSA_Fflush(FILE* stream) {
    return stream == nullptr ? -1 : fflush(stream);
}

int KOSA_Fseek(FILE* stream, long offset, int origin) {
    return stream == nullptr ? -1 : fseek(stream, offset, origin);
}

long KOSA_Ftell(FILE* stream) {
    return stream == nullptr ? -1L : ftell(stream);
}

int KOSA_Fprintf(FILE* stream, const char* format, ...) {
    if (stream == nullptr || IsEmptyText(format)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int result = PrintToStream(stream, format, arguments);
    va_end(arguments);
    return result;
}
