/*
 * Owners of string streams, mappings, locks and child processes. Part of <nodetree.hpp>,
 * which says what holds for all of it.
 */
#ifndef NODETREE_CPP_SYSTEM_HPP
#define NODETREE_CPP_SYSTEM_HPP

#include <nodetree/cpp/lists.hpp>
#include <unistd.h>

namespace nodetree {

/// Owns a text that is written through a FILE; see <nodetree/stringstream.h>.
class StringStream : public detail::Owner<StringStream, ::stringstream *> {
public:
  /// A new, empty stream. Holds no stream when memory ran out.
  static StringStream open() noexcept { return adopt(::stringstream_open()); }
  /// The handle to write through, borrowed; null once closed.
  FILE *file() const noexcept NODETREE_LIFETIMEBOUND {
    return get() ? ::stringstream_file(get()) : nullptr;
  }
  /// Flushes and returns the text so far, borrowed until the next write. Deleted for
  /// temporaries. O(n).
  std::string_view view() const &noexcept NODETREE_LIFETIMEBOUND {
    if (file())
      std::fflush(file());
    return get() && get()->data ? std::string_view(get()->data, get()->size)
                                : std::string_view();
  }
  void view() const && = delete;
  /// stringstream_take_data(): closes the stream and hands the text to the caller. Empty at
  /// the second call and when memory ran out. O(n).
  Text take() noexcept {
    return Text::adopt(get() ? ::stringstream_take_data(get()) : nullptr);
  }
};

/// Owns a read-only mapping of a whole file; see file_map().
class Mapping {
public:
  /// Holds no mapping.
  Mapping() noexcept = default;
  /// Maps the file. Holds no mapping, with the reason in errno, on failure and for a file
  /// without a size.
  explicit Mapping(const CString &path) noexcept
      : bytes_(path.get() ? ::file_map(path.get(), &size_) : nullptr) {}
  Mapping(Mapping &&other) noexcept
      : size_(other.size_), bytes_(std::exchange(other.bytes_, nullptr)) {}
  Mapping &operator=(Mapping &&other) noexcept {
    Mapping taken(std::move(other));
    std::swap(bytes_, taken.bytes_);
    std::swap(size_, taken.size_);
    return *this;
  }
  ~Mapping() { ::file_unmap(bytes_, size_); }
  /// Whether a file is mapped.
  explicit operator bool() const noexcept { return bytes_ != nullptr; }
  /// The bytes, borrowed; null when no file is mapped.
  const char *data() const noexcept NODETREE_LIFETIMEBOUND {
    return static_cast<const char *>(bytes_);
  }
  /// The number of bytes.
  std::size_t size() const noexcept { return bytes_ ? size_ : 0; }
  /// The bytes, borrowed. Deleted for temporaries.
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return {data(), size()};
  }
  operator std::string_view() const && = delete;

private:
  std::size_t size_ = 0;
  void *bytes_ = nullptr;
};

namespace detail {

/// @cond
inline void close_pipe(int descriptor) noexcept {
  ::close(descriptor);
}
inline void unlock_file(int descriptor) noexcept {
  ::file_unlock(descriptor);
}
/// @endcond

/// Owns a descriptor, which Close gives back.
template <void (*Close)(int)>
class Descriptor {
public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    Descriptor taken(std::move(other));
    std::swap(number_, taken.number_);
    return *this;
  }
  ~Descriptor() { close(); }
  int get() const noexcept { return number_; }
  void close() noexcept {
    if (number_ >= 0)
      Close(std::exchange(number_, -1));
  }

private:
  int number_;
};

} // namespace detail

/// Holds a lock on a file until it is destroyed; see file_read_lock(). A child made by
/// fork() shares the lock, so it must not destroy its copy of this owner: it ends by exec
/// or _exit().
class FileLock {
public:
  /// Takes a shared lock, waiting as long as needed. On failure holds no lock; errno says
  /// why.
  [[nodiscard]] static FileLock read(const CString &path) noexcept {
    return FileLock(path.get() ? ::file_read_lock(path.get()) : -1);
  }
  /// The same for an exclusive lock.
  [[nodiscard]] static FileLock write(const CString &path) noexcept {
    return FileLock(path.get() ? ::file_write_lock(path.get()) : -1);
  }
  /// Whether a lock is held.
  explicit operator bool() const noexcept { return descriptor_.get() >= 0; }
  /// file_unlock(): releases the lock now, for children that share it too.
  void unlock() noexcept { descriptor_.close(); }

private:
  explicit FileLock(int descriptor) noexcept : descriptor_(descriptor) {}
  detail::Descriptor<detail::unlock_file> descriptor_;
};

/// Which of a child's standard streams are pipes. The others are /dev/null.
struct Pipes {
  bool in = false;  ///< the caller writes the child's standard input
  bool out = false; ///< the caller reads its standard output
  bool err = false; ///< the caller reads its standard error
};

/// Owns a child process and the caller's ends of its pipes. The destructor closes the
/// pipes, which ends most programs, and waits for the child without a time limit. To let
/// the child run on, call release().
class Child {
public:
  /// Holds no child.
  Child() noexcept = default;
  /// process_spawn_pipe(). Holds no child on failure.
  explicit Child(StringsArg command, Pipes pipes = {}, StringsArg environment = {},
                 const CString &user = nullptr) noexcept {
    int in = -1, out = -1, err = -1;
    pid_ = ::process_spawn_pipe(command.get(), environment.get(), user.get(),
                                pipes.in ? &in : nullptr, pipes.out ? &out : nullptr,
                                pipes.err ? &err : nullptr);
    in_ = Pipe(in);
    out_ = Pipe(out);
    err_ = Pipe(err);
  }
  Child(Child &&other) noexcept
      : pid_(other.release()), in_(std::move(other.in_)), out_(std::move(other.out_)),
        err_(std::move(other.err_)) {}
  Child &operator=(Child &&) = delete;
  ~Child() { (void)wait(); }
  /// Whether there is a child that has not been waited for.
  explicit operator bool() const noexcept { return pid_ > 0; }
  /// The process id; -1 for none.
  pid_t pid() const noexcept { return pid_; }
  /// The caller's ends of the pipes, borrowed; -1 where there is no pipe.
  int in() const noexcept { return in_.get(); }
  int out() const noexcept { return out_.get(); }
  int err() const noexcept { return err_.get(); }
  /// Closes the pipe to the child's input, which then ends.
  void close_in() noexcept { in_.close(); }
  /// Closes the pipes and waits until the child has ended. Returns what process_wait()
  /// returns; -257 when there is no child.
  [[nodiscard]] int wait() noexcept {
    in_.close();
    out_.close();
    err_.close();
    return ::process_wait(release());
  }
  /// Gives the child up to the caller, who waits for it. The pipes stay open.
  [[nodiscard]] pid_t release() noexcept { return std::exchange(pid_, -1); }

private:
  using Pipe = detail::Descriptor<detail::close_pipe>;

  pid_t pid_ = -1;
  Pipe in_, out_, err_;
};

} // namespace nodetree

#endif
