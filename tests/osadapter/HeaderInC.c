/* The public headers are for C code as well: this file only has to compile and link. With one of the TEST_ definitions
 * it holds a mistake, and the compiler must see it. */
#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"

#ifdef _WINDOWS_
#error "The public headers pull in the platform's."
#endif

_Static_assert(sizeof(OperateRec) == 52, "the history's record as C sees it");

#if defined(TEST_FORMAT)
int Misuse(void) {
    return KOSA_Printf("%d", "text");
}
#elif defined(TEST_STREAM_FORMAT)
int Misuse(FILE* stream) {
    return KOSA_Fprintf(stream, "%s");
}
#elif defined(TEST_END)
char* Misuse(void) {
    return KOSA_StrConcat("a", "b");
}
#endif

size_t HeaderInC(void);

size_t HeaderInC(void) {
    return KOSA_StrLen("C");
}
