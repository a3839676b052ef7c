#include <nodetree/process.h>

#include "support.hpp"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <utility>

namespace {

namespace fs = std::filesystem;
using test::drain;
using test::file_content;
using test::list_owner;

list_owner shell(const char *script) {
  return list_owner(sl_new("sh", "-c", script));
}

// A program whose input and output fit into its pipes.
struct Child {
  explicit Child(const list_owner &command, char **environment = nullptr,
                 const char *user = nullptr)
      : pid(process_spawn_pipe(command.get(), environment, user, &in, &out, &err)) {
    EXPECT_GT(pid, 0);
  }
  // "STATUS OUTPUT|ERRORS" after some input.
  std::string end(const std::string &text = "") const {
    EXPECT_EQ(write(in, text.data(), text.size()), std::ssize(text));
    close(in);
    const std::string written = drain(out) + "|" + test::without_lines(drain(err));
    return std::to_string(process_wait(pid)) + " " + written;
  }
  int in = -1, out = -1, err = -1;
  pid_t pid;
};

// Runs `body` in a process of its own, whose state it may change.
void isolated(const std::function<void()> &body) {
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int output = fcntl(1, F_DUPFD_CLOEXEC, 100);
    body();
    const auto &result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result.total_part_count(); ++i)
      dprintf(output, "line %d: %s\n", result.GetTestPartResult(i).line_number(),
              result.GetTestPartResult(i).message());
    _exit(result.Failed());
  }
  EXPECT_EQ(process_wait(pid), 0);
}

class Process : public testing::Test {
protected:
  void SetUp() override {
    for (int fd = 3; fd < 1024; ++fd) // inherited by the test itself
      fcntl(fd, F_SETFD, FD_CLOEXEC);
    descriptors = test::open_descriptors();
  }
  void TearDown() override {
    log_close();
    log_set_debug(false);
    EXPECT_EQ(test::open_descriptors(), descriptors);
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
  for (const auto &[script, expected] : {std::pair("exit 255", 255), {"kill -9 $$", -9}}) {
    const pid_t pid = process_spawn(shell(script).get());
    EXPECT_EQ(process_wait(pid), expected) << script;
    EXPECT_EQ(process_wait(pid), -258) << script;
  }
  EXPECT_EQ(process_wait(0), -257);
  EXPECT_EQ(process_wait(-5), -257);
  EXPECT_EQ(process_wait(getppid()), -258);
}

TEST_F(Process, EmptyCommandsAreRefused) {
  test::log_reader log;
  const list_owner empty(_sl_new(nullptr));
  for (char **command : {static_cast<char **>(nullptr), empty.get()}) {
    int end = 77;
    errno = 0;
    EXPECT_EQ(process_spawn(command), -1);
    EXPECT_EQ(std::exchange(errno, 0), EINVAL);
    EXPECT_EQ(process_spawn_pipe(command, nullptr, nullptr, &end, &end, &end), -1);
    EXPECT_TRUE(end == 77 && errno == EINVAL);
    const std::string message = ": Cannot spawn process with empty command.\n";
    EXPECT_EQ(log.fresh(),
              "DEBUG: process_spawn_fd" + message + "DEBUG: process_spawn_pipe" + message);
  }
}

TEST_F(Process, OtherDescriptorsAreNotInherited) {
  const list_owner cat(sl_new("cat")), ls(sl_new("ls", "/proc/self/fd"));
  const Child other(cat); // keeps running meanwhile
  for (const int end : {other.in, other.out, other.err})
    EXPECT_EQ(fcntl(end, F_GETFD), FD_CLOEXEC);
  ASSERT_TRUE(log_open_file("log", "a"));
  EXPECT_EQ(Child(ls).end(), "0 0\n1\n2\n3\n|"); // 3 is the folder that ls reads
  log_close();
  EXPECT_EQ(other.end("still there"), "0 still there|");
}

// Every way to pass the descriptors 0 to 3 and the null device, with every subset of them
// open. In the parent all are close-on-exec, and each is a different file. The program's
// descriptors are checked by the targets and modes of their links: 500 for reading, 300 for
// writing, 700 for both.
TEST_F(Process, DescriptorsMayBePermutedAndMissing) {
  const list_owner find(sl_new("find", "/proc/self/fd", "(", "-name", "[012]", "-o",
                               "-lname", "*/file?", ")", "-fprintf", "report",
                               "%f %l %m\n"));
  const char *const null_device[] = {"/dev/null 500\n", "/dev/null 300\n",
                                     "/dev/null 300\n"};
  const auto check = [&](int open_ones, const std::vector<int> &streams) {
    for (int fd = 0; fd < 4; ++fd)
      close(fd);
    for (const char *path :
         {"file0", "file1", "file2", "file3"}) // the number is the descriptor
      open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    bool possible = true;
    std::string expected;
    for (size_t i = 0; i < 3; ++i) {
      const int fd = streams[i];
      possible = possible && (fd < 0 || (open_ones >> fd & 1) != 0);
      expected += std::to_string(i) + " ";
      expected +=
          fd < 0 ? null_device[i] : place.path + "/file" + char('0' + fd) + " 700\n";
    }
    for (int fd = 0; fd < 4; ++fd)
      if ((open_ones >> fd & 1) == 0)
        close(fd);
    fs::remove("report");
    const pid_t pid =
        process_spawn_fd(find.get(), nullptr, nullptr, streams[0], streams[1], streams[2]);
    EXPECT_EQ(process_wait(pid), possible ? 0 : 1);
    EXPECT_EQ(file_content("report"), possible ? expected : "");
  };
  isolated([&] {
    const int step = test::to_the_limit ? 7 : 37;
    for (int round = 0; round < 16 * 125 && !HasFailure(); round += step)
      check(round / 125, {round % 5 - 1, round / 5 % 5 - 1, round / 25 % 5 - 1});
  });
}

TEST_F(Process, PipesAvoidClosedStandardStreams) {
  for (int closed = 0; closed < 8; ++closed)
    isolated([=] {
      for (int fd = 0; fd < 3; ++fd)
        if ((closed >> fd & 1) != 0)
          close(fd);
      const Child tee(list_owner(sl_new("tee", "/dev/stderr")));
      EXPECT_GT(std::min({tee.in, tee.out, tee.err}), 2);
      for (int fd = 0; fd < 3; ++fd)
        EXPECT_EQ(fcntl(fd, F_GETFD) == -1, (closed >> fd & 1) != 0);
      EXPECT_EQ(tee.end("text"), "0 text|text");
    });
}

TEST_F(Process, WaitContinuesAfterSignals) {
  const list_owner cat(sl_new("cat"));
  int in = -1;
  const pid_t pid = process_spawn_pipe(cat.get(), nullptr, nullptr, &in, nullptr, nullptr);
  EXPECT_EQ(test::wait_through_signals(in, [=] { return process_wait(pid); }), 0);
  signal(SIGCHLD, SIG_IGN); // the system reaps
  EXPECT_EQ(process_wait(process_spawn(cat.get())), -258);
  signal(SIGCHLD, SIG_DFL);
}

TEST_F(Process, ChildThatFailsReportsAndEndsWithStatusOne) {
  log_open_stderr();
  EXPECT_EQ(Child(missing).end(),
            "1 |ERROR: Failed to exec ./missing: No such file or directory\n");
  // Messages that nobody reads, before and after the attempt.
  log_set_debug(true);
  const list_owner good = shell("exit 7"), half_pair(sl_new("NAME"));
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const auto spawn = [&](char **command, int err) {
    return process_wait(process_spawn_fd(command, half_pair.get(), nullptr, -1, -1, err));
  };
  EXPECT_EQ(spawn(good.get(), ends[1]), 7);
  EXPECT_EQ(spawn(missing.get(), ends[1]), 1);
  close(ends[1]);
  // A stream that cannot be opened. The log is a file, which the child also writes.
  ASSERT_NE(log_open_file("log", "we"), nullptr);
  EXPECT_EQ(spawn(good.get(), 999), 1);
  log_close();
  EXPECT_EQ(test::without_lines(file_content("log")),
            "DEBUG: process_spawn_fd: Failed to allocate file descriptor for stderr: Bad "
            "file descriptor\n");
}

TEST_F(Process, FailedChildDoesNotFlushTheParentsBuffers) {
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

TEST_F(Process, NoHandlerOfTheCallerRunsInTheChild) {
  const list_owner grep(sl_new("grep", "Sig[BI]", "/proc/self/status")),
      seven = shell("exit 7");
  isolated([&] {
    atexit([] { test::write_file("handler", "ran"); });
    // A signal that arrives right after fork(), in the second child only.
    signal(SIGUSR1, [](int) { test::write_file("handler", "ran"); });
    static bool armed = false;
    pthread_atfork(nullptr, nullptr, [] { armed &&raise(SIGUSR1); });
    signal(SIGINT, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    std::thread([&] {
      pthread_cancel(pthread_self());
      const pid_t pid = process_spawn(seven.get());
      const Child child(grep);
      int state = 0;
      pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
      EXPECT_EQ(state, PTHREAD_CANCEL_ENABLE);
      // The program inherits these from the caller.
      const std::string status = file_content("/proc/self/status"), end = child.end();
      EXPECT_NE(status.find(end.substr(2, end.size() - 3)), status.npos) << end;
      EXPECT_EQ(process_wait(pid), 7);
    }).join();
    armed = true;
    EXPECT_EQ(process_wait(process_spawn(grep.get())), -SIGUSR1);
    EXPECT_FALSE(fs::exists("handler"));
  });
}

TEST_F(Process, AFullDescriptorTableIsEnough) {
  isolated([] {
    const list_owner good = shell("exit 7");
    while (fcntl(0, F_DUPFD_CLOEXEC, 3) != -1)
      continue;
    const int status = process_wait(process_spawn(good.get()));
    closefrom(200); // UBSan needs descriptors too
    EXPECT_EQ(status, 7);
  });
}

TEST_F(Process, EnvironmentIsAddedTo) {
  log_open_stderr();
  log_set_debug(true);
  setenv("INHERITED", "old", 1);
  setenv("REPLACED", "old", 1);
  const list_owner command =
      shell("echo $INHERITED $REPLACED $ADDED ${EMPTY-unset} ${LAST-unset}");
  const list_owner environment(sl_new("REPLACED", "new", "", "x", "A=B", "x", "ADDED",
                                      "first", "ADDED", "last", "EMPTY", "", "LAST"));
  const std::string failed =
      "DEBUG: process_spawn_fd: Failed to set environment variable: ";
  EXPECT_EQ(Child(command, environment.get()).end(),
            "0 old new last unset\n|" + failed + "Invalid argument\n" + failed +
                "Invalid argument\n" + failed +
                "no value associated with last name in env list\n");
  EXPECT_STREQ(getenv("REPLACED"), "old");
  ASSERT_NE(log_open_file("log", "we"),
            nullptr); // in a buffer that the program must not flush
  EXPECT_EQ(Child(command, list_owner(sl_new("LAST")).get()).end(),
            "0 old old unset unset\n|");
  EXPECT_NE(file_content("log"), "");

  // The program is searched for in the new PATH.
  test::write_file("own_program", "#!/bin/sh\necho found\n");
  fs::permissions("own_program", fs::perms::owner_all);
  const list_owner path(sl_new("PATH", place.path.c_str())), own(sl_new("own_program"));
  EXPECT_EQ(Child(own, path.get()).end(), "0 found\n|");
  EXPECT_EQ(Child(own).end().front(), '1');
}

// "UID GID "
std::string ids() {
  EXPECT_TRUE(getuid() == geteuid() && getgid() == getegid());
  return std::to_string(getuid()) + " " + std::to_string(getgid()) + " ";
}

// What becomes of the process that asks: "RESULT UID GID MESSAGE".
std::string dropped(const char *user) {
  test::log_reader log;
  const bool result = process_drop_privilege(user);
  return (result ? "true " : "false ") + ids() + log.fresh();
}

TEST_F(Process, MissingPrivilegesAreNotDropped) {
  isolated([] {
    EXPECT_TRUE(process_drop_privilege(nullptr));
    EXPECT_NE(getuid(), 0U);
    const std::string before = ids();
    for (const char *user : {"root", "no such user", "daemon"})
      EXPECT_EQ(dropped(user), "true " + before);
  });
}

// Drops a capability of root.
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
                    gid = std::to_string(nobody.pw_gid),
                    who = "DEBUG: process_drop_privilege: ",
                    denied = ": Operation not permitted\n",
                    changed = who + "Changed to uid=" + uid + " gid=" + gid + "\n",
                    unknown = who + "Could not find uid/gid of user no-such-user. "
                                    "Continuing as root.\n";
  const struct {
    const char *user;
    std::string outcome;
    unsigned renounced = CAP_SYS_BOOT; // not needed here
  } cases[] = {
      {"root", "true 0 0 "},
      {nullptr, "true " + uid + " " + gid + " " + changed},
      {"no-such-user", "false 0 0 " + unknown},
      {"nobody",
       "false 0 0 " + who + "Failed to change to user nobody's gid " + gid + denied,
       CAP_SETGID},
      {"nobody",
       "false 0 " + gid + " " + who + "Failed to change to user nobody's uid " + uid +
           denied,
       CAP_SETUID}};
  for (const auto &row : cases)
    isolated([&] {
      renounce(row.renounced);
      EXPECT_EQ(dropped(row.user), row.outcome);
    });
  log_open_stderr();
  log_set_debug(true);
  const list_owner command = shell("id -u; id -g");
  EXPECT_EQ(Child(command, nullptr, "nobody").end(),
            "0 " + uid + "\n" + gid + "\n|" + changed);
  EXPECT_EQ(Child(command, nullptr, "no-such-user").end(), "1 |" + unknown);
}

} // namespace
