/*
 * stringstream_: a text built in memory through an ordinary FILE handle.
 *
 *     stringstream *stream = stringstream_open();
 *     fprintf(stringstream_file(stream), "%d items", count);
 *     char *text = stringstream_take_data(stream);
 *     stringstream_free(stream);
 *
 * Bytes written may still sit in the handle: the data and the size are those of the last
 * fflush() of the handle, or of its close. While the stream is open the buffer may move
 * with every write and flush, so a data pointer lasts until the next one. From the first
 * flush on, a zero byte that is not counted in the size ends the data.
 *
 * A write that finds no memory fails like any write to a FILE: it returns EOF or a negative
 * number and ferror() on the handle says so until the stream is closed.
 *
 * The handle is the record's own: fclose() on it is left to stringstream_close().
 */
#ifndef NODETREE_STRINGSTREAM_H
#define NODETREE_STRINGSTREAM_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

NODETREE_BEGIN

/* A stream; its fields are for reading. */
typedef struct stringstream {
  char *data;  /* owned by the record; NULL once taken */
  size_t size; /* bytes of data, the zero byte behind them not counted */
  FILE *file;  /* NULL once closed */
} stringstream;

/* A new, empty, open stream, to be released with stringstream_free(); NULL on failure. */
NODETREE_API stringstream *stringstream_open(void);

/* The handle to write through (borrowed); NULL once closed. */
NODETREE_API FILE *stringstream_file(const stringstream *stream);

/* The data (borrowed) as of the last flush or close; may be NULL before the first, and is
   after stringstream_take_data(). */
NODETREE_API char *stringstream_data(const stringstream *stream);

/* The number of bytes as of the last flush or close. */
NODETREE_API size_t stringstream_size(const stringstream *stream);

/* Closes the handle and brings data and size up to date; the record keeps them. Closing
   twice does nothing. Should memory run out here, the data is lost: it is NULL with size 0
   afterwards. O(n). */
NODETREE_API void stringstream_close(stringstream *stream);

/* Closes the stream and hands its data over: a zero-ended text to free(), "" when nothing
   was written. The record is left without data (NULL, size 0), and so a second call gives
   NULL, as does a close that ran out of memory. O(n). */
NODETREE_API char *stringstream_take_data(stringstream *stream);

/* Writes one zero byte, which counts like any other byte written. False when the stream is
   closed or the write fails. */
NODETREE_API bool stringstream_null_terminate(stringstream *stream);

/*
 * Removes the first n bytes; does nothing when there are fewer than n or the flush fails.
 *
 * An open stream is flushed first and set to write on right behind the bytes that are left,
 * so the text goes on without a gap and the size stays right at every later flush. On a
 * closed stream the data that it kept is shortened; no other stream is flushed. Either way
 * a zero byte still ends the data. O(size).
 */
NODETREE_API void stringstream_consume(stringstream *stream, size_t n);

/* Closes the stream and releases the record with what data it still has. NULL is ignored.
 */
NODETREE_API void stringstream_free(stringstream *stream);

NODETREE_END

#endif
