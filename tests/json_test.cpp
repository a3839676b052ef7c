#include "tree.hpp"

#include <nodetree/log.h>

#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cmath>
#include <fstream>
#include <limits>
#include <locale.h>
#include <thread>

using namespace test;

namespace {

// Everything that is logged while it lives.
class log_capture {
public:
  log_capture() {
    EXPECT_NE(log_open_file("/dev/null", "w"), nullptr);
    std::fclose(log_file);
    log_file = open_memstream(&buffer, &size);
  }
  ~log_capture() {
    log_set_debug(false);
    log_close();
    std::free(buffer);
  }
  std::string text() {
    std::fflush(log_file);
    return buffer;
  }

private:
  char *buffer = nullptr;
  size_t size = 0;
};

const char incomplete[] = "ERROR: Failed to parse JSON: incomplete value\n";

// Compact texts that are written as they are read, and their indented form.
const struct {
  const char *compact, *indented;
} documents[] = {
    {"true", "true\n"},
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
  for (double v : {0.1, 1.0 / 3, 1e300, 5e-324, std::numeric_limits<double>::max(), 1e16}) {
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

TEST(JsonText, NumbersAreIntegersOrReals) {
  const char *rows[][2] = {{"42", "42"},       {"-0", "0"},          {"1.0", "1.0"},
                           {"1E2", "100.0"},   {"-2.5e-1", "-0.25"}, {"1e-400", "0.0"},
                           {"-1e-400", "-0.0"}};
  for (const auto &[read, written] : rows)
    EXPECT_EQ(compact(tree(json_parse_string(read)).get()), written) << read;
  tree largest(json_parse_string("1.7976931348623157e308"));
  EXPECT_EQ(node_get_real(largest.get()), std::numeric_limits<double>::max());
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
    log_capture log;
    EXPECT_EQ(tree(json_parse_string(row.text)), nullptr);
    EXPECT_EQ(log.text().substr(0, row.report.size()), row.report);
    bool shows_place = log.text().find("(right here) ------^") != std::string::npos;
    EXPECT_EQ(shows_place, row.report != incomplete);
  }
  log_capture log;
  EXPECT_EQ(json_parse_buffer("[1]\0", 4), nullptr) << "a NUL is no white space";
  tree part(json_parse_buffer("[1]]", 3));
  EXPECT_EQ(compact(part.get()), "[1]");
}

TEST(JsonErrors, EveryTruncationIsIncomplete) {
  const std::string text =
      R"({"a":[1,-2.5e1,"x\u00e4\n",true,null,{}],/*c*/"b":{"c":false},"d":[[]]})";
  for (size_t length = 0; length < text.size(); length++) {
    log_capture log;
    EXPECT_EQ(tree(json_parse_buffer(text.data(), length)), nullptr) << length;
    EXPECT_EQ(log.text(), incomplete) << length;
  }
  EXPECT_NE(tree(json_parse_buffer(text.data(), text.size())), nullptr);
}

TEST(JsonText, CommentsStandWhereWhiteSpaceMay) {
  for (const char *text :
       {"[1,{\"a\":2}]//", "/**/[/***/1//x\n,/*,*/{//{\n\"a\"/**/:/*:*/2}]//x\n"})
    EXPECT_EQ(compact(tree(json_parse_string(text)).get()), R"([1,{"a":2}])") << text;
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
    Stream::delivered.clear();
    json_stream_free(stream);
    stream = json_stream_new(keep, this);
    for (size_t at = 0; at < all.size(); at += size)
      ASSERT_TRUE(feed(all.substr(at, size)));
    EXPECT_EQ(delivered, expected) << size;
  }
}

TEST_F(Stream, FailsForGoodAfterDeliveringWhatCameBefore) {
  for (const char *broken : {"[1]2 {\"a\":[3]] [4] ", "[1] 2 [{\"a\":3,\"a\":4}] [5] "}) {
    log_capture log;
    delivered.clear();
    EXPECT_FALSE(feed(broken));
    EXPECT_EQ(delivered, "[1] 2 ");
    EXPECT_EQ(log.text().rfind("ERROR: Failed to parse JSON: parse error: ", 0), 0u);
    for (const char *more : {"[6] ", "", "]"}) {
      size_t before = log.text().size();
      EXPECT_FALSE(json_stream_parse_string(stream, more)) << '"' << more << '"';
      EXPECT_GT(log.text().size(), before);
    }
    EXPECT_EQ(delivered, "[1] 2 ");
    json_stream_free(stream);
    stream = json_stream_new(keep, this);
  }
}

TEST_F(Stream, WithoutCallbackChecksAndDrops) {
  json_stream_free(stream);
  json_stream_free(nullptr);
  stream = json_stream_new(nullptr, nullptr);
  EXPECT_TRUE(feed("1 [2] {\"a\":[]} \"s\" [3] {\"open\":[{\"pend"));
}

// ---- Locale ----

class German : public testing::Test {
protected:
  void SetUp() override {
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr) << "is LOCPATH set?";
    german = duplocale(LC_GLOBAL_LOCALE);
    plain = newlocale(LC_ALL_MASK, "C", nullptr);
    ASSERT_TRUE(german != nullptr && plain != nullptr);
  }
  void TearDown() override {
    uselocale(LC_GLOBAL_LOCALE);
    std::setlocale(LC_ALL, "C");
    freelocale(german);
    freelocale(plain);
  }
  static std::string point() { return std::localeconv()->decimal_point; }
  static void check_reals() {
    tree t(json_parse_string("[2.5,-1234567.25,5e-1,1.0]"));
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(node_get_real(node_array_get(t.get(), 0)), 2.5);
    EXPECT_EQ(compact(t.get()), "[2.5,-1234567.25,0.5,1.0]");
  }
  static void probe(node *value, void *seen) {
    *static_cast<std::string *>(seen) += point() + compact(value);
    node_free(value);
  }
  locale_t german = nullptr, plain = nullptr;
};

TEST_F(German, RealsAreReadAndWrittenWithAPoint) {
  check_reals();
  EXPECT_EQ(point(), ",");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8");
  std::setlocale(LC_ALL, "C");
  uselocale(german); // the thread's own locale rather than the program's
  check_reals();
  EXPECT_EQ(uselocale(LC_GLOBAL_LOCALE), german);
  std::thread([&] {
    check_reals();
    EXPECT_EQ(uselocale(nullptr), LC_GLOBAL_LOCALE);
  }).join();
}

TEST_F(German, CallbacksRunUnderTheCallersLocale) {
  std::string seen;
  json_stream *stream = json_stream_new(probe, &seen);
  EXPECT_TRUE(json_stream_parse_string(stream, "1.5 [2.5] 3.5 "));
  EXPECT_EQ(seen, ",1.5,[2.5],3.5");
  log_capture log;
  EXPECT_FALSE(json_stream_parse_string(stream, "]"));
  EXPECT_EQ(point(), ",");
  json_stream_free(stream);
}

TEST_F(German, CallbacksMayChangeTheLocale) {
  struct state {
    locale_t wanted;
    std::string seen;
  } s{plain, ""};
  auto change = [](node *value, void *data) {
    auto *st = static_cast<state *>(data);
    st->seen += point() + compact(value);
    node_free(value);
    uselocale(st->wanted);
  };
  json_stream *stream = json_stream_new(change, &s);
  EXPECT_TRUE(json_stream_parse_string(stream, "[1.5] [2.5] "));
  EXPECT_EQ(uselocale(nullptr), plain) << "the callback's choice was undone";
  s.wanted = german;
  EXPECT_TRUE(json_stream_parse_string(stream, "3.5 4.5 "));
  EXPECT_EQ(uselocale(nullptr), german);
  EXPECT_EQ(s.seen, ",[1.5].[2.5].3.5,4.5");
  json_stream_free(stream);
}

// ---- Writing ----

TEST(JsonLinks, AreWrittenAsWhatTheyLeadTo) {
  const struct {
    const char *source, *start, *text;
  } rows[] = {
      {R"({"n":5,"l":"->/n","a":["->/n","->/l"]})", "/", R"({"n":5,"l":5,"a":[5,5]})"},
      {R"({"o":{"x":["->/n"]},"n":5,"l":"->/o"})", "/l", R"({"x":[5]})"},
      {R"({"a":"->/b","b":"->../c","c":[1]})", "/", R"({"a":[1],"b":[1],"c":[1]})"},
      {R"({"l":"->/gone","k":"->l"})", "/", R"({"l":null,"k":null})"},
      {R"(["->/0"])", "/", "NULL"},
      {R"({"a":"->/b","b":"->/a"})", "/", "NULL"},
      {R"({"a":"->/b/x","b":"->/a/x"})", "/", R"({"a":null,"b":null})"},
      {R"({"o":{"l":"->/o"}})", "/", "NULL"},
      {R"({"o":{"p":["->/"]}})", "/o/p", "NULL"},
      {R"({"a":{"to":"->/b"},"b":{"to":"->/a"}})", "/", "NULL"}};
  for (const auto &row : rows) {
    log_capture log;
    tree t = make(row.source);
    EXPECT_EQ(compact(node_lookup(t.get(), row.start)), row.text) << row.source;
    EXPECT_EQ(log.text().rfind("ERROR: ", 0) == 0, std::strcmp(row.text, "NULL") == 0);
  }
}

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
  for (const node *n : failing) {
    log_capture log;
    EXPECT_EQ(json_stringify(n, n != odd.get()), nullptr);
    EXPECT_EQ(log.text().rfind("ERROR: ", 0), 0u);
    if (n == odd.get()) {
      EXPECT_EQ(log.text(), "ERROR: Unhandled node type for JSON stringify: unknown\n");
    }
  }
  std::string deepest = compact(levels(127, false).get());
  EXPECT_EQ(deepest.size(), 63 * 8 + 6 + 1u) << "64 objects and 63 arrays around one digit";
  EXPECT_EQ(compact(node_object_get(levels(12, true).get(), "1")).size(),
            (2048u * 3) + 2047u * 3);
}

// ---- Files ----

class JsonFile : public testing::Test {
protected:
  void SetUp() override {
    char name[] = "/tmp/json_test.XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder = name;
  }
  void TearDown() override {
    unlink((folder + "/f").c_str());
    rmdir(folder.c_str());
  }
  std::string content() const {
    std::ifstream in(folder + "/f", std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::string folder;
};

TEST_F(JsonFile, HoldsExactlyTheText) {
  std::string path = folder + "/f";
  tree t = make(R"({"a":[1]})");
  for (bool dense : {false, true}) { // the shorter text replaces the longer
    EXPECT_TRUE(json_stringify_filename(path.c_str(), t.get(), dense));
    EXPECT_EQ(content(), dense ? R"({"a":[1]})" : "{\n\t\"a\": [\n\t\t1\n\t]\n}\n");
    EXPECT_TRUE(node_equals(tree(json_parse_filename(path.c_str())).get(), t.get()));
  }
}

TEST_F(JsonFile, FailuresAreToldAndReported) {
  std::string path = folder + "/f";
  tree good = make("[1]"), bad(node_new_real(NAN));
  log_capture log;
  log_set_debug(true);
  auto new_text = [&log, before = size_t{0}]() mutable {
    std::string all = log.text(), fresh = all.substr(before);
    before = all.size();
    return fresh;
  };
  auto ends_with = [](const std::string &text, const std::string &end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
  };
  EXPECT_EQ(json_parse_filename(path.c_str()), nullptr);
  EXPECT_EQ(new_text().rfind("DEBUG: file_map:", 0), 0u);
  EXPECT_EQ(json_parse_filename(folder.c_str()), nullptr);
  new_text();
  std::ofstream(path) << "[1";
  EXPECT_EQ(json_parse_filename(path.c_str()), nullptr);
  EXPECT_EQ(new_text(), incomplete);

  EXPECT_FALSE(json_stringify_filename(path.c_str(), bad.get(), true));
  EXPECT_EQ(content(), "[1") << "a failed writing must not touch the file";
  std::string report = new_text();
  EXPECT_NE(report.find("DEBUG: json_stringify_filename:"), std::string::npos);
  EXPECT_TRUE(ends_with(report, ": Failed to JSON stringify node before writing to file " +
                                    path + "\n"));
  for (const std::string &target : {folder, folder + "/none/f", std::string("/dev/full")}) {
    EXPECT_FALSE(json_stringify_filename(target.c_str(), good.get(), true)) << target;
    report = new_text();
    EXPECT_NE(report.find("DEBUG: file_write_string:"), std::string::npos);
    EXPECT_NE(report.find("DEBUG: json_stringify_filename:"), std::string::npos);
    EXPECT_TRUE(ends_with(report, ": Failed to write JSON to file " + target + "\n"))
        << report;
  }
  std::ofstream(path, std::ios::trunc).flush();
  EXPECT_EQ(json_parse_filename(path.c_str()), nullptr);
  EXPECT_TRUE(ends_with(new_text(), "Cannot map empty file '" + path + "'\n"));
}

TEST(JsonEquality, ComparesWithTheTreeOfTheText) {
  tree t = make(R"({"a":[1,2.0],"b":null})");
  EXPECT_TRUE(node_equals_json(t.get(), R"( {"b":null, "a":[1,2e0]} // same)"));
  EXPECT_FALSE(node_equals_json(t.get(), R"({"b":null,"a":[1,2]})"));
  EXPECT_FALSE(node_equals_json(t.get(), "{"));
  EXPECT_TRUE(node_equals_json(nullptr, "{"));
  EXPECT_TRUE(node_equals_json(nullptr, ""));
  EXPECT_FALSE(node_equals_json(nullptr, "null"));
  EXPECT_FALSE(node_equals_json(make("\"->/x\"").get(), "null"));
}

// ---- Size ----

TEST(JsonDepth, ParsingNeedsNoStackAndLinearTime) {
  on_small_stack([] {
    std::string text;
    for (size_t i = 0; i < deep_levels; i++)
      text += i % 2 == 0 ? "{\"k\":" : "[";
    text += "7";
    const std::string open = text;
    for (size_t i = deep_levels; i-- > 0;)
      text += i % 2 == 0 ? "}" : "]";
    tree built(deep_tree(deep_levels, node_new_integer(7)));
    EXPECT_TRUE(node_equals_json(built.get(), text.c_str()));
    node *kept = nullptr;
    json_stream *stream = json_stream_new(
        [](node *value, void *place) { *static_cast<node **>(place) = value; }, &kept);
    for (char c : text)
      json_stream_parse(stream, &c, 1);
    EXPECT_TRUE(node_equals(kept, built.get()));
    node_free(kept);
    log_capture log;
    EXPECT_EQ(json_stringify(built.get(), true), nullptr);
    EXPECT_EQ(json_parse_string(open.c_str()), nullptr);
    EXPECT_TRUE(json_stream_parse_string(stream, open.c_str()));
    EXPECT_FALSE(json_stream_parse_string(stream, "}"));
    json_stream_free(stream);
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
    std::string values; // as many separate values in one chunk
    for (size_t i = 0; i < wide_count; i++)
      values += "[1] ";
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

} // namespace
