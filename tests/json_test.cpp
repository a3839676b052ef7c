#include "tree.hpp"

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
  }
  EXPECT_EQ(compact(tree(node_new_integer(INT64_MIN)).get()), "-9223372036854775808");
  for (double v : {1.0 / 3, 5e-324, std::numeric_limits<double>::max(), 1e16}) {
    tree written(node_new_real(v)), read(json_parse_string(compact(written.get()).c_str()));
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(node_is_real(read.get())) << compact(written.get());
    EXPECT_EQ(node_get_real(read.get()), v);
  }
}

TEST(JsonText, EscapesAndBytesAreTakenAsTheyAre) {
  const struct {
    const char *json, *bytes, *written;
  } rows[] = {{R"("\u00e4\u20ac\ud83d\ude00")", "ä€😀", "\"ä€😀\""},
              {R"("\/\"\\\b\f\n\r\t")", "/\"\\\b\f\n\r\t", R"("/\"\\\b\f\n\r\t")"},
              {R"("one\u0000two")", "one", "\"one\""},
              {"\"\xff\xc3(\x80\"", "\xff\xc3(\x80", "\"\xff\xc3(\x80\""}};
  for (const auto &row : rows) {
    std::string json = row.json, written = row.written;
    tree t(json_parse_string(("{" + json + ":" + json + "}").c_str()));
    ASSERT_NE(t, nullptr) << row.json;
    EXPECT_STREQ(node_object_first(t.get())->key, row.bytes);
    EXPECT_STREQ(node_get_string(node_object_first(t.get())), row.bytes);
    EXPECT_EQ(compact(t.get()), "{" + written + ":" + written + "}");
  }
}

TEST(JsonText, NumbersAreIntegersOrRealsAndCommentsWhiteSpace) {
  const char *rows[][2] = {{"42", "42"},
                           {"-0", "0"},
                           {"1.0", "1.0"},
                           {"1E2", "100.0"},
                           {"-2.5e-1", "-0.25"},
                           {"1e-400", "0.0"},
                           {"-1e-400", "-0.0"},
                           {"[1]//", "[1]"},
                           {"/*/[*/{//{\n}", "{}"},
                           {"[/***/1//x\n,/*,*/{\"a\"/**/:/*:*/2}]//x\n", "[1,{\"a\":2}]"}};
  for (const auto &[read, written] : rows)
    EXPECT_EQ(compact(tree(json_parse_string(read)).get()), written) << read;
}

TEST(JsonErrors, AreReportedToTheLetter) {
  const std::string wrong = "ERROR: Failed to parse JSON: ";
  const struct {
    const char *text;
    std::string report; // how the log begins
  } rows[] = {
      {"", incomplete},
      {" \t\r\n", incomplete},
      {"/* open", incomplete},
      {"nul", incomplete},
      {"1 2", incomplete},
      {"9223372036854775808", incomplete},
      {"1 []", wrong + "parse error: trailing garbage\n"},
      {"[1,]", wrong + "parse error: unallowed token at this point in JSON text\n"},
      {"[01]", wrong + "parse error: after array element, I expect ',' or ']'\n"},
      {"{1:2}", wrong + "parse error: invalid object key (must be a string)\n"},
      {"[9223372036854775808]", wrong + "parse error: integer overflow\n"},
      {"[-9223372036854775808]", wrong + "parse error: integer overflow\n"},
      {"[1e400]", wrong + "parse error: numeric (floating point) overflow\n"},
      {R"({"a":1,"a":2})",
       wrong + "parse error: client cancelled parse via callback return value\n"},
      {R"([{"a\u0000b":1,"a":[]}])",
       wrong + "parse error: client cancelled parse via callback return value\n"},
      {"\"\\x\"", wrong + "lexical error: inside a string, '\\' occurs before a character "
                          "which it may not.\n"},
      {"[1.]", wrong + "lexical error: malformed number, a digit is required after the "
                       "decimal point.\n"},
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

class Stream : public testing::Test {
protected:
  ~Stream() override { json_stream_free(stream); }
  static void keep(node *value, void *self) {
    check_free(value);
    static_cast<Stream *>(self)->delivered += compact(value) + " ";
    node_free(value);
  }
  bool feed(const std::string &text) {
    return json_stream_parse(stream, text.data(), text.size());
  }
  void restart() {
    json_stream_free(stream);
    stream = json_stream_new(keep, this);
    delivered.clear();
  }
  std::string delivered;
  json_stream *stream = json_stream_new(keep, this);
};

TEST_F(Stream, DeliversEachValueWithItsLastByte) {
  const struct {
    const char *fed, *delivered;
  } steps[] = {{"1", ""},
               {" ", "1 "},
               {"[2", "1 "},
               {"]", "1 [2] "},
               {"{}[]", "1 [2] {} [] "},
               {"", "1 [2] {} [] "},
               {"\"a\"tru", "1 [2] {} [] \"a\" "},
               {"e", "1 [2] {} [] \"a\" true "}};
  for (const auto &step : steps) {
    EXPECT_TRUE(json_stream_parse_string(stream, step.fed));
    EXPECT_EQ(delivered, step.delivered);
  }
}

TEST_F(Stream, ChunksOfAnySizeGiveTheSameTrees) {
  std::string all = "1 [2]{} -3.5/* c */\"\\ud83d\\ude00\"//x\n",
              expected = "1 [2] {} -3.5 \"😀\" ";
  for (const auto &row : documents) {
    all += std::string(row.indented) + row.compact + "\n";
    expected += std::string(row.compact) + " " + row.compact + " ";
  }
  for (size_t size : {size_t{1}, size_t{2}, size_t{3}, size_t{7}, size_t{64}, all.size()}) {
    restart();
    for (size_t at = 0; at < all.size(); at += size)
      ASSERT_TRUE(feed(all.substr(at, size)));
    EXPECT_EQ(delivered, expected) << size;
  }
}

TEST_F(Stream, FailsForGoodAfterDeliveringWhatCameBefore) {
  for (const char *broken : {"[1]2 {\"a\":[3]] [4] ", "[1] 2 [{\"a\":3,\"a\":4}] [5] "}) {
    log_reader log;
    restart();
    EXPECT_FALSE(feed(broken));
    EXPECT_EQ(delivered, "[1] 2 ");
    EXPECT_EQ(log.fresh().rfind("ERROR: Failed to parse JSON: parse error: ", 0), 0u);
    for (const char *more : {"[6] ", "", "]"}) {
      EXPECT_FALSE(json_stream_parse_string(stream, more)) << '"' << more << '"';
      EXPECT_NE(log.fresh(), "");
    }
    EXPECT_EQ(delivered, "[1] 2 ");
  }
}

TEST_F(Stream, WithoutCallbackChecksAndDrops) {
  json_stream_free(stream);
  json_stream_free(nullptr);
  stream = json_stream_new(nullptr, nullptr);
  EXPECT_TRUE(feed("1 [2] {\"a\":[]} \"s\" [3] {\"open\":[{\"pend"));
}

TEST_F(Stream, LongTokensAreDeliveredWithTheirLastByteHoweverTheyAreCut) {
  const std::string escapes = '"' + repeat(R"(\"/*\\//\u0041*/ \/)", 100) + "\\\\\"",
                    plain = '"' + std::string(9000, 'x') + '"',
                    number = "-0." + repeat("12", 900) + "e-" + repeat("0", 700) + "1";
  const std::string values[] = {escapes,
                                plain,
                                number,
                                "7",
                                "{" + escapes + ":" + plain + "}",
                                "[" + number + "," + escapes + "]"};
  const std::string gaps[] = {" ", "/*" + repeat("\" **\\ // /", 200) + "**/",
                              "//" + repeat("\" /* */ \\", 200) + "\n"};
  std::mt19937 random(1);
  std::string all, expected;
  std::vector<std::pair<size_t, size_t>> due; // so much fed: so much delivered
  for (int i = 0; i < 40; i++) {
    const std::string &value = values[random() % std::size(values)];
    all += value;
    expected += compact(tree(json_parse_string(value.c_str())).get()) + " ";
    due.emplace_back(all.size() + (value == number || value == "7"), expected.size());
    all += gaps[random() % std::size(gaps)];
  }
  for (size_t size : {size_t{1}, size_t{7}, size_t{1000}, size_t{4096}, all.size()}) {
    Stream::delivered.clear();
    auto next = due.begin();
    for (size_t at = 0, owed = 0; at < all.size(); at += size) {
      ASSERT_TRUE(feed(all.substr(at, size)));
      for (; next != due.end() && next->first <= at + size; ++next)
        owed = next->second;
      ASSERT_EQ(delivered.size(), owed) << size << " bytes at " << at;
    }
    EXPECT_EQ(delivered, expected) << size;
  }
}

TEST_F(Stream, LongTokensFailAtTheByteThatBreaksThem) {
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
    for (char c : row.good)
      ASSERT_TRUE(feed({c}));
    for (const char *broken : {row.bad, "x", "", "1"}) {
      EXPECT_FALSE(feed(broken)) << row.good << row.bad;
      EXPECT_NE(log.fresh(), "");
    }
    restart();
  }
  for (char c : text + text.substr(1)) // what the stream holds unfinished is released
    ASSERT_TRUE(feed({c}));
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

// Levels of `inner` around one another, through links when `linked`.
tree levels(size_t count, bool linked) {
  tree root(node_new_object());
  if (!linked)
    return tree(deep_tree(count, node_new_integer(1)));
  for (size_t i = 1; i < count; i++) {
    std::string next = "->/" + std::to_string(i + 1);
    node_object_add(root.get(), std::to_string(i).c_str(),
                    make("[\"" + next + "\",\"" + next + "\"]").release());
  }
  node_object_add(root.get(), std::to_string(count).c_str(), make("[1]").release());
  return root;
}

TEST(JsonText, FailsWhereThereIsNone) {
  tree odd = make("[1,{\"a\":2}]");
  node_lookup(odd.get(), "/1/a")->type = static_cast<node_type>(8);
  tree chain = levels(128, true), twice = levels(64, true);
  tree deep = levels(128, false), rows[] = {make("[{}]"), make("[{}]"), make("[{}]")};
  std::vector<const node *> failing{odd.get(), node_object_get(twice.get(), "1"),
                                    chain.get(), deep.get()};
  for (size_t i = 0; i < 3; i++) {
    const double values[] = {NAN, HUGE_VAL, -HUGE_VAL};
    node_object_add(node_array_first(rows[i].get()), "v", node_new_real(values[i]));
    failing.push_back(rows[i].get());
    failing.push_back(node_lookup(rows[i].get(), "/0/v"));
  }
  const char *unknown = "ERROR: Unhandled node type for JSON stringify: unknown\n";
  for (const node *n : failing) {
    log_reader log;
    EXPECT_EQ(json_stringify(n, n != odd.get()), nullptr);
    EXPECT_EQ(log.fresh().rfind(n == odd.get() ? unknown : "ERROR: ", 0), 0u);
  }
  std::string deepest = compact(levels(127, false).get());
  EXPECT_EQ(deepest.size(), 63 * 8 + 6 + 1u) << "64 objects and 63 arrays around one digit";
  EXPECT_EQ(compact(node_object_get(levels(12, true).get(), "1")).size(),
            (2048u * 3) + 2047u * 3);
}

// ---- Files ----

TEST(JsonFile, HoldsExactlyTheText) {
  workplace place;
  tree t = make(R"({"a":[1]})");
  for (bool dense : {false, true}) { // the shorter text replaces the longer
    EXPECT_TRUE(json_stringify_filename("f", t.get(), dense));
    EXPECT_EQ(file_content("f"), dense ? R"({"a":[1]})" : "{\n\t\"a\": [\n\t\t1\n\t]\n}\n");
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
  write_file("f", "");
  EXPECT_EQ(json_parse_filename("f"), nullptr);
  EXPECT_EQ(log.fresh(), "DEBUG: file_map: Cannot map empty file 'f'\n");
  write_file("f", "[1");
  EXPECT_EQ(json_parse_filename("f"), nullptr);
  EXPECT_EQ(log.fresh(), incomplete);
  EXPECT_FALSE(json_stringify_filename("f", bad.get(), true));
  EXPECT_EQ(file_content("f"), "[1") << "a failed writing must not touch the file";
  const std::string begin = "DEBUG: json_stringify_filename: Failed to ";
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

TEST(JsonDepth, ParsingNeedsNoStackAndLinearTime) {
  on_small_stack([] {
    const std::string open = repeat("{\"k\":[", deep_levels / 2) + "7";
    const std::string text = open + repeat("]}", deep_levels / 2);
    tree built(deep_tree(deep_levels, node_new_integer(7)));
    EXPECT_TRUE(node_equals_json(built.get(), text.c_str()));
    node *kept = nullptr;
    json_stream *stream = json_stream_new(
        [](node *value, void *place) { *static_cast<node **>(place) = value; }, &kept);
    for (char c : text)
      json_stream_parse(stream, &c, 1);
    EXPECT_TRUE(node_equals(kept, built.get()));
    node_free(kept);
    log_reader log;
    EXPECT_EQ(json_stringify(built.get(), true), nullptr);
    EXPECT_EQ(json_parse_string(open.c_str()), nullptr);
    EXPECT_TRUE(json_stream_parse_string(stream, open.c_str()));
    EXPECT_FALSE(json_stream_parse_string(stream, "}"));
    json_stream_free(stream);
  });
}

TEST(JsonLength, ATokenThatComesByteByByteCostsLinearTime) {
  on_small_stack([] {
    const char *rows[][2] = {
        {"\"", "x"}, {"\"", "\\u0041\\n"}, {"0.", "1"}, {"/*", "*\""}, {"//", "\""}};
    for (const auto &[start, rest] : rows) {
      json_stream *stream = json_stream_new(nullptr, nullptr);
      bool good = json_stream_parse_string(stream, start);
      for (size_t i = 0; i < 3 * wide_count; i++)
        good &= json_stream_parse(stream, rest + (i % std::strlen(rest)), 1);
      EXPECT_TRUE(good) << start;
      json_stream_free(stream);
    }
  });
}

TEST(JsonBreadth, ManyChildrenCostLinearTime) {
  on_small_stack([] {
    std::string object = "{", array = "[";
    for (size_t i = 0; i < wide_count; i++) {
      std::string number = std::to_string(i);
      object += (i != 0 ? ",\"" : "\"") + number + "\":" + number;
      array += (i != 0 ? "," : "") + number;
    }
    for (const std::string &text : {object + "}", array + "]"}) {
      tree t(json_parse_string(text.c_str()));
      ASSERT_NE(t, nullptr);
      EXPECT_EQ(compact(t.get()), text);
    }
    const std::string values = repeat("[1] ", wide_count); // separate, in one chunk
    size_t count = 0;
    auto counted = [](node *n, void *c) {
      ++*static_cast<size_t *>(c);
      node_free(n);
    };
    json_stream *stream = json_stream_new(counted, &count);
    EXPECT_TRUE(json_stream_parse_string(stream, values.c_str()));
    EXPECT_EQ(count, wide_count);
    json_stream_free(stream);
  });
}

TEST(StreamCallback, CannotFeedItsStream) {
  struct state {
    json_stream *stream;
    int values;
    bool fed;
  } st{nullptr, 0, false};
  st.stream = json_stream_new(
      [](node *value, void *data) {
        auto *own = static_cast<state *>(data);
        own->values++;
        own->fed |= json_stream_parse_string(own->stream, "[7] ");
        node_free(value);
      },
      &st);
  EXPECT_TRUE(json_stream_parse_string(st.stream, "1 [2] "));
  EXPECT_TRUE(json_stream_parse_string(st.stream, "[3] "));
  EXPECT_EQ(st.values, 3);
  EXPECT_FALSE(st.fed);
  json_stream_free(st.stream);
}

} // namespace
