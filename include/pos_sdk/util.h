/* Small utilities: hexadecimal and integer conversions, a shell-command runner, a bit
 * array, safe string helpers and a fixed-size integer queue. No locking anywhere: callers
 * that share one object between threads serialise their own use. */
#ifndef POS_SDK_UTIL_H
#define POS_SDK_UTIL_H

#include <stdarg.h>
#include <stddef.h>

#include "pos_export.h"

POS_BEGIN_DECLS

/* Declared by <sys/time.h>; only pointers to it are used here. */
struct timeval;

/* ---- Byte and text conversions ---------------------------------------------------- */

/* Writes two upper-case hexadecimal digits per byte of IN (high nibble first) to OUT; no
 * terminator is written, so OUT needs 2 * LEN bytes. Returns LEN * 2. A null pointer, a
 * LEN of 0 or less, or a LEN too large to double writes nothing and returns 0. */
POS_API int ByteToStr(const unsigned char *in, int len, unsigned char *out);

/* Converts LEN / 2 pairs of characters of IN to bytes in OUT (an odd last character is
 * ignored). "A"-"F" and "a"-"f" count 10-15; any other character contributes its low four
 * bits, so digits work and other characters are not rejected. Returns LEN / 2. A null
 * pointer or a LEN below 2 writes nothing and returns 0. */
POS_API int StrToByte(const unsigned char *in, int len, unsigned char *out);

/* Store the first four bytes of IN as a big- or little-endian 32-bit value in *OUT and
 * return 0. A null pointer or a LEN below 4 returns 2 and leaves *OUT untouched. */
POS_API int Byte4ToIntBE(const char *in, int len, int *out);
POS_API int Byte4ToIntLE(const char *in, int len, int *out);

/* Store the first two bytes of IN as a big- or little-endian 16-bit value, zero-extended,
 * in *OUT and return 0. A null pointer or a LEN below 2 returns 2 and leaves *OUT
 * untouched. */
POS_API int Byte2ToIntBE(const char *in, int len, int *out);
POS_API int Byte2ToIntLE(const char *in, int len, int *out);

/* ---- Shell commands ---------------------------------------------------------------- */

/* Runs CMD through the shell and appends its standard output to the string OUT, which
 * the caller initialises (usually to ""). Output is read a line (at most 1023 bytes) at a
 * time and reading stops once OUT holds 1025 characters or more, so OUT must hold 2048
 * bytes in the worst case; callers with smaller buffers must know the output is short.
 * The command's exit status is not examined. Returns 0 once the command has run, or -1
 * if it could not be started ("popen CMD error" is printed to standard output). A null
 * pointer, or a command of 1024 bytes or more, returns -1 without running anything:
 * commands are limited to 1023 bytes and a cut-down command line is never run. */
POS_API int execute_cmd(const char *cmd, char *out);

/* ---- Bit array --------------------------------------------------------------------- */

/* A growable array of bits, all zero when created. The record carries its size so that
 * every access is checked. */
typedef struct bitarray_t {
    unsigned int n_bits; /* number of addressable bits */
    unsigned int *words; /* (n_bits + 31) / 32 words; bit i is bit i % 32 of word i / 32 */
} bitarray_t;

/* Returns a new array of N_BITS zero bits (N_BITS may be 0), or null when out of memory.
 * Release it with bitarray_free. */
POS_API bitarray_t *bitarray_init_zero(unsigned int n_bits);

/* Grows BA to N_BITS bits; the new bits are zero and the old ones keep their values. A
 * smaller or equal N_BITS leaves BA as it is (the array never shrinks). Returns 0, or -1
 * for a null BA or when out of memory (BA is then unchanged). */
POS_API int bitarray_expand(bitarray_t *ba, unsigned int n_bits);

/* Set or clear one bit. Return 0, or -1 for a null BA or a bit beyond the array. */
POS_API int bitarray_set(bitarray_t *ba, unsigned int bit);
POS_API int bitarray_clear(bitarray_t *ba, unsigned int bit);

/* Returns 1 if the bit is set, 0 if it is clear, beyond the array or BA is null. */
POS_API int bitarray_is_set(const bitarray_t *ba, unsigned int bit);

/* Releases the array; null is allowed. */
POS_API void bitarray_free(bitarray_t *ba);

/* ---- String helpers ---------------------------------------------------------------- */

/* A malloc'd copy of S, or null for a null S or when out of memory. */
POS_API char *smp_strdup(const char *s);

/* A malloc'd, terminated copy of at most N characters of S (fewer if S ends first), or
 * null for a null S or when out of memory. */
POS_API char *smp_strndup(const char *s, size_t n);

/* Copies SRC into DST of SIZE bytes, truncating if needed and always terminating when
 * SIZE > 0. Returns strlen(SRC), so a result >= SIZE means the copy was truncated; a null
 * SRC returns 0 and a null DST copies nothing. */
POS_API size_t smp_strlcpy(char *dst, const char *src, size_t size);

/* Removes leading and trailing white space from S in place (the text is moved to the
 * start, so S stays the same pointer) and returns S; null returns null. */
POS_API char *smp_strstrip(char *s);

/* snprintf that always terminates BUF when SIZE > 0. Returns the number of characters
 * written, or -1 when the text did not fit (BUF then holds what fitted), on a formatting
 * error, or for a null BUF or a SIZE of 0. */
POS_API int smp_snprintf(char *buf, size_t size, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
POS_API int smp_vsnprintf(char *buf, size_t size, const char *fmt, va_list ap)
    __attribute__((format(printf, 3, 0)));

/* Fills *TV with the current wall-clock time. Returns 0, or -1 for a null TV. */
POS_API int smp_gettimeofday(struct timeval *tv);

/* Finds the first occurrence of the PATTERN_LEN bytes of PATTERN in the TEXT_LEN bytes of
 * TEXT (Sunday's algorithm; the data may contain any byte, zeros included). Returns the
 * offset of the match, 0 for an empty pattern, or -1 when there is none, a pointer is
 * null or a length is negative. */
POS_API int smp_sunday_search(const unsigned char *text, int text_len, const unsigned char *pattern,
                              int pattern_len);

/* ---- Integer queue ----------------------------------------------------------------- */

/* A first-in, first-out queue of ints with a capacity fixed at initialisation, kept in a
 * ring of slots. The record belongs to the caller; initQueue allocates the slots and
 * destroyQueue releases them. */
typedef struct queue_t {
    int *items;   /* CAPACITY slots */
    int capacity; /* slots allocated */
    int head;     /* index of the oldest element */
    int count;    /* elements held */
} queue_t;

/* Prepares Q for up to CAPACITY elements. Returns 0, or -1 for a null Q, a CAPACITY below
 * 1 or when out of memory (Q is then empty with no slots). */
POS_API int initQueue(queue_t *q, int capacity);

/* Appends VALUE at the back. Returns 0, or -1 if Q is null, uninitialised or full. */
POS_API int enQueue(queue_t *q, int value);

/* Removes the front element into *VALUE (VALUE may be null to drop it). Returns 0, or -1
 * if Q is null or empty (*VALUE is then untouched). */
POS_API int deQueue(queue_t *q, int *value);

/* Empties Q, keeping its slots. */
POS_API void clearQueue(queue_t *q);

/* Releases the slots; Q is left empty with capacity 0 and may be initialised again. */
POS_API void destroyQueue(queue_t *q);

/* 1 if Q holds no element (a null Q counts as empty), else 0. */
POS_API int isEmptyQueue(const queue_t *q);

/* 1 if Q cannot take another element (a null or uninitialised Q counts as full), else 0. */
POS_API int isFullQueue(const queue_t *q);

/* Number of elements held; 0 for a null Q. */
POS_API int getQueueLen(const queue_t *q);

/* Prints the elements front to back to standard output as "[1 2 3]\n" ("[]\n" when
 * empty or null). */
POS_API void printQueue(const queue_t *q);

POS_END_DECLS

#endif
