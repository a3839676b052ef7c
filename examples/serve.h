/*
 * The two halves of serve: serve.c moves bytes and enforces the limits, a handler
 * interprets the bytes. serve_bookings.c is the handler of this example.
 */
#ifndef SERVE_H
#define SERVE_H

#include <stdbool.h>
#include <stddef.h>

/* Bytes to be written: those from `sent` to `size` are left. */
typedef struct output {
  char *bytes;
  size_t sent, size, room;
} output;

/* False, with nothing appended, when memory runs out. */
bool output_append(output *out, const void *bytes, size_t size);

typedef struct limits {
  size_t value_bytes;    /* of one value; may be exceeded by the bytes of one read() */
  size_t values_at_once; /* completed by one read() */
  size_t waiting_bytes;  /* unsent answers; nothing is read while there are more */
  size_t connections;
  size_t idle_seconds; /* without taking an answer */
} limits;

/* Reads the rules, at the start and at SIGHUP. On failure returns false and keeps the
   old rules. NULL releases them. */
bool handler_load(const char *rules);

/* The handler's state of one connection. Answers go to `out`. NULL when memory runs out. */
typedef struct talk talk;
talk *talk_new(output *out, const limits *at_most);
/* Processes received bytes. False ends the connection after its answers have been
   written. */
bool talk_take(talk *t, const char *bytes, size_t size);
void talk_free(talk *t);

#endif
