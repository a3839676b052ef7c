#include <errno.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* Adds one to the count in the file; several processes may do so at once. */
static bool count_visit(const char *path, const char *lock_path) {
  int lock = file_write_lock(lock_path); /* waits for its turn */
  if (lock < 0)
    return false;
  char *text = file_read_string(path);
  char fresh[32];
  snprintf(fresh, sizeof fresh, "%ld\n", (text != NULL ? atol(text) : 0) + 1);
  bool written = file_write_string("visits.new", fresh) && rename("visits.new", path) == 0;
  free(text);
  file_unlock(lock);
  return written;
}

int main(void) {
  char folder[] = "/tmp/files.XXXXXX";
  if (mkdtemp(folder) == NULL || chdir(folder) != 0)
    return EXIT_FAILURE;

  size_t length = 0;
  if (file_read("visits", &length) == NULL)
    printf("at first: %s\n", strerror(errno));
  for (int visit = 0; visit < 2; visit++)
    if (!count_visit("visits", "visits.lock"))
      return EXIT_FAILURE;
  char *bytes = file_read("visits", &length);
  printf("read %zu bytes: %s", length, bytes != NULL ? bytes : "nothing\n");
  free(bytes);

  int lock = file_read_lock("visits.lock");
  printf("held for reading: a reader %s, a writer %s\n",
         file_read_is_locked("visits.lock") ? "waits" : "enters",
         file_write_is_locked("visits.lock") ? "waits" : "enters");
  file_unlock(lock);

  char *mapped = file_map("visits", &length);
  if (mapped != NULL)
    printf("mapped: %.*s", (int)length, mapped);
  file_unmap(mapped, length);

  char *path = path_normalize("./data//2024/../2025/");
  if (path != NULL && file_mkdirp(path, 0700) &&
      file_write_string("data/2025/may.json", "{}"))
    printf("%s is %s\n", path, path_is_directory(path) ? "a directory" : "missing");
  free(path);

  char **found = path_search(".", "*.json");
  for (char **file = found; file != NULL && *file != NULL; file++) {
    char *parent = path_dirname(*file);
    printf("found %s in %s\n", *file, parent != NULL ? parent : "?");
    free(parent);
  }
  sl_free(found);

  unlink("data/2025/may.json");
  unlink("visits");
  unlink("visits.lock");
  return rmdir("data/2025") + rmdir("data") + rmdir(folder) == 0 ? EXIT_SUCCESS
                                                                 : EXIT_FAILURE;
}
