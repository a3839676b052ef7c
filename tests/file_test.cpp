#include <nodetree/file.h>
#include <nodetree/log.h>
#include <nodetree/stringlist.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <pthread.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

std::optional<std::string> taken(char *text) {
  const std::unique_ptr<char, decltype(&free)> owner(text, free);
  return text ? std::optional<std::string>(text) : std::nullopt;
}

size_t open_descriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

// A folder of its own as working directory, a log, and a count of descriptors left open.
class File : public testing::Test {
protected:
  void SetUp() override {
    char name[] = "/tmp/nodetree-file-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    home_ = fs::current_path();
    folder_ = name;
    fs::current_path(folder_);
    log_open_file((folder_ + ".log").c_str(), "w+");
    log_set_debug(true);
    descriptors_ = open_descriptors();
  }
  void TearDown() override {
    EXPECT_EQ(open_descriptors(), descriptors_);
    log_close();
    log_set_debug(false);
    fs::current_path(home_);
    fs::remove_all(folder_);
    fs::remove(folder_ + ".log");
  }

  static void write(const std::string &path, const std::string &data) {
    std::ofstream(path, std::ios::binary) << data;
  }
  static std::string content(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  // What has been logged since the last call, without the line numbers.
  std::string logged() {
    fflush(log_file);
    std::string text = content(folder_ + ".log");
    EXPECT_EQ(ftruncate(fileno(log_file), 0), 0);
    rewind(log_file);
    for (size_t at = 0; (at = text.find(':', at)) != text.npos; ++at)
      if (const size_t end = text.find_first_not_of("0123456789", at + 1);
          end != text.npos && end > at + 1 && text[end] == ':')
        text.erase(at, end - at);
    return text;
  }

  std::string folder_;

private:
  fs::path home_;
  size_t descriptors_ = 0;
};

TEST_F(File, IsReadWhole) {
  for (const size_t size : {0u, 1u, 1023u, 1024u, 1025u, 2048u, 100'000u}) {
    std::string data(size, 'x');
    for (size_t i = 0; i < size; i += 7)
      data[i] = static_cast<char>(i / 7);
    write("data", data);
    size_t length = 1;
    char *buffer = file_read("data", &length);
    ASSERT_EQ(length, size);
    EXPECT_EQ(std::string(buffer, length + 1), data + '\0');
    free(buffer);
    EXPECT_EQ(taken(file_read_string("data")), data.c_str());
  }
  // A file that claims to have no size.
  EXPECT_EQ(taken(file_read_string("/proc/self/comm")), content("/proc/self/comm"));
  EXPECT_EQ(logged(), "");
}

TEST_F(File, ThatCannotBeReadGivesNull) {
  size_t length = 77;
  EXPECT_EQ(file_read("missing", &length), nullptr);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(logged(), "DEBUG: file_read: Failed to open file 'missing': No such file or "
                      "directory\n");
  EXPECT_EQ(file_read_string("missing"), nullptr);
  EXPECT_NE(logged(), "");
  EXPECT_EQ(file_read(".", &length), nullptr);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(logged(), "");
}

TEST_F(File, IsMappedUnlessEmpty) {
  const std::string data = std::string("a\0b", 3) + std::string(10'000, 'x');
  write("data", data);
  write("empty", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  size_t length = 0;
  void *address = file_map("data", &length);
  EXPECT_EQ(std::string(static_cast<char *>(address), length), data);
  file_unmap(address, length);
  file_unmap(nullptr, 1);
  EXPECT_EQ(logged(), "");

  length = 77;
  const char *const cases[][2] = {
      {"missing", "Failed to open file 'missing': No such file or directory\n"},
      {"empty", "Cannot map empty file 'empty'\n"},
      {"pipe", "Cannot map empty file 'pipe'\n"},
      {"/dev", "Failed to map file '/dev' into memory: No such device\n"},
  };
  for (const auto &[path, message] : cases) {
    EXPECT_EQ(file_map(path, &length), nullptr);
    EXPECT_EQ(length, 77u);
    EXPECT_EQ(logged(), std::string("DEBUG: file_map: ") + message);
  }
}

TEST_F(File, IsWrittenOverAndReportedWhenItCannotBe) {
  const std::string big(1'000'000, 'x');
  for (const std::string &text :
       {std::string("long text"), std::string("short"), std::string(), big}) {
    EXPECT_TRUE(file_write_string("out", text.c_str()));
    EXPECT_EQ(content("out"), text);
  }
  EXPECT_EQ(logged(), "");
  EXPECT_FALSE(file_write_string("no/out", "x"));
  EXPECT_EQ(logged(),
            "DEBUG: file_write_string: Failed to open file no/out for writing: No "
            "such file or directory\n\n");
  // Too short a text to leave any buffer before the file is closed.
  EXPECT_FALSE(file_write_string("/dev/full", "x"));
  EXPECT_EQ(logged(), "DEBUG: file_write_string: Failed to write file /dev/full: No space "
                      "left on device\n\n");
  EXPECT_FALSE(file_write("other", "x", 1));
  EXPECT_FALSE(path_exists("other"));
}

TEST_F(File, LocksExcludeEachOther) {
  EXPECT_FALSE(file_read_is_locked("lock"));
  EXPECT_FALSE(file_write_is_locked("lock"));
  EXPECT_FALSE(path_exists("lock"));

  const int first = file_read_lock("lock"), second = file_read_lock("lock");
  ASSERT_GE(std::min(first, second), 0);
  EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
  EXPECT_FALSE(file_read_is_locked("lock"));
  EXPECT_TRUE(file_write_is_locked("lock"));
  file_unlock(first);
  EXPECT_TRUE(file_write_is_locked("lock"));
  file_unlock(second);
  EXPECT_FALSE(file_write_is_locked("lock"));

  const int writer = file_write_lock("lock");
  EXPECT_TRUE(file_read_is_locked("lock"));
  EXPECT_TRUE(file_write_is_locked("lock"));
  file_unlock(writer);
  EXPECT_FALSE(file_read_is_locked("lock"));
  file_unlock(-1);
  EXPECT_EQ(logged(), "");

  EXPECT_EQ(file_write_lock("no/lock"), -1);
  EXPECT_EQ(logged(), "DEBUG: file_lock: Failed to open lock file no/lock: No such file or "
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
  EXPECT_EQ(logged(), "");
  file_unlock(granted);
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST_F(File, DirectoriesAreMadeWithTheirAncestors) {
  write("plain", "");
  fs::create_directory_symlink("plain", "broken");
  fs::create_directory("real");
  fs::create_directory_symlink("real", "link");
  const struct {
    const char *path;
    bool made;
  } cases[] = {
      {"a/b/c", true},   {"a/b/c", true},       {"a", true},        {"d//e///", true},
      {"/", true},       {"link/x/y", true},    {".", true},        {"a/../f/g", true},
      {"", false},       {"plain", false},      {"plain/x", false}, {"broken/x", false},
      {"plain/", false}, {"/proc/no/x", false},
  };
  for (const auto &test : cases) {
    EXPECT_EQ(file_mkdirp(test.path, 0755), test.made) << test.path;
    if (test.made) {
      EXPECT_TRUE(path_is_directory(test.path)) << test.path;
    }
  }
  EXPECT_TRUE(path_is_directory("real/x/y"));
  EXPECT_TRUE(file_mkdirp((folder_ + "/m/n").c_str(), 0710));
  EXPECT_EQ(fs::status("m").permissions(), fs::perms(0710));
  EXPECT_FALSE(file_mkdirp((std::string(100'000, 'x') + "/y").c_str(), 0755));
}

TEST_F(File, DirectoriesMayHaveSeveralMakers) {
  std::string deep = "d";
  for (int i = 0; i < 60; ++i)
    deep += "/d";
  std::atomic<int> made = 0;
  std::vector<std::thread> makers;
  for (int i = 0; i < 4; ++i)
    makers.emplace_back([&] { made += file_mkdirp(deep.c_str(), 0755); });
  for (std::thread &maker : makers)
    maker.join();
  EXPECT_EQ(made, 4);
}

TEST_F(File, PathsAreTestedAcrossLinks) {
  write("plain", "");
  fs::create_directory("folder");
  fs::create_symlink("plain", "to_plain");
  fs::create_symlink("folder", "to_folder");
  fs::create_symlink("nowhere", "dangling");
  const struct {
    const char *path;
    bool exists, directory, file;
  } cases[] = {
      {"plain", true, false, true},      {"folder", true, true, false},
      {"to_plain", true, false, true},   {"to_folder", true, true, false},
      {"dangling", false, false, false}, {"missing", false, false, false},
      {"/dev/null", true, false, false}, {"", false, false, false},
  };
  for (const auto &test : cases) {
    EXPECT_EQ(path_exists(test.path), test.exists) << test.path;
    EXPECT_EQ(path_is_directory(test.path), test.directory) << test.path;
    EXPECT_EQ(path_is_file(test.path), test.file) << test.path;
  }
}

// ---- Search ----

class PathSearch : public File {
protected:
  static void plant(std::initializer_list<const char *> paths) {
    for (const fs::path path : paths) {
      if (path.has_parent_path())
        fs::create_directories(path.parent_path());
      write(path, "");
    }
  }
  static Strings search(const char *directory, const char *pattern) {
    char **list = path_search(directory, pattern);
    EXPECT_TRUE(!list || *list) << "empty result that is not NULL";
    Strings found(list, list + sl_len(list));
    sl_free(list);
    return found;
  }
};

TEST_F(PathSearch, GoesDepthFirstInDescendingOrder) {
  plant({"dir/a.txt", "dir/b.log", "dir/sub/c.txt", "dir/.hidden/x.txt", "dir/z.txt",
         "dir/sub/deep/d.txt", "dir/sub/e.txt", "dir/folder.txt/plain"});
  EXPECT_EQ(search("dir", "*.txt"),
            (Strings{"dir/z.txt", "dir/sub/e.txt", "dir/sub/deep/d.txt", "dir/sub/c.txt",
                     "dir/a.txt", "dir/.hidden/x.txt"}));
  EXPECT_EQ(search("dir/sub/deep/", "*"), Strings{"dir/sub/deep//d.txt"});
  EXPECT_EQ(search("dir", "sub/*"), Strings{});
  EXPECT_EQ(search("dir", nullptr), Strings{});
  EXPECT_EQ(search("missing", "*"), Strings{});
  EXPECT_EQ(search("dir/a.txt", "*"), Strings{});
  fs::create_directory("empty");
  EXPECT_EQ(search("empty", "*"), Strings{});
}

TEST_F(PathSearch, FindsAllOfAWideDirectory) {
  fs::create_directory("wide");
  Strings expected;
  for (int i = 0; i < 300; ++i)
    write(expected.emplace_back("wide/" + std::to_string(10'000 + i)), "");
  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(search("wide", "*"), expected);
}

TEST_F(PathSearch, FollowsLinks) {
  plant({"dir/real/x", "outside/y", "outside/more/x"});
  fs::create_directory_symlink("real", "dir/again");
  fs::create_directory_symlink("../outside", "dir/out");
  fs::create_symlink("../outside/y", "dir/x_file");
  fs::create_symlink("nowhere", "dir/x_dangling");
  fs::create_directory_symlink("dir", "start");
  EXPECT_EQ(search("dir", "x*"),
            (Strings{"dir/x_file", "dir/real/x", "dir/out/more/x", "dir/again/x"}));
  EXPECT_EQ(search("start", "y"), (Strings{"start/out/y"}));
}

TEST_F(PathSearch, LeavesLoopsAlone) {
  plant({"top/dir/x", "top/dir/sub/x", "top/y/x"});
  fs::create_directory_symlink("..", "top/dir/sub/loop");
  fs::create_directory_symlink(".", "top/dir/self");
  fs::create_directory_symlink("../..", "top/dir/up");
  EXPECT_EQ(search("top/dir", "x"),
            (Strings{"top/dir/x", "top/dir/up/top/y/x", "top/dir/sub/x"}));
}

TEST_F(PathSearch, EntersADirectoryOnceAcrossSeveralLinks) {
  // Every one of them links to all others: there are more paths than could be walked.
  constexpr int count = 14;
  const auto name = [](int i) { return std::to_string(10 + i); };
  for (int i = 0; i < count; ++i) {
    fs::create_directories("all/" + name(i));
    write("all/" + name(i) + "/x", "");
    for (int j = 0; j < count; ++j)
      fs::create_directory_symlink("../" + name(j), "all/" + name(i) + "/to" + name(j));
  }
  const Strings found = search("all", "x");
  const auto across = [&](int links) {
    return std::count_if(found.begin(), found.end(), [=](const std::string &path) {
      return std::count(path.begin(), path.end(), 't') == links;
    });
  };
  EXPECT_EQ(across(0), count);
  EXPECT_EQ(across(1), count * (count - 1));
  EXPECT_EQ(found.size(), static_cast<size_t>(count + count * (count - 1) + count));
}

TEST_F(PathSearch, PassesOverPathsThatAreTooLong) {
  const std::string name(255, 'n');
  const int home = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  fs::create_directory("deep");
  ASSERT_EQ(chdir("deep"), 0);
  size_t reachable = 0;
  for (size_t level = 0; level < 20; ++level) {
    close(open("x", O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    reachable += strlen("deep") + level * 256 + strlen("/x") < PATH_MAX;
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(chdir(name.c_str()), 0);
  }
  ASSERT_EQ(fchdir(home), 0);
  close(home);
  EXPECT_EQ(search("deep", "x").size(), reachable);
  EXPECT_EQ(search(std::string(PATH_MAX, 'x').c_str(), "*"), Strings{});
}

// ---- Paths as texts ----

TEST(Path, HasADirname) {
  const char *const cases[][2] = {
      {"/a/b", "/a"}, {"/a/b/", "/a"}, {"a", "."},  {"/", "/"},
      {"", "."},      {"a//b//", "a"}, {"..", "."},
  };
  for (const auto &[path, expected] : cases)
    EXPECT_EQ(taken(path_dirname(path)), expected) << path;
  EXPECT_EQ(path_dirname(nullptr), nullptr);
}

TEST(Path, IsNormalized) {
  const char *const cases[][2] = {
      {"/a/b/../c", "/a/c"},
      {"/a/./b", "/a/b"},
      {"/a//b", "/a/b"},
      {"///", "/"},
      {"/a/b/", "/a/b"},
      {"/../a", "/a"},
      {"/a/.", "/a"},
      {"/a/../", "/"},
      {"/a/..", ""},
      {"/..", ""},
      {"/.", ""},
      {"/", "/"},
      {"", ""},
      {"/.hidden", "/.hidden"},
      {"/...", "/..."},
      {"a/../b", "/b"},
      {"a/b/../c", "a/c"},
      {"../a", "../a"},
      {"./a", "./a"},
      {"/../../a", "/a"},
      {"a/..", ""},
  };
  for (const auto &[path, expected] : cases)
    EXPECT_EQ(taken(path_normalize(path)), expected) << path;
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
    if (rest.rfind("/../", 0) == 0)
      drop_component(3);
    else if (rest == "/..")
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
  std::mt19937 random(7);
  for (int i = 0; i < 20'000; ++i) {
    std::string path;
    for (size_t length = random() % 16; path.size() < length;)
      path += "//..a"[random() % 5];
    ASSERT_EQ(taken(path_normalize(path.c_str())), normalized_slowly(path)) << path;
  }
}

} // namespace
