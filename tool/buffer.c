#include "tool.h"

#include <stdlib.h>
#include <string.h>

static bool make_room(buffer *t, size_t size) {
  size_t room = t->room != 0 ? t->room : 1024;
  while (room - t->length < size && room <= SIZE_MAX / 2)
    room *= 2;
  char *bytes = room - t->length < size ? NULL : realloc(t->bytes, room);
  t->failed = bytes == NULL;
  if (t->failed)
    return false;
  t->bytes = bytes;
  t->room = room;
  return true;
}

void buffer_add(buffer *t, const void *bytes, size_t size) {
  if (t->failed || size == 0 || (size > t->room - t->length && !make_room(t, size)))
    return;
  memcpy(t->bytes + t->length, bytes, size);
  t->length += size;
}
