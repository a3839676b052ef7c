/*
 * stringstream_: a text built in memory through an ordinary FILE handle.
 *
 *     stringstream *stream = stringstream_open();
 *     fprintf(stringstream_file(stream), "%d items", count);
 *     char *text = stringstream_take_data(stream);
 *     stringstream_free(stream);
 *
 * Data and size are those of the last fflush() or close of the handle; bytes written since
 * may still be in its buffer. While the stream is open every write and flush may move the
 * data, so a pointer to it is valid until the next one. From the first flush on the data
 * ends with a NUL that the size does not count.
 *
 * When memory runs out a write fails like any write to a FILE: it returns EOF or a negative
 * number, and ferror() on the handle is true until the stream is closed.
 *
 * The stream owns the handle. Do not call fclose() on it.
 */
#ifndef NODETREE_STRINGSTREAM_H
#define NODETREE_STRINGSTREAM_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

NODETREE_BEGIN

/* A stream. Callers only read its fields. */
typedef struct stringstream {
  char *data;  /* owned by the stream; NULL once taken */
  size_t size; /* bytes of data, without the NUL at their end */
  FILE *file;  /* NULL once closed */
} stringstream;

/* A new, empty, open stream, released with stringstream_free(). NULL on failure. */
NODETREE_API stringstream *stringstream_open(void);

/* The handle to write through, borrowed; NULL once closed. */
NODETREE_API FILE *stringstream_file(const stringstream *stream);

/* The data as of the last flush or close, borrowed. May be NULL before the first flush, and
   is NULL after stringstream_take_data(). */
NODETREE_API char *stringstream_data(const stringstream *stream);

/* The number of bytes as of the last flush or close. */
NODETREE_API size_t stringstream_size(const stringstream *stream);

/* Closes the handle and brings data and size up to date; the stream keeps them. Does
   nothing when it is closed. When memory runs out the data is lost: it is then NULL and the
   size 0. O(n). */
NODETREE_API void stringstream_close(stringstream *stream);

/* Closes the stream and returns its data as a new text, freed with free(); "" when nothing
   was written. The stream then has no data and the size 0. NULL at a second call, and when
   memory ran out at the close. O(n). */
NODETREE_API char *stringstream_take_data(stringstream *stream);

/* Writes a NUL, which the size counts like any other byte. False when the stream is closed
   or the write fails. */
NODETREE_API bool stringstream_null_terminate(stringstream *stream);

/*
 * Removes the first `n` bytes. Does nothing when there are fewer, or when the flush fails.
 *
 * An open stream is flushed first, and later writes go directly behind the bytes that are
 * left. A closed stream may be shortened too; no other stream is flushed. In both cases the
 * data still ends with a NUL. O(size).
 */
NODETREE_API void stringstream_consume(stringstream *stream, size_t n);

/* Closes the stream and releases it with its data. NULL is ignored. */
NODETREE_API void stringstream_free(stringstream *stream);

NODETREE_END

#endif
