/* Trees as JSON text, for people and for programs. */
#include "tool.h"

#include <errno.h>
#include <float.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <yajl/yajl_gen.h>

enum { MAX_DEPTH = 127 }; /* the generator has no room for more */
static const char too_deep[] = "nested more than 127 levels deep";

/* ---- Reals ---- */

/* One more in the last digit of "d.ddde-dd". */
static void next_decimal(char *text) {
  char *c = strchr(text, 'e') - 1;
  for (; c >= text && (*c == '9' || *c == '.'); c--)
    if (*c == '9')
      *c = '0';
  if (c >= text && *c != '-')
    ++*c;
}

/* "d.ddde-dd" with the fewest digits. Decimals of 15 digits are all told apart, except where
   reals are denormal. Below a power of two reals lie closer than above it: what is nearest
   of a length may miss there, and the next one up hit. */
static void shortest(double value, char text[REAL_SIZE]) {
  int digits = fabs(value) < DBL_MIN ? 1 : 15;
  for (;; digits++) {
    snprintf(text, REAL_SIZE, "%.*e", digits - 1, value);
    if (digits == 17 || strtod(text, NULL) == value)
      return;
    next_decimal(text);
    if (strtod(text, NULL) == value)
      return;
  }
}

/* Digits and exponent of "-d.ddde-dd", without zeros at the end. */
static int take_apart(const char *text, char digits[REAL_SIZE], int *count) {
  *count = 0;
  for (; *text != 'e'; text++)
    if (*text >= '0' && *text <= '9')
      digits[(*count)++] = *text;
  while (*count > 1 && digits[*count - 1] == '0')
    --*count;
  return atoi(text + 1);
}

/* Most reals are decimals of a few digits behind the point. The quotient of two such whole
   numbers is the real nearest to the decimal, and so what the decimal reads back as. Returns
   the length; 0 for other reals. */
static size_t short_decimal(double value, char number[REAL_SIZE]) {
  double size = fabs(value);
  if (!(size >= 1e-5 && size < 1e9))
    return 0;
  int places = 0;
  double power = 1;
  for (; places <= 6; places++, power *= 10) {
    double digits = nearbyint(size * power);
    if (digits / power == size)
      break;
  }
  if (places > 6)
    return 0;
  unsigned long long digits = (unsigned long long)nearbyint(size * power);
  char *end = number + REAL_SIZE, *c = end;
  if (places == 0)
    *--c = '0';
  for (int i = 0; i < places; i++, digits /= 10)
    *--c = (char)('0' + digits % 10);
  *--c = '.';
  do
    *--c = (char)('0' + digits % 10);
  while ((digits /= 10) != 0);
  if (value < 0)
    *--c = '-';
  memmove(number, c, (size_t)(end - c));
  return (size_t)(end - c);
}

size_t json_real(double value, char number[REAL_SIZE]) {
  size_t short_length = short_decimal(value, number);
  if (short_length != 0)
    return short_length;
  char text[REAL_SIZE], digits[REAL_SIZE];
  int count;
  shortest(value, text);
  int exponent = take_apart(text, digits, &count);

  const char *sign = *text == '-' ? "-" : "";
  static const char zeros[] = "0000000000000000";
  int length;
  if (exponent < -5 || exponent > 16)
    length = snprintf(number, REAL_SIZE, "%s%c%s%.*se%d", sign, *digits,
                      count > 1 ? "." : "", count - 1, digits + 1, exponent);
  else if (exponent < 0)
    length = snprintf(number, REAL_SIZE, "%s0.%.*s%.*s", sign, -exponent - 1, zeros, count,
                      digits);
  else if (count <= exponent + 1)
    length = snprintf(number, REAL_SIZE, "%s%.*s%.*s.0", sign, count, digits,
                      exponent + 1 - count, zeros);
  else
    length = snprintf(number, REAL_SIZE, "%s%.*s.%.*s", sign, exponent + 1, digits,
                      count - exponent - 1, digits + exponent + 1);
  return (size_t)length;
}

/* ---- The generator ---- */

/* What the generator writes to. Blanks and signs before a token are not painted. */
typedef struct canvas {
  buffer *text;
  bool colored;
  const char *paint; /* the color of the next token, NULL for none or when it has begun */
  bool painting;
} canvas;

static yajl_gen generator;
static canvas painted; /* what it writes to, for good: it would free another */

static const char *const colors[] = {
    [NODE_NULL] = "\x1b[90m",   [NODE_INTEGER] = "\x1b[36m", [NODE_REAL] = "\x1b[36m",
    [NODE_STRING] = "\x1b[32m", [NODE_BOOLEAN] = "\x1b[33m", [NODE_LINK] = NULL,
};
static const char key_color[] = "\x1b[1;34m";

static void paint_next(const char *color) {
  if (painted.colored)
    painted.paint = color;
}

static void stop_painting(void) {
  if (painted.painting)
    buffer_add(painted.text, "\x1b[0m", 4);
  painted.painting = false;
}

static void write_out(void *context, const char *bytes, size_t size) {
  canvas *c = context;
  buffer *t = c->text;
  if (!c->colored && size < t->room - t->length) {
    if (size == 1) /* most are quotes and commas */
      t->bytes[t->length] = *bytes;
    else
      memcpy(t->bytes + t->length, bytes, size);
    t->length += size;
    return;
  }
  if (c->paint != NULL && strchr(",: \t\n", *bytes) == NULL) {
    buffer_add(c->text, c->paint, strlen(c->paint));
    c->paint = NULL;
    c->painting = true;
  } else if (c->painting && *bytes == '\n') {
    stop_painting(); /* the end of the text */
  }
  buffer_add(t, bytes, size);
}

/* The generator does not look at what its allocator returns. It asks when it is made only. */
static void *allocate(void *context, size_t size) {
  (void)context;
  void *bytes = malloc(size);
  if (bytes == NULL) {
    fputs("nodetree: out of memory\n", stderr);
    exit(STATUS_FAILED);
  }
  return bytes;
}

static void *reallocate(void *context, void *old, size_t size) {
  (void)context, (void)old, (void)size;
  abort(); /* it has no text of its own that could grow */
}

static void release(void *context, void *bytes) {
  (void)context;
  free(bytes);
}

void json_open(void) {
  yajl_alloc_funcs memory = {allocate, reallocate, release, NULL};
  generator = yajl_gen_alloc(&memory);
  yajl_gen_config(generator, yajl_gen_print_callback, write_out, &painted);
}

void json_close(void) {
  if (generator != NULL)
    yajl_gen_free(generator);
  generator = NULL;
}

static void prepare(buffer *t, const json_style *style) {
  static const char blanks[MAX_INDENT + 1] = "                ";
  const char *indent = style->indent < 0 ? "\t" : blanks + MAX_INDENT - style->indent;
  painted = (canvas){.text = t, .colored = style->colored};
  yajl_gen_reset(generator, NULL);
  yajl_gen_config(generator, yajl_gen_beautify, style->compact ? 0 : 1);
  yajl_gen_config(generator, yajl_gen_indent_string, indent);
}

/* ---- Trees ---- */

static yajl_gen_status write_string(const char *string) {
  return yajl_gen_string(generator, (const unsigned char *)string, strlen(string));
}

static yajl_gen_status write_real(double value) {
  if (!isfinite(value))
    return yajl_gen_invalid_number;
  char number[REAL_SIZE];
  return yajl_gen_number(generator, number, json_real(value, number));
}

static yajl_gen_status write_integer(int64_t value) {
  char number[24];
  char *end = number + sizeof number, *c = end;
  uint64_t rest = value < 0 ? -(uint64_t)value : (uint64_t)value;
  do
    *--c = (char)('0' + rest % 10);
  while ((rest /= 10) != 0);
  if (value < 0)
    *--c = '-';
  return yajl_gen_number(generator, c, (size_t)(end - c));
}

/* The value itself; of a container with children, its opening. */
static yajl_gen_status write_value(const node *n, int *depth) {
  switch (n->type) {
  case NODE_OBJECT:
  case NODE_ARRAY: {
    bool is_object = node_is_object(n);
    if (*depth == MAX_DEPTH)
      return yajl_max_depth_exceeded;
    if (n->child_count == 0) /* the generator would open lines for nothing */
      return yajl_gen_number(generator, is_object ? "{}" : "[]", 2);
    ++*depth;
    return is_object ? yajl_gen_map_open(generator) : yajl_gen_array_open(generator);
  }
  case NODE_STRING:
    return write_string(n->value.string);
  case NODE_INTEGER:
    return write_integer(n->value.integer);
  case NODE_REAL:
    return write_real(n->value.real);
  case NODE_BOOLEAN:
    return yajl_gen_bool(generator, n->value.boolean);
  case NODE_NULL:
    return yajl_gen_null(generator);
  case NODE_LINK: /* neither encoding has any */
    break;
  }
  return yajl_gen_in_error_state;
}

static yajl_gen_status write_step(const walk *w, int *depth) {
  const node *n = w->at;
  if (w->leaving) {
    --*depth;
    return node_is_object(n) ? yajl_gen_map_close(generator)
                             : yajl_gen_array_close(generator);
  }
  if (n != w->top && node_is_object(node_parent(n))) {
    paint_next(key_color);
    yajl_gen_status status = write_string(node_key(n));
    stop_painting();
    if (status != yajl_gen_status_ok)
      return status;
  }
  paint_next(node_is_container(n) ? NULL : colors[n->type]);
  yajl_gen_status status = write_value(n, depth);
  stop_painting();
  return status;
}

static void complain_form(struct job *job, const node *n, const char *reason) {
  char *path = node_path(n);
  if (path != NULL)
    make_printable(path);
  complain(job, "Failed to stringify JSON: %s: %s", path != NULL ? path : "?", reason);
  free(path);
}

static const char *reason_of(yajl_gen_status status) {
  switch (status) {
  case yajl_max_depth_exceeded:
    return too_deep;
  case yajl_gen_invalid_number:
    return "a real that is not finite";
  default:
    return "refused by the generator";
  }
}

bool json_write(struct job *job, buffer *t, const node *value, const json_style *style) {
  size_t start = t->length;
  prepare(t, style);
  walk w = walk_start(value, style->sorted);
  int depth = 0;
  yajl_gen_status status;
  do
    status = write_step(&w, &depth);
  while (status == yajl_gen_status_ok && !t->failed && walk_next(&w));

  if (status != yajl_gen_status_ok)
    complain_form(job, status == yajl_max_depth_exceeded ? value : w.at, reason_of(status));
  else if (t->failed)
    complain_form(job, value, strerror(ENOMEM));
  else if (!style->compact && t->length > start)
    t->length--; /* the generator ends the text with a newline */
  if (status == yajl_gen_status_ok && !t->failed)
    return true;
  t->length = start;
  t->failed = false;
  return false;
}
