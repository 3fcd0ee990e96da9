/* classification.h - character classes and case of Unicode code points.
 *
 * The C library's isalpha family for all of Unicode, by ICU's properties. Each takes a code point
 * as a signed 32-bit integer; the tests answer 1 or 0. Negative values and those above 0x10FFFF are
 * in no class and have no case. Pure functions: safe from any thread and before anything else ran.
 */
#ifndef QXUT_I18N_CLASSIFICATION_H
#define QXUT_I18N_CLASSIFICATION_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

QXUT_API int qxu_isalnum(int32_t character); /* a letter or a decimal digit */
QXUT_API int qxu_isalpha(int32_t character); /* a letter */
QXUT_API int qxu_isblank(int32_t character); /* tab, or category Zs (no-break space too) */
QXUT_API int qxu_iscntrl(int32_t character); /* a control character */
QXUT_API int qxu_isdigit(int32_t character); /* a decimal digit of any script */
QXUT_API int qxu_isgraph(int32_t character); /* letter, mark, number, punctuation or symbol */
QXUT_API int qxu_islower(int32_t character); /* lower case */
QXUT_API int qxu_isprint(int32_t character); /* printable */
QXUT_API int qxu_ispunct(int32_t character); /* punctuation; symbols such as + are none */
QXUT_API int qxu_isspace(int32_t character); /* White_Space, the no-break spaces among them */
QXUT_API int qxu_isbreakablespace(int32_t character); /* white space where a line may be broken */
QXUT_API int qxu_isupper(int32_t character);          /* upper case */
/* A digit in base 16: any decimal digit, and A-F and a-f, full-width ones too. */
QXUT_API int qxu_isxdigit(int32_t character);

/* The simple (one to one) mappings; a character without one is its own. */
QXUT_API int32_t qxu_tolower(int32_t character);
QXUT_API int32_t qxu_toupper(int32_t character);

QXUT_END_DECLS

#endif
