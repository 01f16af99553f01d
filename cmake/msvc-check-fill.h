// Included first in each C++ source by scripts/check-msvc: what the collected C headers lack of the native ones.
#pragma once
#pragma GCC system_header

#include <ctype.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>

struct timespec {
    time_t tv_sec;
    long tv_nsec;
};

#define MB_CUR_MAX ___mb_cur_max_func()

extern "C" {
int ___mb_cur_max_func(void);
int _islower_l(int character, _locale_t locale);
int _isupper_l(int character, _locale_t locale);
float _strtof_l(const char* text, char** end, _locale_t locale);
double _strtod_l(const char* text, char** end, _locale_t locale);
}

#undef signbit
#undef isfinite
#undef isinf
#undef isnan
#undef isnormal
#undef fpclassify
#define NEMBRA_CLASSIFY(name, result, builtin)                                                                         \
    template <class Number>                                                                                            \
    constexpr result name(Number number) noexcept {                                                                    \
        return builtin(static_cast<double>(number));                                                                   \
    }
NEMBRA_CLASSIFY(signbit, bool, __builtin_signbit)
NEMBRA_CLASSIFY(isfinite, bool, __builtin_isfinite)
NEMBRA_CLASSIFY(isinf, bool, __builtin_isinf)
NEMBRA_CLASSIFY(isnan, bool, __builtin_isnan)
NEMBRA_CLASSIFY(isnormal, bool, __builtin_isnormal)
#undef NEMBRA_CLASSIFY

// The native runtime deprecates these names, and /sdl makes their use an error.
#ifndef _CRT_SECURE_NO_WARNINGS
#define NEMBRA_OLD extern "C" __attribute__((deprecated("C4996")))
NEMBRA_OLD FILE* fopen(const char* path, const char* mode);
NEMBRA_OLD FILE* freopen(const char* path, const char* mode, FILE* file);
NEMBRA_OLD FILE* _wfopen(const wchar_t* path, const wchar_t* mode);
NEMBRA_OLD FILE* tmpfile(void);
NEMBRA_OLD char* getenv(const char* name);
NEMBRA_OLD wchar_t* _wgetenv(const wchar_t* name);
NEMBRA_OLD char* strerror(int code);
NEMBRA_OLD char* strcpy(char* target, const char* source);
NEMBRA_OLD char* strcat(char* target, const char* source);
NEMBRA_OLD char* strncpy(char* target, const char* source, size_t count);
NEMBRA_OLD char* strncat(char* target, const char* source, size_t count);
NEMBRA_OLD char* strtok(char* text, const char* delimiters);
NEMBRA_OLD wchar_t* wcscpy(wchar_t* target, const wchar_t* source);
NEMBRA_OLD wchar_t* wcscat(wchar_t* target, const wchar_t* source);
NEMBRA_OLD wchar_t* wcsncpy(wchar_t* target, const wchar_t* source, size_t count);
NEMBRA_OLD size_t mbstowcs(wchar_t* target, const char* source, size_t count);
NEMBRA_OLD size_t wcstombs(char* target, const wchar_t* source, size_t count);
NEMBRA_OLD int _snprintf(char* target, size_t size, const char* format, ...);
NEMBRA_OLD int _snwprintf(wchar_t* target, size_t size, const wchar_t* format, ...);
NEMBRA_OLD int sprintf(char* target, const char* format, ...);
#undef NEMBRA_OLD
#endif
