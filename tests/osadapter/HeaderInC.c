/* The public header is for C code as well: this file only has to compile and link. */
#include "osadapter/include/kosa.h"

#ifdef _WINDOWS_
#error "The public header pulls in the platform's."
#endif

size_t HeaderInC(void);

size_t HeaderInC(void) {
    return KOSA_StrLen("C");
}
