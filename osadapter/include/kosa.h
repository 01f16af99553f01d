/*
 * The operating-system adapter: files, directories, strings and memory behind a flat C interface.
 *
 * Texts and paths are narrow, zero-terminated UTF-8. Unless a function says otherwise, 0 is success and -1 is failure,
 * null arguments are accepted and answered with the failure value, nothing throws and any thread may call. `errno` is
 * what the wrapped runtime call left; giving converted paths back does not change it. Streams and directory handles are
 * used by one thread at a time.
 */
#ifndef OSADAPTER_KOSA_H
#define OSADAPTER_KOSA_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Streams ---- */

/** Opens a file. Sharing and translation are those of the runtime's fopen.
 *  @return the stream, closed with KOSA_Fclose; null when it cannot be opened or when path or mode is null or empty
 * (the file system is not touched then). */
FILE* KOSA_Fopen(const char* path, const char* mode);

/** Closes the stream; it is gone whatever the answer. @return 0, or -1 on a write error or for a null stream. */
int KOSA_Fclose(FILE* stream);

/** Hands buffered bytes to the system. @return 0, or -1 on a write error or for a null stream (never "all streams"). */
int KOSA_Fflush(FILE* stream);

/** Moves the position. @param offset bytes. @param origin SEEK_SET, SEEK_CUR or SEEK_END. @return 0 or -1. */
int KOSA_Fseek(FILE* stream, long offset, int origin);

/** @return the position in bytes; -1 (all 32 bits set) on failure and for a null stream. */
long KOSA_Ftell(FILE* stream);

/** Writes formatted text. @return bytes before line-end translation; -1 on failure, a null stream or a null or empty
 *  format. */
int KOSA_Fprintf(FILE* stream, const char* format, ...);

/* ---- Paths ---- */

/** @param mode 0 exists, 2 writable, 4 readable, 6 both. @return 0 or -1; 1 when the path cannot be converted. */
int KOSA_Access(const char* path, int mode);

/** Removes a file. @return 0 or -1; 1 when the path cannot be converted. */
int KOSA_Remove(const char* path);

/** Renames a file or directory; an existing target is not replaced. @return 0 or -1; 1 when a path cannot be converted.
 */
int KOSA_Rename(const char* oldPath, const char* newPath);

/** Makes one directory level. @param mode ignored; Windows has no such permissions. @return 0 or -1. */
int KOSA_MkDir(const char* path, int mode);

/** Gets the current directory. @param size of the buffer in bytes, terminator included.
 *  @return buffer; null when it is null or too small. */
char* KOSA_GetCwd(char* buffer, uint32_t size);

/* ---- Directories ---- */

/** One directory being listed. */
typedef struct KosaDir KosaDir;

/** One entry. It and its name belong to the directory handle and last until its next step. */
typedef struct KosaDirEntry {
    const char* name;
} KosaDirEntry;

/** Begins to list a directory. @param path used as it is, with "\*" appended.
 *  @return the handle, closed with KOSA_CloseDir; null when the directory cannot be listed. */
KosaDir* KOSA_OpenDir(const char* path);

/** Steps to the next entry, "." and ".." included. @return the entry; null at the end or for a null handle. */
KosaDirEntry* KOSA_ReadDir(KosaDir* directory);

/** The same in the shape of readdir_r. @param storage not used, may be null. @param entry gets the entry, null at the
 *  end. @return 0, also at the end; -1 for a null handle or a null entry pointer. */
int KOSA_ReadDir_S(KosaDir* directory, KosaDirEntry* storage, KosaDirEntry** entry);

/** Ends the listing and frees the handle. @return 0; -1 for a null handle or when the system's handle did not close. */
int KOSA_CloseDir(KosaDir* directory);

/* ---- Strings ---- */

/** @return length in bytes; 0 for null. */
size_t KOSA_StrLen(const char* text);

/** Compares bytes as unsigned values. @return -1, 0 or 1; -1 when either text is null. */
int KOSA_StrCmp(const char* a, const char* b);

/** @return the first place of pattern in text (text itself for an empty pattern); null when there is none. */
char* KOSA_StrStr(const char* text, const char* pattern);

/** @return the last place of the character in text; null when there is none. */
char* KOSA_StrrChr(const char* text, int character);

/* ---- Memory ---- */

/** Allocates bytes of unspecified content. @param line, unit place of the call, for diagnostics only.
 *  @return memory freed with KOSA_MemFreeD; null when it is exhausted. */
void* KOSA_MemMallocD(uint32_t size, int line, const char* unit);

/** The same, every byte set to the low 8 bits of fill. */
void* KOSA_MemMallocS(uint32_t size, int fill, int line, const char* unit);

/** Frees memory of this family; null is allowed. */
void KOSA_MemFreeD(void* memory, int line, const char* unit);

#ifdef __cplusplus
}
#endif

#endif
