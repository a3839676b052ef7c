#include "tool.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static ssize_t read_some(int fd, void *bytes, size_t size) {
  ssize_t count;
  do
    count = read(fd, bytes, size);
  while (count < 0 && errno == EINTR);
  return count;
}

/* Reads on while the bytes so far may still be the beginning of a foreign format. */
static ssize_t read_chunk(const decoding *d, int fd, char *bytes, size_t size) {
  ssize_t count = read_some(fd, bytes, size);
  while (count > 0 && decode_needs_more(d, bytes, (size_t)count)) {
    ssize_t more = read_some(fd, bytes + count, size - (size_t)count);
    if (more <= 0)
      return more < 0 ? more : count;
    count += more;
  }
  return count;
}

/* What is left of a truncated file may still be valid. */
static bool has_shrunk(int fd, const struct stat *before) {
  struct stat now;
  return S_ISREG(before->st_mode) && fstat(fd, &now) == 0 && now.st_size < before->st_size;
}

static bool decode_file(decoding *d, int fd, const struct stat *file) {
  static char bytes[64 * 1024];
  ssize_t count;
  while ((count = read_chunk(d, fd, bytes, sizeof bytes)) > 0) {
    bool valid = decode_bytes(d, bytes, (size_t)count);
    /* The next read may block for long, so print the answers first. */
    output_flush(d->job);
    progress_note(d->offset);
    if (!valid || d->job->output_lost)
      return false;
  }
  bool shrunk = count == 0 && has_shrunk(fd, file);
  if (count < 0 || shrunk) {
    const char *reason = shrunk ? "became shorter while it was read" : strerror(errno);
    decode_settle(d);
    complain(d->job, "%s", reason);
  }
  return count == 0 && !shrunk;
}

/* Whether the file is also the output. The shell has already made it empty, or it would
   grow as long as it is read. */
static bool is_output(struct job *job, const struct stat *file) {
  struct stat to;
  if (!S_ISREG(file->st_mode) || fstat(fileno(output), &to) != 0 ||
      to.st_dev != file->st_dev || to.st_ino != file->st_ino)
    return false;
  complain(job, "%s; use -i or -o to change a file",
           file->st_size == 0 ? "is empty, because it is also the output"
                              : "is also the output");
  return true;
}

const char *input_name(const char *name) {
  return strcmp(name, "-") == 0 ? "standard input" : name;
}

int input_open(struct job *job, const char *name, struct stat *file) {
  bool standard = strcmp(name, "-") == 0;
  job->input = input_name(name);
  if (standard && job->input_taken) {
    complain(job, "has already been read");
    return -1;
  }
  job->input_taken = job->input_taken || standard;
  int fd = standard ? STDIN_FILENO : open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (fd < 0 || fstat(fd, file) != 0)
    complain(job, "%s", strerror(errno));
  else if (!is_output(job, file))
    return fd;
  if (!standard && fd >= 0)
    close(fd);
  return -1;
}

static void end(decoding *d, bool sound) {
  progress_clear();
  node_stream_free(d->stream);
  node_free(d->first);
  d->job->input = NULL;
  if (!sound) {
    node_free(d->last);
    d->last = NULL;
  }
}

static void read_input(decoding *d, const char *name) {
  bool standard = strcmp(name, "-") == 0;
  struct stat file;
  int fd = input_open(d->job, name, &file);
  d->patient = fd >= 0 && S_ISREG(file.st_mode);
  if (fd >= 0)
    progress_start(&file);
  bool sound =
      fd >= 0 && decode_file(d, fd, &file) && decode_end(d, standard && d->answer != NULL);
  if (fd >= 0 && !standard)
    close(fd);
  end(d, sound);
}

void input_answer(struct job *job, char **names, answer_function answer) {
  static char standard[] = "-";
  static char *nothing_named[] = {standard, NULL};
  for (char **name = *names != NULL ? names : nothing_named;
       *name != NULL && !job->output_lost; name++) {
    decoding d = {.job = job, .answer = answer, .format = job->from};
    if (!job->option['i']) {
      read_input(&d, *name);
    } else if (output_replace_begin(job, *name)) {
      read_input(&d, *name);
      output_replace_end(job);
    }
  }
}

node *input_last(struct job *job, const char *name) {
  decoding d = {.job = job, .format = job->from};
  read_input(&d, name);
  return d.last;
}

node *input_only(struct job *job, const char *name) {
  decoding d = {.job = job, .single = true, .format = job->from};
  read_input(&d, name);
  return d.last;
}

node *input_expression(struct job *job, const char *name) {
  decoding d = {.job = job, .single = true};
  read_input(&d, name);
  return d.last;
}

node *input_text(struct job *job, const char *name, const char *text) {
  job->input = name;
  decoding d = {.job = job, .single = true, .format = NODE_STREAM_JSON};
  bool sound =
      (*text == '\0' || decode_bytes(&d, text, strlen(text))) && decode_end(&d, false);
  end(&d, sound);
  return d.last;
}
