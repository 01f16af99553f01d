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
    KosaDirEntry** list = NULL;
    const int count = KOSA_ScanDir(folder, &list, NULL, KOSA_Alphasort);
    CHECK(count == 3);
    CHECK(count == 3 && KOSA_StrCmp(list[2]->name, "\xE4\xBC\x9A.txt") == 0);
    KOSA_DestoryNameList(list, count);
    CHECK(KOSA_Remove(path) == 0);
    KOSA_SetLastErr(0);
    CHECK(KOSA_Access(path, 0) == -1 && KOSA_GetLastErr() == 2);
    CHECK(KOSA_RmDir(folder) == 0);
    KOSA_MemFreeD(path, __LINE__, "main");
}

static void CheckTexts(void) {
    wchar_t* const wide = ZEP_Utf8ToUnicodeW("\xF0\x9F\x98\x80");
    CHECK(wide != NULL && wide[0] == 0xD83D && wide[1] == 0xDE00 && wide[2] == 0);
    char* const narrow = ZEP_UnicodeToUtf8(wide);
    CHECK(KOSA_StrCmp(narrow, "\xF0\x9F\x98\x80") == 0);
    ZEP_StrMemFree(narrow);
    ZEP_StrMemFree(wide);
    char cut[] = {'a', 'b', '\xC3'};
    CHECK(ZEP_Utf8Check(cut, sizeof(cut)) == 1 && KOSA_StrCmp(cut, "ab") == 0);
    char list[] = "x,y";
    char* context = NULL;
    CHECK(KOSA_StrCmp(KOSA_StrTok_S(list, ",", &context), "x") == 0);
    CHECK(KOSA_StrCmp(KOSA_StrTok_S(NULL, ",", &context), "y") == 0);
}

static void CheckHistory(void) {
    char text[200];
    const OperateRec record = {2, 100, 5, "c", 1, 2};
    CHECK(KOSA_AddOperateRec(&record) == 1); // empty at load time, without KOSA_InitOperateHistory
    CHECK(KOSA_DumpOperateHistory(text, sizeof(text)) > 0);
    CHECK(KOSA_StrStr(text, "  0000:00:01(000)   DeleteTm 0x00000001 0x00000002     5 c\n") != NULL);
}

int main(void) {
    char folder[1024];
    CheckExports();
    CHECK(KOSA_GetCwd(folder, sizeof(folder)) == folder);
    char* const scratch = KOSA_StrConcat(folder, "\\adapter_c_program.scratch", NULL);
    CheckFiles(scratch);
    KOSA_MemFreeD(scratch, __LINE__, "main");
    CheckTexts();
    CheckHistory();
    return g_failures;
}
