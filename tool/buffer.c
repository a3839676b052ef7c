#include "tool.h"

#include <stdlib.h>
#include <string.h>

bool buffer_grow(buffer *t, size_t size) {
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
  if (size == 0 || !buffer_reserve(t, size))
    return;
  memcpy(t->bytes + t->length, bytes, size);
  t->length += size;
}
