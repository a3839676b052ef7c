#include "tree.hpp"

#include <cctype>
#include <cmath>
#include <limits>
#include <random>
#include <thread>

using namespace test;

namespace {

const char incomplete[] = "ERROR: Failed to parse JSON: incomplete value\n";

// Compact texts that are written as they are read, and their indented form.
const struct {
  const char *compact, *indented;
} documents[] = {
    {"-17", "-17\n"},
    {"[]", "[\n\n]\n"},
    {"{}", "{\n\n}\n"},
    {R"({"a":[1,2]})", "{\n\t\"a\": [\n\t\t1,\n\t\t2\n\t]\n}\n"},
    {R"([{"b":null,"a":false},[[]],""])",
     "[\n\t{\n\t\t\"b\": null,\n\t\t\"a\": "
     "false\n\t},\n\t[\n\t\t[\n\n\t\t]\n\t],\n\t\"\"\n]\n"},
    {R"({"z\n":"\u0001\u001F\"\\\b\f\n\r\t"})",
     "{\n\t\"z\\n\": \"\\u0001\\u001F\\\"\\\\\\b\\f\\n\\r\\t\"\n}\n"},
    {R"([-9223372036854775807,9223372036854775807,-0.0,1e+22,1.0,100.25])",
     "[\n\t-9223372036854775807,\n\t9223372036854775807,\n\t-0.0,\n\t1e+22,\n\t1.0,\n\t100."
     "25\n]\n"}};

TEST(JsonText, IsExactInBothLayouts) {
  for (const auto &row : documents) {
    tree t(json_parse_string(row.compact));
    ASSERT_NE(t, nullptr) << row.compact;
    check_tree(t.get());
    EXPECT_EQ(compact(t.get()), row.compact);
    EXPECT_EQ(take(json_stringify(t.get(), false)), row.indented);
    EXPECT_TRUE(node_equals_json(t.get(), row.indented));
  }
  EXPECT_EQ(compact(tree(node_new_integer(INT64_MIN)).get()), "-9223372036854775808");
  for (double v : {1.0 / 3, 5e-324, std::numeric_limits<double>::max(), 1e16}) {
    tree written(node_new_real(v)), read(json_parse_string(compact(written.get()).c_str()));
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(node_is_real(read.get())) << compact(written.get());
    EXPECT_EQ(node_get_real(read.get()), v);
  }
}

TEST(JsonText, MayBeWrittenOtherwiseThanItIsRead) {
  const char *rows[][2] = {
      {"42", "42"},
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
      {"/*/[*/{//{\n}", "{}"},
      {"[/***/1//x\n,/*,*/{\"a\"/**/:/*:*/2}]//x\n", "[1,{\"a\":2}]"}};
  for (const auto &[read, written] : rows)
    EXPECT_EQ(shown(tree(json_parse_string(read)).get()), written) << read;
}

TEST(JsonErrors, AreReportedToTheLetter) {
  const std::string wrong = "ERROR: Failed to parse JSON: ",
                    refused = wrong + "parse error: client cancelled parse via callback "
                                      "return value\n";
  const struct {
    const char *text;
    std::string report; // how the log begins
  } rows[] = {{"", incomplete},
              {" \t\r\n", incomplete},
              {"1 2", incomplete},
              {"[] \"open", incomplete},
              {"9223372036854775808", incomplete},
              {"1 []", wrong + "parse error: trailing garbage\n"},
              {"{1:2}", wrong + "parse error: invalid object key (must be a string)\n"},
              {"[9223372036854775808]", wrong + "parse error: integer overflow\n"},
              {"[1e400]", wrong + "parse error: numeric (floating point) overflow\n"},
              {R"({"a":1,"a":2})", refused},
              {R"([{"a\u0000b":1,"a":[]}])", refused},
              {"\xef\xbb\xbf[]", wrong + "lexical error: "}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.text);
    log_reader log;
    EXPECT_EQ(tree(json_parse_string(row.text)), nullptr);
    const std::string report = log.fresh();
    EXPECT_EQ(report.substr(0, row.report.size()), row.report);
    bool shows_place = report.find("(right here) ------^") != std::string::npos;
    EXPECT_EQ(shows_place, row.report != incomplete);
  }
  log_reader log;
  EXPECT_EQ(json_parse_buffer("[1]\0", 4), nullptr) << "a NUL is no white space";
  tree part(json_parse_buffer("[1]]", 3));
  EXPECT_EQ(compact(part.get()), "[1]");
}

TEST(JsonErrors, EveryTruncationIsIncomplete) {
  const std::string text =
      R"({"a":[1,-2.5e1,"x\u00e4\n",true,null,{}],/*c*/"b":{"c":false},"d":[[]]})";
  for (size_t length = 0; length < text.size(); length++) {
    log_reader log;
    EXPECT_EQ(tree(json_parse_buffer(text.data(), length)), nullptr) << length;
    EXPECT_EQ(log.fresh(), incomplete) << length;
  }
  EXPECT_NE(tree(json_parse_buffer(text.data(), text.size())), nullptr);
}

// ---- Streams ----

TEST(JsonStream, FailsForGoodAfterDeliveringWhatCameBefore) {
  for (const char *broken : {"[1]2 {\"a\":[3]] [4] ", "[1] 2 [{\"a\":3,\"a\":4}] [5] "}) {
    log_reader log;
    json_decoder stream;
    EXPECT_FALSE(stream.feed(broken));
    EXPECT_EQ(log.fresh().rfind("ERROR: Failed to parse JSON: parse error: ", 0), 0u);
    for (const char *more : {"[6] ", "", "]"}) {
      EXPECT_FALSE(stream.feed(more)) << '"' << more << '"';
      EXPECT_NE(log.fresh(), "");
    }
    EXPECT_EQ(stream.text(), "[1] 2 ");
  }
}

TEST(JsonStream, WithoutCallbackChecksAndDrops) {
  json_stream *stream = json_stream_new(nullptr, nullptr);
  EXPECT_TRUE(
      json_stream_parse_string(stream, R"(1 [2] {"a":[]} "s" [3] {"open":[{"pend)"));
  json_stream_free(stream);
  json_stream_free(nullptr);
}

TEST(JsonStream, ValuesAreDeliveredWithTheirLastByteHoweverTheyAreCut) {
  const std::string escapes = '"' + repeat(R"(\"/*\\//\u0041*/ \/)", 100) + "\\\\\"",
                    plain = '"' + std::string(9000, 'x') + '"',
                    number = "-0." + repeat("12", 900) + "e-" + repeat("0", 700) + "1";
  std::vector<std::string> values = {escapes, plain,  number,
                                     "7",     "true", R"("\ud83d\ude00")"};
  values.push_back("{" + escapes + ":" + plain + "}");
  values.push_back("[" + number + "," + escapes + "]");
  for (const auto &row : documents)
    values.emplace_back(row.compact);
  const std::string gaps[] = {" ", "/*" + repeat("\" **\\ // /", 200) + "**/",
                              "//" + repeat("\" /* */ \\", 200) + "\n"};
  std::mt19937 random(1);
  std::string all, expected;
  std::vector<size_t> due; // how much has been fed when each value is delivered
  while (due.size() < 80) {
    const std::string &value = values[random() % values.size()];
    all += value;
    expected += compact(tree(json_parse_string(value.c_str())).get()) + " ";
    due.push_back(all.size() + (std::isdigit(value.back()) ? 1 : 0)); // may go on
    all += gaps[random() % std::size(gaps)];
  }
  for (size_t size : {size_t{1}, size_t{2}, size_t{7}, size_t{1000}, all.size()}) {
    json_decoder stream;
    for (size_t at = 0; at < all.size(); at += size) {
      ASSERT_TRUE(stream.feed(all.substr(at, size)));
      const auto owed = std::upper_bound(due.begin(), due.end(), at + size) - due.begin();
      ASSERT_EQ(stream.values.size(), owed) << size << " bytes at " << at;
    }
    EXPECT_TRUE(stream.feed(""));
    EXPECT_EQ(stream.text(), expected) << size;
  }
}

TEST(JsonStream, LongTokensFailAtTheByteThatBreaksThem) {
  const std::string text = '"' + std::string(300, 'x'), digits(300, '1');
  const struct {
    std::string good;
    const char *bad;
  } rows[] = {{text, "\n"},           {text, "before \n"},  {text + "\\", "x"},
              {text + "\\u004", "g"}, {text + "\\u", "\""}, {digits, " "},
              {digits + ".", "x"},    {digits + "e", "."},  {"[" + digits, "]"},
              {text + "\"", "]"}};
  for (const auto &row : rows) {
    log_reader log;
    json_decoder stream;
    ASSERT_TRUE(stream.feed(row.good, 1));
    for (const char *broken : {row.bad, "x", "", "1"}) {
      EXPECT_FALSE(stream.feed(broken)) << row.good << row.bad;
      EXPECT_NE(log.fresh(), "");
    }
  }
  json_decoder stream; // releases what it holds unfinished
  EXPECT_TRUE(stream.feed(text + text.substr(1), 1));
}

// ---- Locale ----

class German : public testing::Test {
protected:
  static std::string point() { return std::localeconv()->decimal_point; }
  static void check_reals() {
    tree t(json_parse_string("[2.5,-1234567.25,5e-1,1.0]"));
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(node_get_real(node_array_get(t.get(), 0)), 2.5);
    EXPECT_EQ(compact(t.get()), "[2.5,-1234567.25,0.5,1.0]");
  }
  german_locale german;
};

TEST_F(German, RealsAreReadAndWrittenWithAPoint) {
  check_reals();
  EXPECT_EQ(point(), ",");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
  std::setlocale(LC_ALL, "C");
  uselocale(german.handle); // the thread's own locale rather than the program's
  check_reals();
  EXPECT_EQ(uselocale(LC_GLOBAL_LOCALE), german.handle);
  std::thread([&] {
    check_reals();
    EXPECT_EQ(uselocale(nullptr), LC_GLOBAL_LOCALE);
  }).join();
}

TEST_F(German, CallbacksRunUnderTheCallersLocaleAndMayChangeIt) {
  struct state {
    locale_t wanted;
    std::string seen;
  } s{LC_GLOBAL_LOCALE, ""};
  auto change = [](node *value, void *data) {
    auto *st = static_cast<state *>(data);
    st->seen += point() + compact(value);
    node_free(value);
    uselocale(st->wanted);
  };
  locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  json_stream *stream = json_stream_new(change, &s);
  EXPECT_TRUE(json_stream_parse_string(stream, "1.5 [2.5] "));
  s.wanted = plain;
  EXPECT_TRUE(json_stream_parse_string(stream, "[3.5] [4.5] "));
  EXPECT_EQ(uselocale(nullptr), plain) << "the callback's choice was undone";
  s.wanted = german.handle;
  EXPECT_TRUE(json_stream_parse_string(stream, "5.5 6.5 "));
  log_reader log;
  EXPECT_FALSE(json_stream_parse_string(stream, "]"));
  EXPECT_EQ(uselocale(nullptr), german.handle);
  EXPECT_EQ(s.seen, ",1.5,[2.5],[3.5].[4.5].5.5,6.5");
  json_stream_free(stream);
  uselocale(LC_GLOBAL_LOCALE);
  freelocale(plain);
}

// ---- Writing ----

// The first of so many levels, each of two links to the next.
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

TEST(JsonText, FailsWhereThereIsNone) {
  for (double v : {double{NAN}, HUGE_VAL, -HUGE_VAL}) {
    tree t = make("[{}]");
    node_object_add(node_array_first(t.get()), "v", node_new_real(v));
    expect_failure(t.get(), "Failed to stringify JSON: /0/v: ");
    expect_failure(node_lookup(t.get(), "/0/v"), "Failed to stringify JSON: /0/v: ");
  }
  tree odd = make("[1,{\"a\":2}]");
  node_lookup(odd.get(), "/1/a")->type = static_cast<node_type>(8);
  expect_failure(odd.get(), "Unhandled node type for JSON stringify: unknown\n");
  const tree deep(deep_tree(128, node_new_integer(1)));
  expect_failure(deep.get(), "Failed to stringify JSON: /: ");
  expect_failure(doubling(128).get(), "Failed to stringify JSON: /: ");
  expect_failure(node_object_get(doubling(64).get(), "1"), "Failed to stringify JSON: ");
  EXPECT_EQ(compact(tree(deep_tree(127, node_new_integer(1))).get()).size(),
            63 * 8 + 6 + 1u)
      << "64 objects and 63 arrays around one digit";
  EXPECT_EQ(compact(node_object_get(doubling(12).get(), "1")).size(),
            (2048u * 3) + 2047u * 3);
}

// ---- Files ----

TEST(JsonFile, HoldsExactlyTheText) {
  workplace place;
  tree t = make(R"({"a":[1]})");
  for (bool dense : {false, true}) { // the shorter text replaces the longer
    EXPECT_TRUE(json_stringify_filename("f", t.get(), dense));
    EXPECT_EQ(file_content("f"), take(json_stringify(t.get(), dense)));
    EXPECT_TRUE(node_equals(tree(json_parse_filename("f")).get(), t.get()));
  }
  EXPECT_EQ(file_content("/proc/self/maps").find(place.path), std::string::npos)
      << "unmapped";
}

TEST(JsonFile, FailuresAreToldAndReported) {
  workplace place;
  tree good = make("[1]"), bad(node_new_real(NAN));
  log_reader log;
  EXPECT_EQ(json_parse_filename("f"), nullptr);
  EXPECT_EQ(log.fresh().rfind("DEBUG: file_map: ", 0), 0u);
  write_file("f", "[1");
  EXPECT_EQ(json_parse_filename("f"), nullptr);
  EXPECT_EQ(log.fresh(), incomplete);
  const std::string begin = "DEBUG: json_stringify_filename: Failed to ";
  EXPECT_FALSE(json_stringify_filename("f", bad.get(), true));
  EXPECT_EQ(file_content("f"), "[1") << "a failed writing must not touch the file";
  std::string report = log.fresh();
  EXPECT_NE(report.find(begin + "JSON stringify node before writing to file f\n"),
            report.npos);
  for (const std::string target : {".", "none/f", "/dev/full"}) {
    EXPECT_FALSE(json_stringify_filename(target.c_str(), good.get(), true)) << target;
    report = log.fresh();
    EXPECT_EQ(report.rfind("DEBUG: file_write_string: ", 0), 0u) << report;
    EXPECT_NE(report.find(begin + "write JSON to file " + target + "\n"), report.npos);
  }
}

TEST(JsonEquality, ComparesWithTheTreeOfTheText) {
  tree t = make(R"({"a":[1,2.0],"b":null})");
  EXPECT_TRUE(node_equals_json(t.get(), R"( {"b":null, "a":[1,2e0]} // same)"));
  EXPECT_FALSE(node_equals_json(t.get(), R"({"b":null,"a":[1,2]})"));
  EXPECT_FALSE(node_equals_json(t.get(), "{"));
  EXPECT_TRUE(node_equals_json(nullptr, ""));
  EXPECT_FALSE(node_equals_json(nullptr, "null"));
  EXPECT_FALSE(node_equals_json(make("\"->/x\"").get(), "null"));
}

// ---- Size ----

TEST(JsonStream, DepthNeedsNoStackAndCostsLinearTime) {
  on_small_stack([] {
    json_decoder stream;
    const std::string open = repeat("{\"k\":[", deep_levels / 2) + "7";
    const std::string text = open + repeat("]}", deep_levels / 2);
    tree built(deep_tree(deep_levels, node_new_integer(7)));
    EXPECT_TRUE(node_equals_json(built.get(), text.c_str()));
    EXPECT_TRUE(stream.feed(text, 1));
    EXPECT_TRUE(node_equals(stream.values.at(0).get(), built.get()));
    log_reader log;
    EXPECT_EQ(json_stringify(built.get(), true), nullptr);
    EXPECT_EQ(json_parse_string(open.c_str()), nullptr);
    EXPECT_TRUE(stream.feed(open));
    EXPECT_FALSE(stream.feed("}"));
  });
}

TEST(JsonStream, ATokenThatComesByteByByteCostsLinearTime) {
  on_small_stack([] {
    const char *rows[][2] = {
        {"\"", "x"}, {"\"", "\\u0041\\n"}, {"0.", "1"}, {"/*", "*\""}, {"//", "\""}};
    for (const auto &[start, rest] : rows) {
      json_decoder stream;
      EXPECT_TRUE(stream.feed(start + repeat(rest, 3 * wide_count / std::strlen(rest)), 1))
          << start;
    }
  });
}

TEST(JsonStream, ManyChildrenAndValuesCostLinearTime) {
  on_small_stack([] {
    std::string object = "{", array = "[";
    for (size_t i = 0; i < wide_count; i++) {
      std::string number = std::to_string(i);
      object += (i != 0 ? ",\"" : "\"") + number + "\":" + number;
      array += (i != 0 ? "," : "") + number;
    }
    for (const std::string &text : {object + "}", array + "]"})
      EXPECT_EQ(shown(tree(json_parse_string(text.c_str())).get()), text);
    json_decoder stream;
    EXPECT_TRUE(stream.feed(repeat("[1] ", wide_count)));
    EXPECT_EQ(stream.values.size(), wide_count);
  });
}

} // namespace
