/* The answers of serve, with jansson. It has no rules, so they are written out in C.
   JSON only; an incomplete object is parsed again when more bytes arrive. */
#include "serve.h"

#include <jansson.h>
#include <stdlib.h>
#include <string.h>

struct talk {
  output *out;
  char *bytes; /* not parsed yet */
  size_t size;
};

bool handler_load(const char *rules) {
  (void)rules;
  return true;
}

talk *talk_new(output *out, const limits *at_most) {
  (void)at_most;
  talk *t = calloc(1, sizeof *t);
  if (t != NULL)
    t->out = out;
  return t;
}

static bool is_port(const char *name) {
  return name != NULL && (strcmp(name, "Rapperswil") == 0 || strcmp(name, "Thalwil") == 0 ||
                          strcmp(name, "Wädenswil") == 0);
}

static bool answer(talk *t, json_t *request) {
  json_t *reply = json_object(), *errors = json_array();
  const char *from = json_string_value(json_object_get(request, "from"));
  const char *to = json_string_value(json_object_get(request, "to"));
  json_t *seats = json_object_get(request, "seats");
  json_int_t count = json_integer_value(seats);
  json_object_set_new(reply, "errors", errors);
  if (from == NULL)
    json_array_append_new(errors, json_string("where does the passage begin?"));
  if (!is_port(to))
    json_array_append_new(errors, json_string("no ferry goes there"));
  if (seats != NULL && (!json_is_integer(seats) || count < 1 || count > 12))
    json_array_append_new(errors, json_string("1 to 12 seats can be booked"));
  if (json_array_size(errors) == 0) {
    json_object_set_new(reply, "passage", json_sprintf("%s - %s", from, to));
    json_object_set(reply, "seats", seats);
  }
  char *text = json_dumps(reply, JSON_COMPACT);
  bool done = text != NULL && output_append(t->out, text, strlen(text)) &&
              output_append(t->out, "\n", 1);
  free(text);
  json_decref(reply);
  return done;
}

bool talk_take(talk *t, const char *bytes, size_t size) {
  char *all = realloc(t->bytes, t->size + size);
  if (all == NULL)
    return false;
  t->bytes = all;
  memcpy(t->bytes + t->size, bytes, size);
  t->size += size;
  size_t taken = 0;
  json_error_t error;
  json_t *request;
  bool good = true;
  while (good && taken < t->size &&
         (request = json_loadb(t->bytes + taken, t->size - taken, JSON_DISABLE_EOF_CHECK,
                               &error))) {
    taken += (size_t)error.position;
    good = answer(t, request);
    json_decref(request);
  }
  if (good && taken < t->size &&
      json_error_code(&error) != json_error_premature_end_of_input)
    good = false;
  t->size -= taken;
  memmove(t->bytes, t->bytes + taken, t->size);
  if (t->size == 0) {
    free(t->bytes);
    t->bytes = NULL;
  }
  return good;
}

void talk_free(talk *t) {
  if (t != NULL)
    free(t->bytes);
  free(t);
}
