#include "tool.h"

#include <ctype.h>
#include <errno.h>
#include <nodetree/log.h>
#include <stdlib.h>
#include <string.h>

/* ---- Places ---- */

static bool is_json(const decoding *d) {
  return d->format == NODE_STREAM_JSON;
}

/* Sets the place to the line and column of the last of these bytes of the chunk. */
static void stand_in_text(const decoding *d, const char *bytes, size_t size) {
  size_t line = d->lines + 1;
  size_t line_start = d->line_start;
  for (size_t i = 0; i + 1 < size; i++) {
    if (bytes[i] == '\n') {
      line++;
      line_start = d->offset + i + 1;
    }
  }
  size_t end = d->offset + size;
  snprintf(d->job->where, sizeof d->job->where, "%zu:%zu", line,
           end > line_start ? end - line_start : 1);
}

static void stand_at_message(const decoding *d, size_t number, size_t offset) {
  snprintf(d->job->where, sizeof d->job->where, " message %zu at byte %zu", number, offset);
}

static void pass_chunk(decoding *d, const char *bytes, size_t size) {
  const char *end = bytes + size;
  for (const char *at = bytes; (at = memchr(at, '\n', (size_t)(end - at))) != NULL;) {
    d->lines++;
    d->line_start = d->offset + (size_t)(++at - bytes);
  }
  d->offset += size;
  if (size > 0)
    d->ends_in_digit = isdigit((unsigned char)bytes[size - 1]) != 0;
}

static void complain_here(const decoding *d, const char *text) {
  complain(d->job, "%s", text);
  *d->job->where = '\0';
}

/* ---- Values ---- */

static void answer(decoding *d, node *value, size_t number, bool of_many) {
  struct job *job = d->job;
  job->number = number;
  job->of_many = of_many;
  if (!job->output_lost)
    d->answer(job, value);
  job->of_many = false;
  node_free(value);
}

static void answer_first(decoding *d, bool of_many) {
  node *first = d->first;
  d->first = NULL;
  if (first != NULL)
    answer(d, first, 1, of_many);
}

void decode_settle(decoding *d) {
  answer_first(d, false);
}

/* The library leaves out what has no node form, which may be a whole MessagePack
   message. */
static bool is_whole(decoding *d, const node *value) {
  char *reason = messages_take();
  bool whole = value != NULL && reason == NULL;
  if (!whole) {
    snprintf(d->job->where, sizeof d->job->where, " message %zu", d->values);
    complain(d->job, "a part of the value is left out: %s",
             reason != NULL ? reason : strerror(ENOMEM));
    *d->job->where = '\0';
  }
  free(reason);
  return whole;
}

static void take_value(decoding *d, node *value) {
  d->values++;
  if (d->answer != NULL)
    answer_first(d, true);
  bool whole = is_whole(d, value);
  if (d->answer == NULL) {
    node_free(d->last);
    d->last = whole ? value : NULL;
    if (!whole)
      node_free(value);
  } else if (d->values == 1) {
    d->first = value;
  } else if (value != NULL) {
    answer(d, value, d->values, true);
  }
}

static void receive_value(node *value, void *user_data) {
  decoding *d = user_data;
  if (d->probing) {
    d->probe_arrived = value != NULL && node_is_null(value);
    node_free(value);
    return;
  }
  log_set_debug(false); /* of the debug messages, only the decoder's are needed */
  take_value(d, value);
  log_set_debug(true);
}

/* ---- The stream ---- */

/* The beginnings of other formats, which may be passed as input by mistake. */
static const struct mark {
  const char *bytes;
  size_t size;
  const char *name;
} marks[] = {
    {"\xff\xfe", 2, "UTF-16"},
    {"\xfe\xff", 2, "UTF-16"},
    {"{\0", 2, "UTF-16"},
    {"[\0", 2, "UTF-16"},
    {"\"\0", 2, "UTF-16"},
    {"\0{", 2, "UTF-16"},
    {"\0[", 2, "UTF-16"},
    {"\0\"", 2, "UTF-16"},
    {"\x1f\x8b", 2, "gzip data"},
    {"\xfd"
     "7zXZ",
     5, "xz data"},
    {"\x28\xb5\x2f\xfd", 4, "Zstandard data"},
    {"BZh", 3, "bzip2 data"},
    {"PK\3\4", 4, "a zip archive"},
};
enum { MARK_COUNT = sizeof marks / sizeof *marks };
static const struct mark byte_order_mark = {"\xef\xbb\xbf", 3, ""};

static bool begins_with(const struct mark *m, const char *bytes, size_t size) {
  return memcmp(m->bytes, bytes, size < m->size ? size : m->size) == 0;
}

bool decode_needs_more(const decoding *d, const char *bytes, size_t size) {
  if (d->stream != NULL || d->offset != 0 || d->format == NODE_STREAM_MSGPACK)
    return false;
  bool may = size < byte_order_mark.size && begins_with(&byte_order_mark, bytes, size);
  for (int i = 0; i < MARK_COUNT;
       i++) /* not after a bracket: the next byte may arrive much later */
    may = may || (size < marks[i].size && marks[i].bytes[1] != '\0' &&
                  begins_with(&marks[i], bytes, size));
  return may;
}

/* The name of the foreign format, NULL for a text. */
static const char *foreign_name(const char *bytes, size_t size) {
  for (int i = 0; i < MARK_COUNT; i++)
    if (size >= marks[i].size && begins_with(&marks[i], bytes, size))
      return marks[i].name;
  unsigned char first = (unsigned char)*bytes;
  return first < ' ' && memchr("\t\n\r", first, 3) == NULL ? "binary data" : NULL;
}

/* Higher bytes go to JSON, which refuses them: a file that begins with one is more
   likely a text in another encoding than MessagePack that begins with a negative
   integer. */
static node_stream_format recognise(char first) {
  unsigned char c = (unsigned char)first;
  return c >= 0x80 && c <= 0xdf ? NODE_STREAM_MSGPACK : NODE_STREAM_JSON;
}

static bool start(decoding *d) {
  d->stream = node_stream_new(d->format, receive_value, d);
  if (d->stream != NULL && node_stream_get_format(d->stream) == d->format)
    return true;
  complain_here(d, strerror(ENOMEM));
  return false;
}

/* Chooses the decoder by the first bytes. `*skipped` is set to the size of a byte order
   mark. */
static bool begin(decoding *d, const char *bytes, size_t size, size_t *skipped) {
  if (d->format == NODE_STREAM_AUTO)
    d->format = recognise(*bytes);
  d->job->input_format = d->format;
  if (is_json(d)) {
    const char *name = foreign_name(bytes, size);
    if (name != NULL) {
      complain(d->job, "looks like %s, not like JSON or MessagePack", name);
      return false;
    }
    if (size >= byte_order_mark.size && begins_with(&byte_order_mark, bytes, size))
      *skipped = byte_order_mark.size;
  }
  return start(d);
}

static bool feed(decoding *d, const char *bytes, size_t size) {
  log_set_debug(true);
  bool valid = node_stream_decode(d->stream, bytes, size);
  log_set_debug(false);
  return valid;
}

/* Reports the decoder's failure and its place; with `quote`, also the text that the
   decoder quotes. */
static void complain_failure(decoding *d, const char *bytes, size_t size, bool quote) {
  answer_first(d, true);
  size_t place = is_json(d) ? size : d->offset;
  char *name = NULL;
  char *reason = messages_take_failure(&place, is_json(d) ? &name : NULL);
  output_flush(d->job);
  if (is_json(d))
    stand_in_text(d, bytes, place < size ? place : size);
  else
    stand_at_message(d, d->values + 1, place);
  if (reason != NULL && !quote)
    reason[strcspn(reason, "\n")] = '\0';
  if (d->job->output_lost)
    ; /* later failures do not matter */
  else if (name != NULL)
    complain(d->job, "the member name \"%s\" is repeated", name);
  else
    complain(d->job, "%s", reason != NULL ? reason : strerror(ENOMEM));
  *d->job->where = '\0';
  free(name);
  free(reason);
}

/* Whether the decoder is between values. The library has no question for that, but only
   there a null fed to it arrives as a value of its own. (It may complete a MessagePack
   value, but one longer than a byte, so not a null.) */
static bool is_between_values(decoding *d) {
  const char *probe = is_json(d) ? "\nnull\n" : "\xc0";
  d->probing = true;
  d->probe_arrived = false;
  bool valid = node_stream_decode(d->stream, probe, strlen(probe));
  d->probing = false;
  return valid && d->probe_arrived;
}

static void complain_unfinished(decoding *d, const char *text, const char *bytes,
                                size_t size) {
  answer_first(d, true);
  free(messages_take()); /* it quotes the probe */
  if (is_json(d))
    stand_in_text(d, bytes, size);
  else
    stand_at_message(d, d->values + 1, d->offset);
  complain_here(d, text);
}

/* ---- With --skip-invalid every line is decoded by itself ---- */

static void break_line(decoding *d, bool ended) {
  node_stream_free(d->stream);
  d->stream = NULL;
  d->broken++;
  d->passing = !ended;
}

/* Decodes a line, or a part of one. */
static void decode_line(decoding *d, const char *bytes, size_t size) {
  bool ended = bytes[size - 1] == '\n';
  if (d->passing) {
    d->passing = !ended;
  } else if (!feed(d, bytes, size)) {
    complain_failure(d, bytes, size, false);
    break_line(d, ended);
  } else if (ended && !is_between_values(d)) {
    complain_unfinished(d, "the line ends inside a value", bytes, size);
    break_line(d, true);
  }
}

static bool decode_lines(decoding *d, const char *bytes, size_t size) {
  while (size > 0) {
    const char *newline = memchr(bytes, '\n', size);
    size_t length = newline != NULL ? (size_t)(newline - bytes) + 1 : size;
    if (d->stream == NULL && !start(d))
      return false;
    decode_line(d, bytes, length);
    pass_chunk(d, bytes, length);
    bytes += length;
    size -= length;
  }
  return true;
}

/* ---- The whole input ---- */

bool decode_bytes(decoding *d, const char *bytes, size_t size) {
  size_t skipped = 0;
  if (d->stream == NULL && d->offset == 0 && !begin(d, bytes, size, &skipped))
    return false;
  bytes += skipped;
  size -= skipped;
  if (is_json(d) && d->job->option[OPTION_SKIP_INVALID])
    return decode_lines(d, bytes, size);
  if (!feed(d, bytes, size)) {
    complain_failure(d, bytes, size, true);
    return false;
  }
  if (!d->patient)
    answer_first(d, false);
  pass_chunk(d, bytes, size);
  return true;
}

/* A blank is valid between values and completes a number. If it fails after a digit,
   that number is out of range. */
static bool end_stream(decoding *d) {
  if (is_json(d) && !feed(d, " ", 1) && d->ends_in_digit) {
    complain_failure(d, "", 0, false);
    return false;
  }
  if (is_between_values(d))
    return true;
  complain_unfinished(d, "ends inside a value", "", 0);
  return false;
}

bool decode_end(decoding *d, bool may_be_empty) {
  bool sound = d->stream == NULL || end_stream(d);
  if (d->answer != NULL)
    answer_first(d, false);
  if (d->broken > 0)
    complain(d->job, "%zu broken lines skipped", d->broken);
  else if (sound && d->values == 0 && !may_be_empty)
    complain(d->job, d->offset == 0 ? "is empty" : "contains no value");
  else if (sound && d->values > 1 && d->single)
    complain(d->job, "contains more than one value");
  else
    return sound;
  return false;
}
