#include <nodetree/log.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string contents(FILE *file) {
  std::string text;
  char piece[4096];
  rewind(file);
  while (const size_t count = fread(piece, 1, sizeof piece, file))
    text.append(piece, count);
  return text;
}

/* What `action` writes to file descriptor 2. */
std::string stderr_of(const std::function<void()> &action) {
  fflush(stderr);
  FILE *file = tmpfile();
  const int saved = dup(STDERR_FILENO);
  dup2(fileno(file), STDERR_FILENO);
  action();
  fflush(stderr);
  dup2(saved, STDERR_FILENO);
  close(saved);
  const std::string text = contents(file);
  fclose(file);
  return text;
}

class Log : public testing::Test {
protected:
  Log() {
    char name[] = "/tmp/log_test.XXXXXX";
    close(mkstemp(name));
    path = name;
  }
  ~Log() override {
    log_close();
    log_set_debug(false);
    unlink(path.c_str());
  }
  std::string written() {
    FILE *file = fopen(path.c_str(), "r");
    const std::string text = contents(file);
    fclose(file);
    return text;
  }
  std::string path;
};

TEST_F(Log, DiscardsEverythingUntilOpened) {
  log_set_debug(true);
  EXPECT_EQ(stderr_of([] {
              for (int level = 0; level < 8; ++level)
                log_msg(level, "x");
            }),
            "");
  EXPECT_EQ(log_file, nullptr);
}

TEST_F(Log, StandardErrorTakesALineWithThePrefixOfItsLevel) {
  log_open_stderr();
  log_set_debug(true);
  const char *prefixes[] = {
      "", "", "", "ERROR: ", "WARNING: ", "", "INFO: ", "DEBUG: ", ""};
  for (int level = 0; level < 9; ++level)
    EXPECT_EQ(stderr_of([=] { log_msg(level, "x %d", 5); }),
              std::string(prefixes[level]) + "x 5\n");
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "own end\n"); }), "ERROR: own end\n\n");
  log_close();
  EXPECT_EQ(stderr_of([] {
              log_msg(LOG_ERR, "x");
              fputs("still open", stderr);
            }),
            "still open");
}

TEST_F(Log, DebugMessagesPassOnlyWhileTheSwitchIsOn) {
  log_open_stderr();
  EXPECT_FALSE(log_get_debug());
  EXPECT_EQ(stderr_of([] { log_msg(LOG_DEBUG, "x"); }), "");
  EXPECT_EQ(stderr_of([] { log_msg(LOG_INFO, "x"); }), "INFO: x\n");
  log_set_debug(true);
  EXPECT_TRUE(log_get_debug());
  EXPECT_EQ(stderr_of([] { log_msg(LOG_DEBUG, "x"); }), "DEBUG: x\n");
}

TEST_F(Log, FileIsOpenedWithTheModeGivenAndClosed) {
  FILE *stream = log_open_file(path.c_str(), "w");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream, log_file);
  log_msg(LOG_ERR, "%s", "first");
  EXPECT_EQ(written(), "") << "lines wait in the buffer";
  log_close();
  EXPECT_EQ(log_file, nullptr);
  EXPECT_EQ(written(), "ERROR: first\n");
  log_msg(LOG_ERR, "discarded");
  log_open_file(path.c_str(), "a");
  log_msg(LOG_NOTICE, "second");
  log_close();
  EXPECT_EQ(written(), "ERROR: first\nsecond\n");
}

TEST_F(Log, AFileThatCannotBeOpenedLeavesTheSinkAsItWas) {
  const auto fail = [] {
    errno = 0;
    EXPECT_EQ(log_open_file("/no/such/directory/log", "w"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(log_file, nullptr);
  };
  log_open_stderr();
  fail();
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "x"); }), "ERROR: x\n");

  FILE *stream = log_open_file(path.c_str(), "w");
  fail();
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "lost"); }), "");
  log_close();
  fclose(stream);
  EXPECT_EQ(written(), "");
}

TEST_F(Log, SyslogTakesIdentOptionsAndLevel) {
  log_open_syslog("log-test", LOG_PERROR);
  const std::string text = stderr_of([] {
    errno = EACCES;
    log_msg(LOG_ERR, "x %d", 5);
    __extension__ log_msg(LOG_ERR, "%m");
    log_msg(LOG_DEBUG, "hidden");
  });
  EXPECT_EQ(text, std::string("log-test: x 5\nlog-test: ") + strerror(EACCES) + "\n");
  log_close();
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "x"); }), "");
  EXPECT_EQ(stderr_of([] { syslog(LOG_ERR, "x"); }).find("log-test"), std::string::npos)
      << "the ident is not used after the close";
}

/* Unbuffered, so that every write of a message clobbers errno, as a fresh stream on a
   terminal or a pipe may. */
FILE *errno_clobbering_stream(std::string *text) {
  cookie_io_functions_t io = {};
  io.write = [](void *cookie, const char *bytes, size_t count) {
    static_cast<std::string *>(cookie)->append(bytes, count);
    errno = ENOTTY;
    return static_cast<ssize_t>(count);
  };
  FILE *stream = fopencookie(text, "w", io);
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

TEST_F(Log, KeepsTheErrnoOfTheCaller) {
  std::string text;
  fclose(log_open_file(path.c_str(), "w"));
  log_file = errno_clobbering_stream(&text);
  log_set_debug(true);
  errno = EXDEV;
  __extension__ log_msg(LOG_ERR, "%m");
  EXPECT_EQ(errno, EXDEV);
  EXPECT_EQ(text, std::string("ERROR: ") + strerror(EXDEV) + "\n");
  log_debug_hex("x", 1);
  EXPECT_EQ(errno, EXDEV);
}

/* The dump of `bytes` without the name and the line number in front of it. */
std::string dump_of(const std::string &path, const std::string &bytes) {
  log_open_file(path.c_str(), "w+");
  log_debug_hex(bytes.data(), bytes.size());
  const std::string text = contents(log_file);
  log_close();
  const std::string prefix = "DEBUG: log_debug_hex:";
  EXPECT_EQ(text.compare(0, prefix.size(), prefix), 0) << text;
  const size_t digits = text.find_first_not_of("0123456789", prefix.size());
  EXPECT_GT(digits, prefix.size());
  EXPECT_EQ(text.compare(digits, 2, ": "), 0) << text;
  return text.substr(digits + 2);
}

TEST_F(Log, HexDumpLayout) {
  const std::string zeros =
      " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  ................\n";
  const std::string z16(16, '\0');
  struct {
    std::string bytes, dump;
  } const cases[] = {
      {"", ""},
      {"ABCDEFGHIJKLMNOPQRST",
       "0x00000000: 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
       "0x00000010: 51 52 53 54" +
           std::string(40, ' ') + "QRST\n"},
      {"\x1f ~\x7f\x80\xff%s\n",
       "0x00000000: 1f 20 7e 7f 80 ff 25 73 0a" + std::string(25, ' ') + ". ~...%s.\n"},
      {z16, "0x00000000:" + zeros},
      {z16 + z16, "0x00000000:" + zeros + "0x00000010:" + zeros},
      {std::string(64, '\0'), "0x00000000:" + zeros + "...\n0x00000030:" + zeros},
      {std::string(33, '\0'),
       "0x00000000:" + zeros + "...\n0x00000020: 00" + std::string(49, ' ') + ".\n"},
      /* Two runs, each ended by a line that differs, and a last line that repeats. */
      {z16 + z16 + z16 + std::string(48, 'a') + z16 + z16,
       "0x00000000:" + zeros +
           "...\n"
           "0x00000030: 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61  aaaaaaaaaaaaaaaa\n"
           "...\n"
           "0x00000060:" +
           zeros + "0x00000070:" + zeros},
  };
  log_set_debug(true);
  for (const auto &c : cases)
    EXPECT_EQ(dump_of(path, c.bytes), c.dump + "\n\n") << c.bytes.size() << " bytes";
}

TEST_F(Log, HexDumpIsADebugMessage) {
  log_open_stderr();
  EXPECT_EQ(stderr_of([] { log_debug_hex("abc", 3); }), "");
  log_set_debug(true);
  EXPECT_NE(stderr_of([] { log_debug_hex(nullptr, 0); }), "");
}

TEST_F(Log, HexDumpOfManyLines) {
  log_set_debug(true);
  std::string bytes(1 << 20, '\0');
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i / 16 * 37 % 251);
  const std::string dump = dump_of(path, bytes);
  EXPECT_EQ(dump.size(), bytes.size() / 16 * 78 + 2);
  EXPECT_NE(dump.find("\n0x000ffff0:"), std::string::npos);
}

} // namespace
