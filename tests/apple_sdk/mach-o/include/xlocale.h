/// @file
/// Stand-in for the system's header: functions with a locale, as the standard library calls them.
#pragma once

#include <ctype.h>
#include <inttypes.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>
#include <wctype.h>

typedef uint32_t __uint32_t;
typedef locale_t __xl_locale_t;

// Classes of characters, which the standard library's own names stand for.
enum {
  _CTYPE_A = 0x100,
  _CTYPE_C = 0x200,
  _CTYPE_D = 0x400,
  _CTYPE_G = 0x800,
  _CTYPE_L = 0x1000,
  _CTYPE_P = 0x2000,
  _CTYPE_S = 0x4000,
  _CTYPE_U = 0x8000,
  _CTYPE_X = 0x10000,
  _CTYPE_B = 0x20000,
  _CTYPE_R = 0x40000
};

#ifdef __cplusplus
extern "C" {
#endif

float strtof_l(const char* text, char** end, locale_t locale);
double strtod_l(const char* text, char** end, locale_t locale);
long double strtold_l(const char* text, char** end, locale_t locale);
long long strtoll_l(const char* text, char** end, int base, locale_t locale);
unsigned long long strtoull_l(const char* text, char** end, int base, locale_t locale);

int snprintf_l(char* text, size_t size, locale_t locale, const char* format, ...);
int asprintf_l(char** text, locale_t locale, const char* format, ...);
int sscanf_l(const char* text, locale_t locale, const char* format, ...);

wint_t btowc_l(int byte, locale_t locale);
int wctob_l(wint_t letter, locale_t locale);
size_t mbrlen_l(const char* bytes, size_t size, mbstate_t* state, locale_t locale);
size_t mbrtowc_l(wchar_t* letter, const char* bytes, size_t size, mbstate_t* state,
                 locale_t locale);
int mbtowc_l(wchar_t* letter, const char* bytes, size_t size, locale_t locale);
size_t mbsrtowcs_l(wchar_t* text, const char** bytes, size_t size, mbstate_t* state,
                   locale_t locale);
size_t mbsnrtowcs_l(wchar_t* text, const char** bytes, size_t byteCount, size_t size,
                    mbstate_t* state, locale_t locale);
size_t wcrtomb_l(char* bytes, wchar_t letter, mbstate_t* state, locale_t locale);
size_t wcsnrtombs_l(char* bytes, const wchar_t** text, size_t count, size_t size, mbstate_t* state,
                    locale_t locale);
struct lconv* localeconv_l(locale_t locale);
int ___mb_cur_max_l(locale_t locale);

#ifdef __cplusplus
}
#endif

#define MB_CUR_MAX_L(locale) (___mb_cur_max_l(locale))
