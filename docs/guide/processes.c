#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* Runs a shell line and prints how it ended. */
static void run(const char *line, char *const *environment) {
  char **command = sl_new("sh", "-c", line);
  fflush(stdout);
  pid_t child =
      process_spawn_fd(command, environment, NULL, -1, STDOUT_FILENO, STDERR_FILENO);
  int result = process_wait(child);
  printf("%s: %d\n", line, result);
  sl_free(command);
}

/* Sorts the words: writes them, closes the pipe, reads to the end, waits. */
static void sort(const char *words) {
  char **command = sl_new("sort");
  int in = -1;
  int out = -1;
  pid_t child = process_spawn_pipe(command, NULL, NULL, &in, &out, NULL);
  sl_free(command);
  if (child < 0)
    return;
  FILE *to = fdopen(in, "w");
  FILE *from = fdopen(out, "r");
  if (to != NULL && from != NULL) {
    fputs(words, to);
    fclose(to);
    for (int c = getc(from); c != EOF; c = getc(from))
      putchar(c);
    fclose(from);
  }
  printf("sort: %d\n", process_wait(child));
}

int main(void) {
  run("exit 3", NULL);
  run("kill -9 $$", NULL);

  char **environment = sl_new("BERTH", "7");
  run("echo berth $BERTH", environment);
  sl_free(environment);

  sort("Zug\nUri\nSchwyz\n");

  log_open_stderr();
  char **missing = sl_new("/nowhere/program");
  fflush(stdout);
  pid_t child = process_spawn_fd(missing, NULL, NULL, -1, -1, STDERR_FILENO);
  printf("missing program: %d\n", process_wait(child));
  printf("waited for again: %d\n", process_wait(child));
  sl_free(missing);
}
