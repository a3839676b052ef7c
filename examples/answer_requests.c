/*
 * A small service: answers requests to book a passage, each in the encoding that it came in.
 *
 *     answer_requests examples/data/booking_rules.json < examples/data/bookings.json
 *
 * Standard input and output stand for a connection. On it requests follow each other, in
 * JSON, the first byte being the "{" of the first request, or in MessagePack. Rules are
 * written as for validate.c.
 */
#include <errno.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

typedef struct service {
  node *rules;
  node_stream *stream;
  bool running; /* false once an answer could not be given */
} service;

typedef struct booking {
  char *from;
  char *to;
  int64_t *seats; /* may be absent */
} booking;

static bool put(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

/* False when memory runs out, here and below: what is wrong with a request is in `errors`.
   An error that got lost would let the request pass. */
static bool tell(node *errors, const char *message) {
  node *child = node_new_string(message);
  if (node_array_append(errors, child))
    return true;
  node_free(child);
  return false;
}

static bool check_rules(const node *rules, node *request, node *errors) {
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

/* What is wrong with the fields, or NULL. */
static const char *take_fields(const node *request, booking *b) {
  const node *from = node_object_get(request, "from");
  const node *to = node_object_get(request, "to");
  const node *seats = node_object_get(request, "seats");
  if (from == NULL || !str_from_node(&b->from, from))
    return "/from: expected a string";
  if (to == NULL || !str_from_node(&b->to, to))
    return "/to: expected a string";
  if (seats != NULL && !node_int_ptr_from_node(&b->seats, seats))
    return "/seats: expected an integer";
  return NULL;
}

static bool fill_answer(node *answer, const node *rules, node *request) {
  node *errors = node_new_array();
  if (!put(answer, "errors", errors) || !check_rules(rules, request, errors))
    return false;
  if (node_array_count(errors) != 0)
    return true;
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
  node_int_ptr_deinit(&b.seats); /* also of a field that proved to be of the wrong kind */
  return done;
}

static bool send_answer(const service *s, const node *answer) {
  char *data = NULL;
  size_t size = 0;
  if (!node_stream_encode(s->stream, answer, &data, &size))
    return false;
  bool is_json = node_stream_get_format(s->stream) == NODE_STREAM_JSON;
  bool sent = fwrite(data, 1, size, stdout) == size && (!is_json || putchar('\n') != EOF) &&
              fflush(stdout) == 0;
  free(data);
  if (!sent)
    perror("standard output");
  return sent;
}

/* Runs inside node_stream_decode() with a request's last byte. The request is ours. */
static void answer_request(node *request, void *user_data) {
  service *s = user_data;
  if (request == NULL) /* MessagePack that no node can hold, as binary data */
    request = node_new_null();
  node *answer = s->running && request != NULL ? node_new_object() : NULL;
  s->running =
      answer != NULL && fill_answer(answer, s->rules, request) && send_answer(s, answer);
  node_free(answer);
  node_free(request);
}

/* A request that the input ends inside of gets no answer. */
static bool serve(service *s, int fd) {
  char chunk[4096]; /* read() fills in what has arrived, without waiting for more */
  ssize_t size;
  while (s->running && (size = read(fd, chunk, sizeof chunk)) != 0) {
    if (size > 0 && !node_stream_decode(s->stream, chunk, (size_t)size))
      return false; /* the log tells why */
    if (size < 0 && errno != EINTR) {
      perror("standard input");
      return false;
    }
  }
  return s->running;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fputs("usage: answer_requests RULES\n", stderr);
    return EXIT_FAILURE;
  }
  log_open_stderr();
  service s = {.rules = json_parse_filename(argv[1]), .running = true};
  s.stream = node_stream_new(NODE_STREAM_AUTO, answer_request, &s);
  bool served = false;
  if (s.rules == NULL || !node_is_object(s.rules))
    fprintf(stderr, "%s: expected an object of rules\n", argv[1]);
  else if (s.stream != NULL)
    served = serve(&s, STDIN_FILENO);
  node_stream_free(s.stream);
  node_free(s.rules);
  log_close();
  return served ? EXIT_SUCCESS : EXIT_FAILURE;
}
