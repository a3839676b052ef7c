/* Writes trees as JSON text. */
#include <errno.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "tool.h"

/* The library's limit. The size of indented text grows with the square of the depth. */
enum { MAX_DEPTH = 127 };
static const char too_deep[] = "nested more than 127 levels deep";

/* A text being written. */
typedef struct writer {
  buffer *text;
  const json_style *style;
  int depth;
  bool opened; /* the last thing written was an opening bracket */
} writer;

static void put(buffer *t, char byte) {
  if (buffer_reserve(t, 1))
    t->bytes[t->length++] = byte;
}

static void put_text(buffer *t, const char *text) {
  buffer_add(t, text, strlen(text));
}

/* ---- Colors ---- */

static const char *const colors[] = {
    [NODE_NULL] = "\x1b[90m",   [NODE_INTEGER] = "\x1b[36m", [NODE_REAL] = "\x1b[36m",
    [NODE_STRING] = "\x1b[32m", [NODE_BOOLEAN] = "\x1b[33m", [NODE_LINK] = NULL,
};
static const char key_color[] = "\x1b[1;34m";

static void start_painting(const writer *w, const char *color) {
  if (w->style->colored && color != NULL)
    put_text(w->text, color);
}

static void stop_painting(const writer *w, const char *color) {
  if (w->style->colored && color != NULL)
    put_text(w->text, "\x1b[0m");
}

/* ---- Values ---- */

static bool is_plain(unsigned char byte) {
  return byte >= ' ' && byte != '"' && byte != '\\';
}

/* Not 0 if one of the eight bytes is less than `limit`, which is at most 128. Bytes
   after the first such byte may be flagged wrongly. */
#define EACH(byte) (UINT64_MAX / 255 * (byte))
static uint64_t below(uint64_t eight, unsigned limit) {
  return (eight - EACH((uint64_t)limit)) & ~eight & EACH(UINT64_C(0x80));
}

static bool all_plain(uint64_t eight) {
  return (below(eight, ' ') | below(eight ^ EACH((uint64_t)'"'), 1) |
          below(eight ^ EACH((uint64_t)'\\'), 1)) == 0;
}

/* Copies the bytes before the first that needs an escape; returns their number. */
static size_t copy_plain(char *to, const char *from, size_t size) {
  size_t done = 0;
  for (uint64_t eight; size - done >= sizeof eight; done += sizeof eight) {
    memcpy(&eight, from + done, sizeof eight);
    if (!all_plain(eight))
      break;
    memcpy(to + done, &eight, sizeof eight);
  }
  for (; done < size && is_plain((unsigned char)from[done]); done++)
    to[done] = from[done];
  return done;
}

static void write_escape(buffer *t, char byte) {
  static const char named[] = "\"\\\b\f\n\r\t", letters[] = "\"\\bfnrt";
  const char *found = strchr(named, byte);
  char escape[8];
  if (found != NULL)
    snprintf(escape, sizeof escape, "\\%c", letters[found - named]);
  else
    snprintf(escape, sizeof escape, "\\u%04X", (unsigned char)byte);
  put_text(t, escape);
}

static void write_string(buffer *t, const char *string) {
  size_t left = strlen(string);
  put(t, '"');
  while (left > 0 && buffer_reserve(t, left)) {
    size_t plain = copy_plain(t->bytes + t->length, string, left);
    t->length += plain;
    string += plain;
    left -= plain;
    for (; left > 0 && !is_plain((unsigned char)*string); left--)
      write_escape(t, *string++);
  }
  put(t, '"');
}

static void write_real(buffer *t, double value) {
  if (buffer_reserve(t, REAL_SIZE))
    t->length += json_real(value, t->bytes + t->length);
}

static void write_integer(buffer *t, int64_t value) {
  char number[24];
  char *end = number + sizeof number, *c = end;
  uint64_t rest = value < 0 ? -(uint64_t)value : (uint64_t)value;
  do
    *--c = (char)('0' + rest % 10);
  while ((rest /= 10) != 0);
  if (value < 0)
    *--c = '-';
  buffer_add(t, c, (size_t)(end - c));
}

/* Returns NULL, or why the leaf has no JSON form. */
static const char *write_leaf(buffer *t, const node *n) {
  switch (n->type) {
  case NODE_STRING:
    write_string(t, n->value.string);
    return NULL;
  case NODE_INTEGER:
    write_integer(t, n->value.integer);
    return NULL;
  case NODE_REAL:
    if (!isfinite(n->value.real))
      return "a real that is not finite";
    write_real(t, n->value.real);
    return NULL;
  case NODE_BOOLEAN:
    put_text(t, n->value.boolean ? "true" : "false");
    return NULL;
  case NODE_NULL:
    put_text(t, "null");
    return NULL;
  default: /* no input contains links */
    return "a link";
  }
}

/* ---- Trees ---- */

static bool is_container(const node *n) {
  return n->type == NODE_OBJECT || n->type == NODE_ARRAY;
}

static void start_line(const writer *w) {
  if (w->style->compact)
    return;
  bool tabs = w->style->indent < 0;
  size_t size = (size_t)w->depth * (tabs ? 1 : (size_t)w->style->indent);
  put(w->text, '\n');
  if (!buffer_reserve(w->text, size))
    return;
  memset(w->text->bytes + w->text->length, tabs ? '\t' : ' ', size);
  w->text->length += size;
}

/* Writes the comma, line break and key before a child. */
static void write_beginning(const writer *w, const node *n) {
  if (!w->opened)
    put(w->text, ',');
  start_line(w);
  if (n->parent->type != NODE_OBJECT)
    return;
  start_painting(w, key_color);
  write_string(w->text, n->key);
  stop_painting(w, key_color);
  put(w->text, ':');
  if (!w->style->compact)
    put(w->text, ' ');
}

/* For a container with children, only the opening bracket. */
static const char *write_value(writer *w, const node *n) {
  if (!is_container(n)) {
    start_painting(w, colors[n->type]);
    const char *reason = write_leaf(w->text, n);
    stop_painting(w, colors[n->type]);
    return reason;
  }
  if (w->depth == MAX_DEPTH)
    return too_deep;
  bool is_object = n->type == NODE_OBJECT;
  w->opened = n->child_count != 0;
  if (w->opened) {
    put(w->text, is_object ? '{' : '[');
    w->depth++;
  } else {
    put_text(w->text, is_object ? "{}" : "[]");
  }
  return NULL;
}

/* Returns NULL, or why the node cannot be written. */
static const char *write_step(writer *w, const walk *step) {
  const node *n = step->at;
  if (step->leaving) {
    w->depth--;
    start_line(w);
    put(w->text, n->type == NODE_OBJECT ? '}' : ']');
    return NULL;
  }
  if (n != step->top)
    write_beginning(w, n);
  w->opened = false;
  return write_value(w, n);
}

static void complain_form(struct job *job, const node *n, const char *reason) {
  char *path = node_path(n);
  if (path != NULL)
    make_printable(path);
  complain(job, "Failed to stringify JSON: %s: %s", path != NULL ? path : "?", reason);
  free(path);
}

bool json_write(struct job *job, buffer *t, const node *value, const json_style *style) {
  size_t start = t->length;
  writer w = {.text = t, .style = style};
  walk step = walk_start(value, style->sorted);
  const char *reason;
  do
    reason = write_step(&w, &step);
  while (reason == NULL && !t->failed && walk_next(&step));
  if (reason == NULL && !t->failed)
    return true;
  if (reason != NULL)
    complain_form(job, reason == too_deep ? value : step.at, reason);
  else
    complain_form(job, value, strerror(ENOMEM));
  t->length = start;
  t->failed = false;
  return false;
}
