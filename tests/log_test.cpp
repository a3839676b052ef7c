#include <nodetree/log.h>

#include "support.hpp"

#include <cerrno>

namespace {

NODETREE_PRINTF(1, 2)
void forwarded(const char *format, ...) {
  va_list args;
  va_start(args, format);
  log_vmsg(LOG_ERR, format, args);
  va_end(args);
}

class Log : public testing::Test {
protected:
  ~Log() override {
    log_close();
    log_set_debug(false);
  }
  // The bytes that `action` writes to file descriptor 2.
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
  static std::string stderr_of_message(int level = LOG_ERR) {
    return stderr_of([=] { log_msg(level, "x %d\n", 5); });
  }
  static std::string written() { return test::file_content("log"); }
  test::workplace place;
};

TEST_F(Log, StandardErrorGetsLinesWithTheirLevel) {
  EXPECT_EQ(stderr_of_message(), "") << "no log is open yet";
  log_open_stderr();
  EXPECT_FALSE(log_get_debug());
  EXPECT_EQ(stderr_of_message(LOG_DEBUG), "");
  log_set_debug(true);
  EXPECT_TRUE(log_get_debug());
  const std::pair<int, std::string> prefixes[] = {
      {LOG_CRIT, ""},   {LOG_ERR, "ERROR: "}, {LOG_WARNING, "WARNING: "},
      {LOG_NOTICE, ""}, {LOG_INFO, "INFO: "}, {LOG_DEBUG, "DEBUG: "},
      {8, ""}};
  for (const auto &[level, prefix] : prefixes)
    EXPECT_EQ(stderr_of_message(level), prefix + "x 5\n\n");
  log_close();
  EXPECT_EQ(stderr_of_message(), "");
  EXPECT_EQ(stderr_of([] { fputs("open", stderr); }), "open") << "the stream was not ours";
}

TEST_F(Log, FileIsOpenedWithTheModeGivenAndClosed) {
  for (const char *mode : {"w", "a"}) {
    FILE *stream = log_open_file("log", mode);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream, log_file);
    log_msg(LOG_ERR, "in mode %s", mode);
    EXPECT_EQ(written().find(mode), std::string::npos) << "lines wait in the buffer";
    log_close();
    EXPECT_EQ(log_file, nullptr);
    log_msg(LOG_ERR, "discarded");
  }
  EXPECT_EQ(written(), "ERROR: in mode w\nERROR: in mode a\n");
}

TEST_F(Log, AFileThatCannotBeOpenedKeepsTheDestination) {
  const auto fail = [] {
    errno = 0;
    EXPECT_EQ(log_open_file("no/log", "w"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(log_file, nullptr);
  };
  log_open_stderr();
  fail();
  EXPECT_EQ(stderr_of_message(), "ERROR: x 5\n\n");
  FILE *stream = log_open_file("log", "w");
  fail();
  EXPECT_EQ(stderr_of_message(), "");
  log_close();
  fclose(stream);
  EXPECT_EQ(written(), "");
}

TEST_F(Log, SyslogGetsIdentOptionsAndLevel) {
  log_open_syslog("log-test", LOG_PERROR);
  const std::string text = stderr_of([] {
    errno = EACCES;
    __extension__ log_msg(LOG_ERR, "x %d %m", 5);
    log_msg(LOG_DEBUG, "hidden");
  });
  EXPECT_EQ(text, std::string("log-test: x 5 ") + strerror(EACCES) + "\n");
  log_close();
  EXPECT_EQ(stderr_of_message(), "");
  EXPECT_EQ(stderr_of([] { syslog(LOG_ERR, "x"); }).find("log-test"), std::string::npos)
      << "the ident is not used after the close";
}

TEST_F(Log, KeepsTheErrnoOfTheCaller) {
  // Unbuffered, so that every write changes errno, as it may on a terminal or a pipe.
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
  text = "";
  __extension__ forwarded("%s %m", "%d");
  EXPECT_EQ(errno, EXDEV);
  EXPECT_EQ(text, std::string("ERROR: %d ") + strerror(EXDEV) + "\n");
  log_debug_hex("x", 1);
  EXPECT_EQ(errno, EXDEV);
}

TEST_F(Log, HexDumpLayout) {
  const auto bytes = [](size_t count, char byte) { return std::string(count, byte); };
  const std::string zeros = test::repeat(" 00", 16) + "  " + bytes(16, '.') + "\n",
                    as = test::repeat(" 61", 16) + "  " + bytes(16, 'a') + "\n";
  const std::pair<std::string, std::string> cases[] = {
      {"\x1f ~\x7f\x80\xff%s\n",
       "0x00000000: 1f 20 7e 7f 80 ff 25 73 0a" + bytes(25, ' ') + ". ~...%s.\n"},
      {bytes(33, 0),
       "0x00000000:" + zeros + "...\n0x00000020: 00" + bytes(49, ' ') + ".\n"},
      // Two runs, each ended by a line that differs, and a last line that repeats.
      {bytes(48, 0) + bytes(48, 'a') + bytes(32, 0),
       "0x00000000:" + zeros + "...\n0x00000030:" + as + "...\n0x00000060:" + zeros +
           "0x00000070:" + zeros}};
  for (const auto &[data, dump] : cases) {
    test::log_reader log;
    log_debug_hex(data.data(), data.size());
    EXPECT_EQ(log.fresh(), "DEBUG: log_debug_hex: " + dump + "\n\n");
  }
}

} // namespace
