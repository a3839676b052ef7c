#include <nodetree/stringstream.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

struct Release {
  void operator()(stringstream *stream) const { stringstream_free(stream); }
  void operator()(char *text) const { free(text); }
};
using Stream = std::unique_ptr<stringstream, Release>;
using Text = std::unique_ptr<char, Release>;

Stream open_with(const std::string &text) {
  Stream stream(stringstream_open());
  fwrite(text.data(), 1, text.size(), stringstream_file(stream.get()));
  return stream;
}

// The flushed content; fails the test where no zero byte follows it.
std::string content(const Stream &stream) {
  if (FILE *file = stringstream_file(stream.get()))
    fflush(file);
  const size_t size = stringstream_size(stream.get());
  EXPECT_EQ(stringstream_data(stream.get())[size], '\0');
  return {stringstream_data(stream.get()), size};
}

TEST(StringStream, CollectsWhatIsWrittenThroughTheHandle) {
  Stream stream = open_with("one ");
  fprintf(stringstream_file(stream.get()), "%d", 2);
  EXPECT_EQ(content(stream), "one 2");
  const std::string block(100000, 'x');
  fputs(block.c_str(), stringstream_file(stream.get()));
  EXPECT_EQ(content(stream), "one 2" + block);
}

TEST(StringStream, ClosesOnceAndKeepsTheData) {
  Stream stream = open_with("kept");
  stringstream_close(stream.get());
  stringstream_close(stream.get());
  EXPECT_EQ(stringstream_file(stream.get()), nullptr);
  EXPECT_EQ(content(stream), "kept");
  EXPECT_FALSE(stringstream_null_terminate(stream.get()));
}

TEST(StringStream, HandsItsDataOverOnce) {
  Stream stream = open_with("mine");
  Text text(stringstream_take_data(stream.get()));
  EXPECT_STREQ(text.get(), "mine");
  EXPECT_EQ(stringstream_data(stream.get()), nullptr);
  EXPECT_EQ(stringstream_size(stream.get()), 0u);
  EXPECT_EQ(stringstream_file(stream.get()), nullptr);
  EXPECT_EQ(stringstream_take_data(stream.get()), nullptr);
  stringstream_consume(stream.get(), 0);

  Stream fresh(stringstream_open());
  Text empty(stringstream_take_data(fresh.get()));
  EXPECT_STREQ(empty.get(), "");
  EXPECT_EQ(stringstream_size(fresh.get()), 0u);
  stringstream_free(nullptr);
}

TEST(StringStream, CountsAZeroByteLikeAnyOther) {
  Stream stream = open_with("abc");
  EXPECT_TRUE(stringstream_null_terminate(stream.get()));
  EXPECT_EQ(content(stream), std::string("abc\0", 4));
  fputc('d', stringstream_file(stream.get()));
  EXPECT_EQ(content(stream), std::string("abc\0d", 5));
}

TEST(StringStream, ConsumesFromOpenAndClosedStreams) {
  const struct {
    size_t n;
    const char *left;
  } cases[] = {{0, "abcdef"}, {2, "cdef"}, {6, ""}, {7, "abcdef"}, {SIZE_MAX, "abcdef"}};
  for (const auto &c : cases)
    for (const bool open : {true, false}) {
      Stream stream = open_with("abcdef");
      if (!open)
        stringstream_close(stream.get());
      stringstream_consume(stream.get(), c.n);
      EXPECT_EQ(stringstream_size(stream.get()), strlen(c.left));
      EXPECT_EQ(content(stream), c.left) << c.n << (open ? " open" : " closed");
    }
}

TEST(StringStream, ConsumingAClosedStreamFlushesNoOther) {
  Stream other = open_with("pending");
  Stream closed = open_with("abc");
  stringstream_close(closed.get());
  stringstream_consume(closed.get(), 1);
  EXPECT_EQ(stringstream_size(other.get()), 0u);
}

TEST(StringStream, WritesOnRightBehindWhatConsumeLeft) {
  std::mt19937 random(1);
  Stream stream = open_with("");
  std::string model;
  for (int step = 0; step < 2000; ++step) {
    if (random() % 3 != 0) {
      const std::string piece(random() % 40, static_cast<char>('a' + random() % 26));
      fputs(piece.c_str(), stringstream_file(stream.get()));
      model += piece;
    } else {
      const size_t n = random() % (model.size() + 2);
      stringstream_consume(stream.get(), n);
      model.erase(0, n > model.size() ? 0 : n);
    }
    if (random() % 2 != 0) {
      ASSERT_EQ(content(stream), model) << step;
    }
  }
  Text text(stringstream_take_data(stream.get()));
  EXPECT_EQ(text.get(), model);
}

} // namespace
