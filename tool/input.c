#include "tool.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <nodetree/node_stream.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef struct input {
  struct job *job;
  answer_function answer;    /* NULL where the last value is kept instead */
  bool single;               /* more than one value is wrong */
  node_stream_format format; /* NODE_STREAM_AUTO until the first byte has arrived */
  node *last;
  node_stream *stream; /* NULL until then */
  size_t values;
  bool ends_in_digit; /* the last byte so far */
  bool probing;       /* what arrives now is the probe of end_of_input() */
  bool probe_arrived;
} input;

static const char *format_name(const input *in) {
  return in->format == NODE_STREAM_MSGPACK ? "MessagePack" : "JSON";
}

/* The library leaves out what has no form as a node, which of MessagePack may be all. */
static bool is_whole(input *in, const node *value) {
  char *reason = messages_take();
  bool whole = value != NULL && reason == NULL;
  if (!whole)
    complain(in->job, "some of a value is left out: %s",
             reason != NULL ? reason : strerror(ENOMEM));
  free(reason);
  return whole;
}

static void receive_value(node *value, void *user_data) {
  input *in = user_data;
  if (in->probing) {
    in->probe_arrived = value != NULL && node_is_null(value);
  } else {
    in->job->number = ++in->values;
    bool whole = is_whole(in, value);
    if (in->answer == NULL) {
      node_free(in->last);
      in->last = whole ? value : NULL;
      if (whole)
        return;
    } else if (value != NULL && !in->job->output_lost) {
      in->answer(in->job, value);
    }
  }
  node_free(value);
}

/* Tells what the parser did not like, and where if the text is worth quoting. */
static void complain_parse(const input *in, bool quote) {
  struct job *job = in->job;
  char *reason = messages_take();
  if (reason == NULL) {
    complain(job, "holds no valid %s", format_name(in));
    return;
  }
  if (!quote)
    reason[strcspn(reason, "\n")] = '\0';
  /* This is how the parser words it when the library refuses what is valid JSON. */
  bool refused = strstr(reason, "client cancelled") != NULL;
  complain(job, "%s%s", reason, refused ? "\n(a repeated member name, or no memory)" : "");
  free(reason);
}

/* The decoder cannot be told that the input ends here. A null that is fed to it shows where
   it stands: only between values does it come back as a value of its own. (It may complete
   a MessagePack value, but that is longer than a byte, so not a null.) */
static bool end_of_input(input *in) {
  bool is_json = in->format == NODE_STREAM_JSON;
  /* A blank belongs into every text, and completes a number. If it fails behind a digit,
     the number is complete and too large. */
  bool valid = !is_json || node_stream_decode(in->stream, " ", 1);
  if (!valid && in->ends_in_digit) {
    complain_parse(in, false);
    return false;
  }
  in->probing = true;
  const char *probe = is_json ? "\nnull\n" : "\xc0";
  valid = valid && node_stream_decode(in->stream, probe, strlen(probe));
  if (!valid || !in->probe_arrived) {
    free(messages_take()); /* it quotes the probe */
    complain(in->job, "ends inside a value");
    return false;
  }
  return true;
}

static ssize_t read_some(int fd, void *bytes, size_t size) {
  ssize_t count;
  do
    count = read(fd, bytes, size);
  while (count < 0 && errno == EINTR);
  return count;
}

/* What is read must be whole, and hold as many values as it should. An empty standard
   input does where values are answered one by one: a pipe may have nothing to say. */
static bool conclude(input *in, bool may_be_empty) {
  if (in->stream != NULL && !end_of_input(in))
    return false;
  output_flush(in->job);
  if (in->values == 0 && !may_be_empty)
    complain(in->job, "holds no value");
  else if (in->values > 1 && in->single)
    complain(in->job, "holds more than one value");
  else
    return true;
  return false;
}

/* Bytes above these are left to JSON, which refuses them: a file that begins so is rather a
   text with a byte order mark than MessagePack that begins with a negative integer. */
static node_stream_format recognise(char first) {
  unsigned char c = (unsigned char)first;
  return c >= 0x80 && c <= 0xdf ? NODE_STREAM_MSGPACK : NODE_STREAM_JSON;
}

static bool start(input *in, const char *bytes) {
  if (in->format == NODE_STREAM_AUTO)
    in->format = recognise(*bytes);
  in->job->input_format = in->format;
  in->stream = node_stream_new(in->format, receive_value, in);
  if (in->stream != NULL && node_stream_get_format(in->stream) == in->format)
    return true;
  complain(in->job, "%s", strerror(ENOMEM));
  return false;
}

static bool feed(input *in, const char *bytes, size_t size) {
  if (in->stream == NULL && !start(in, bytes))
    return false;
  bool valid = node_stream_decode(in->stream, bytes, size);
  /* Reading on may wait for long: the answers must be out before. */
  output_flush(in->job);
  if (in->job->output_lost)
    return false;
  if (!valid)
    complain_parse(in, true);
  in->ends_in_digit = size > 0 && isdigit((unsigned char)bytes[size - 1]) != 0;
  return valid;
}

static bool feed_file(input *in, int fd) {
  static char bytes[64 * 1024];
  ssize_t count;
  while ((count = read_some(fd, bytes, sizeof bytes)) > 0)
    if (!feed(in, bytes, (size_t)count))
      return false;
  if (count < 0)
    complain(in->job, "%s", strerror(errno));
  return count == 0;
}

/* The name is that of a file, or NULL for standard input. */
static int open_input(struct job *job, const char *name) {
  if (name == NULL && job->input_taken) {
    complain(job, "has been read already");
    return -1;
  }
  job->input_taken = job->input_taken || name == NULL;
  int fd = name == NULL ? STDIN_FILENO : open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (fd < 0)
    complain(job, "%s", strerror(errno));
  return fd;
}

static void end(input *in, bool sound) {
  node_stream_free(in->stream);
  in->job->input = NULL;
  if (!sound) {
    node_free(in->last);
    in->last = NULL;
  }
}

static void read_input(input *in, const char *name) {
  bool standard = strcmp(name, "-") == 0;
  in->job->input = standard ? "standard input" : name;
  int fd = open_input(in->job, standard ? NULL : name);
  bool sound = fd >= 0 && feed_file(in, fd) && conclude(in, standard && in->answer != NULL);
  if (fd >= 0 && !standard)
    close(fd);
  end(in, sound);
}

void input_answer(struct job *job, char **names, answer_function answer) {
  static char standard[] = "-";
  static char *nothing_named[] = {standard, NULL};
  for (char **name = *names != NULL ? names : nothing_named;
       *name != NULL && !job->output_lost; name++) {
    input in = {.job = job, .answer = answer, .format = job->from};
    if (!job->option['i']) {
      read_input(&in, *name);
    } else if (output_replace_begin(job, *name)) {
      read_input(&in, *name);
      output_replace_end(job);
    }
  }
}

node *input_last(struct job *job, const char *name) {
  input in = {.job = job, .format = job->from};
  read_input(&in, name);
  return in.last;
}

node *input_only(struct job *job, const char *name) {
  input in = {.job = job, .single = true, .format = job->from};
  read_input(&in, name);
  return in.last;
}

node *input_expression(struct job *job, const char *name) {
  input in = {.job = job, .single = true};
  read_input(&in, name);
  return in.last;
}

node *input_text(struct job *job, const char *name, const char *text) {
  job->input = name;
  input in = {.job = job, .single = true, .format = NODE_STREAM_JSON};
  bool sound = feed(&in, text, strlen(text)) && conclude(&in, false);
  end(&in, sound);
  return in.last;
}
