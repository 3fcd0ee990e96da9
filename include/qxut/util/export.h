/* export.h - which names leave the shared object, and the attributes of declarations.
 *
 * Every public declaration carries QXUT_API; everything else is hidden. Compile the library's own
 * sources with QXUT_BUILDING defined; clients define nothing (or QXUT_STATIC for a static build).
 */
#ifndef QXUT_UTIL_EXPORT_H
#define QXUT_UTIL_EXPORT_H

#if defined(QXUT_STATIC)
#define QXUT_API
#elif defined(_WIN32)
#if defined(QXUT_BUILDING)
#define QXUT_API __declspec(dllexport)
#else
#define QXUT_API __declspec(dllimport)
#endif
#else
#define QXUT_API __attribute__((visibility("default")))
#endif

#if defined(__cplusplus)
#define QXUT_BEGIN_DECLS extern "C" {
#define QXUT_END_DECLS }
#define QXUT_NORETURN [[noreturn]]
#else
#define QXUT_BEGIN_DECLS
#define QXUT_END_DECLS
#define QXUT_NORETURN _Noreturn
#endif

/* Lets the compiler check a printf-style argument list; arguments counted from 1, 0 for a va_list.
 */
#if defined(__GNUC__)
#define QXUT_PRINTF_LIKE(format_argument, first_argument) \
    __attribute__((format(printf, format_argument, first_argument)))
#else
#define QXUT_PRINTF_LIKE(format_argument, first_argument)
#endif

#endif
