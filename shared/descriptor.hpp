// The owner of a file descriptor.
#ifndef NODETREE_SHARED_DESCRIPTOR_HPP
#define NODETREE_SHARED_DESCRIPTOR_HPP

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace nodetree {

// Repeats a system call while signals interrupt it.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR)
    result = call();
  return result;
}

class Descriptor {
public:
  Descriptor() = default;
  Descriptor(const char *path, int flags, mode_t mode = 0)
      : fd_(uninterrupted([=] { return open(path, flags | O_CLOEXEC, mode); })) {}
  ~Descriptor() { reset(); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  bool is_open() const { return fd_ != -1; }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }
  // Preserves errno, which has the reason of an earlier failure.
  void reset(int fd = -1) {
    const int failure = errno;
    if (fd_ != -1)
      close(fd_);
    fd_ = fd;
    errno = failure;
  }

private:
  int fd_ = -1;
};

} // namespace nodetree

#endif
