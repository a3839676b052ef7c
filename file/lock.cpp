// Advisory locks on whole files.
#include <nodetree/file.h>

#include "log/report.hpp"
#include "shared/descriptor.hpp"

#include <sys/file.h>

using namespace nodetree;

// A lock belongs to the open file, which a child made by fork() shares until it calls exec.
// While the child has its copy only LOCK_UN releases the lock; closing a descriptor does
// not.

namespace {

constexpr mode_t lock_file_mode = 0600;

int file_lock(const char *path, int operation, const char *kind) {
  Descriptor file(path, O_RDONLY | O_CREAT, lock_file_mode);
  if (!file.is_open()) {
    NODETREE_DEBUG("Failed to open lock file %s: %m", path);
    return -1;
  }
  if (uninterrupted([&] { return flock(file.get(), operation); }) == -1) {
    NODETREE_DEBUG("Failed get %s lock on file %s: %m", kind, path);
    return -1;
  }
  return file.release();
}

bool would_wait(const char *path, int operation) {
  // O_NONBLOCK, so that opening a pipe does not wait for a writer.
  const Descriptor file(path, O_RDONLY | O_NONBLOCK);
  if (!file.is_open())
    return false;
  if (uninterrupted([&] { return flock(file.get(), operation | LOCK_NB); }) == -1)
    return errno == EWOULDBLOCK;
  flock(file.get(), LOCK_UN);
  return false;
}

} // namespace

int file_read_lock(const char *path) {
  return file_lock(path, LOCK_SH, "read");
}

int file_write_lock(const char *path) {
  return file_lock(path, LOCK_EX, "write");
}

void file_unlock(int descriptor) {
  if (descriptor < 0)
    return;
  flock(descriptor, LOCK_UN);
  close(descriptor);
}

bool file_read_is_locked(const char *path) {
  return would_wait(path, LOCK_SH);
}

bool file_write_is_locked(const char *path) {
  return would_wait(path, LOCK_EX);
}
