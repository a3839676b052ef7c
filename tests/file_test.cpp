#include <nodetree/file.h>

#include "support.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using test::file_content;
using test::take;
using test::write_file;

class File : public testing::Test {
protected:
  void SetUp() override { descriptors = test::open_descriptors(); }
  void TearDown() override { EXPECT_EQ(test::open_descriptors(), descriptors); }
  test::workplace place;
  test::log_reader log;
  std::ptrdiff_t descriptors = 0;
};

TEST_F(File, IsReadCompletely) {
  for (const size_t size : {0u, 1u, 1023u, 1024u, 1025u, 100'000u}) {
    std::string data(size, '\0');
    std::generate(data.begin(), data.end(), [i = 0]() mutable { return char(i++ / 7); });
    write_file("data", data);
    size_t length = 1;
    const test::text_owner buffer(file_read("data", &length));
    ASSERT_EQ(length, size);
    EXPECT_EQ(std::string(buffer.get(), length + 1), data + '\0');
  }
  // A file that claims to have no size.
  EXPECT_EQ(take(file_read_string("/proc/self/comm")), file_content("/proc/self/comm"));
  EXPECT_EQ(file_read_string("."), nullptr);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(log.fresh(), "");
  size_t length = 77;
  EXPECT_EQ(file_read("missing", &length), nullptr);
  EXPECT_EQ(length, 77u);
  EXPECT_EQ(log.fresh(), "DEBUG: file_read: Failed to open file 'missing': No such file or "
                         "directory\n");
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
  const uint64_t large = (uint64_t{4} << 30) + 1; // more than 32 bits can address
  fs::resize_file("data", large);
  EXPECT_TRUE(path_is_file("data"));
  address = file_map("data", &length);
  EXPECT_EQ(address ? length : static_cast<size_t>(errno),
            SIZE_MAX > large ? large : ENOMEM);
  file_unmap(address, length);
  log.fresh();
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

TEST_F(File, IsOverwrittenOrTheFailureIsReported) {
  for (const char *text : {"long text", "short"}) {
    EXPECT_TRUE(file_write_string("out", text));
    EXPECT_EQ(file_content("out"), text);
  }
  const char *const cases[][2] = {
      {"no/out", "open file no/out for writing: No such file or directory"},
      {"read_only", "open file read_only for writing: Permission denied"},
      // The text is short: it stays in the buffer until the file is closed.
      {"/dev/full", "write file /dev/full: No space left on device"}};
  write_file("read_only", "");
  fs::permissions("read_only", fs::perms(0444));
  fs::permissions(".", fs::perms(0777));
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0); // root can write everything
  for (const auto &[path, message] : cases) {
    EXPECT_FALSE(file_write_string(path, "x"));
    EXPECT_EQ(log.fresh(),
              std::string("DEBUG: file_write_string: Failed to ") + message + "\n\n");
  }
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_FALSE(file_write("other", "x", 1));
  EXPECT_FALSE(path_exists("other"));
}

TEST_F(File, LocksExcludeEachOther) {
  const auto locked = [] { // against readers and against writers
    return std::pair(file_read_is_locked("lock"), file_write_is_locked("lock"));
  };
  EXPECT_EQ(locked(), std::pair(false, false));
  EXPECT_FALSE(path_exists("lock"));
  const int first = file_read_lock("lock"), second = file_read_lock("lock");
  EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
  file_unlock(first);
  EXPECT_EQ(locked(), std::pair(false, true));
  file_unlock(second);
  EXPECT_EQ(locked(), std::pair(false, false));
  const int held = file_write_lock("lock");
  EXPECT_EQ(locked(), std::pair(true, true));
  fs::remove("lock"); // the file is locked, not its name
  EXPECT_EQ(locked(), std::pair(false, false));
  const int other = file_write_lock("lock"); // does not wait
  file_unlock(held);
  EXPECT_EQ(locked(), std::pair(true, true));
  file_unlock(other);
  file_unlock(-1);
  EXPECT_EQ(log.fresh(), "");
  EXPECT_EQ(file_write_lock("no/lock"), -1);
  EXPECT_EQ(log.fresh(), "DEBUG: file_lock: Failed to open lock file no/lock: No such file "
                         "or directory\n");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  EXPECT_FALSE(file_write_is_locked("pipe"));
}

TEST_F(File, LocksEndEvenIfAChildInheritsThem) {
  const test::list_owner command(sl_new("true"));
  std::atomic<bool> done = false;
  std::thread spawner([&] {
    while (!done)
      process_wait(process_spawn(command.get()));
  });
  for (size_t i = 0; i < test::scaled(2000); ++i) {
    file_unlock(file_read_lock("lock"));
    ASSERT_FALSE(file_write_is_locked("lock") || file_write_is_locked("lock")) << i;
  }
  done = true;
  spawner.join();
}

TEST_F(File, LockWaitsThroughSignals) {
  const int held = file_read_lock("lock");
  file_unlock(test::wait_through_signals(held, [] { return file_write_lock("lock"); }));
  EXPECT_EQ(log.fresh(), "");
}

TEST_F(File, DirectoriesAreMadeAndPathsTestedAcrossLinks) {
  write_file("plain", "");
  fs::create_directory("folder");
  for (const char *target : {"plain", "folder", "nowhere"})
    fs::create_symlink(target, std::string("to_") + target);
  for (const char *path : {"plain", "folder", "to_plain", "to_folder", "to_nowhere",
                           "nowhere", "/dev/null", ""}) {
    EXPECT_EQ(path_exists(path), fs::exists(path)) << path;
    EXPECT_EQ(path_is_directory(path), fs::is_directory(path)) << path;
    EXPECT_EQ(path_is_file(path), fs::is_regular_file(path)) << path;
  }
  for (const char *path :
       {"a/b/c", "a/b/c", "d//e///", "/", "to_folder/x/y", ".", "a/../f/g"})
    EXPECT_TRUE(file_mkdirp(path, 0755) && path_is_directory(path)) << path;
  for (const char *path : {"", "plain", "plain/x", "to_plain/x", "plain/", "/proc/no/x"})
    EXPECT_FALSE(file_mkdirp(path, 0755)) << path;
  EXPECT_EQ(errno, ENOENT) << "that of the last";
  EXPECT_TRUE(path_is_directory("folder/x/y"));
  EXPECT_TRUE(file_mkdirp((place.path + "/m/n").c_str(), 0710));
  EXPECT_EQ(fs::status("m").permissions(), fs::perms(0710));
}

// ---- Search ----

class PathSearch : public File {
protected:
  static void plant(std::initializer_list<const char *> paths) {
    for (const fs::path path : paths) {
      fs::create_directories(path.parent_path());
      write_file(path, "");
    }
  }
  struct Row {
    const char *directory, *pattern, *found;
    int error = 0;
  };
  static void search(std::initializer_list<Row> rows) {
    for (const auto &[directory, pattern, found, error] : rows) {
      errno = 0;
      EXPECT_EQ(take(path_search(directory, pattern)), found) << directory;
      EXPECT_EQ(errno, error) << directory;
    }
  }
};

TEST_F(PathSearch, GoesDepthFirstInDescendingOrder) {
  plant({"dir/a.txt", "dir/b.log", "dir/sub/c.txt", "dir/.hidden/x.txt", "dir/z.txt",
         "dir/sub/deep/d.txt", "dir/sub/e.txt", "dir/folder.txt/plain"});
  fs::create_directory("empty");
  search({{"dir", "*.txt",
           "dir/z.txt;dir/sub/e.txt;dir/sub/deep/d.txt;dir/sub/c.txt;dir/a.txt;"
           "dir/.hidden/x.txt;"},
          {"dir/sub/deep/", "*", "dir/sub/deep//d.txt;"},
          {"dir", "sub/*", "NULL"},
          {"dir", nullptr, "NULL"},
          {"missing", "*", "NULL", ENOENT},
          {"dir/a.txt", "*", "NULL", ENOTDIR},
          {"empty", "*", "NULL"}});
}

TEST_F(PathSearch, FollowsLinksButNoLoops) {
  plant({"dir/real/x", "outside/y", "outside/more/x", "own/top/dir/x", "own/top/dir/sub/x",
         "own/top/y/x"});
  const char *const links[][2] = {
      {"real", "dir/again"},          {"real", "dir/once_more"},
      {"../outside", "dir/out"},      {"../outside/y", "dir/x_file"},
      {"nowhere", "dir/x_dangling"},  {"dir", "start"},
      {"..", "own/top/dir/sub/loop"}, {".", "own/top/dir/self"},
      {"../..", "own/top/dir/up"}};
  for (const auto &[target, link] : links)
    fs::create_symlink(target, link);
  search(
      {{"dir", "x*", "dir/x_file;dir/real/x;dir/out/more/x;dir/once_more/x;dir/again/x;"},
       {"start", "y", "start/out/y;"},
       {"own/top/dir", "x", "own/top/dir/x;own/top/dir/up/top/y/x;own/top/dir/sub/x;"}});
}

TEST_F(PathSearch, FailsWhereLinksMultiply) {
  plant({"all/x"});
  for (int i = 0; i < 320; ++i) { // 320 times 321 directories
    fs::create_directories("tree/" + std::to_string(i));
    fs::create_symlink("../tree", "all/" + std::to_string(i));
  }
  search({{"all", "x", "NULL", ELOOP}});
}

TEST_F(PathSearch, PassesOverPathsThatAreTooLong) {
  std::string name(253, 'd'); // one "x" just fits, one "xx" is a byte too far
  const std::string top = name;
  size_t reachable = 0;
  for (size_t length = name.size(); length < 2 * PATH_MAX; length += name.size() + 1) {
    ASSERT_TRUE(mkdir(name.c_str(), 0700) == 0 && chdir(name.c_str()) == 0);
    for (const std::string file : {"x", "xx"}) {
      write_file(file, "");
      reachable += length + 1 + file.size() < PATH_MAX;
    }
    name.assign(255, 'n');
  }
  ASSERT_EQ(chdir(place.path.c_str()), 0);
  EXPECT_EQ(sl_len(test::list_owner(path_search(top.c_str(), "x*")).get()), reachable);
  search({{std::string(PATH_MAX, 'x').c_str(), "*", "NULL", ENAMETOOLONG}});
}

// ---- Paths as texts ----

TEST(Path, HasADirname) {
  const char *const cases[][2] = {{"/a/b/", "/a"}, {"a", "."}, {"/", "/"}, {"", "."}};
  for (const auto &[path, expected] : cases)
    EXPECT_EQ(take(path_dirname(path)), expected) << path;
  EXPECT_EQ(path_dirname(nullptr), nullptr);
}

TEST(Path, IsNormalized) {
  const char paths[] = R"(
      /// /  //a///b/ /a/b  a/./b/. a/b  ./.a/. ./.a  /a/b/../c /a/c  /a/../../b/../ /
      ../a ../a  a/../b /b  a/b//.. a  /..a/.../b.. /..a/.../b..)";
  for (const auto &row : test::table(paths, 2))
    EXPECT_EQ(take(path_normalize(row[0].c_str())), row[1]) << row[0];
  for (const char *path : {"", "/.", "/a/b/../../c/.."})
    EXPECT_EQ(take(path_normalize(path)), "") << path;
}

} // namespace
