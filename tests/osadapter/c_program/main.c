/* Uses the adapter as another program does: the headers, the import library, C11. Prints what went wrong; 0 = nothing.
 */
#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"

#ifdef _WINDOWS_
#error "The public headers pull in the platform's."
#endif

typedef void (*AnyFunction)(void);

static int g_failures = 0;

static void Check(int holds, const char* what) {
    if (!holds) {
        ++g_failures;
        KOSA_Printf("failed: %s\n", what);
    }
}
#define CHECK(condition) Check((condition) ? 1 : 0, #condition)

static void CheckExports(void) {
    const struct {
        const char* name;
        AnyFunction function;
    } exported[] = {
    /* not static: an imported address is known only when the program runs */
#define ENTRY_POINT(name)
#define ADAPTER_EXPORT(name) {#name, (AnyFunction)name},
#include "exported_names.h"
#undef ADAPTER_EXPORT
#undef ENTRY_POINT
    };
    const size_t count = sizeof(exported) / sizeof(exported[0]);
    for (size_t index = 0; index < count; ++index) {
        Check(exported[index].function != NULL, exported[index].name);
    }
    CHECK(count == 94 + 9);
}

static void CheckFiles(const char* folder) {
    char* const path = KOSA_StrConcat(folder, "\\", "\xE4\xBC\x9A.txt", NULL);
    CHECK(KOSA_MkDir_P(folder, 0755) == 0);
    FILE* const file = KOSA_Fopen(path, "wb");
    CHECK(file != NULL);
    CHECK(KOSA_Fprintf(file, "%s %d", "room", 12) == 7);
    CHECK(KOSA_Fclose(file) == 0);
    uint32_t size = 0;
    CHECK(KOSA_GetFileSize(path, &size) == 0 && size == 7);
    CHECK(KOSA_Remove(path) == 0);
    KOSA_SetLastErr(0);
    CHECK(KOSA_Access(path, 0) == -1 && KOSA_GetLastErr() == 2);
    CHECK(KOSA_RmDir(folder) == 0);
    KOSA_MemFreeD(path, __LINE__, "main");
}

int main(void) {
    char folder[1024];
    CheckExports();
    CHECK(KOSA_GetCwd(folder, sizeof(folder)) == folder);
    char* const scratch = KOSA_StrConcat(folder, "\\adapter_c_program.scratch", NULL);
    CheckFiles(scratch);
    KOSA_MemFreeD(scratch, __LINE__, "main");
    return g_failures;
}
