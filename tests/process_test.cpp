#include <nodetree/process.h>

#include "support.hpp"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <pwd.h>
#include <set>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using test::file_content;
using test::list_owner;

constexpr const char *names[] = {"stdin", "stdout", "stderr"};

auto open_descriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

std::string drain(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(count));
  EXPECT_EQ(close(fd), 0);
  return text;
}

list_owner shell(const char *script) {
  return list_owner(sl_new("sh", "-c", script));
}

struct Result {
  int status = 0;
  std::string out, err;
};

// A program that reads and writes no more than its pipes hold.
struct Child {
  explicit Child(const list_owner &command, char **environment = nullptr,
                 const char *user = nullptr)
      : pid(process_spawn_pipe(command.get(), environment, user, &in, &out, &err)) {
    EXPECT_GT(pid, 0);
  }
  Result end(const std::string &text = "") const {
    EXPECT_EQ(write(in, text.data(), text.size()), std::ssize(text));
    close(in);
    Result result{0, drain(out), test::without_lines(drain(err))};
    result.status = process_wait(pid);
    return result;
  }
  int in = -1, out = -1, err = -1;
  pid_t pid;
};

// Runs `body` in a process of its own, which it may spoil, standard output included.
void isolated(const std::function<void()> &body) {
  const auto &result = *testing::UnitTest::GetInstance()->current_test_info()->result();
  const int before = result.total_part_count();
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int output = fcntl(1, F_DUPFD_CLOEXEC, 100);
    body();
    for (int i = before; i < result.total_part_count(); ++i)
      dprintf(output, "line %d: %s\n", result.GetTestPartResult(i).line_number(),
              result.GetTestPartResult(i).message());
    _exit(result.total_part_count() == before ? 0 : 1);
  }
  EXPECT_EQ(process_wait(pid), 0);
}

class Process : public testing::Test {
protected:
  void SetUp() override {
    for (int fd = 3; fd < 1024; ++fd) // what the test itself was started with
      fcntl(fd, F_SETFD, FD_CLOEXEC);
    descriptors = open_descriptors();
  }
  void TearDown() override {
    log_close();
    log_set_debug(false);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
  }
  test::workplace place;
  const list_owner missing{sl_new("./missing", "-x")};
  std::ptrdiff_t descriptors = 0;
};

TEST_F(Process, StatusesAreInterpreted) {
  const int statuses[][2] = {{0, 0},         {0x0300, 3},   {0xff00, 255}, {9, -9},
                             {0x8b, -11},    {0x7f, -127},  {0x80, 0},     {0x137f, -256},
                             {0xffff, -256}, {0x0109, -256}};
  for (const auto &[status, expected] : statuses)
    EXPECT_EQ(process_interpret_status(status), expected) << status;
  EXPECT_EQ(process_wait(0), -257);
  EXPECT_EQ(process_wait(-5), -257);
  EXPECT_EQ(process_wait(getppid()), -258);
  const std::pair<const char *, int> scripts[] = {
      {"exit 0", 0}, {"exit 255", 255}, {"kill -9 $$", -9}, {"kill -PIPE $$", -13}};
  for (const auto &[script, expected] : scripts) {
    const pid_t pid = process_spawn(shell(script).get());
    EXPECT_EQ(process_wait(pid), expected) << script;
    EXPECT_EQ(process_wait(pid), -258) << script;
  }
}

TEST_F(Process, EmptyCommandsAreRefused) {
  test::log_reader log;
  const list_owner empty(_sl_new(nullptr));
  for (char **command : {static_cast<char **>(nullptr), empty.get()}) {
    int in = 77, out = 78, err = 79;
    EXPECT_EQ(process_spawn(command), -1);
    EXPECT_EQ(process_spawn_pipe(command, nullptr, nullptr, &in, &out, &err), -1);
    EXPECT_EQ(std::tuple(in, out, err), std::tuple(77, 78, 79));
    const std::string message = ": Cannot spawn process with empty command.\n";
    EXPECT_EQ(log.fresh(),
              "DEBUG: process_spawn_fd" + message + "DEBUG: process_spawn_pipe" + message);
  }
}

TEST_F(Process, StreamsWithoutAPipeAreTheNullDevice) {
  // The last octal digit of the flags is the mode: 0 to read, 1 to write.
  const list_owner command =
      shell("for i in 0 1 2; do readlink /proc/$$/fd/$i | sed 's/[:/][^:/]*$//';"
            "sed -n 's/flags:.*\\(.\\)/\\1/p' /proc/$$/fdinfo/$i; done | cat > report");
  for (int piped = 0; piped < 4; ++piped) {
    int end = -1;
    const auto wanted = [&](int stream) { return stream == piped ? &end : nullptr; };
    const pid_t pid = process_spawn_pipe(command.get(), nullptr, nullptr, wanted(0),
                                         wanted(1), wanted(2));
    EXPECT_EQ(process_wait(pid), 0);
    std::string expected;
    for (int i = 0; i < 3; ++i)
      expected += std::string(i == piped ? "pipe" : "/dev") + (i == 0 ? "\n0\n" : "\n1\n");
    EXPECT_EQ(file_content("report"), expected);
    EXPECT_EQ(close(end), piped < 3 ? 0 : -1);
  }
}

TEST_F(Process, OtherDescriptorsStayOutOfTheProgram) {
  const list_owner cat(sl_new("cat")), ls(sl_new("ls", "/proc/self/fd"));
  const Child other(cat); // lives on meanwhile
  for (const int end : {other.in, other.out, other.err})
    EXPECT_EQ(fcntl(end, F_GETFD), FD_CLOEXEC);
  ASSERT_TRUE(log_open_file("log", "a"));
  EXPECT_EQ(Child(ls).end().out, "0\n1\n2\n3\n"); // 3 is what it reads
  log_close();
  EXPECT_EQ(other.end("still there").out, "still there");
}

// Every way to hand 0 to 3 and the null device over, with every choice of those open. In
// the parent all are close-on-exec, and each is a file of its own.
TEST_F(Process, DescriptorsMayBePermutedAndMissing) {
  const list_owner find(
      sl_new("find", "/proc/self/fd", "-type", "l", "-fprintf", "report", "%f=%l\n"));
  const auto check = [&](int open_ones, std::tuple<int, int, int> streams) {
    std::string paths[4], expected;
    for (int fd = 0; fd < 4; ++fd)
      close(fd);
    for (std::string &path : paths) { // in the order of the descriptors
      path = place.path + "/file" + std::to_string(&path - paths);
      EXPECT_EQ(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), &path - paths);
    }
    for (int fd = 0; fd < 4; ++fd)
      if ((open_ones >> fd & 1) == 0)
        close(fd);
    fs::remove("report");
    const auto [in, out, err] = streams;
    const pid_t pid = process_spawn_fd(find.get(), nullptr, nullptr, in, out, err);
    bool possible = true;
    for (const int fd : {in, out, err}) {
      possible = possible && (fd < 0 || (open_ones >> fd & 1) != 0);
      expected += fd < 0 ? "/dev/null " : paths[fd] + ' ';
    }
    EXPECT_EQ(process_wait(pid), possible ? 0 : 1);
    std::string found;
    std::ifstream report("report");
    for (std::string line; std::getline(report, line);)
      if (line[0] < '3' || line.find(place.path + "/file") != line.npos ||
          line.find("/dev/null") != line.npos)
        found += line.substr(2) + ' ';
    EXPECT_EQ(found, possible ? expected : "");
  };
  isolated([&] {
    const size_t step = test::to_the_limit ? 7 : 37;
    for (size_t round = 0; round < 16 * 125 && !HasFailure(); round += step) {
      const int way = static_cast<int>(round % 125);
      check(static_cast<int>(round / 125), {way % 5 - 1, way / 5 % 5 - 1, way / 25 - 1});
    }
  });
}

TEST_F(Process, PipesStayClearOfClosedStandardStreams) {
  for (int closed = 0; closed < 8; ++closed)
    isolated([=] {
      for (int fd = 0; fd < 3; ++fd)
        if ((closed >> fd & 1) != 0)
          close(fd);
      const Child tee(list_owner(sl_new("tee", "/dev/stderr")));
      EXPECT_GT(std::min({tee.in, tee.out, tee.err}), 2);
      for (int fd = 0; fd < 3; ++fd)
        EXPECT_EQ(fcntl(fd, F_GETFD) == -1, (closed >> fd & 1) != 0);
      const Result result = tee.end("text");
      EXPECT_EQ(result.out + result.err, "texttext");
    });
}

// More than the pipes hold, in every direction at once.
TEST_F(Process, FloodedPipesAreReadToTheEnd) {
  const std::string flood = test::repeat("0123456789abcdef", (4 << 20) / 16);
  const Child tee(list_owner(sl_new("tee", "/dev/stderr")));
  std::string errors;
  std::thread reader([&] { errors = drain(tee.err); });
  std::thread writer([&] {
    for (size_t at = 0; at < flood.size(); at += 4096)
      EXPECT_EQ(write(tee.in, &flood[at], 4096), 4096);
    close(tee.in);
  });
  EXPECT_TRUE(drain(tee.out) == flood);
  reader.join();
  writer.join();
  EXPECT_TRUE(errors == flood);
  EXPECT_EQ(process_wait(tee.pid), 0);
}

TEST_F(Process, ManyChildrenLeaveNothingBehind) {
  static std::atomic<size_t> ended;
  struct sigaction action = {}, previous;
  action.sa_handler = [](int) { ++ended; };
  sigaction(SIGCHLD, &action, &previous); // without SA_RESTART
  const list_owner command(sl_new("true"));
  for (size_t i = 0; i < test::scaled(500); ++i) {
    ASSERT_EQ(Child(command).end().status, 0);
    ASSERT_EQ(process_wait(process_spawn(command.get())), 0);
  }
  EXPECT_EQ(ended, 2 * test::scaled(500));
  sigaction(SIGCHLD, &previous, nullptr);
}

TEST_F(Process, WaitGoesOnThroughSignals) {
  static std::atomic<int> signals;
  struct sigaction action = {}, previous;
  action.sa_handler = [](int) { ++signals; };
  sigaction(SIGUSR1, &action, &previous); // without SA_RESTART
  const list_owner cat(sl_new("cat"));
  int in = -1;
  const pid_t pid = process_spawn_pipe(cat.get(), nullptr, nullptr, &in, nullptr, nullptr);
  std::atomic<int> result = 1000;
  std::thread waiter([&] { result = process_wait(pid); });
  // Some signals may come before the wait has begun: the last ones do not.
  for (int sent = 1; sent <= 20 && result == 1000; ++sent) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    pthread_kill(waiter.native_handle(), SIGUSR1);
    while (signals < sent && result == 1000)
      std::this_thread::yield();
  }
  EXPECT_EQ(result, 1000);
  close(in);
  waiter.join();
  EXPECT_EQ(result, 0);
  sigaction(SIGUSR1, &previous, nullptr);
  signal(SIGCHLD, SIG_IGN); // the system reaps
  EXPECT_EQ(process_wait(process_spawn(cat.get())), -258);
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(Process, ChildThatFailsReportsAndEndsWithStatusOne) {
  log_open_stderr();
  const Result failed = Child(missing).end();
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err, "ERROR: Failed to exec ./missing: No such file or directory\n");
  // Messages without a reader, before and after the attempt.
  log_set_debug(true);
  const list_owner good = shell("exit 7"), half_pair(sl_new("NAME"));
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const auto spawn = [&](char **command, int in, int out, int err) {
    return process_wait(process_spawn_fd(command, half_pair.get(), nullptr, in, out, err));
  };
  EXPECT_EQ(spawn(good.get(), -1, -1, ends[1]), 7);
  EXPECT_EQ(spawn(missing.get(), -1, -1, ends[1]), 1);
  close(ends[1]);
  // A stream that cannot be had. The log is a file, which the child writes too.
  for (int i = 0; i < 3; ++i) {
    ASSERT_NE(log_open_file("log", "we"), nullptr);
    int fds[] = {-1, -1, -1};
    fds[i] = 999;
    EXPECT_EQ(spawn(good.get(), fds[0], fds[1], fds[2]), 1);
    log_close();
    const std::string message = "Failed to allocate file descriptor for ";
    EXPECT_EQ(test::without_lines(file_content("log")),
              "DEBUG: process_spawn_fd: " + message + names[i] + ": Bad file descriptor\n");
  }
}

TEST_F(Process, ChildThatFailsKeepsOffWhatTheParentHasBuffered) {
  isolated([this] {
    const int saved = dup(1), out = open("out", O_WRONLY | O_CREAT, 0600);
    dup2(out, 1);
    FILE *const file = fopen("file", "w");
    setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    ASSERT_NE(log_open_file("log", "w"), nullptr);
    fputs("printed", stdout);
    fputs("written", file);
    log_msg(LOG_INFO, "logged");
    atexit([] { test::write_file("handler", "ran"); });
    EXPECT_EQ(process_wait(process_spawn(missing.get())), 1);
    fflush(stdout);
    dup2(saved, 1);
    fclose(file);
    log_close();
    EXPECT_EQ(file_content("out"), "printed");
    // valgrind writes all buffers when a process ends.
    EXPECT_TRUE(test::under_valgrind() || file_content("file") == "written");
    EXPECT_EQ(file_content("log"), "ERROR: Failed to exec ./missing: No such file or "
                                   "directory\nINFO: logged\n");
    EXPECT_FALSE(fs::exists("handler"));
  });
}

TEST_F(Process, EnvironmentIsAddedTo) {
  ASSERT_NE(log_open_file("log", "we"), nullptr);
  log_set_debug(true);
  setenv("INHERITED", "old", 1);
  setenv("REPLACED", "old", 1);
  const list_owner command =
      shell("echo $INHERITED $REPLACED $ADDED ${EMPTY-unset} ${LAST-unset}");
  const list_owner environment(sl_new("REPLACED", "new", "", "x", "A=B", "x", "ADDED",
                                      "first", "ADDED", "last", "EMPTY", "", "LAST"));
  const Result result = Child(command, environment.get()).end();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.err, "old new last unset\n");
  const std::string message = "DEBUG: process_spawn_fd: Failed to set environment "
                              "variable: ";
  EXPECT_EQ(test::without_lines(file_content("log")),
            message + "Invalid argument\n" + message + "Invalid argument\n" + message +
                "no value associated with last name in env list\n");
  EXPECT_STREQ(getenv("REPLACED"), "old");
  EXPECT_EQ(getenv("ADDED"), nullptr);

  // The program is looked up along the new PATH.
  test::write_file("own_program", "#!/bin/sh\necho found\n");
  fs::permissions("own_program", fs::perms::owner_all);
  const list_owner path(sl_new("PATH", place.path.c_str())), own(sl_new("own_program"));
  EXPECT_EQ(Child(own, path.get()).end().out, "found\n");
  EXPECT_EQ(Child(own).end().status, 1);
}

TEST_F(Process, ExhaustedLimitsLeakNothing) {
  const list_owner command(sl_new("true"));
  const auto spawn = [&] {
    int ends[] = {77, 77, 77};
    const pid_t pid =
        process_spawn_pipe(command.get(), nullptr, nullptr, &ends[0], &ends[1], &ends[2]);
    for (const int end : ends) {
      EXPECT_EQ(end == -1, pid == -1);
      if (end != -1)
        close(end);
    }
    process_wait(pid);
    return pid != -1;
  };
  isolated([&] {
    test::log_reader log;
    const auto before = open_descriptors();
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t full = limit.rlim_cur;
    limit.rlim_cur = static_cast<rlim_t>(dup(2)); // the first one that is free
    close(static_cast<int>(limit.rlim_cur));
    std::set<std::string> messages;
    for (bool spawned = false; !spawned && limit.rlim_cur < full; ++limit.rlim_cur) {
      setrlimit(RLIMIT_NOFILE, &limit);
      spawned = spawn();
      const rlimit again = {full, limit.rlim_max};
      setrlimit(RLIMIT_NOFILE, &again);
      EXPECT_EQ(open_descriptors(), before);
      if (!spawned)
        messages.insert(log.fresh());
    }
    for (const char *name : names)
      EXPECT_EQ(messages.erase(std::string("DEBUG: process_spawn_pipe: Failed to create ") +
                               name + " pipe: Too many open files\n"),
                1U);
    EXPECT_TRUE(messages.empty());
  });
  isolated([&] {
    EXPECT_TRUE(process_drop_privilege(nullptr)); // root is never refused
    test::log_reader log;
    const auto before = open_descriptors();
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_NPROC, &none);
    EXPECT_FALSE(spawn());
    EXPECT_EQ(log.fresh(), "DEBUG: process_spawn_fd: Fork failed: Resource temporarily "
                           "unavailable\n");
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(open_descriptors(), before);
  });
}

TEST_F(Process, PrivilegesThatAreNotThereAreNotDropped) {
  isolated([] {
    EXPECT_TRUE(process_drop_privilege("root"));
    EXPECT_TRUE(process_drop_privilege(nullptr));
    test::log_reader log;
    const auto ids = [] { return std::tuple(getuid(), geteuid(), getgid(), getegid()); };
    const auto before = ids();
    EXPECT_NE(std::get<0>(before), 0U);
    for (const char *user : {"root", "no such user", "daemon"})
      EXPECT_TRUE(process_drop_privilege(user));
    EXPECT_EQ(ids(), before);
    EXPECT_EQ(log.fresh(), "");
  });
}

// Takes a capability from root.
void renounce(unsigned capability) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  ASSERT_EQ(syscall(SYS_capget, &header, data), 0);
  data[0].effective &= ~(1U << capability);
  ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
}

TEST_F(Process, RootBecomesTheUserOrStaysRoot) {
  if (getuid() != 0)
    GTEST_SKIP() << "needs root";
  const passwd nobody = *getpwnam("nobody");
  const std::string uid = std::to_string(nobody.pw_uid),
                    gid = std::to_string(nobody.pw_gid);
  const std::string who = "DEBUG: process_drop_privilege: ";
  const std::string changed = who + "Changed to uid=" + uid + " gid=" + gid + "\n",
                    denied = ": Operation not permitted\n",
                    no_gid = who + "Failed to change to user nobody's gid " + gid + denied,
                    no_uid = who + "Failed to change to user nobody's uid " + uid + denied,
                    unknown = who + "Could not find uid/gid of user no-such-user. "
                                    "Continuing as root.\n";
  const struct {
    const char *user;
    int missing; // capability
    bool result;
    uid_t uid;
    gid_t gid;
    std::string message;
  } cases[] = {{"root", -1, true, 0, 0, ""},
               {nullptr, -1, true, nobody.pw_uid, nobody.pw_gid, changed},
               {"nobody", -1, true, nobody.pw_uid, nobody.pw_gid, changed},
               {"no-such-user", -1, false, 0, 0, unknown},
               {"nobody", CAP_SETGID, false, 0, 0, no_gid},
               {"nobody", CAP_SETUID, false, 0, nobody.pw_gid, no_uid}};
  for (const auto &row : cases)
    isolated([&] {
      test::log_reader log;
      if (row.missing >= 0)
        renounce(static_cast<unsigned>(row.missing));
      EXPECT_EQ(process_drop_privilege(row.user), row.result);
      EXPECT_EQ(log.fresh(), row.message);
      EXPECT_EQ(std::tuple(getuid(), geteuid()), std::tuple(row.uid, row.uid));
      EXPECT_EQ(std::tuple(getgid(), getegid()), std::tuple(row.gid, row.gid));
    });

  log_open_stderr();
  log_set_debug(true);
  const list_owner command = shell("id -u; id -g");
  const Result as_nobody = Child(command, nullptr, "nobody").end();
  EXPECT_EQ(as_nobody.out, uid + "\n" + gid + "\n");
  EXPECT_EQ(as_nobody.err, changed);
  const Result refused = Child(command, nullptr, "no-such-user").end();
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out + refused.err, unknown);
}

} // namespace
