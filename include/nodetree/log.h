/*
 * log_: the log channel of the process.
 *
 * Messages are discarded until the program opens a log; messages at LOG_DEBUG also until it
 * turns debug output on. Opening another log replaces the one before. Only log_close()
 * closes a file log, so call it first.
 *
 * Levels are the priorities of <syslog.h>. On standard error and in a file each message is
 * followed by a newline and preceded by "ERROR: " (LOG_ERR), "WARNING: " (LOG_WARNING),
 * "INFO: " (LOG_INFO) or "DEBUG: " (LOG_DEBUG), and at other levels by nothing.
 *
 * The configuration is in plain process-wide variables, so set it up before other threads
 * log. Lines that several threads write at once may interleave. Logging preserves errno.
 */
#ifndef NODETREE_LOG_H
#define NODETREE_LOG_H

#include <errno.h>
#include <nodetree/export.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

NODETREE_BEGIN

/* The stream of the file log; NULL unless log_open_file() has opened one. While it is NULL
   the file log writes nothing. */
extern NODETREE_API FILE *log_file;

/* Sends messages to standard error. */
NODETREE_API void log_open_stderr(void);

/* Sends messages to syslog with the facility LOG_USER. `ident` and `options` are those of
   openlog(), which keeps the pointer: `ident` must stay valid until log_close(). A NULL
   `ident` stands for the name of the program. */
NODETREE_API void log_open_syslog(const char *ident, int options);

/* Sends messages to a file, opened by fopen() with `path` and `mode`. Returns the stream,
   which is also in `log_file` and is closed by log_close(). It is buffered like any stream;
   flush it or change its buffering if lines must appear at once. Programs started by this
   one do not inherit it. On failure returns NULL with errno set, sets `log_file` to NULL,
   and messages go where they went before. */
NODETREE_API FILE *log_open_file(const char *path, const char *mode);

/* Closes the file log or the connection to syslog. Messages are discarded from then on. */
NODETREE_API void log_close(void);

/* Sets and returns whether messages at LOG_DEBUG are logged; initially they are not. */
NODETREE_API void log_set_debug(bool enabled);
NODETREE_API bool log_get_debug(void);

/* Logs one message, formatted as by printf(). "%m" stands for the text of errno at the time
   of the call. */
NODETREE_API void log_msg(int level, const char *format, ...) NODETREE_PRINTF(2, 3);

/* log_msg() with a va_list, which is used up as by vprintf(). When memory runs out, the
   format itself is logged. O(length of the message). */
NODETREE_PRINTF(2, 0)
static inline void log_vmsg(int level, const char *format, va_list args) {
  const int caller_errno = errno;
  va_list again;
  char *text = NODETREE_NULL;
  int length;
  if (level == LOG_DEBUG && !log_get_debug())
    return;
  va_copy(again, args);
  length = vsnprintf(NODETREE_NULL, 0, format, again);
  va_end(again);
  if (length >= 0)
    text = NODETREE_CAST(char *, malloc(NODETREE_CAST(size_t, length) + 1));
  errno = caller_errno; /* which "%m" shows */
  if (text)
    vsnprintf(text, NODETREE_CAST(size_t, length) + 1, format, args);
  log_msg(level, "%s", text ? text : format);
  free(text);
  errno = caller_errno;
}

/* Logs `length` bytes as one message at LOG_DEBUG. Each line shows 16 bytes: the offset,
 * the bytes in hexadecimal, and as ASCII where printable. "..." stands for further lines
 * equal to the one before. `data` may be NULL if `length` is 0. When memory runs out, a
 * message says so instead.
 *
 * The dump is built even while debug output is off and takes about 80 bytes for each 16 of
 * the data. It is cut off shortly before INT_MAX bytes, the maximum of one message.
 * O(n). */
NODETREE_API void log_debug_hex(const void *data, size_t length);

NODETREE_END

#endif
