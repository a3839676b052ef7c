#include "tree.hpp"

#include <cmath>

using namespace test;

namespace {

constexpr auto automatic = NODE_STREAM_AUTO, json = NODE_STREAM_JSON,
               msgpack = NODE_STREAM_MSGPACK, unknown = static_cast<node_stream_format>(3);

std::string encoded(const any_decoder &stream, const tree &value) {
  return written_by([&](char **data, size_t *size) {
    return node_stream_encode(stream.stream, value.get(), data, size);
  });
}

TEST(NodeStream, TheFirstBytesSetTheFormatOfBothDirections) {
  const struct {
    node_stream_format asked;
    std::string first, second, delivered;
    node_stream_format format;
  } rows[] = {
      {automatic, "{\"a\":", "1}{", "{\"a\":1} ", json},
      {automatic, "\x81\xa1", "a\1\x7b", "{\"a\":1} 123 ", msgpack},
      {automatic, "", "{}", "123 125 ", msgpack},
      {automatic, " {}", "", "32 123 125 ", msgpack},
      {automatic, "\xc4\1x", "\xc0", "NULL null ", msgpack},
      {unknown, "{", "}", "{} ", json},
      {unknown, "\x90", "", "[] ", msgpack},
      {json, " [1]", "2 ", "[1] 2 ", json},
      {msgpack, "{", "}", "123 125 ", msgpack},
  };
  const tree sample = make(R"({"a":1})");
  for (const auto &row : rows) {
    SCOPED_TRACE(row.first);
    any_decoder stream(row.asked);
    const bool fixed = row.asked == json || row.asked == msgpack;
    EXPECT_EQ(node_stream_get_format(stream.stream), fixed ? row.format : automatic);
    const std::string bytes = row.format == json ? R"({"a":1})" : "\x81\xa1\x61\1";
    EXPECT_EQ(encoded(stream, sample), fixed ? bytes : "unset");
    for (const std::string &part : {row.first, row.second}) {
      EXPECT_TRUE(stream.feed(part));
      EXPECT_EQ(node_stream_get_format(stream.stream), row.format);
      EXPECT_EQ(encoded(stream, sample), bytes);
    }
    EXPECT_EQ(stream.text(), row.delivered);
  }
}

TEST(NodeStream, ValuesWithoutAFormFail) {
  const tree nan(node_new_real(NAN)), odd = make("[1]");
  node_array_first(odd.get())->type = static_cast<node_type>(8);
  for (const auto format : {json, msgpack}) {
    any_decoder stream(format);
    EXPECT_EQ(encoded(stream, odd), "failed");
    EXPECT_EQ(encoded(stream, nan) == "failed", format == json);
  }
}

TEST(NodeStream, FailuresArePermanentAndReportedByTheCodec) {
  const std::string rows[][3] = {
      {"{}[1]2 [{\"a\":3]", "{} [1] 2 ", "ERROR: Failed to parse JSON: parse error"},
      {" {\xc1}", "32 123 ", "ERROR: Error parsing MessagePack stream: "}};
  for (const auto &[bytes, delivered, report] : rows) {
    any_decoder stream(automatic);
    log_reader log;
    EXPECT_FALSE(stream.feed(bytes));
    EXPECT_EQ(log.fresh().rfind(report, 0), 0u);
    for (const char *more : {"{}", "\x90", "", "]"}) {
      EXPECT_FALSE(stream.feed(more));
      EXPECT_NE(log.fresh(), "");
    }
    EXPECT_EQ(stream.text(), delivered);
    EXPECT_NE(encoded(stream, make("1")), "failed") << "writing needs no reading";
  }
}

// With a callback, the stream is tested by the tests of the C++ face.
TEST(NodeStream, NeedsACallback) {
  for (const auto format : {automatic, json, msgpack, unknown})
    EXPECT_EQ(node_stream_new(format, nullptr, nullptr), nullptr);
  node_stream_free(nullptr);
}

} // namespace
