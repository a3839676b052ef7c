/*
 * The two halves of serve: serve.c moves bytes and enforces the limits, a handler understands
 * the bytes. serve_bookings.c is the handler of this example.
 */
#ifndef SERVE_H
#define SERVE_H

#include <stdbool.h>
#include <stddef.h>

/* Bytes that wait to be written: from `sent` to `size` of them. */
typedef struct output {
  char *bytes;
  size_t sent, size, room;
} output;

/* False when memory runs out; then nothing has been appended. */
bool output_append(output *out, const void *bytes, size_t size);

typedef struct limits {
  size_t value_bytes;    /* of one value, to within the bytes that one read() gives */
  size_t values_at_once; /* that one read() completes */
  size_t waiting_bytes;  /* answers that wait; while there are more nothing is read */
  size_t connections;
  size_t idle_seconds; /* without an answer that the client takes */
} limits;

/* Reads the rules, at the start and again at SIGHUP. False, with the old ones in force, where
   that fails. NULL releases them. */
bool handler_load(const char *rules);

/* What the handler knows of one connection, whose answers go to `out`. NULL when memory runs
   out. */
typedef struct talk talk;
talk *talk_new(output *out, const limits *at_most);
/* Takes bytes in. False ends the connection once its answers have been written. */
bool talk_take(talk *t, const char *bytes, size_t size);
void talk_free(talk *t);

#endif
