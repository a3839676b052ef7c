#include "tool.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static char *target; /* the file to replace, with symbolic links resolved; NULL for none */
static char *temporary; /* the new file, NULL if the target itself is written */
static struct stat old; /* the target before the replacement */
static bool is_new;     /* there was no target */

/* ---- Signals: a program that is ended leaves no temporary file ---- */

static const int ending[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGXCPU, SIGXFSZ};
enum { ENDING_COUNT = sizeof ending / sizeof *ending };
static struct sigaction before[ENDING_COUNT];

static void remove_and_end(int number) {
  unlink(temporary);
  raise(number); /* with the default action, once the handler returns */
}

static void catch_signals(void) {
  struct sigaction action = {.sa_handler = remove_and_end, .sa_flags = (int)SA_RESETHAND};
  for (int i = 0; i < ENDING_COUNT; i++) {
    sigaction(ending[i], NULL, &before[i]);
    if (before[i].sa_handler != SIG_IGN)
      sigaction(ending[i], &action, NULL);
  }
}

static void release_signals(void) {
  for (int i = 0; i < ENDING_COUNT; i++)
    sigaction(ending[i], &before[i], NULL);
}

/* ---- Names ---- */

static void forget(void) {
  free(temporary);
  free(target);
  temporary = target = NULL;
}

/* The file that the name leads to; if there is none, the name itself. */
static int find_target(const char *name) {
  target = realpath(name, NULL);
  is_new = target == NULL && errno == ENOENT;
  if (is_new) /* a dangling link is replaced, not followed */
    target = strdup(name);
  if (target == NULL)
    return errno;
  return !is_new && stat(target, &old) != 0 ? errno : 0;
}

/* A name in the same folder, so that rename() stays on one file system. */
static char *name_beside(const char *path) {
  const char *slash = strrchr(path, '/');
  char *name = NULL;
  int folder = slash != NULL ? (int)(slash - path + 1) : 0;
  return asprintf(&name, "%.*s.nodetree.XXXXXX", folder, path) < 0 ? NULL : name;
}

/* Without the old owner the set-ID bits are dropped, and without the old group also the
   group's rights: nobody gains rights by the replacement. */
static void take_after(int fd) {
  mode_t mask = umask(0);
  umask(mask);
  if (is_new) {
    (void)fchmod(fd, 0666 & ~mask);
    return;
  }
  mode_t mode = old.st_mode & 07777;
  bool owned = fchown(fd, old.st_uid, old.st_gid) == 0;
  if (!owned)
    mode &= fchown(fd, (uid_t)-1, old.st_gid) == 0 ? 01777 : 01707;
  (void)fchmod(fd, mode);
}

/* ---- The replacement ---- */

static int open_new(FILE **stream) {
  temporary = name_beside(target);
  if (temporary == NULL)
    return ENOMEM;
  catch_signals();
  int fd = mkostemp(temporary, O_CLOEXEC);
  if (fd < 0) {
    int error = errno;
    release_signals();
    return error;
  }
  take_after(fd);
  *stream = fdopen(fd, "w");
  if (*stream != NULL)
    return 0;
  close(fd);
  unlink(temporary);
  release_signals();
  return ENOMEM;
}

int replace_begin(const char *name, FILE **stream) {
  int error = find_target(name);
  if (error == 0 && !is_new && S_ISDIR(old.st_mode))
    error = EISDIR;
  if (error == 0 && !is_new && !S_ISREG(old.st_mode)) {
    *stream = fopen(target, "we");
    return *stream != NULL ? 0 : errno;
  }
  if (error == 0)
    error = open_new(stream);
  if (error != 0)
    forget();
  return error;
}

bool replace_is_late(void) {
  struct stat now;
  if (temporary == NULL || is_new)
    return false;
  return stat(target, &now) != 0 || now.st_dev != old.st_dev || now.st_ino != old.st_ino ||
         now.st_size != old.st_size || now.st_mtim.tv_sec != old.st_mtim.tv_sec ||
         now.st_mtim.tv_nsec != old.st_mtim.tv_nsec;
}

/* Makes the new name survive a crash. Not all file systems support this. */
static void sync_folder(void) {
  char *slash = strrchr(target, '/');
  if (slash != NULL)
    slash[slash == target] = '\0';
  int fd = open(slash != NULL ? target : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    (void)fsync(fd);
    close(fd);
  }
}

int replace_end(FILE *stream, bool keep) {
  errno = 0;
  bool written = fflush(stream) == 0 && ferror(stream) == 0;
  if (written && keep && temporary != NULL)
    written = fsync(fileno(stream)) == 0;
  int error = written ? 0 : errno != 0 ? errno : EIO;
  if (fclose(stream) != 0 && error == 0)
    error = errno;
  if (temporary != NULL) {
    if (error == 0 && keep && rename(temporary, target) != 0)
      error = errno;
    if (error != 0 || !keep)
      unlink(temporary);
    else
      sync_folder();
    release_signals();
  }
  forget();
  return error;
}
