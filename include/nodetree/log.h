/*
 * log_: the one log channel of a process.
 *
 * Messages go nowhere until the program opens a log, and messages at LOG_DEBUG go nowhere
 * until it also turns debug output on. Opening another log replaces the one before; a file
 * log is closed by log_close() only, so call that first.
 *
 * Levels are the priorities of <syslog.h>. On standard error and in a file a message is a
 * line, which begins with "ERROR: " (LOG_ERR), "WARNING: " (LOG_WARNING), "INFO: "
 * (LOG_INFO) or "DEBUG: " (LOG_DEBUG); at any other level it begins with its text.
 *
 * The configuration is plain process-wide variables: set it up before other threads log.
 * Lines that several threads write at once may interleave. Logging keeps errno.
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

/* The stream of the file log: NULL unless log_open_file() has opened one. While it is NULL
   a file log writes nothing. */
extern NODETREE_API FILE *log_file;

/* Sends messages to standard error. */
NODETREE_API void log_open_stderr(void);

/* Sends messages to syslog, under the facility LOG_USER. `ident` and `options` are those of
   openlog(), which keeps the pointer: `ident` must stay valid until log_close(). NULL
   stands for the name of the program. */
NODETREE_API void log_open_syslog(const char *ident, int options);

/* Sends messages to a file, opened by fopen() with `path` and `mode`. Returns the stream,
   which is also in `log_file` and is closed by log_close(). It is buffered like any other:
   flush it, or change its buffering, where lines must not wait. Programs that this one
   starts do not inherit it. On failure returns NULL with errno set, `log_file` is NULL, and
   messages go where they went before. */
NODETREE_API FILE *log_open_file(const char *path, const char *mode);

/* Ends logging: closes the file log or the connection to syslog and discards all messages
   from then on. */
NODETREE_API void log_close(void);

/* Whether messages at LOG_DEBUG pass; initially they do not. */
NODETREE_API void log_set_debug(bool enabled);
NODETREE_API bool log_get_debug(void);

/* Writes one message, formatted as by printf(); "%m" stands for the text of errno as it is
   at the call. */
NODETREE_API void log_msg(int level, const char *format, ...) NODETREE_PRINTF(2, 3);

/* log_msg() for the arguments of a function that takes its own "...". As with vprintf(),
   `args` is used up. Without memory for the text the format is written as it is. */
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

/* Writes `length` bytes as one message at LOG_DEBUG: 16 bytes to a line, each line with its
 * offset, the bytes in hexadecimal and, where printable, as ASCII; "..." stands for further
 * lines equal to the one before. `data` may be NULL if `length` is 0. Where memory for the
 * dump runs out, a message saying so takes its place.
 *
 * The dump, some 80 bytes for each 16 of the data, is built even while debug output is off.
 * It is cut off shortly before INT_MAX bytes, the most that one message can hold. */
NODETREE_API void log_debug_hex(const void *data, size_t length);

NODETREE_END

#endif
