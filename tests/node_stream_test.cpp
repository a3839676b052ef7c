#include "tree.hpp"

#include <cmath>

using namespace test;

namespace {

constexpr auto automatic = NODE_STREAM_AUTO, json = NODE_STREAM_JSON,
               msgpack = NODE_STREAM_MSGPACK;

std::string encoded(const any_decoder &stream, const tree &value) {
  return written_by([&](char **data, size_t *size) {
    return node_stream_encode(stream.stream, value.get(), data, size);
  });
}

TEST(NodeStream, TheFirstBytesSettleTheFormatOfBothDirections) {
  const struct {
    node_stream_format asked;
    std::string first, second, delivered;
    node_stream_format format;
  } rows[] = {
      {automatic, "{\"a\":", "1}{", "{\"a\":1} ", json},
      {automatic, "\x81\xa1", "a\1\x7b", "{\"a\":1} 123 ", msgpack},
      {automatic, "", "{}", "123 125 ", msgpack},
      {automatic, " {}", "", "32 123 125 ", msgpack},
      {automatic, "[1]", "", "91 49 93 ", msgpack},
      {automatic, "\xc4\1x", "\xc0", "NULL null ", msgpack},
      {static_cast<node_stream_format>(3), "{", "}", "{} ", json},
      {static_cast<node_stream_format>(3), "\x90", "", "[] ", msgpack},
      {json, " [1]", "2 ", "[1] 2 ", json},
      {json, "", "{}", "{} ", json},
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
    EXPECT_TRUE(stream.feed(row.first));
    EXPECT_EQ(node_stream_get_format(stream.stream), row.format);
    EXPECT_EQ(encoded(stream, sample), bytes);
    EXPECT_TRUE(stream.feed(row.second));
    EXPECT_EQ(node_stream_get_format(stream.stream), row.format);
    EXPECT_EQ(stream.text(), row.delivered);
  }
}

TEST(NodeStream, WhatHasNoFormFails) {
  tree nan(node_new_real(NAN)), odd = make("[1]");
  node_array_first(odd.get())->type = static_cast<node_type>(8);
  for (const auto format : {json, msgpack}) {
    any_decoder stream(format);
    EXPECT_EQ(encoded(stream, odd), "failed");
    EXPECT_EQ(encoded(stream, nan) == "failed", format == json);
  }
}

TEST(NodeStream, FailsForGoodAndReportsAsItsCodec) {
  const struct {
    const char *bytes, *delivered, *report;
    node_stream_format format;
  } rows[] = {{"{}[1]]", "{} [1] ", "ERROR: Failed to parse JSON: ", json},
              {" {\xc1}", "32 123 ", "ERROR: Error parsing MessagePack stream: ", msgpack}};
  for (const auto &row : rows) {
    any_decoder stream(automatic);
    log_reader log;
    EXPECT_FALSE(stream.feed(row.bytes));
    EXPECT_EQ(log.fresh().rfind(row.report, 0), 0u);
    for (const char *more : {"{}", "\x90", ""})
      EXPECT_FALSE(stream.feed(more));
    EXPECT_EQ(stream.text(), row.delivered);
    EXPECT_EQ(node_stream_get_format(stream.stream), row.format);
    EXPECT_NE(encoded(stream, make("1")), "failed") << "writing needs no reading";
  }
}

TEST(NodeStream, NeedsACallbackWhichCannotFeedButAnswer) {
  for (const auto format : {automatic, json, msgpack, static_cast<node_stream_format>(3)})
    EXPECT_EQ(node_stream_new(format, nullptr, nullptr), nullptr);
  node_stream_free(nullptr);
  struct state {
    node_stream *stream;
    std::string answers;
  };
  auto answer = [](node *value, void *data) {
    auto *own = static_cast<state *>(data);
    EXPECT_FALSE(node_stream_decode(own->stream, "{}", 2));
    own->answers += written_by([=](char **bytes, size_t *size) {
      return node_stream_encode(own->stream, value, bytes, size);
    });
    node_free(value);
  };
  for (const std::string bytes : {"{}{\"b\":[1]}", "\x80\x81\xa1\x62\x91\1"}) {
    state st{};
    st.stream = node_stream_new(automatic, answer, &st);
    EXPECT_TRUE(node_stream_decode(st.stream, bytes.data(), bytes.size()));
    EXPECT_EQ(st.answers, bytes);
    node_stream_free(st.stream);
  }
}

} // namespace
