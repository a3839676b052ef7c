/*
 * The answers of serve: requests to book a passage are checked by rules, moved into a
 * record and answered in their own encoding. The answer names the faults of a request. A
 * fault of the connection ends it, after an answer that says why.
 */
#include "serve.h"

#include <errno.h>
#include <nodetree.h>
#include <stdlib.h>

struct talk {
  node_stream *stream;
  output *out;
  const limits *at_most;
  size_t pending; /* bytes since the last complete value */
  size_t values;  /* completed by the current bytes */
  bool failed;    /* an answer could not be written */
};

typedef struct booking {
  char *from, *to;
  int64_t *seats; /* NULL if absent */
} booking;

static node *rules;

bool handler_load(const char *path) {
  node *loaded = path != NULL ? json_parse_filename(path) : NULL;
  if (path != NULL && !node_is_object(loaded)) {
    log_msg(LOG_ERR, "%s: no object of rules", path);
    node_free(loaded);
    return false;
  }
  node_free(rules);
  rules = loaded;
  return true;
}

static bool put(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

static bool tell(node *errors, const char *message) {
  node *child = node_new_string(message);
  if (node_array_append(errors, child))
    return true;
  node_free(child);
  return false;
}

/* False when memory runs out, here and below: if an error were lost, the request would
   pass. */
static bool check(node *request, node *errors) {
  bool told = true;
  for (node *rule = node_object_first(rules); rule != NULL && told;
       rule = node_object_next(rules, rule)) {
    char *message = NULL;
    node *result = expr_eval(rule, request, &message);
    if (!expr_coerce_bool(result))
      told = tell(errors, message != NULL ? message : node_key(rule));
    free(message);
    node_unref(result);
  }
  return told;
}

/* Returns what is wrong with the fields, or NULL. */
static const char *take_fields(const node *request, booking *b) {
  const node *seats = node_object_get(request, "seats");
  if (!str_from_node(&b->from, node_object_get(request, "from")))
    return "/from: expected a string";
  if (!str_from_node(&b->to, node_object_get(request, "to")))
    return "/to: expected a string";
  if (seats != NULL && !node_int_ptr_from_node(&b->seats, seats))
    return "/seats: expected an integer";
  return NULL;
}

static bool book(node *answer, const node *request, node *errors) {
  booking b = {.from = NULL};
  const char *wrong = take_fields(request, &b);
  bool done;
  if (wrong != NULL)
    done = tell(errors, wrong);
  else
    done = put(answer, "passage", node_new_string_printf("%s - %s", b.from, b.to)) &&
           put(answer, "seats", node_int_ptr_into_node(&b.seats, NULL));
  free(b.from);
  free(b.to);
  node_int_ptr_deinit(&b.seats);
  return done;
}

static bool send_answer(talk *t, const node *answer) {
  char *data = NULL;
  size_t size = 0;
  bool is_json = node_stream_get_format(t->stream) == NODE_STREAM_JSON;
  if (!node_stream_encode(t->stream, answer, &data, &size))
    return false;
  if (is_json)
    data[size++] = '\n'; /* replaces the NUL, which is inside the buffer */
  bool sent = output_append(t->out, data, size);
  free(data);
  return sent;
}

/* Sends what is wrong with the connection. */
static void send_error(talk *t, const char *message) {
  node *answer = node_new_object(), *errors = node_new_array();
  if (put(answer, "errors", errors) && tell(errors, message))
    send_answer(t, answer);
  node_free(answer);
  log_msg(LOG_INFO, "a connection ends: %s", message);
}

/* Called by node_stream_decode() when a request is complete. The request is ours. */
static void answer_request(node *request, void *user_data) {
  talk *t = user_data;
  t->pending = 0;
  if (++t->values <= t->at_most->values_at_once && !t->failed) {
    errno = 0; /* later ENOMEM if a rule or a conversion ran out of memory */
    node *answer = node_new_object(), *errors = node_new_array();
    bool done = put(answer, "errors", errors);
    if (done && !node_is_object(request))
      done = tell(errors, "expected an object");
    else if (done)
      done = check(request, errors) &&
             (node_array_count(errors) != 0 || book(answer, request, errors));
    t->failed = !done || errno == ENOMEM || !send_answer(t, answer);
    node_free(answer);
  }
  node_free(request);
}

talk *talk_new(output *out, const limits *at_most) {
  talk *t = calloc(1, sizeof *t);
  if (t == NULL)
    return NULL;
  *t = (talk){.out = out, .at_most = at_most};
  t->stream = node_stream_new(NODE_STREAM_AUTO, answer_request, t);
  if (t->stream == NULL) {
    free(t);
    return NULL;
  }
  return t;
}

bool talk_take(talk *t, const char *bytes, size_t size) {
  t->values = 0;
  t->pending += size;
  errno = 0;
  bool decoded = node_stream_decode(t->stream, bytes, size);
  const char *wrong = NULL;
  if (t->failed || (!decoded && errno == ENOMEM))
    wrong = "out of memory";
  else if (t->values > t->at_most->values_at_once)
    wrong = "too many requests at once";
  else if (!decoded)
    wrong = "not a message";
  else if (t->pending > t->at_most->value_bytes)
    wrong = "the request is too long";
  if (wrong != NULL)
    send_error(t, wrong);
  return wrong == NULL;
}

void talk_free(talk *t) {
  if (t != NULL)
    node_stream_free(t->stream);
  free(t);
}
