#include "osadapter/include/kosa.h"
#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/runtime_guard.h"

#include <io.h>
#include <limits.h>
#include <string.h>
#include <wchar.h>

#include <cstdarg>

namespace {

constexpr size_t kShortTextBytes = 1024;

int WriteText(FILE* stream, const char* text, size_t bytes) noexcept {
    return bytes <= INT_MAX && fwrite(text, 1, bytes, stream) == bytes ? static_cast<int>(bytes) : -1;
}

// The toolchain's stream formatter locks the stream for every character. The text is therefore formatted first, on the
// stack when it is short, and written in one piece.
int PrintToStream(FILE* stream, const char* format, va_list arguments) noexcept {
    const RuntimeGuard guard;
    if (strcmp(format, "%s") == 0) { // a finished text needs no formatting; the log writes its lines so
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
    } else if (length >= 0) {
        const uint32_t size = static_cast<uint32_t>(length) + 1;
        const UniqueText<char> whole(static_cast<char*>(KOSA_MemMallocD(size, __LINE__, "os_fil_config")));
        const bool same = whole != nullptr && vsnprintf(whole.get(), size, format, again) == length;
        result = same ? WriteText(stream, whole.get(), bytes) : -1;
    }
    va_end(again);
    return result;
}

/// Calls a function of the runtime that takes only the stream. @return its result; -1 for a null stream.
int CallFor(FILE* stream, int (*function)(FILE*)) noexcept {
    const RuntimeGuard guard;
    return stream == nullptr ? -1 : function(stream);
}

// When size times count overflows, some runtimes move fewer bytes and others treat it as an invalid argument.
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
    return stream == nullptr || position == nullptr || fgetpos(stream, position) != 0 ? -1 : 0;
}

int KOSA_Fsetpos(FILE* stream, const fpos_t* position) {
    const RuntimeGuard guard;
    return stream == nullptr || position == nullptr || fsetpos(stream, position) != 0 ? -1 : 0;
}

void KOSA_Rewind(FILE* stream) {
    const RuntimeGuard guard;
    if (stream != nullptr) {
        rewind(stream); // NOLINT(bugprone-unsafe-functions) this function is its wrapper
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
