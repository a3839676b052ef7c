// Helpers shared by the tests of all families: owners, texts for comparisons, files, the
// log, the locale and size.
#ifndef NODETREE_TESTS_SUPPORT_HPP
#define NODETREE_TESTS_SUPPORT_HPP

#include <nodetree.h>

#include <gtest/gtest.h>
#include <locale.h>
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace test {

struct release {
  void operator()(char *text) const { std::free(text); }
  void operator()(char **list) const { sl_free(list); }
  void operator()(void **list) const { vl_free(list, nullptr); }
  void operator()(node *n) const { node_free(n); }
  void operator()(stringstream *stream) const { stringstream_free(stream); }
};
using text_owner = std::unique_ptr<char, release>;
using list_owner = std::unique_ptr<char *, release>;
using values_owner = std::unique_ptr<void *, release>;
using tree = std::unique_ptr<node, release>;

// Takes a new text over, "NULL" for none.
inline std::string take(char *text) {
  const text_owner owner(text);
  return text != nullptr ? text : "NULL";
}

// A string list as one text: "a;b;", "" for an empty one, "NULL" for none.
inline std::string shown(char *const *list) {
  std::string text;
  for (char *const *s = list; s != nullptr && *s != nullptr; s++)
    text += std::string(*s) + ";";
  return list != nullptr ? text : "NULL";
}

inline std::string take(char **list) {
  const list_owner owner(list);
  return shown(list);
}

inline void write_file(const std::string &path, const std::string &data) {
  std::ofstream(path, std::ios::binary) << data;
}

inline std::string file_content(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline std::string drain(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(count));
  EXPECT_EQ(close(fd), 0);
  return text;
}

inline auto open_descriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

// The result of `wait` while signals arrive. The tenth signal closes the descriptor that it
// waits for.
inline int wait_through_signals(int descriptor, const std::function<int()> &wait) {
  static std::atomic<int> signals, held;
  signals = 0;
  held = descriptor;
  struct sigaction action = {}, previous;
  action.sa_handler = [](int) {
    if (++signals == 10)
      close(held);
  };
  sigaction(SIGALRM, &action, &previous); // without SA_RESTART
  const itimerval often = {{0, 5000}, {0, 5000}}, never = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  const int result = wait();
  setitimer(ITIMER_REAL, &never, nullptr);
  EXPECT_GE(signals, 10) << "a signal has ended the wait";
  sigaction(SIGALRM, &previous, nullptr);
  return result;
}

// A new folder, which is the working directory while the object lives.
class workplace {
public:
  workplace() : home(std::filesystem::current_path()) {
    char name[] = "/tmp/nodetree-test-XXXXXX";
    EXPECT_NE(mkdtemp(name), nullptr);
    std::filesystem::current_path(path = name);
  }
  ~workplace() {
    std::filesystem::current_path(home);
    std::filesystem::remove_all(path);
  }
  workplace(const workplace &) = delete;
  std::string path;

private:
  std::filesystem::path home;
};

// The log without line numbers of the code.
inline std::string without_lines(std::string text) {
  for (size_t at = 0; (at = text.find(':', at)) != text.npos; ++at)
    if (size_t end = text.find_first_not_of("0123456789", at + 1);
        end != text.npos && end > at + 1 && text[end] == ':')
      text.erase(at, end - at);
  return text;
}

// Collects the log while it lives, with debug messages.
class log_reader {
public:
  log_reader() {
    EXPECT_NE(log_open_file("/dev/null", "w"), nullptr);
    std::fclose(log_file);
    log_file = open_memstream(&buffer, &size);
    log_set_debug(true);
  }
  ~log_reader() {
    log_set_debug(false);
    log_close();
    std::free(buffer);
  }
  log_reader(const log_reader &) = delete;
  // The log since the last call, with or without line numbers of the code.
  std::string fresh(bool with_lines = false) {
    std::fflush(log_file);
    const std::string text(buffer + read, size - read);
    read = size;
    return with_lines ? text : without_lines(text);
  }

private:
  char *buffer = nullptr;
  size_t size = 0, read = 0;
};

// While it lives the locale is German, with a decimal comma.
class german_locale {
public:
  german_locale() {
    EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr) << "is LOCPATH set?";
    handle = duplocale(LC_GLOBAL_LOCALE);
  }
  ~german_locale() {
    uselocale(LC_GLOBAL_LOCALE);
    std::setlocale(LC_ALL, "C");
    freelocale(handle);
  }
  german_locale(const german_locale &) = delete;
  locale_t handle = nullptr;
};

inline std::string repeat(const std::string &text, size_t times) {
  std::string all;
  while (times-- > 0)
    all += text;
  return all;
}

// A table: words between blanks, `columns` to a row.
inline std::vector<std::vector<std::string>> table(const std::string &words,
                                                   size_t columns) {
  std::istringstream in(words);
  std::vector<std::vector<std::string>> rows;
  for (std::string word; in >> word; rows.back().push_back(word))
    if (rows.empty() || rows.back().size() == columns)
      rows.emplace_back();
  EXPECT_EQ(rows.back().size(), columns);
  return rows;
}

inline bool under_valgrind() {
  const char *preload = std::getenv("LD_PRELOAD");
  return preload != nullptr && std::strstr(preload, "vgpreload") != nullptr;
}

// Tools that check every access slow the tests down, so sizes and rounds are reduced there.
inline size_t slowdown() {
#ifdef __SANITIZE_ADDRESS__
  return 10;
#else
  const char *emulated = std::getenv("NODETREE_TEST_SLOWDOWN");
  return emulated ? std::strtoul(emulated, nullptr, 10) : under_valgrind() ? 50 : 1;
#endif
}

inline size_t scaled(size_t full) {
  return full / slowdown();
}

// Whether to run tests that reach the library's limits on steps.
inline const bool to_the_limit = slowdown() == 1;

inline const size_t deep_levels = scaled(1000000);
inline const size_t wide_count = scaled(100000);

// Runs `body` with a small stack, so that recursion on the depth of a tree would overflow.
inline void on_small_stack(const std::function<void()> &body) {
  pthread_attr_t attributes;
  pthread_t thread;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  auto run = [](void *argument) -> void * {
    (*static_cast<const std::function<void()> *>(argument))();
    timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    EXPECT_LT(used.tv_sec, slowdown() > 10 ? 60 : 10);
    return nullptr;
  };
  void *argument = const_cast<std::function<void()> *>(&body);
  ASSERT_EQ(pthread_create(&thread, &attributes, run, argument), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

} // namespace test

#endif
