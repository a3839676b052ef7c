#include <errno.h>
#include <nodetree.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* The least urgent level that the berths may log. */
static int berth_level = LOG_WARNING;

static void berth_log(int level, const char *format, ...) NODETREE_PRINTF(2, 3);

static void berth_log(int level, const char *format, ...) {
  if (level > berth_level)
    return;
  va_list args;
  va_start(args, format);
  log_vmsg(level, format, args);
  va_end(args);
}

int main(void) {
  log_msg(LOG_ERR, "discarded: no log is open");

  log_open_stderr();
  log_msg(LOG_INFO, "%d berths", 3);
  log_msg(LOG_NOTICE, "this level has no word in front");
  berth_log(LOG_INFO, "berth %s is free", "A"); /* not urgent enough */
  berth_log(LOG_WARNING, "berth %s is closed", "B");
  errno = ENOENT;
  log_msg(LOG_ERR, "timetable: %m");

  log_msg(LOG_DEBUG, "not yet");
  log_set_debug(true);
  log_msg(LOG_DEBUG, "now it passes");

  char path[] = "/tmp/logging.XXXXXX";
  int descriptor = mkstemp(path);
  if (descriptor < 0 || close(descriptor) != 0)
    return EXIT_FAILURE;
  if (log_open_file("/nowhere/log", "a") == NULL)
    log_msg(LOG_WARNING, "no log file: still on standard error");
  if (log_open_file(path, "a") != NULL) {
    setvbuf(log_file, NULL, _IOLBF, 0);
    log_msg(LOG_INFO, "into the file");
  }
  log_close();

  char *written = file_read_string(path);
  fprintf(stderr, "the file has: %s", written != NULL ? written : "nothing\n");
  free(written);
  unlink(path);

  log_open_syslog("berths", LOG_PID);
  log_msg(LOG_DEBUG, "in the system's log");
  log_close();
  log_msg(LOG_ERR, "discarded again");
}
