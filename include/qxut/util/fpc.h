/* fpc.h - conversion between binary doubles and decimal text, correctly rounded.
 *
 * All working memory is kept in the caller's context record: big integers come from its private
 * pool and go back to its free lists. The pool is large enough for every conversion, so that none
 * allocates. Results depend on neither the process's locale nor its rounding mode. A context
 * belongs to one thread at a time; it may not be moved, since it points into itself.
 */
#ifndef QXUT_UTIL_FPC_H
#define QXUT_UTIL_FPC_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* Module 25. */
enum ut_fpc_code { UT_FPC_BUFFER_TOO_SMALL = 0x190001 };

enum {
    UT_FPC_POOL_SIZE = 288,   /* doubles in the private pool */
    UT_FPC_FREE_LISTS = 8,    /* size classes that are recycled */
    UT_DTOA_NOT_FINITE = 9999 /* decimal-point position of infinities and NaNs */
};

struct ut_fpc_context {
    _memory_context* memory_context;
    double private_pool[UT_FPC_POOL_SIZE];
    double* pool_cursor;                 /* next free position in private_pool */
    void* free_lists[UT_FPC_FREE_LISTS]; /* released big integers of class k, 2^k words */
};

/* Registers the module-25 messages with the memory context's message context. Raises. */
QXUT_API void ut_initialize_fpc_messages(_memory_context* memory_context);

/* Registers the messages and fills the record. Raises OUT_OF_MEMORY. */
QXUT_API void ut_initialize_fpc_context(ut_fpc_context* context, _memory_context* memory_context);

/* Allocates a record from the memory context and initialises it; nothing leaks when it raises. */
QXUT_API ut_fpc_context* ut_new_fpc_context(_memory_context* memory_context);

/* Frees every block on the free lists that lies outside the private pool, through the memory
 * context, and zeroes the record. Clearing a record that is all zeros does nothing. */
QXUT_API void ut_clear_fpc_context(ut_fpc_context* context);

/* Clears the record and frees it. */
QXUT_API void ut_delete_fpc_context(ut_fpc_context* context);

/* Converts a double to decimal digits without point, sign or trailing zeros.
 *   buffer, size    receives the digits and a NUL
 *   mode            0 shortest text that reads back to the same double
 *                   1 the same without the even-boundary rule
 *                   2 at most max(1, ndigits) significant digits
 *                   3 ndigits places after the point; ndigits may be negative
 *                   4, 5 as 2, 3 but shorter where that reads back the same; 6 to 9 as 2 to 5;
 *                   any other as 0
 *   decimal_point   receives the position of the point from the first digit; 9999 for "Inf", "NaN"
 *   sign            receives non-zero for a negative number, negative zero and NaN included
 *   digits_end      receives the address of the NUL; may be null
 * Results are exact roundings of the binary value, ties going to the even digit. Zero gives "0"
 * with position 1; a result that rounds to nothing gives no digits and position -ndigits. Returns
 * the buffer; its bytes behind the NUL may change too. Raises FPC_BUFFER_TOO_SMALL (size, size + 1)
 * with the buffer and the results as they were. 768 bytes are always enough, 18 for modes 0 and 1.
 */
QXUT_API char* ut_dtoa(ut_fpc_context* context, char* buffer, size_t size, double value, int mode,
                       int ndigits, int* decimal_point, int* sign, char** digits_end);

/* Reads a decimal number: [sign] digits [. digits] [e|E [sign] digits], "Inf", "Infinity" or
 * "NaN" in any case; no leading blanks, no hexadecimal. `end` (may be null) receives the address
 * after the number, or `text` when there is none, which reads as 0. Rounds to nearest, ties to
 * even; too large gives infinity, too small zero, with the number's sign; errno is not touched.
 * Linear in the length of the number. */
QXUT_API double ut_strtod(ut_fpc_context* context, const char* text, char** end);

/* Writes the shortest text that reads back to the same double: "1.0", ".001", "1e+20", "-Inf".
 * `size` counts the NUL; 26 is always enough. Returns the buffer; its bytes behind the NUL may
 * change too. Raises FPC_BUFFER_TOO_SMALL with size and size + 1, the buffer then holding the cut
 * text without a NUL. */
QXUT_API char* ut_g_fmt(ut_fpc_context* context, char* buffer, size_t size, double value);

QXUT_END_DECLS

#endif
