#include <nodetree/log.h>

#include "support.hpp"

#include <cerrno>

namespace {

class Log : public testing::Test {
protected:
  ~Log() override {
    log_close();
    log_set_debug(false);
  }
  // What `action` writes to file descriptor 2.
  static std::string stderr_of(const std::function<void()> &action) {
    fflush(stderr);
    FILE *file = fopen("stderr", "w");
    const int saved = dup(STDERR_FILENO);
    dup2(fileno(file), STDERR_FILENO);
    action();
    fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    fclose(file);
    return test::file_content("stderr");
  }
  static std::string written() { return test::file_content("log"); }
  test::workplace place;
};

TEST_F(Log, StandardErrorTakesALineWithThePrefixOfItsLevel) {
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "before any log is opened"); }), "");
  log_open_stderr();
  EXPECT_FALSE(log_get_debug());
  EXPECT_EQ(stderr_of([] { log_msg(LOG_DEBUG, "x"); }), "");
  log_set_debug(true);
  EXPECT_TRUE(log_get_debug());
  const char *prefixes[] = {
      "", "", "", "ERROR: ", "WARNING: ", "", "INFO: ", "DEBUG: ", ""};
  for (int level = 0; level < 9; ++level)
    EXPECT_EQ(stderr_of([=] { log_msg(level, "x %d\n", 5); }),
              std::string(prefixes[level]) + "x 5\n\n");
  log_close();
  EXPECT_EQ(stderr_of([] {
              log_msg(LOG_ERR, "x");
              fputs("still open", stderr);
            }),
            "still open");
}

TEST_F(Log, FileIsOpenedWithTheModeGivenAndClosed) {
  FILE *stream = log_open_file("log", "w");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream, log_file);
  log_msg(LOG_ERR, "%s", "first");
  EXPECT_EQ(written(), "") << "lines wait in the buffer";
  log_close();
  EXPECT_EQ(log_file, nullptr);
  EXPECT_EQ(written(), "ERROR: first\n");
  log_msg(LOG_ERR, "discarded");
  log_open_file("log", "a");
  log_msg(LOG_NOTICE, "second");
  log_close();
  EXPECT_EQ(written(), "ERROR: first\nsecond\n");
}

TEST_F(Log, AFileThatCannotBeOpenedLeavesTheSinkAsItWas) {
  const auto fail = [] {
    errno = 0;
    EXPECT_EQ(log_open_file("no/log", "w"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(log_file, nullptr);
  };
  log_open_stderr();
  fail();
  EXPECT_EQ(stderr_of([] { log_msg(LOG_ERR, "x"); }), "ERROR: x\n");

  FILE *stream = log_open_file("log", "w");
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

TEST_F(Log, KeepsTheErrnoOfTheCaller) {
  // Unbuffered, so that every write of a message clobbers errno, as a fresh stream on a
  // terminal or a pipe may.
  std::string text;
  cookie_io_functions_t io = {};
  io.write = [](void *cookie, const char *bytes, size_t count) {
    static_cast<std::string *>(cookie)->append(bytes, count);
    errno = ENOTTY;
    return static_cast<ssize_t>(count);
  };
  fclose(log_open_file("log", "w"));
  log_file = fopencookie(&text, "w", io);
  setvbuf(log_file, nullptr, _IONBF, 0);
  log_set_debug(true);
  errno = EXDEV;
  __extension__ log_msg(LOG_ERR, "%m");
  EXPECT_EQ(errno, EXDEV);
  EXPECT_EQ(text, std::string("ERROR: ") + strerror(EXDEV) + "\n");
  log_debug_hex("x", 1);
  EXPECT_EQ(errno, EXDEV);
  log_close();
  setvbuf(log_open_file("/dev/full", "w"), nullptr, _IONBF, 0);
  errno = EXDEV;
  log_msg(LOG_ERR, "for a full disk");
  EXPECT_EQ(errno, EXDEV);
}

std::string dump_of(const std::string &bytes) {
  test::log_reader log;
  log_debug_hex(bytes.data(), bytes.size());
  return log.fresh();
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
      {z16 + z16, "0x00000000:" + zeros + "0x00000010:" + zeros},
      {std::string(33, '\0'),
       "0x00000000:" + zeros + "...\n0x00000020: 00" + std::string(49, ' ') + ".\n"},
      // Two runs, each ended by a line that differs, and a last line that repeats.
      {z16 + z16 + z16 + std::string(48, 'a') + z16 + z16,
       "0x00000000:" + zeros +
           "...\n"
           "0x00000030: 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61  aaaaaaaaaaaaaaaa\n"
           "...\n"
           "0x00000060:" +
           zeros + "0x00000070:" + zeros}};
  for (const auto &c : cases)
    EXPECT_EQ(dump_of(c.bytes), "DEBUG: log_debug_hex: " + c.dump + "\n\n");
  std::string many(1 << 20, '\0');
  for (size_t i = 0; i < many.size(); ++i)
    many[i] = static_cast<char>(i / 16 * 37 % 251);
  const std::string dump = dump_of(many);
  EXPECT_EQ(dump.size(), strlen("DEBUG: log_debug_hex: ") + many.size() / 16 * 78 + 2);
  EXPECT_NE(dump.find("\n0x000ffff0:"), std::string::npos);
  log_open_stderr();
  EXPECT_EQ(stderr_of([] { log_debug_hex("abc", 3); }), "") << "it is a debug message";
}

} // namespace
