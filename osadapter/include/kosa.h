/*
 * The operating-system adapter: files, directories, strings, memory and errors behind a flat C interface.
 *
 * Conventions, unless a function says otherwise:
 *  - Texts and paths are narrow, zero-terminated UTF-8; sizes are in bytes and count the terminator.
 *  - 0 is success and -1 is failure. For a null argument a function returns its failure value. Nothing throws.
 *  - "Empty" is null or "". Some functions return 1 instead of -1 for an unconvertible path, see below.
 *  - The wrapped runtime call sets `errno`, and nothing changes it afterwards. Read it with KOSA_GetLastErr: a program
 *    may be built with a runtime other than the library's.
 *  - Streams, descriptors and memory belong to the library's runtime. Pass them to functions of this family only, and
 *    pass these functions no others: a program's own `stdout` or descriptor 1 may belong to another runtime.
 *  - Any thread may call any function. Use a stream, a directory handle or a text that is changed in place in one
 *    thread at a time.
 */
#ifndef OSADAPTER_KOSA_H
#define OSADAPTER_KOSA_H

#include "adapter_api.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Paths
 *
 * A path goes to the system in UTF-16. Each UTF-8 sequence becomes one 16-bit unit, so a character above U+FFFF loses
 * its high bits: U+12345 names the file U+2345. Sequences are not validated. A path is unconvertible when it is "",
 * when a character in it has 16 zero bits at its low end (U+20000, or the bytes C0 80), and when memory is exhausted.
 * A path may have up to 259 units. The system and the runtime decide about longer ones; usually the call fails.
 */

/* ---- Descriptors ---- */

/** Makes a file or empties an existing one. @param permission the runtime's _S_IREAD, _S_IWRITE.
 *  @return the descriptor, closed with KOSA_Close; -1 on failure or null; 1 when the path is unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Creat(const char* path, int permission);

/** Opens a file. @param flags the runtime's _O_RDONLY, _O_CREAT, ... @param permission as for KOSA_Creat, of a new
 *  file.
 *  @return the descriptor, closed with KOSA_Close; -1 on failure or null; 1 when the path is unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Open(const char* path, int flags, int permission);

/** Closes the descriptor. @return 0 or -1 (EBADF). */
OSADAPTER_API int OSADAPTER_CALL KOSA_Close(int descriptor);

/** Reads up to count bytes. @return bytes read, 0 at the end; -1 on failure or for a null buffer. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Read(int descriptor, void* buffer, uint32_t count);

/** Writes count bytes. @return bytes written; -1 on failure or for a null buffer. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Write(int descriptor, const void* buffer, uint32_t count);

/** Moves the position, also beyond 2 GiB. @param offset bytes. @param origin SEEK_SET, SEEK_CUR or SEEK_END.
 *  @return the low 32 bits of the new position, as a signed number; -1 on failure. */
OSADAPTER_API long OSADAPTER_CALL KOSA_LSeek(int descriptor, long offset, int origin);

/** Cuts a file, or lengthens it with zeros, to size bytes. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Ftruncate(int descriptor, long size);

/** Does nothing; Windows has no such control. @return always 0, whatever the arguments. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fcntl(int descriptor, int command, int argument);

/* ---- Streams ---- */

/** Opens a file. Sharing and translation are those of the runtime's fopen.
 *  @return the stream, closed with KOSA_Fclose; null when it cannot be opened and when path or mode is empty or
 *  unconvertible; the file system is not touched then. */
OSADAPTER_API FILE* OSADAPTER_CALL KOSA_Fopen(const char* path, const char* mode);

/** The same with UTF-16 texts, which are not converted. @return the stream; null on failure or for null. */
OSADAPTER_API FILE* OSADAPTER_CALL KOSA_Fopen_w(const wchar_t* path, const wchar_t* mode);

/** Closes the stream, which is invalid afterwards, also after a failure. @return 0; -1 on a write error and for a null
 *  stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fclose(FILE* stream);

/** @return nonzero when a read met the end, else 0; -1 for a null stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Feof(FILE* stream);

/** @return nonzero when a read or write failed since KOSA_Clearerr, else 0; -1 for a null stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Ferror(FILE* stream);

/** Passes buffered bytes to the system. @return 0; -1 on a write error and for a null stream, which does not mean "all
 *  streams" here. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fflush(FILE* stream);

/** @return the next byte, 0 to 255; -1 at the end, on failure and for a null stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fgetc(FILE* stream);

/** @return the stream's descriptor, which the stream keeps; -1 for a null stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fileno(FILE* stream);

/** Writes the low 8 bits of the character. @return the byte written; -1 on failure or for a null stream. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fputc(int character, FILE* stream);

/** Writes the text without its terminator. @return not negative; -1 on failure or when either is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fputs(const char* text, FILE* stream);

/** Reads a line, its "\n" included, up to size - 1 bytes, and terminates it.
 *  @return buffer; null at the end, on failure and when buffer or stream is null. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_Fgets(char* buffer, int size, FILE* stream);

/** Reads count items of itemSize bytes. @return whole items read; 0 also when buffer or stream is null or the bytes of
 *  all items are more than SIZE_MAX. */
OSADAPTER_API size_t OSADAPTER_CALL KOSA_Fread(void* buffer, size_t itemSize, size_t count, FILE* stream);

/** Writes count items of itemSize bytes. @return whole items written; 0 also when buffer or stream is null or the bytes
 *  of all items are more than SIZE_MAX. */
OSADAPTER_API size_t OSADAPTER_CALL KOSA_Fwrite(const void* buffer, size_t itemSize, size_t count, FILE* stream);

/** Moves the position, also beyond 2 GiB. @param offset bytes. @param origin SEEK_SET, SEEK_CUR or SEEK_END.
 *  @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fseek(FILE* stream, long offset, int origin);

/** @return the low 32 bits of the position in bytes, as a signed number; -1 on failure and for a null stream. */
OSADAPTER_API long OSADAPTER_CALL KOSA_Ftell(FILE* stream);

/** Stores the position for KOSA_Fsetpos. @return 0; -1 on failure or when either is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fgetpos(FILE* stream, fpos_t* position);

/** Goes back to a stored position. @return 0; -1 on failure or when either is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fsetpos(FILE* stream, const fpos_t* position);

/** Moves to the start and clears end and error. Does nothing for a null stream. */
OSADAPTER_API void OSADAPTER_CALL KOSA_Rewind(FILE* stream);

/** Clears end and error. Does nothing for a null stream. */
OSADAPTER_API void OSADAPTER_CALL KOSA_Clearerr(FILE* stream);

/** Writes formatted text. A format has the C standard's conversions d i u o x X c s p f F e E g G and %%, with their
 *  flags, width, precision and the lengths hh h l ll j z t. Not L: `long double` differs between compilers. Not n: some
 *  runtimes refuse it.
 *  @return bytes before line-end translation; -1 on failure, for a null stream and for a null or empty format. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Fprintf(FILE* stream, const char* format, ...) OSADAPTER_FORMAT(2, 3);

/** Writes formatted text, as KOSA_Fprintf, to the library's standard output. A program's own `stdout` is no substitute:
 *  it belongs to the program's runtime. @return bytes; -1 on failure or for a null format. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Printf(const char* format, ...) OSADAPTER_FORMAT(1, 2);

/** Makes a temporary file, opened "w+b" and removed when it is closed. @return the stream, closed with KOSA_Fclose, or
 *  null. */
OSADAPTER_API FILE* OSADAPTER_CALL KOSA_TmpFile(void);

/* ---- Paths ---- */

/** Tests for access. @param mode 0 exists, 2 writable, 4 readable, 6 both. @return 0; -1 on failure and for an empty
 *  path; 1 when the path is unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Access(const char* path, int mode);

/** Changes the current directory of the whole process. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_ChDir(const char* path);

/** Gets the current directory. @param size of the buffer in bytes, terminator included.
 *  @return buffer; null when it is null or too small. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_GetCwd(char* buffer, uint32_t size);

/** Removes a file. @return 0; -1 on failure and for an empty path; 1 when the path is unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Remove(const char* path);

/** Renames a file or directory; an existing target is not replaced.
 *  @return 0; -1 on failure and for an empty path; 1 when a path is unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Rename(const char* oldPath, const char* newPath);

/** Copies a file and replaces an existing destination.
 *  @return 0; -1 when the copy failed or for null; 1 when a path is unconvertible. `errno` is not set. */
OSADAPTER_API int OSADAPTER_CALL KOSA_CopyFile(const char* source, const char* destination);

/** Makes one directory level. @param mode ignored; Windows has no such permissions. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_MkDir(const char* path, int mode);

/** Makes every missing level of a path. A path without "/" and "\" counts as a level that exists. A leading "/" is
 *  kept. A leading "\" and the "//" of a network path are not: their levels are made below the current directory.
 *  @param mode ignored. @return 0, also when the system refuses a level; -1 for an empty path and when a level's path
 *  is unconvertible, also for lack of memory. The levels before it may have been made. */
OSADAPTER_API int OSADAPTER_CALL KOSA_MkDir_P(const char* path, int mode);

/** Removes an empty directory. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_RmDir(const char* path);

/** Removes "." and ".." parts, without looking at the disk. @param size bytes; at least the result's length. A result
 *  of exactly size bytes fills the buffer and is not terminated.
 *  @return 0; 1 for null, for a result longer than size or 259 bytes, and for paths of more than 260 bytes. */
OSADAPTER_API int OSADAPTER_CALL KOSA_RelPath(const char* path, char* buffer, uint32_t size);

/** The status of a file, as the runtime returns it. */
typedef struct KosaStat {
    uint32_t device;        /**< drive number, 0 = A */
    uint16_t inode;         /**< 0 */
    uint16_t mode;          /**< the runtime's _S_IF... and _S_I... bits */
    int16_t linkCount;      /**< 1 on file systems without links */
    int16_t userId;         /**< 0 */
    int16_t groupId;        /**< 0 */
    uint32_t specialDevice; /**< as device */
    uint32_t size;          /**< bytes, low 32 bits */
    int64_t accessTime;     /**< seconds since 1970, UTC; the following two as well */
    int64_t modificationTime;
    int64_t changeTime; /**< creation on Windows */
} KosaStat;

/** Gets the status. @param status zeroed, then filled. @return 0; -1 on failure or for null; 1 when the path is
 * unconvertible. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Stat(const char* path, KosaStat* status);

/** The same for a descriptor. @return 0; -1 on failure or for null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_FStat(int descriptor, KosaStat* status);

/** Gets the size in bytes, low 32 bits. @param size unchanged on failure. @return 0; -1 for an empty path or a null
 *  size; 1 when KOSA_Stat fails. */
OSADAPTER_API int OSADAPTER_CALL KOSA_GetFileSize(const char* path, uint32_t* size);

/* ---- Directories ---- */

/** One directory being listed. */
typedef struct KosaDir KosaDir;

/** One entry. An entry of KOSA_ReadDir and its name belong to the directory handle and last until its next step. */
typedef struct KosaDirEntry {
    const char* name;
} KosaDirEntry;

/** Begins to list a directory. @param path is searched with "\*" appended; "" is the root of the current drive.
 *  @return the handle, closed with KOSA_CloseDir; null when the directory cannot be listed. */
OSADAPTER_API KosaDir* OSADAPTER_CALL KOSA_OpenDir(const char* path);

/** Steps to the next entry, "." and ".." included. @return the entry; null at the end, when the step fails and for a
 *  null handle. KOSA_ScanDir distinguishes the two. */
OSADAPTER_API KosaDirEntry* OSADAPTER_CALL KOSA_ReadDir(KosaDir* directory);

/** The same in the shape of readdir_r. @param storage not used, may be null. @param entry gets what KOSA_ReadDir
 *  returns. @return 0, also without an entry; -1 for a null handle or a null entry pointer. */
OSADAPTER_API int OSADAPTER_CALL KOSA_ReadDir_S(KosaDir* directory, KosaDirEntry* storage, KosaDirEntry** entry);

/** Ends the listing and frees the handle. @return 0; -1 for a null handle or when the system's handle did not close. */
OSADAPTER_API int OSADAPTER_CALL KOSA_CloseDir(KosaDir* directory);

/** Does nothing: a listing goes forward only. */
OSADAPTER_API void OSADAPTER_CALL KOSA_RewindDir(KosaDir* directory);

/** Does nothing: a listing goes forward only. */
OSADAPTER_API void OSADAPTER_CALL KOSA_SeekDir(KosaDir* directory, long position);

/** @return 0, for a listing has no positions; -1 for a null handle. */
OSADAPTER_API long OSADAPTER_CALL KOSA_TellDir(KosaDir* directory);

/** @return 0, for a listing has no descriptor; -1 for a null handle. */
OSADAPTER_API int OSADAPTER_CALL KOSA_DirFd(KosaDir* directory);

/** @return nonzero for an entry to keep. Must not throw. */
typedef int(OSADAPTER_CALL* KosaDirFilter)(const KosaDirEntry* entry);

/** Compares list elements for the runtime's qsort: a and b are of type `KosaDirEntry* const*`. Must not throw. */
typedef int(OSADAPTER_CALL* KosaDirCompare)(const void* a, const void* b);

/** How many entries KOSA_ScanDir keeps at most, and of how many bytes of a name. */
#define KOSA_SCAN_MAX_ENTRIES 1024
#define KOSA_SCAN_NAME_SIZE 256

/** Lists a directory at once, "." and ".." included, up to KOSA_SCAN_MAX_ENTRIES kept entries.
 *  @param list gets an array of pointers to entries, freed with KOSA_DestoryNameList; null when none was kept,
 *  unchanged on failure. A name is cut after KOSA_SCAN_NAME_SIZE bytes, also within a character, and terminated.
 *  @param filter null keeps all. @param compare null leaves the system's order, and so do entries that compare equal.
 *  @return the count; -1 for null, when the directory cannot be listed to its end and when memory is exhausted. */
OSADAPTER_API int OSADAPTER_CALL KOSA_ScanDir(const char* path, KosaDirEntry*** list, KosaDirFilter filter,
                                              KosaDirCompare compare);

/** Frees a list of KOSA_ScanDir with its names. @param count the result of KOSA_ScanDir. Does nothing for null. */
OSADAPTER_API void OSADAPTER_CALL KOSA_DestoryNameList(KosaDirEntry** list, int count);

/** For KOSA_ScanDir: by name in the runtime's locale. @return -1 when a is null, 1 when b is, else the result of
 * strcoll. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Alphasort(const void* a, const void* b);

/** For KOSA_ScanDir: leaves the system's order. @return -1 when a is null, 1 when b is, else 0. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Versionsort(const void* a, const void* b);

/* ---- Devices ---- */

/** Synchronous control call. @param device handle value, widened with its sign. @param returned gets the bytes written
 *  to output; may be null. Sizes in bytes. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Ioctl(int32_t device, uint32_t code, void* input, uint32_t inputSize,
                                            void* output, uint32_t outputSize, uint32_t* returned);

/** Closes a handle of the system. @return 0 or -1. */
OSADAPTER_API int OSADAPTER_CALL KOSA_CloseHandle(void* handle);

/* ---- Strings ---- */

/** @return length in bytes; 0 for null. */
OSADAPTER_API size_t OSADAPTER_CALL KOSA_StrLen(const char* text);

/** Compares bytes as unsigned values. @return -1, 0 or 1; -1 when either text is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StrCmp(const char* a, const char* b);

/** The same for at most count bytes. @return negative, 0 or positive; -1 when either text is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StrNCmp(const char* a, const char* b, size_t count);

/** KOSA_StrCmp without regard to the case of ASCII letters. @return negative, 0 or positive; -1 for null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StriCmp(const char* a, const char* b);

/** The same for at most count bytes, and never for more than INT_MAX. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StriNCmp(const char* a, const char* b, size_t count);

/** @return the first place of the character in text (its end for 0); null when there is none or for null. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrChr(const char* text, int character);

/** @return the last place of the character in text; null when there is none or for null. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrrChr(const char* text, int character);

/** @return the first place of pattern in text (text itself for an empty pattern); null when there is none. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrStr(const char* text, const char* pattern);

/** @return a copy, freed with KOSA_MemFreeD; null for null and when memory is exhausted. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrDup(const char* text);

/** Cuts the next token off, in place. @param text null to continue. @param context keeps the place between calls.
 *  @return the token; null when there is none, for null delimiters, for a null context and when nothing was begun. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrTok_S(char* text, const char* delimiters, char** context);

/** Turns ASCII letters to lower case in place. @return text. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrToLower(char* text);

/** Turns ASCII letters to upper case in place. @return text. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrToUper(char* text);

/** @return the letter in lower case; any other value unchanged. */
OSADAPTER_API int OSADAPTER_CALL KOSA_CharToLower(int character);

/** @return the letter in upper case; any other value unchanged. */
OSADAPTER_API int OSADAPTER_CALL KOSA_CharToUpper(int character);

/** Decimal number at the start. @return 0 when there is none or for null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StrToInt(const char* text);

/** Number at the start. @return 0 when there is none or for null. */
OSADAPTER_API double OSADAPTER_CALL KOSA_StrToFloat(const char* text);

/** Number at the start. @param end gets the place after the number; may be null. @param base 0 (from the prefix) or 2
 * to 36.
 *  @return the number; the nearest limit with ERANGE; 0 when there is none or for null. */
OSADAPTER_API long OSADAPTER_CALL KOSA_Strtol(const char* text, char** end, int base);

/** The same for unsigned numbers. */
OSADAPTER_API unsigned long OSADAPTER_CALL KOSA_Strtoul(const char* text, char** end, int base);

/** Number at the start, base from the prefix ("0x", "0"). @param value unchanged on failure.
 *  @return 0, `errno` unchanged; 1 when out of range, without a digit or for null, and then `errno` is 0. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StrToInt32(const char* text, int32_t* value);

/** Bytes of the buffer that KOSA_IntToStr and KOSA_FloatToStr fill at most. */
#define KOSA_NUMBER_TEXT_SIZE 11

/** Decimal. A text of 11 characters (from -1000000000 down) loses its last.
 *  @param buffer of KOSA_NUMBER_TEXT_SIZE bytes. @return buffer. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_IntToStr(int value, char* buffer);

/** Six decimals. A text of more than 10 characters is cut. @param buffer of KOSA_NUMBER_TEXT_SIZE bytes.
 *  @return buffer. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_FloatToStr(double value, char* buffer);

/** Bytes that KOSA_Ultostr uses at most: 11 octal digits and the terminator. */
#define KOSA_ULTOSTR_SIZE 12

/** Writes a number. @param size of the buffer in bytes; at most KOSA_ULTOSTR_SIZE are used. @param base 8 or 16 (small
 *  letters); any other is decimal.
 *  @return characters written; -1 for null, size 0 and when the text was cut to fit. */
OSADAPTER_API int OSADAPTER_CALL KOSA_Ultostr(char* buffer, uint32_t size, uint32_t value, int base);

/** Joins texts. The list ends at the first "" or null, so its last argument is a null pointer.
 *  @return new text, freed with KOSA_MemFreeD; null for a null first text and when memory is exhausted. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrConcat(const char* first, ...) OSADAPTER_SENTINEL;

/* ---- Memory; `line` and `unit` name the place of the call, for diagnostics only ---- */

/** Allocates bytes of unspecified content. @return memory freed with KOSA_MemFreeD; null when it is exhausted. */
OSADAPTER_API void* OSADAPTER_CALL KOSA_MemMallocD(uint32_t size, int line, const char* unit);

/** The same, every byte set to the low 8 bits of fill. */
OSADAPTER_API void* OSADAPTER_CALL KOSA_MemMallocS(uint32_t size, int fill, int line, const char* unit);

/** Frees memory of this family; null is allowed. */
OSADAPTER_API void OSADAPTER_CALL KOSA_MemFreeD(void* memory, int line, const char* unit);

/** Frees the memory that *address points to and sets *address to null. Does nothing for a null address. */
OSADAPTER_API void OSADAPTER_CALL KOSA_MemFreeSetNullD(void** address);

/** Compares bytes as unsigned values. @return negative, 0 or positive; -1 when either is null. */
OSADAPTER_API int OSADAPTER_CALL KOSA_MemCmp(const void* a, const void* b, size_t length);

/** @return null: the family has no aligned memory. */
OSADAPTER_API void* OSADAPTER_CALL KOSA_MemAlignD(uint32_t size, uint32_t alignment, int line, const char* unit);

/* ---- Errors; each thread has its own ---- */

/** @return `errno` of the library's runtime. */
OSADAPTER_API int OSADAPTER_CALL KOSA_GetLastErr(void);

/** Sets `errno` of the library's runtime. @return its address, valid in this thread. */
OSADAPTER_API int* OSADAPTER_CALL KOSA_SetLastErr(int value);

/** @return the socket library's last error. */
OSADAPTER_API int OSADAPTER_CALL KOSA_GetLastSocketErr(void);

/** @return a text of the runtime, valid until this thread's next call; not freed. */
OSADAPTER_API char* OSADAPTER_CALL KOSA_StrError(int error);

/** Writes the text of an error number, cut to size. @return 0; -1 for null; the runtime's error for size 0. */
OSADAPTER_API int OSADAPTER_CALL KOSA_StrError_S(char* buffer, size_t size, int error);

/* ---- Operate history: the process's last operations. Not locked: callers serialise themselves. ---- */

/** How many operations the history holds. */
#define KOSA_HISTORY_SLOTS 512

/** One operation, 52 bytes. */
typedef struct OperateRec {
    uint32_t operation;  /**< 0 empty, 1 "CreateTm", 2 "DeleteTm", any other "undefined" */
    uint32_t time;       /**< hundredths of a second */
    int32_t threadId;    /**< thread that did the operation */
    char threadName[32]; /**< printed up to its terminator, 32 bytes at most */
    uint32_t param1;
    uint32_t param2;
} OperateRec;

/** Empties the history. @return 0. */
OSADAPTER_API int32_t OSADAPTER_CALL KOSA_InitOperateHistory(void);

/** Stores a copy; in a full history it overwrites the oldest. Null empties the slot, which counts as written, and sets
 *  `errno` to EINVAL.
 *  @return the number of the slot after the one written, 1 to KOSA_HISTORY_SLOTS. */
OSADAPTER_API int32_t OSADAPTER_CALL KOSA_AddOperateRec(const OperateRec* record);

/** Writes a title and one row per operation, newest first, cut at the buffer's end; the rest is zeroed.
 *  @param size of the buffer in bytes, at most 0x7FFFFFFF.
 *  @return characters of the last row, -1 when it was cut; the text's length when no row was written or rows were left
 *  out; -1 for a null buffer or size 0. */
OSADAPTER_API int32_t OSADAPTER_CALL KOSA_DumpOperateHistory(char* buffer, uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
