/* How the functions of kosa.h and zep.h are declared. Those headers include this one. */
#ifndef OSADAPTER_ADAPTER_API_H
#define OSADAPTER_ADAPTER_API_H

/*
 * OSADAPTER_CALL is the calling convention, also of callbacks.
 * A program that links the import library may define OSADAPTER_IMPORT: its calls then go straight through the import
 * table. Without it they go through a jump that the linker adds. Leave it out when the functions are linked in
 * statically.
 */
#ifdef _WIN32
#define OSADAPTER_CALL __cdecl
#else
#define OSADAPTER_CALL
#endif

#if defined(_WIN32) && defined(OSADAPTER_IMPORT)
#define OSADAPTER_API __declspec(dllimport)
#else
#define OSADAPTER_API
#endif

/* Compilers that can do so check the arguments against the format, and for the null pointer at the end of a list. */
#if defined(__clang__)
#define OSADAPTER_FORMAT(format, first) __attribute__((__format__(__printf__, format, first)))
#elif defined(__GNUC__)
/* The adapter formats as the C standard says, also where the compiler's printf means an older runtime's. */
#define OSADAPTER_FORMAT(format, first) __attribute__((__format__(__gnu_printf__, format, first)))
#else
#define OSADAPTER_FORMAT(format, first)
#endif
#ifdef __GNUC__
#define OSADAPTER_SENTINEL __attribute__((__sentinel__))
#else
#define OSADAPTER_SENTINEL
#endif

#endif
