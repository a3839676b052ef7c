// Whole files: reading, mapping and writing.
#include <nodetree/file.h>

#include "log/report.hpp"
#include "shared/descriptor.hpp"
#include "shared/memory.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>

using namespace nodetree;

namespace {

constexpr size_t first_capacity = 1024;

bool resize(Text &buffer, size_t capacity) {
  auto *moved = static_cast<char *>(realloc(buffer.get(), capacity));
  if (!moved)
    return false;
  static_cast<void>(buffer.release());
  buffer.reset(moved);
  return true;
}

// Reads to the end and adds the number of bytes to `length`. Leaves room for a NUL.
Text read_all(int fd, size_t &length) {
  size_t capacity = first_capacity;
  Text buffer(static_cast<char *>(malloc(capacity)));
  while (buffer) {
    const ssize_t count =
        uninterrupted([&] { return read(fd, buffer.get() + length, capacity - length); });
    if (count == -1)
      return nullptr;
    if (count == 0)
      break;
    length += static_cast<size_t>(count);
    if (length == capacity) {
      if (capacity > SIZE_MAX / 2 || !resize(buffer, capacity * 2)) {
        errno = ENOMEM;
        return nullptr;
      }
      capacity *= 2;
    }
  }
  // Up to half of a big buffer is unused. If the trimming fails, it stays as it is.
  if (buffer && capacity > first_capacity)
    static_cast<void>(resize(buffer, length + 1));
  return buffer;
}

bool write_all(int fd, const char *data, size_t length) {
  while (length > 0) {
    const ssize_t count = uninterrupted([=] { return write(fd, data, length); });
    if (count <= 0)
      return false;
    data += count;
    length -= static_cast<size_t>(count);
  }
  return true;
}

} // namespace

char *file_read(const char *path, size_t *length) {
  const Descriptor file(path, O_RDONLY);
  if (!file.is_open()) {
    NODETREE_DEBUG("Failed to open file '%s': %m", path);
    return nullptr;
  }
  *length = 0;
  Text buffer = read_all(file.get(), *length);
  if (buffer)
    buffer.get()[*length] = '\0';
  return buffer.release();
}

char *file_read_string(const char *path) {
  size_t length;
  return file_read(path, &length);
}

void *file_map(const char *path, size_t *length) {
  // O_NONBLOCK, so that opening a pipe does not wait for a writer.
  const Descriptor file(path, O_RDONLY | O_NONBLOCK);
  if (!file.is_open()) {
    NODETREE_DEBUG("Failed to open file '%s': %m", path);
    return nullptr;
  }
  struct stat status;
  if (fstat(file.get(), &status) == -1) {
    NODETREE_DEBUG("Failed to stat file '%s': %m", path);
    return nullptr;
  }
  if (status.st_size == 0) {
    NODETREE_DEBUG("Cannot map empty file '%s'", path);
    errno = EINVAL;
    return nullptr;
  }
  const auto size = static_cast<size_t>(status.st_size);
  void *address = MAP_FAILED;
  errno = ENOMEM; // for a file that is larger than the address space
  if (std::cmp_equal(size, status.st_size))
    address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
  if (address == MAP_FAILED) {
    NODETREE_DEBUG("Failed to map file '%s' into memory: %m", path);
    return nullptr;
  }
  *length = size;
  return address;
}

void file_unmap(void *address, size_t length) {
  if (address)
    munmap(address, length);
}

bool file_write(const char *, const void *, size_t) {
  return false;
}

bool file_write_string(const char *path, const char *text) {
  const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (!file.is_open()) {
    NODETREE_DEBUG("Failed to open file %s for writing: %m\n", path);
    return false;
  }
  // Without a buffer, so that a full disk is noticed before the text counts as written.
  const bool written = write_all(file.get(), text, strlen(text));
  if (!written)
    NODETREE_DEBUG("Failed to write file %s: %m\n", path);
  return written;
}
