/* A line on the terminal that shows how much of a long input has been read. */
#include "tool.h"

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

static bool wanted;
static bool shown;
static double start, last; /* in seconds */
static double total;       /* in bytes, 0 if unknown */

static double now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

void progress_start(const struct stat *input) {
  wanted = (S_ISREG(input->st_mode) || S_ISFIFO(input->st_mode)) && isatty(STDERR_FILENO) &&
           !isatty(fileno(output));
  if (!wanted)
    return;
  total = S_ISREG(input->st_mode) ? (double)input->st_size : 0;
  start = now();
  last = start + 1.8; /* shows the first line after two seconds */
}

void progress_note(size_t bytes) {
  double time = wanted ? now() : 0;
  if (!wanted || time - last < 0.2)
    return;
  last = time;
  shown = true;
  double done = (double)bytes;
  fprintf(stderr, "\r%.1f MB", done / 1e6);
  if (total > 0)
    fprintf(stderr, " of %.1f MB, %.0f %%", total / 1e6, 100 * done / total);
  fprintf(stderr, ", %.1f MB/s\x1b[K", done / 1e6 / (time - start));
  fflush(stderr);
}

void progress_clear(void) {
  if (shown)
    fputs("\r\x1b[K", stderr);
  shown = false;
}
