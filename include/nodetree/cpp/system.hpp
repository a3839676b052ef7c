/*
 * Owners of what the system lends: string streams, mappings, locks, child processes. Part of
 * <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_SYSTEM_HPP
#define NODETREE_CPP_SYSTEM_HPP

#include <nodetree/cpp/lists.hpp>
#include <unistd.h>

namespace nodetree {

/// Owns a text that is being written through a FILE; see <nodetree/stringstream.h>.
class StringStream : public detail::Owner<StringStream, ::stringstream *> {
public:
  /// A new, empty stream; false when it could not be made.
  static StringStream open() noexcept { return adopt(::stringstream_open()); }
  /// The handle to write through, borrowed; null once closed.
  FILE *file() const noexcept NODETREE_LIFETIMEBOUND {
    return get() ? ::stringstream_file(get()) : nullptr;
  }
  /// What has been written up to now, borrowed until the next write; not of a temporary.
  std::string_view view() const &noexcept NODETREE_LIFETIMEBOUND {
    if (file())
      std::fflush(file());
    return get() && get()->data ? std::string_view(get()->data, get()->size)
                                : std::string_view();
  }
  void view() const && = delete;
  /// Closes the stream and gives the text to the caller; none when memory ran out or it is
  /// taken already.
  Text take() noexcept {
    return Text::adopt(get() ? ::stringstream_take_data(get()) : nullptr);
  }
};

/// Owns a read-only mapping of a whole file; see file_map().
class Mapping {
public:
  Mapping() noexcept = default;
  /// False, with the reason in errno, on failure and for a file without a size.
  explicit Mapping(const CString &path) noexcept
      : bytes_(path.get() ? ::file_map(path.get(), &size_) : nullptr) {}
  Mapping(Mapping &&other) noexcept
      : size_(other.size_), bytes_(std::exchange(other.bytes_, nullptr)) {}
  Mapping &operator=(Mapping &&other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Mapping() { ::file_unmap(bytes_, size_); }
  /// Whether there is a mapping.
  explicit operator bool() const noexcept { return bytes_ != nullptr; }
  /// The bytes, borrowed; null when there are none.
  const char *data() const noexcept NODETREE_LIFETIMEBOUND {
    return static_cast<const char *>(bytes_);
  }
  /// How many there are.
  std::size_t size() const noexcept { return bytes_ ? size_ : 0; }
  /// The bytes, borrowed; not of a temporary.
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return {data(), size()};
  }
  operator std::string_view() const && = delete;

private:
  std::size_t size_ = 0;
  void *bytes_ = nullptr;
};

namespace detail {

/// Owns a descriptor and closes it.
class Descriptor {
public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  Descriptor(Descriptor &&other) noexcept : number_(other.release()) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }
  int get() const noexcept { return number_; }
  int release() noexcept { return std::exchange(number_, -1); }
  void close() noexcept {
    if (number_ >= 0)
      ::close(release());
  }

private:
  int number_;
};

} // namespace detail

/// Holds a lock on a file as long as it lives; see file_read_lock().
class FileLock {
public:
  /// Takes a shared lock, waiting as long as needed; false, with the reason in errno, when
  /// there is none to be had.
  [[nodiscard]] static FileLock read(const CString &path) noexcept {
    return FileLock(path.get() ? ::file_read_lock(path.get()) : -1);
  }
  /// The same, exclusive.
  [[nodiscard]] static FileLock write(const CString &path) noexcept {
    return FileLock(path.get() ? ::file_write_lock(path.get()) : -1);
  }
  /// Whether the lock is held.
  explicit operator bool() const noexcept { return descriptor_.get() >= 0; }
  /// Gives the lock up now.
  void unlock() noexcept { descriptor_.close(); }

private:
  explicit FileLock(int descriptor) noexcept : descriptor_(descriptor) {}
  detail::Descriptor descriptor_;
};

/// Which of a child's standard streams are pipes; the others are /dev/null.
struct Pipes {
  bool in = false;  ///< the caller writes the child's input
  bool out = false; ///< the caller reads its output
  bool err = false; ///< the caller reads its errors
};

/// Owns a child process and the caller's ends of its pipes. When it goes it closes them,
/// which ends most programs, and waits for the child however long that takes; release() to
/// let one run on.
class Child {
public:
  /// Holds no child.
  Child() noexcept = default;
  /// process_spawn_pipe(): false when there is no child.
  explicit Child(Strings command, Pipes pipes = {}, Strings environment = {},
                 const CString &user = nullptr) noexcept {
    int in = -1, out = -1, err = -1;
    pid_ = ::process_spawn_pipe(command.get(), environment.get(), user.get(),
                                pipes.in ? &in : nullptr, pipes.out ? &out : nullptr,
                                pipes.err ? &err : nullptr);
    in_ = detail::Descriptor(in);
    out_ = detail::Descriptor(out);
    err_ = detail::Descriptor(err);
  }
  Child(Child &&other) noexcept
      : pid_(other.release()), in_(std::move(other.in_)), out_(std::move(other.out_)),
        err_(std::move(other.err_)) {}
  Child &operator=(Child &&) = delete;
  ~Child() { (void)wait(); }
  /// Whether there is a child that has not been waited for.
  explicit operator bool() const noexcept { return pid_ > 0; }
  /// Its process id; -1 for none.
  pid_t pid() const noexcept { return pid_; }
  /// The ends of its pipes, borrowed; -1 where there is none.
  int in() const noexcept { return in_.get(); }
  int out() const noexcept { return out_.get(); }
  int err() const noexcept { return err_.get(); }
  /// Closes the child's input: it reads the end.
  void close_in() noexcept { in_.close(); }
  /// Closes the pipes and waits for the end: process_wait(), -257 when there is no child.
  [[nodiscard]] int wait() noexcept {
    in_.close();
    out_.close();
    err_.close();
    return ::process_wait(release());
  }
  /// Gives the child up to the caller, who waits for it; the pipes stay.
  [[nodiscard]] pid_t release() noexcept { return std::exchange(pid_, -1); }

private:
  pid_t pid_ = -1;
  detail::Descriptor in_, out_, err_;
};

} // namespace nodetree

#endif
