#include <nodetree/file.h>

#include "support.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using test::file_content;
using test::take;
using test::write_file;

auto open_descriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

class File : public testing::Test {
protected:
  void SetUp() override { descriptors = open_descriptors(); }
  void TearDown() override { EXPECT_EQ(open_descriptors(), descriptors); }
  test::workplace place;
  test::log_reader log;
  std::ptrdiff_t descriptors = 0;
};

TEST_F(File, IsReadWhole) {
  for (const size_t size : {0u, 1u, 1023u, 1024u, 1025u, 2048u, 100'000u}) {
    std::string data(size, 'x');
    for (size_t i = 0; i < size; i += 7)
      data[i] = static_cast<char>(i / 7);
    write_file("data", data);
    size_t length = 1;
    const test::text_owner buffer(file_read("data", &length));
    ASSERT_EQ(length, size);
    EXPECT_EQ(std::string(buffer.get(), length + 1), data + '\0');
    EXPECT_EQ(take(file_read_string("data")), data.c_str());
  }
  // A file that claims to have no size.
  EXPECT_EQ(take(file_read_string("/proc/self/comm")), file_content("/proc/self/comm"));
  EXPECT_EQ(log.fresh(), "");

  size_t length = 77;
  EXPECT_EQ(file_read("missing", &length), nullptr);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(log.fresh(), "DEBUG: file_read: Failed to open file 'missing': No such file or "
                         "directory\n");
  EXPECT_EQ(file_read_string("."), nullptr);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(log.fresh(), "");
}

TEST_F(File, IsMappedUnlessEmpty) {
  const std::string data = std::string("a\0b", 3) + std::string(10'000, 'x');
  write_file("data", data);
  write_file("empty", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  size_t length = 0;
  void *address = file_map("data", &length);
  EXPECT_EQ(std::string(static_cast<char *>(address), length), data);
  file_unmap(address, length);
  file_unmap(nullptr, 1);
  EXPECT_EQ(log.fresh(), "");

  length = 77;
  const char *const cases[][2] = {
      {"missing", "Failed to open file 'missing': No such file or directory\n"},
      {"empty", "Cannot map empty file 'empty'\n"},
      {"pipe", "Cannot map empty file 'pipe'\n"},
      {"/dev", "Failed to map file '/dev' into memory: No such device\n"}};
  for (const auto &[path, message] : cases) {
    EXPECT_EQ(file_map(path, &length), nullptr);
    EXPECT_EQ(length, 77u);
    EXPECT_EQ(log.fresh(), std::string("DEBUG: file_map: ") + message);
  }
}

TEST_F(File, IsWrittenOverAndReportedWhenItCannotBe) {
  for (const std::string &text :
       {std::string("long text"), std::string("short"), std::string(1'000'000, 'x')}) {
    EXPECT_TRUE(file_write_string("out", text.c_str()));
    EXPECT_EQ(file_content("out"), text);
  }
  EXPECT_EQ(log.fresh(), "");
  EXPECT_FALSE(file_write_string("no/out", "x"));
  EXPECT_EQ(log.fresh(),
            "DEBUG: file_write_string: Failed to open file no/out for writing: No "
            "such file or directory\n\n");
  // Too short a text to leave any buffer before the file is closed.
  EXPECT_FALSE(file_write_string("/dev/full", "x"));
  EXPECT_EQ(log.fresh(), "DEBUG: file_write_string: Failed to write file /dev/full: No "
                         "space left on device\n\n");
  EXPECT_FALSE(file_write("other", "x", 1));
  EXPECT_FALSE(path_exists("other"));
}

TEST_F(File, WritingEndsWithThePipesReader) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const auto previous = signal(SIGPIPE, SIG_IGN);
  std::thread reader([] { // leaves when more than a pipe holds is on its way
    char byte;
    const int fd = open("pipe", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(read(fd, &byte, 1), 1);
    close(fd);
  });
  EXPECT_FALSE(file_write_string("pipe", std::string(1'000'000, 'x').c_str()));
  EXPECT_EQ(errno, EPIPE);
  reader.join();
  signal(SIGPIPE, previous);
  EXPECT_EQ(log.fresh(),
            "DEBUG: file_write_string: Failed to write file pipe: Broken pipe\n\n");
}

TEST_F(File, LocksAreThoseOfAFileNotOfItsName) {
  const int held = file_write_lock("lock");
  fs::remove("lock");
  EXPECT_FALSE(file_write_is_locked("lock"));
  const int other = file_write_lock("lock"); // does not wait
  EXPECT_GE(other, 0);
  file_unlock(held);
  EXPECT_TRUE(file_write_is_locked("lock"));
  file_unlock(other);
  EXPECT_EQ(log.fresh(), "");
}

TEST_F(File, LocksExcludeEachOther) {
  const auto locked = [] { // against readers and against writers
    return std::pair(file_read_is_locked("lock"), file_write_is_locked("lock"));
  };
  EXPECT_EQ(locked(), std::pair(false, false));
  EXPECT_FALSE(path_exists("lock"));
  const int first = file_read_lock("lock"), second = file_read_lock("lock");
  ASSERT_GE(std::min(first, second), 0);
  EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
  file_unlock(first);
  EXPECT_EQ(locked(), std::pair(false, true));
  file_unlock(second);
  EXPECT_EQ(locked(), std::pair(false, false));
  const int writer = file_write_lock("lock");
  EXPECT_EQ(locked(), std::pair(true, true));
  file_unlock(writer);
  EXPECT_EQ(locked(), std::pair(false, false));
  file_unlock(-1);
  EXPECT_EQ(log.fresh(), "");

  EXPECT_EQ(file_write_lock("no/lock"), -1);
  EXPECT_EQ(log.fresh(),
            "DEBUG: file_lock: Failed to open lock file no/lock: No such file or "
            "directory\n");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  EXPECT_FALSE(file_write_is_locked("pipe"));
}

TEST_F(File, LockWaitsThroughSignals) {
  static std::atomic<int> signals;
  signals = 0;
  struct sigaction action = {}, previous;
  action.sa_handler = [](int) { ++signals; };
  sigaction(SIGUSR1, &action, &previous); // without SA_RESTART
  const int held = file_read_lock("lock");
  std::atomic<int> granted = -2;
  std::thread waiter([&] { granted = file_write_lock("lock"); });
  // Some signals may come before the wait has begun: the last ones do not.
  for (int sent = 1; sent <= 20 && granted == -2; ++sent) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    pthread_kill(waiter.native_handle(), SIGUSR1);
    while (signals < sent && granted == -2)
      std::this_thread::yield();
  }
  EXPECT_EQ(granted, -2);
  file_unlock(held);
  waiter.join();
  EXPECT_GE(granted, 0);
  EXPECT_EQ(log.fresh(), "");
  file_unlock(granted);
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST_F(File, DirectoriesAreMadeWithTheirAncestors) {
  write_file("plain", "");
  fs::create_directory_symlink("plain", "broken");
  fs::create_directory("real");
  fs::create_directory_symlink("real", "link");
  for (const char *path :
       {"a/b/c", "a/b/c", "a", "d//e///", "/", "link/x/y", ".", "a/../f/g"})
    EXPECT_TRUE(file_mkdirp(path, 0755) && path_is_directory(path)) << path;
  for (const char *path : {"", "plain", "plain/x", "broken/x", "plain/", "/proc/no/x"})
    EXPECT_FALSE(file_mkdirp(path, 0755)) << path;
  EXPECT_TRUE(path_is_directory("real/x/y"));
  EXPECT_TRUE(file_mkdirp((place.path + "/m/n").c_str(), 0710));
  EXPECT_EQ(fs::status("m").permissions(), fs::perms(0710));
  EXPECT_FALSE(file_mkdirp((std::string(100'000, 'x') + "/y").c_str(), 0755));
}

TEST_F(File, PathsAreTestedAcrossLinks) {
  write_file("plain", "");
  fs::create_directory("folder");
  fs::create_symlink("plain", "to_plain");
  fs::create_symlink("folder", "to_folder");
  fs::create_symlink("nowhere", "dangling");
  for (const char *path : {"plain", "folder", "to_plain", "to_folder", "dangling",
                           "missing", "/dev/null", ""}) {
    EXPECT_EQ(path_exists(path), fs::exists(path)) << path;
    EXPECT_EQ(path_is_directory(path), fs::is_directory(path)) << path;
    EXPECT_EQ(path_is_file(path), fs::is_regular_file(path)) << path;
  }
}

// ---- Search ----

class PathSearch : public File {
protected:
  static void plant(std::initializer_list<const char *> paths) {
    for (const fs::path path : paths) {
      if (path.has_parent_path())
        fs::create_directories(path.parent_path());
      write_file(path, "");
    }
  }
  static std::string search(const char *directory, const char *pattern) {
    return take(path_search(directory, pattern));
  }
};

TEST_F(PathSearch, GoesDepthFirstInDescendingOrder) {
  plant({"dir/a.txt", "dir/b.log", "dir/sub/c.txt", "dir/.hidden/x.txt", "dir/z.txt",
         "dir/sub/deep/d.txt", "dir/sub/e.txt", "dir/folder.txt/plain"});
  EXPECT_EQ(search("dir", "*.txt"),
            "dir/z.txt;dir/sub/e.txt;dir/sub/deep/d.txt;dir/sub/c.txt;dir/a.txt;"
            "dir/.hidden/x.txt;");
  EXPECT_EQ(search("dir/sub/deep/", "*"), "dir/sub/deep//d.txt;");
  fs::create_directory("empty");
  const char *const nothing[][2] = {{"dir", "sub/*"},
                                    {"dir", nullptr},
                                    {"missing", "*"},
                                    {"dir/a.txt", "*"},
                                    {"empty", "*"}};
  for (const auto &[directory, pattern] : nothing)
    EXPECT_EQ(search(directory, pattern), "NULL") << directory;
}

TEST_F(PathSearch, FollowsLinksButNoLoops) {
  plant({"dir/real/x", "outside/y", "outside/more/x"});
  fs::create_directory_symlink("real", "dir/again");
  fs::create_directory_symlink("../outside", "dir/out");
  fs::create_symlink("../outside/y", "dir/x_file");
  fs::create_symlink("nowhere", "dir/x_dangling");
  fs::create_directory_symlink("dir", "start");
  EXPECT_EQ(search("dir", "x*"), "dir/x_file;dir/real/x;dir/out/more/x;dir/again/x;");
  EXPECT_EQ(search("start", "y"), "start/out/y;");

  plant({"own/top/dir/x", "own/top/dir/sub/x", "own/top/y/x"});
  fs::create_directory_symlink("..", "own/top/dir/sub/loop");
  fs::create_directory_symlink(".", "own/top/dir/self");
  fs::create_directory_symlink("../..", "own/top/dir/up");
  EXPECT_EQ(search("own/top/dir", "x"),
            "own/top/dir/x;own/top/dir/up/top/y/x;own/top/dir/sub/x;");
}

TEST_F(PathSearch, EntersADirectoryOnceAcrossLinks) {
  // Every one of them links to all others: there are more paths than could be walked.
  constexpr int count = 14;
  const auto name = [](int i) { return std::to_string(10 + i); };
  for (int i = 0; i < count; ++i) {
    fs::create_directories("all/" + name(i));
    write_file("all/" + name(i) + "/x", "");
    for (int j = 0; j < count; ++j)
      fs::create_directory_symlink("../" + name(j), "all/" + name(i) + "/to" + name(j));
  }
  const test::list_owner found(path_search("all", "x"));
  ASSERT_NE(found, nullptr);
  int plain = 0, across_links = 0;
  for (char **path = found.get(); *path; ++path)
    ++(strstr(*path, "/to") ? across_links : plain);
  EXPECT_EQ(plain, count);
  EXPECT_EQ(across_links, count);
}

TEST_F(PathSearch, PassesOverPathsThatAreTooLong) {
  const std::string top(254, 'd'), name(255, 'n'); // one "x" is a byte too far
  const int home = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  fs::create_directory(top);
  ASSERT_EQ(chdir(top.c_str()), 0);
  size_t reachable = 0;
  for (size_t level = 0; level < 20; ++level) {
    close(open("x", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    reachable += top.size() + level * 256 + strlen("/x") < PATH_MAX;
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  ASSERT_EQ(fchdir(home), 0);
  close(home);
  EXPECT_EQ(sl_len(test::list_owner(path_search(top.c_str(), "x")).get()), reachable);
  EXPECT_EQ(search(std::string(PATH_MAX, 'x').c_str(), "*"), "NULL");
}

// ---- Paths as texts ----

TEST(Path, HasADirname) {
  const char *const cases[][2] = {{"/a/b", "/a"}, {"/a/b/", "/a"}, {"a", "."}, {"/", "/"},
                                  {"", "."},      {"a//b//", "a"}, {"..", "."}};
  for (const auto &[path, expected] : cases)
    EXPECT_EQ(take(path_dirname(path)), expected) << path;
  EXPECT_EQ(path_dirname(nullptr), nullptr);
}

// Every step made on one text by cutting it: slow, but plain to see.
std::string normalized_slowly(std::string text) {
  size_t at = 0;
  const auto drop_component = [&](size_t consumed) {
    const size_t slash = at == 0 ? text.npos : text.rfind('/', at - 1);
    const size_t to = slash == text.npos ? 0 : slash;
    text.erase(to, at + consumed - to);
    at = to;
  };
  while (at < text.size()) {
    const std::string rest = text.substr(at);
    if (rest.rfind("/../", 0) == 0 || rest == "/..")
      drop_component(3);
    else if (rest.rfind("/./", 0) == 0)
      text.erase(at, 2);
    else if (rest == "/.")
      text.erase(at);
    else if (rest.rfind("//", 0) == 0)
      text.erase(at, 1);
    else
      ++at;
  }
  if (text.size() > 1 && text.back() == '/')
    text.pop_back();
  return text;
}

TEST(Path, IsNormalizedLikeTheModel) {
  const char *const cases[][2] = {{"/a/b/../c", "/a/c"}, {"/a/..", ""},
                                  {"a/../b", "/b"},      {"../a", "../a"},
                                  {"///", "/"},          {"/.hidden", "/.hidden"}};
  for (const auto &[path, expected] : cases)
    EXPECT_EQ(take(path_normalize(path)), expected) << path;
  std::mt19937 random(7);
  for (int i = 0; i < 20'000; ++i) {
    std::string path;
    for (size_t length = random() % 16; path.size() < length;)
      path += "//..a"[random() % 5];
    ASSERT_EQ(take(path_normalize(path.c_str())), normalized_slowly(path)) << path;
  }
}

} // namespace
