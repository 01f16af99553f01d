/*
 * Conversions between the system's ANSI code page ("Locale"), UTF-16 ("Unicode") and UTF-8.
 *
 * Texts are zero-terminated. Each conversion returns a new, terminated buffer that the caller frees with
 * ZEP_StrMemFree: null for a null text and when memory is exhausted; an empty text for an empty one and when the
 * system refuses the conversion. No error is recorded anywhere, and nothing throws. Any thread.
 */
#ifndef OSADAPTER_ZEP_H
#define OSADAPTER_ZEP_H

#include "adapter_api.h"

#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

/** ANSI to UTF-16, precomposed characters. @return new text, see above. */
OSADAPTER_API wchar_t* OSADAPTER_CALL ZEP_LocaleToUnicodeW(const char* text);

/** UTF-16 to ANSI. A character that the code page lacks becomes its replacement character. @return new text, see above.
 */
OSADAPTER_API char* OSADAPTER_CALL ZEP_UnicodeToLocale(const wchar_t* text);

/** UTF-16 to UTF-8. @return new text, see above. */
OSADAPTER_API char* OSADAPTER_CALL ZEP_UnicodeToUtf8(const wchar_t* text);

/** UTF-8 to UTF-16; characters above U+FFFF become surrogate pairs. @return new text, see above. */
OSADAPTER_API wchar_t* OSADAPTER_CALL ZEP_Utf8ToUnicodeW(const char* text);

/** The same in a byte-typed buffer: two bytes per unit, low byte first, two zero bytes at the end. */
OSADAPTER_API char* OSADAPTER_CALL ZEP_Utf8ToUnicodeA(const char* text);

/** ANSI to UTF-8. @return new text, see above. */
OSADAPTER_API char* OSADAPTER_CALL ZEP_LocaleToUtf8(const char* text);

/** UTF-8 to ANSI. A character that the code page lacks becomes its replacement character. @return new text, see above.
 */
OSADAPTER_API char* OSADAPTER_CALL ZEP_Utf8ToLocale(const char* text);

/** Frees a text of this family; null is allowed. */
OSADAPTER_API void OSADAPTER_CALL ZEP_StrMemFree(void* text);

/** Terminates a UTF-8 text that fills its buffer: it drops the last character, whole or cut, and writes the terminator
 *  in its place. Changes nothing when the text already ends within the buffer.
 *  @param size of the buffer in bytes. @return 1 when the text was terminated, for null and for a size that is not
 *  positive; 0 when it had a terminator already. */
OSADAPTER_API int OSADAPTER_CALL ZEP_Utf8Check(char* buffer, int32_t size);

#ifdef __cplusplus
}
#endif

#endif
