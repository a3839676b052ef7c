#include <nodetree/stringstream.h>

#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

stringstream *stringstream_open() {
  auto *stream = static_cast<stringstream *>(malloc(sizeof(stringstream)));
  if (!stream)
    return nullptr;
  *stream = {};
  stream->file = open_memstream(&stream->data, &stream->size);
  if (!stream->file) {
    free(stream);
    return nullptr;
  }
  return stream;
}

FILE *stringstream_file(const stringstream *stream) {
  return stream->file;
}

char *stringstream_data(const stringstream *stream) {
  return stream->data;
}

size_t stringstream_size(const stringstream *stream) {
  return stream->size;
}

void stringstream_close(stringstream *stream) {
  if (!stream->file)
    return;
  fclose(stream->file);
  stream->file = nullptr;
  // The close trims the buffer by realloc(). If that fails the C library frees the buffer
  // and clears the pointer, but not the size.
  if (!stream->data)
    stream->size = 0;
}

char *stringstream_take_data(stringstream *stream) {
  stringstream_close(stream);
  char *data = stream->data;
  stream->data = nullptr;
  stream->size = 0;
  return data;
}

bool stringstream_null_terminate(stringstream *stream) {
  return stream->file && fputc('\0', stream->file) != EOF;
}

void stringstream_consume(stringstream *stream, size_t n) {
  if (stream->file && fflush(stream->file) != 0)
    return;
  if (n == 0 || n > stream->size)
    return;
  const size_t left = stream->size - n;
  if (stream->file && fseeko(stream->file, static_cast<off_t>(left), SEEK_SET) != 0)
    return;
  memmove(stream->data, stream->data + n, left);
  // A memory stream writes its final NUL only at the furthest position that it has reached,
  // so the removed bytes must not remain behind what is written next.
  memset(stream->data + left, 0, n);
  stream->size = left;
}

void stringstream_free(stringstream *stream) {
  if (!stream)
    return;
  stringstream_close(stream);
  free(stream->data);
  free(stream);
}
