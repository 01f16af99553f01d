#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/runtime_guard.h"

#include <io.h>
#include <limits.h>
#include <string.h>
#include <wchar.h>

#include <cstdarg>
#include <memory>
#include <new>

namespace {

constexpr size_t kShortTextBytes = 1024;

int WriteText(FILE* stream, const char* text, size_t bytes) noexcept {
    return bytes <= INT_MAX && fwrite(text, 1, bytes, stream) == bytes ? static_cast<int>(bytes) : -1;
}

// The toolchain's own stream formatter stores character by character, each under the stream's lock. A text is therefore
// formatted first, on the stack if it is short, which is nearly every log line, and written in one piece. (Windows' own
// runtime gives the last byte of an odd number to the system by itself when a stream has no buffer; of a log line that
// is the line feed.)
int PrintToStream(FILE* stream, const char* format, va_list arguments) noexcept {
    const RuntimeGuard guard;
    if (strcmp(format, "%s") == 0) { // a finished text, every line of the log
        va_list again;
        va_copy(again, arguments);
        const char* const finished = va_arg(again, const char*);
        va_end(again);
        if (finished != nullptr) {
            return WriteText(stream, finished, strlen(finished));
        }
    }
    char text[kShortTextBytes];
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    const size_t bytes = static_cast<size_t>(length < 0 ? 0 : length);
    int result = -1;
    if (length >= 0 && bytes < sizeof(text)) {
        result = WriteText(stream, text, bytes);
    } else if (const std::unique_ptr<char[]> whole(length < 0 ? nullptr : new (std::nothrow) char[bytes + 1]); whole) {
        const bool same = vsnprintf(whole.get(), bytes + 1, format, again) == length;
        result = same ? WriteText(stream, whole.get(), bytes) : -1;
    }
    va_end(again);
    return result < 0 ? -1 : result;
}

/// Calls a function of the runtime that takes only the stream. @return its result; -1 for a null stream.
int CallFor(FILE* stream, int (*function)(FILE*)) noexcept {
    const RuntimeGuard guard;
    return stream == nullptr ? -1 : function(stream);
}

// Some runtimes multiply with overflow and move fewer bytes, others take it for an invalid argument.
bool AreCountable(size_t itemSize, size_t count) noexcept {
    return itemSize == 0 || count <= SIZE_MAX / itemSize;
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
    const RuntimeGuard guard;
    return _wfopen(widePath.get(), wideMode.get());
}

FILE* KOSA_Fopen_w(const wchar_t* path, const wchar_t* mode) {
    const RuntimeGuard guard;
    return path == nullptr || mode == nullptr ? nullptr : _wfopen(path, mode);
}

int KOSA_Fclose(FILE* stream) {
    return CallFor(stream, fclose);
}

int KOSA_Feof(FILE* stream) {
    return CallFor(stream, feof);
}

int KOSA_Ferror(FILE* stream) {
    return CallFor(stream, ferror);
}

int KOSA_Fflush(FILE* stream) {
    return CallFor(stream, fflush);
}

int KOSA_Fgetc(FILE* stream) {
    return CallFor(stream, fgetc);
}

int KOSA_Fileno(FILE* stream) {
    return CallFor(stream, _fileno);
}

int KOSA_Fputc(int character, FILE* stream) {
    const RuntimeGuard guard;
    return stream == nullptr ? -1 : fputc(character, stream);
}

int KOSA_Fputs(const char* text, FILE* stream) {
    const RuntimeGuard guard;
    return text == nullptr || stream == nullptr ? -1 : fputs(text, stream);
}

char* KOSA_Fgets(char* buffer, int size, FILE* stream) {
    const RuntimeGuard guard;
    return buffer == nullptr || stream == nullptr ? nullptr : fgets(buffer, size, stream);
}

size_t KOSA_Fread(void* buffer, size_t itemSize, size_t count, FILE* stream) {
    if (buffer == nullptr || stream == nullptr || !AreCountable(itemSize, count)) {
        return 0;
    }
    const RuntimeGuard guard;
    return fread(buffer, itemSize, count, stream);
}

size_t KOSA_Fwrite(const void* buffer, size_t itemSize, size_t count, FILE* stream) {
    if (buffer == nullptr || stream == nullptr || !AreCountable(itemSize, count)) {
        return 0;
    }
    const RuntimeGuard guard;
    return fwrite(buffer, itemSize, count, stream);
}

int KOSA_Fgetpos(FILE* stream, fpos_t* position) {
    const RuntimeGuard guard;
    return stream == nullptr || position == nullptr || fgetpos(stream, position) != 0 ? -1 : 0;
}

int KOSA_Fsetpos(FILE* stream, const fpos_t* position) {
    const RuntimeGuard guard;
    return stream == nullptr || position == nullptr || fsetpos(stream, position) != 0 ? -1 : 0;
}

void KOSA_Rewind(FILE* stream) {
    const RuntimeGuard guard;
    if (stream != nullptr) {
        rewind(stream);
    }
}

void KOSA_Clearerr(FILE* stream) {
    if (stream != nullptr) {
        clearerr(stream);
    }
}

FILE* KOSA_TmpFile(void) {
    return tmpfile();
}

int KOSA_Fseek(FILE* stream, long offset, int origin) {
    const RuntimeGuard guard;
    return stream == nullptr ? -1 : _fseeki64(stream, offset, origin);
}

long KOSA_Ftell(FILE* stream) {
    const RuntimeGuard guard;
    return stream == nullptr ? -1L : static_cast<long>(_ftelli64(stream)); // the low 32 bits
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

int KOSA_Printf(const char* format, ...) {
    if (format == nullptr) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int result = PrintToStream(stdout, format, arguments);
    va_end(arguments);
    return result;
}
