#include <nodetree/stringstream.h>

#include "support.hpp"

#include <random>

namespace {

using Stream = std::unique_ptr<stringstream, test::release>;

Stream open_with(const std::string &text) {
  Stream stream(stringstream_open());
  fwrite(text.data(), 1, text.size(), stringstream_file(stream.get()));
  return stream;
}

// The flushed content; fails the test if no NUL follows it.
std::string content(const Stream &stream) {
  if (FILE *file = stringstream_file(stream.get()))
    fflush(file);
  const size_t size = stringstream_size(stream.get());
  EXPECT_EQ(stringstream_data(stream.get())[size], '\0');
  return {stringstream_data(stream.get()), size};
}

TEST(StringStream, ClosesAndReturnsItsDataOnce) {
  for (const char *text : {"kept", ""}) {
    Stream stream = open_with(text);
    for (int times = 0; times < 2; ++times) {
      stringstream_close(stream.get());
      EXPECT_EQ(content(stream), text);
    }
    EXPECT_FALSE(stringstream_null_terminate(stream.get()));
    EXPECT_EQ(test::take(stringstream_take_data(stream.get())), text);
    EXPECT_EQ(stringstream_take_data(stream.get()), nullptr);
    EXPECT_EQ(stringstream_size(stream.get()), 0u);
    stringstream_consume(stream.get(), 0);
  }
  stringstream_free(nullptr);
}

TEST(StringStream, CountsAZeroByteLikeAnyOther) {
  Stream stream = open_with("abc");
  EXPECT_TRUE(stringstream_null_terminate(stream.get()));
  fputc('d', stringstream_file(stream.get()));
  EXPECT_EQ(content(stream), std::string("abc\0d", 5));
}

TEST(StringStream, ConsumesWhenClosed) {
  const std::pair<size_t, const char *> cases[] = {
      {0, "abcdef"}, {2, "cdef"}, {6, ""}, {7, "abcdef"}};
  FILE *other = tmpfile();
  fputs("pending", other);
  for (auto [n, left] : cases) {
    Stream stream = open_with("abcdef");
    stringstream_close(stream.get());
    stringstream_consume(stream.get(), n);
    EXPECT_EQ(content(stream), left) << n;
  }
  EXPECT_EQ(lseek(fileno(other), 0, SEEK_CUR), 0) << "another stream was flushed";
  fclose(other);
}

TEST(StringStream, ContinuesAfterConsume) {
  std::mt19937 random(1);
  Stream stream = open_with("");
  std::string model;
  for (int step = 0; step < 2000; ++step) {
    if (random() % 3 != 0) {
      const std::string piece(random() % (step == 1000 ? 100000 : 40),
                              static_cast<char>('a' + random() % 26));
      fputs(piece.c_str(), stringstream_file(stream.get()));
      model += piece;
    } else {
      const size_t n = random() % (model.size() + 2);
      stringstream_consume(stream.get(), n);
      model.erase(0, n > model.size() ? 0 : n);
    }
    ASSERT_TRUE(random() % 2 == 0 || content(stream) == model) << step;
  }
  EXPECT_EQ(test::take(stringstream_take_data(stream.get())), model);
}

} // namespace
