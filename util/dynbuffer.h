/* SPDX-License-Identifier: MIT */

/* A byte array that grows on demand, up to a limit.
 *
 * The functions print nothing: a failure is told by the result and, where there is a callback, by a
 * message. No record may be null. One record belongs to one thread at a time; different records
 * may be used at the same time.
 *
 * Results: 0 for success, DYNBUFFER_ERR_NO_MEMORY (-2), DYNBUFFER_ERR_LIMIT (-3). */
#ifndef TARVEN_UTIL_DYNBUFFER_H_
#define TARVEN_UTIL_DYNBUFFER_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions return instead of 0. */
enum {
  DYNBUFFER_ERR_NO_MEMORY = -2, /* the array could not be had */
  DYNBUFFER_ERR_LIMIT = -3      /* an index at or beyond the limit */
};

/* Takes the text of an error. It lives no longer than the call. */
typedef void (*DYNBUFFER_ERROR_FUNC)(const char* message);

/* A growing buffer. Between DYNBUFFER_Init and DYNBUFFER_Free its fields are for reading. */
typedef struct {
  uint8_t* data;    /* the array, owned by the record; null when there is none */
  uint32_t limit;   /* the array never grows to hold this index or one above it */
  uint32_t size;    /* length of the array */
  uint32_t highest; /* index of the highest byte written so far */
  uint32_t written; /* 0 until the first successful write, then 1 */
  int32_t fill;     /* 0 to 255: the byte that new space holds; negative: it is left as it comes */
  DYNBUFFER_ERROR_FUNC error_callback; /* may be null */
} DYNBUFFER;

/* Sets up a record, whatever it held before, with an array of initial_size bytes.
 *
 * An initial size above the limit is taken as it is; such a buffer does not grow.
 *
 * Returns 0 or -2. After -2 the record holds no array and a limit of 0. */
int32_t DYNBUFFER_Init(DYNBUFFER* buffer, DYNBUFFER_ERROR_FUNC error_callback, uint32_t limit,
                       uint32_t initial_size, int32_t fill);

/* Releases the array and clears the record; a record without an array is left as it is.
 *
 * Returns 0. */
int32_t DYNBUFFER_Free(DYNBUFFER* buffer);

/* Sees to it that the array holds an index.
 *
 * The array grows to index + 1 bytes or to twice its size, whichever is more, but not beyond the
 * limit. Growing moves it.
 *
 * Returns 0, -2 or -3; after a failure the buffer is unchanged. */
int32_t DYNBUFFER_Ensure(DYNBUFFER* buffer, uint32_t index);

/* Copies data into the array from an offset on, growing it as DYNBUFFER_Ensure does.
 *
 * data   must not lie in the array; may be null when length is 0
 *
 * The last index is offset + length - 1 in 32 bits. A write of length 0 therefore takes the index
 * before its offset as written, and at offset 0 it is one of index 0xFFFFFFFF, which gives -3. Of
 * data that would end beyond 2^32 only what the array has room for is copied.
 *
 * Returns 0, -2 or -3; after a failure the buffer is unchanged. */
int32_t DYNBUFFER_Write(DYNBUFFER* buffer, uint32_t offset, const void* data, uint32_t length);

/* DYNBUFFER_Write behind the highest byte written so far, or at offset 0 into a fresh buffer, to
 * which a length of 0 thereby gives -3. */
int32_t DYNBUFFER_Append(DYNBUFFER* buffer, const void* data, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
