#include <nodetree/log.h>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>

FILE *log_file = nullptr;

namespace {

/* A destination of messages. Has the signature of vsyslog(), which is one of them. */
using Sink = void (*)(int level, const char *format, va_list args);

const char *level_prefix(int level) {
  switch (level) {
  case LOG_ERR:
    return "ERROR: ";
  case LOG_WARNING:
    return "WARNING: ";
  case LOG_INFO:
    return "INFO: ";
  case LOG_DEBUG:
    return "DEBUG: ";
  default:
    return "";
  }
}

NODETREE_PRINTF(3, 0)
void write_line(FILE *stream, int level, const char *format, va_list args) {
  const int caller_errno = errno;
  fputs(level_prefix(level), stream);
  /* Even a write that succeeds may have changed errno, which "%m" shows. */
  errno = caller_errno;
  vfprintf(stream, format, args);
  fputc('\n', stream);
}

void discard(int, const char *, va_list) {}

NODETREE_PRINTF(2, 0)
void write_to_stderr(int level, const char *format, va_list args) {
  write_line(stderr, level, format, args);
}

NODETREE_PRINTF(2, 0)
void write_to_file(int level, const char *format, va_list args) {
  if (log_file)
    write_line(log_file, level, format, args);
}

Sink sink = discard;
bool debug_enabled = false;

} // namespace

void log_open_stderr(void) {
  sink = write_to_stderr;
}

void log_open_syslog(const char *ident, int options) {
  openlog(ident, options, LOG_USER);
  sink = vsyslog;
}

FILE *log_open_file(const char *path, const char *mode) {
  log_file = fopen(path, mode);
  if (log_file) {
    fcntl(fileno(log_file), F_SETFD, FD_CLOEXEC);
    sink = write_to_file;
  }
  return log_file;
}

void log_close(void) {
  if (sink == vsyslog) {
    closelog();
  } else if (sink == write_to_file && log_file) {
    fclose(log_file);
    log_file = nullptr;
  }
  sink = discard;
}

void log_set_debug(bool enabled) {
  debug_enabled = enabled;
}

bool log_get_debug(void) {
  return debug_enabled;
}

void log_msg(int level, const char *format, ...) {
  if (level == LOG_DEBUG && !debug_enabled)
    return;
  const int caller_errno = errno;
  va_list args;
  va_start(args, format);
  sink(level, format, args);
  va_end(args);
  errno = caller_errno;
}
