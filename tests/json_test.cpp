#include "tree.hpp"

#include <cctype>
#include <cmath>
#include <limits>
#include <random>

using namespace test;

namespace {

const std::string failed = "ERROR: Failed to parse JSON: ",
                  incomplete = failed + "incomplete value\n";

// ---- Text ----

// Compact texts that are written back unchanged.
const std::vector<std::string> documents = {
    "-17",
    "[]",
    "{}",
    R"({"a":[1,2]})",
    R"([{"b":null,"a":false},[[]],"",true])",
    R"({"z\n":"\u0001\u001F\"\\\b\f\n\r\t"})",
    "[-9223372036854775807,9223372036854775807,-0.0,1e+22,1.0,100.25]"};

TEST(JsonText, IsReadAndWritten) {
  const char *rows[][2] = {
      {"-0", "0"},
      {"1E2", "100.0"},
      {"-2.5e-1", "-0.25"},
      {"1e-400", "0.0"},
      {"-1e-400", "-0.0"},
      {R"(["\u00e4\u20ac\ud83d\ude00"])", R"(["ä€😀"])"},
      {R"({"\/\u0041":"\/\u0041"})", R"({"/A":"/A"})"},
      {R"({"one\u0000two":"one\u0000two"})", R"({"one":"one"})"},
      {"{\"\xff\xc3(\x80\":\"\xff\xc3(\x80\"}", "{\"\xff\xc3(\x80\":\"\xff\xc3(\x80\"}"},
      {"[1]//", "[1]"},
      {"/*/[*/{//{\n}//", "{}"},
      {"[/***/1//x\n,/*,*/{\"a\"/**/:/*:*/2}]//x\n", "[1,{\"a\":2}]"}};
  for (const auto &[read, written] : rows)
    EXPECT_EQ(shown(tree(json_parse_string(read)).get()), written) << read;
  for (const std::string &text : documents) {
    const tree t(json_parse_string(text.c_str()));
    ASSERT_EQ(shown(t.get()), text);
    EXPECT_TRUE(node_equals_json(t.get(), take(json_stringify(t.get(), false)).c_str()));
    check_tree(t.get());
  }
  EXPECT_EQ(take(json_stringify(make(R"([{"b":null,"a":2},[],"",{}])").get(), false)),
            "[\n\t{\n\t\t\"b\": null,\n\t\t\"a\": 2\n\t},\n\t[\n\n\t],\n\t\"\",\n"
            "\t{\n\n\t}\n]\n");
  EXPECT_EQ(compact(tree(node_new_integer(INT64_MIN)).get()), "-9223372036854775808");
  for (double v : {1.0 / 3, 5e-324, std::numeric_limits<double>::max(), 1e16}) {
    const tree read = make(compact(tree(node_new_real(v)).get()));
    EXPECT_TRUE(node_is_real(read.get())) << v;
    EXPECT_EQ(node_get_real(read.get()), v);
  }
}

TEST(JsonErrors, AreReportedExactly) {
  const std::string parse = failed + "parse error: ",
                    refused = parse + "client cancelled parse via callback return value\n";
  // How the log begins.
  const std::string rows[][2] = {
      {" \t\r\n", incomplete},
      {"1 2", incomplete},
      {"[] \"open", incomplete},
      {"5 /* open *", incomplete},
      {"9223372036854775808", incomplete},
      {"1 []", parse + "trailing garbage\n"},
      {"{1:2}", parse + "invalid object key (must be a string)\n"},
      {"[9223372036854775808]", parse + "integer overflow\n"},
      {"[1e400]", parse + "numeric (floating point) overflow\n"},
      {R"({"a":1,"a":2})", refused},
      {R"([{"a\u0000b":1,"a":[]}])", refused},
      {"\xef\xbb\xbf[]", failed + "lexical error: "}};
  for (const auto &[text, begin] : rows) {
    log_reader log;
    EXPECT_EQ(tree(json_parse_string(text.c_str())), nullptr) << text;
    const std::string report = log.fresh();
    EXPECT_EQ(report.rfind(begin, 0), 0u) << report;
    EXPECT_EQ(report.find("(right here) ------^") == report.npos, report == incomplete);
  }
  EXPECT_EQ(json_parse_buffer("[1]\0", 4), nullptr) << "a NUL is no white space";
  EXPECT_EQ(shown(tree(json_parse_buffer("[1]]", 3)).get()), "[1]");
}

TEST(JsonErrors, EveryTruncationIsIncomplete) {
  const std::string text =
      R"({"a":[1,-2.5e1,"x\u00e4\n",true,null,{}],/*c*/"b":{"c":false},"d":[[]]})";
  for (size_t length = 0; length < text.size(); length++) {
    log_reader log;
    EXPECT_EQ(tree(json_parse_buffer(text.data(), length)), nullptr) << length;
    EXPECT_EQ(log.fresh(), incomplete) << length;
  }
}

TEST(JsonText, IsComparedAsATree) {
  const tree t = make(R"({"a":[1,2.0],"b":null})");
  EXPECT_TRUE(node_equals_json(t.get(), R"( {"b":null, "a":[1,2e0]} // same)"));
  EXPECT_FALSE(node_equals_json(t.get(), R"({"b":null,"a":[1,2]})"));
  EXPECT_FALSE(node_equals_json(t.get(), "{") || node_equals_json(nullptr, "null"));
  EXPECT_TRUE(node_equals_json(nullptr, ""));
}

// ---- Streams ----

TEST(JsonStream, WithoutCallbackChecksAndDrops) {
  json_stream *stream = json_stream_new(nullptr, nullptr);
  EXPECT_TRUE(json_stream_parse_string(stream, R"(1 [2] {"a":[]} "s" {"open":[{"pend)"));
  json_stream_free(stream);
  json_stream_free(nullptr);
}

TEST(JsonStream, ValuesAreDeliveredAtTheirLastByte) {
  const std::string escapes = '"' + repeat(R"(\"/*\\//\u0041*/ \/)", 100) + "\\\\\"",
                    plain = '"' + std::string(9000, 'x') + '"',
                    number = "-0." + repeat("12", 900) + "e-" + repeat("0", 700) + "1";
  std::vector<std::string> values = documents;
  for (const std::string &value :
       {escapes, plain, number, std::string("7"), std::string("true"),
        "{" + escapes + ":" + plain + "}", "[" + number + "," + escapes + "]"})
    values.push_back(value);
  const std::string gaps[] = {" ", "/*" + repeat("\" **\\ // /", 200) + "**/",
                              "//" + repeat("\" /* */ \\", 200) + "\n"};
  std::mt19937 random(1);
  std::string all, expected;
  std::vector<size_t> due; // the number of bytes after which each value is delivered
  while (due.size() < 80) {
    const std::string &value = values[random() % values.size()];
    all += value;
    expected += compact(make(value).get()) + " ";
    due.push_back(all.size() +
                  (std::isdigit(value.back()) ? 1 : 0)); // a number may continue
    all += gaps[random() % std::size(gaps)];
  }
  for (size_t size : {size_t{1}, size_t{7}, size_t{1000}, all.size()}) {
    json_decoder stream;
    for (size_t at = 0; at < all.size(); at += size) {
      ASSERT_TRUE(stream.feed(all.substr(at, size)));
      const auto owed = std::upper_bound(due.begin(), due.end(), at + size) - due.begin();
      ASSERT_EQ(stream.values.size(), owed) << size << " bytes at " << at;
    }
    EXPECT_EQ(stream.text(), expected) << size;
  }
}

TEST(JsonStream, LongTokensFailAtTheByteThatBreaksThem) {
  const std::string text = '"' + std::string(300, 'x'), digits(300, '1');
  const std::string rows[][2] = {{text, "\n"},         {text, "before \n"},
                                 {text + "\\", "x"},   {text + "\\u004", "g"},
                                 {text + "\\u", "\""}, {digits, " "},
                                 {digits + ".", "x"},  {digits + "e", "."},
                                 {"[" + digits, "]"},  {text + "\"", "]"}};
  for (const auto &[good, bad] : rows) {
    log_reader log;
    json_decoder stream;
    ASSERT_TRUE(stream.feed(good, 1));
    for (const std::string &broken : std::vector<std::string>{bad, "x", "", "1"}) {
      EXPECT_FALSE(stream.feed(broken)) << good << bad;
      EXPECT_NE(log.fresh(), "");
    }
  }
  json_decoder stream; // releases what it holds unfinished
  EXPECT_TRUE(stream.feed(text + text.substr(1), 1));
}

// ---- Locale ----

TEST(JsonLocale, NumbersHaveAPointAndCallbacksRunUnderTheCallersLocale) {
  const german_locale german;
  EXPECT_EQ(shown(tree(json_parse_string("[2.5,-1234567.25]")).get()), "[2.5,-1234567.25]");
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  struct state {
    locale_t wanted;
    std::string seen;
  } s{LC_GLOBAL_LOCALE, ""};
  auto change = [](node *value, void *data) {
    auto *st = static_cast<state *>(data);
    st->seen += std::localeconv()->decimal_point + compact(value);
    node_free(value);
    uselocale(st->wanted);
  };
  locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  json_stream *stream = json_stream_new(change, &s);
  EXPECT_TRUE(json_stream_parse_string(stream, "1.5 [2.5] "));
  s.wanted = plain;
  EXPECT_TRUE(json_stream_parse_string(stream, "[3.5] [4.5] "));
  EXPECT_EQ(uselocale(nullptr), plain) << "the callback's choice was undone";
  s.wanted = german.handle; // the locale of the thread, not of the program
  EXPECT_FALSE(json_stream_parse_string(stream, "5.5 6.5 ]"));
  EXPECT_EQ(uselocale(nullptr), german.handle);
  EXPECT_EQ(s.seen, ",1.5,[2.5],[3.5].[4.5].5.5,6.5");
  json_stream_free(stream);
  uselocale(LC_GLOBAL_LOCALE);
  freelocale(plain);
}

// ---- Values without a JSON form ----

// A chain of levels, each with two links to the next.
tree doubling(size_t levels) {
  std::string text = "{";
  for (size_t i = 1; i < levels; i++) {
    const std::string next = "\"->/" + std::to_string(i + 1) + '"';
    text += '"' + std::to_string(i) + "\":[" + next + "," + next + "],";
  }
  return make(text + '"' + std::to_string(levels) + "\":[1]}");
}

void expect_failure(const node *n, const std::string &report) {
  log_reader log;
  EXPECT_EQ(json_stringify(n, true), nullptr);
  EXPECT_EQ(log.fresh().rfind("ERROR: " + report, 0), 0u);
}

TEST(JsonText, FailsForValuesWithoutAForm) {
  const std::string begin = "Failed to stringify JSON: ";
  for (double v : {double{NAN}, -HUGE_VAL}) {
    const tree t = make("[{}]");
    node_object_add(node_array_first(t.get()), "v", node_new_real(v));
    for (const node *n : {t.get(), node_lookup(t.get(), "/0/v")})
      expect_failure(n, begin + "/0/v: a real that is not finite\n");
  }
  expect_failure(make(R"({"a":{"l":"->/a"}})").get(), begin + "/a/l: ");
  const tree odd = make("[1,{\"a\":2}]");
  node_lookup(odd.get(), "/1/a")->type = static_cast<node_type>(8);
  expect_failure(odd.get(), "Unhandled node type for JSON stringify: unknown\n");
  expect_failure(tree(deep_tree(128, node_new_integer(1))).get(), begin + "/: ");
  if (to_the_limit)
    expect_failure(node_object_get(doubling(64).get(), "1"), begin);
  EXPECT_NE(shown(tree(deep_tree(127, node_new_integer(1))).get()), "NULL");
  EXPECT_EQ(compact(node_object_get(doubling(12).get(), "1")).size(),
            (2048u * 3) + 2047u * 3);
}

// ---- Files ----

TEST(JsonFile, ContainsExactlyTheText) {
  workplace place;
  const tree t = make(R"({"a":[1]})");
  for (bool dense : {false, true}) { // the shorter text replaces the longer
    EXPECT_TRUE(json_stringify_filename("f", t.get(), dense));
    EXPECT_EQ(file_content("f"), take(json_stringify(t.get(), dense)));
    EXPECT_EQ(shown(tree(json_parse_filename("f")).get()), R"({"a":[1]})");
  }
  EXPECT_EQ(file_content("/proc/self/maps").find(place.path), std::string::npos)
      << "unmapped";

  log_reader log;
  EXPECT_EQ(json_parse_filename("none"), nullptr);
  EXPECT_EQ(log.fresh().rfind("DEBUG: file_map: ", 0), 0u);
  EXPECT_FALSE(json_stringify_filename("f", tree(node_new_real(NAN)).get(), true));
  EXPECT_EQ(file_content("f"), R"({"a":[1]})")
      << "a failed writing must not touch the file";
  EXPECT_FALSE(json_stringify_filename("none/f", t.get(), true));
  const std::string begin = "DEBUG: json_stringify_filename: Failed to ",
                    told = log.fresh();
  for (const char *report :
       {"JSON stringify node before writing to file f\n", "write JSON to file none/f\n"})
    EXPECT_NE(told.find(begin + report), told.npos) << told;
}

// ---- Size ----

TEST(JsonSize, DepthNeedsNoStack) {
  on_small_stack([] {
    json_decoder stream;
    const std::string open = repeat("{\"k\":[", deep_levels / 2) + "7";
    const std::string text = open + repeat("]}", deep_levels / 2);
    tree built(deep_tree(deep_levels, node_new_integer(7)));
    EXPECT_TRUE(node_equals_json(built.get(), text.c_str()));
    EXPECT_TRUE(stream.feed(text, 1));
    EXPECT_TRUE(node_equals(stream.values.at(0).get(), built.get()));
    EXPECT_EQ(json_stringify(built.get(), true), nullptr);
    EXPECT_EQ(json_parse_string(open.c_str()), nullptr);
    EXPECT_TRUE(stream.feed(open));
    EXPECT_FALSE(stream.feed("}"));
  });
}

TEST(JsonSize, ATokenFedByteByByteCostsLinearTime) {
  const char *rows[][2] = {
      {"\"", "x"}, {"\"", "\\u0041\\n"}, {"0.", "1"}, {"/*", "*\""}, {"//", "\""}};
  for (const auto &row : rows)
    on_small_stack([&row] {
      const auto &[start, rest] = row;
      json_decoder stream;
      EXPECT_TRUE(stream.feed(start + repeat(rest, 3 * wide_count / std::strlen(rest)), 1))
          << start;
    });
}

TEST(JsonSize, ManyMembersAndValuesCostLinearTime) {
  on_small_stack([] {
    std::string object = "{";
    for (size_t i = 0; i < wide_count; i++)
      object += (i != 0 ? ",\"" : "\"") + std::to_string(i) + "\":" + std::to_string(i);
    object += "}";
    EXPECT_EQ(shown(tree(json_parse_string(object.c_str())).get()), object);
    json_decoder stream;
    EXPECT_TRUE(stream.feed(repeat("[1] ", wide_count)));
    EXPECT_EQ(stream.values.size(), wide_count);
  });
}

} // namespace
