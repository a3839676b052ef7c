#include <errno.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  log_msg(LOG_ERR, "nobody hears this");

  log_open_stderr();
  log_msg(LOG_INFO, "%d berths", 3);
  log_msg(LOG_WARNING, "berth %s is closed", "B");
  log_msg(LOG_NOTICE, "a level without a word of its own");
  errno = ENOENT;
  log_msg(LOG_ERR, "timetable: %m");

  log_msg(LOG_DEBUG, "not yet");
  log_set_debug(true);
  log_msg(LOG_DEBUG, "now it passes");

  if (log_open_file("/nowhere/log", "a") == NULL)
    log_msg(LOG_WARNING, "no log file; messages go on to where they went");
  log_close();
  log_msg(LOG_ERR, "nobody hears this either");
}
