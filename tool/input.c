#include "tool.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <nodetree/json.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef struct input {
  struct job *job;
  json_stream *stream;
  size_t values;
  bool ends_in_digit; /* the last byte so far */
  bool probing;       /* what arrives now is the probe of end_of_input() */
  bool probe_arrived;
} input;

static void receive_value(node *value, void *user_data) {
  input *in = user_data;
  if (in->probing) {
    in->probe_arrived = true;
  } else {
    in->values++;
    if (!in->job->output_lost)
      in->job->command->answer(in->job, value);
  }
  node_free(value);
}

/* Tells what the parser did not like, and where if the text is worth quoting. */
static void complain_parse(struct job *job, bool quote) {
  char *reason = messages_take();
  if (reason == NULL) {
    complain(job, "holds no valid JSON");
    return;
  }
  if (!quote)
    reason[strcspn(reason, "\n")] = '\0';
  /* This is how the parser words it when the library refuses what is valid JSON. */
  bool refused = strstr(reason, "client cancelled") != NULL;
  complain(job, "%s%s", reason, refused ? "\n(a repeated member name, or no memory)" : "");
  free(reason);
}

/* The parser cannot be told that the text ends here. A null that is fed to it shows where
   it stands: only between values does it come back as a value of its own. */
static bool end_of_input(input *in) {
  /* A blank belongs into every text, and completes a number. If it fails behind a digit,
     the number is complete and too large. */
  bool valid = json_stream_parse(in->stream, " ", 1);
  if (!valid && in->ends_in_digit) {
    complain_parse(in->job, false);
    return false;
  }
  in->probing = true;
  valid = valid && json_stream_parse_string(in->stream, "\nnull\n");
  if (!valid || !in->probe_arrived) {
    free(messages_take()); /* it quotes the probe */
    complain(in->job, "ends inside a value");
    return false;
  }
  return true;
}

static ssize_t read_some(int fd, void *buffer, size_t size) {
  ssize_t count;
  do
    count = read(fd, buffer, size);
  while (count < 0 && errno == EINTR);
  return count;
}

/* Whether the whole input was read and is sound. */
static bool feed(input *in, int fd) {
  static char buffer[64 * 1024];
  ssize_t count;
  while ((count = read_some(fd, buffer, sizeof buffer)) > 0) {
    size_t size = (size_t)count;
    bool valid = json_stream_parse(in->stream, buffer, size);
    /* Reading on may wait for long: the answers must be out before. */
    output_flush(in->job);
    if (in->job->output_lost)
      return false;
    if (!valid) {
      complain_parse(in->job, true);
      return false;
    }
    in->ends_in_digit = isdigit((unsigned char)buffer[size - 1]) != 0;
  }
  if (count < 0) {
    complain(in->job, "%s", strerror(errno));
    return false;
  }
  bool sound = end_of_input(in);
  output_flush(in->job);
  return sound;
}

void input_read(struct job *job, const char *name) {
  bool standard = strcmp(name, "-") == 0;
  job->input = standard ? "standard input" : name;
  input in = {.job = job};
  int fd = standard ? STDIN_FILENO : open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (fd < 0) {
    complain(job, "%s", strerror(errno));
  } else if ((in.stream = json_stream_new(receive_value, &in)) == NULL) {
    complain(job, "%s", strerror(ENOMEM));
  } else if (feed(&in, fd) && in.values == 0 && !standard) {
    complain(job, "holds no JSON value");
  }
  json_stream_free(in.stream);
  if (fd >= 0 && !standard)
    close(fd);
  job->input = NULL;
}
