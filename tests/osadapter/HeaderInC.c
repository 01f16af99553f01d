/* The public headers are for C code as well: this file only has to compile and link. */
#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"

#ifdef _WINDOWS_
#error "The public headers pull in the platform's."
#endif

_Static_assert(sizeof(OperateRec) == 52, "the history's record as C sees it");

size_t HeaderInC(void);

size_t HeaderInC(void) {
    return KOSA_StrLen("C");
}
