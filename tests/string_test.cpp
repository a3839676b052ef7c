#include <nodetree/string.h>

#include "support.hpp"

#include <cerrno>
#include <climits>

using test::take;

namespace {

TEST(StringTests, CompareBytesAndKeepNullApart) {
  const struct {
    const char *a, *b;
    bool equal, prefixed, suffixed, contained;
  } cases[] = {{"abc", "abc", true, true, true, true},
               {"", "", true, true, true, true},
               {"\xc3\xa4", "\xc3\xa4", true, true, true, true},
               {"abc", "ab", false, true, false, true},
               {"abc", "bc", false, false, true, true},
               {"abc", "", false, true, true, true},
               {"abc", "ac", false, false, false, false},
               {"", "a", false, false, false, false},
               {"bc", "abc", false, false, false, false},
               {nullptr, "", false, false, false, false},
               {"", nullptr, false, false, false, false},
               {nullptr, nullptr, true, false, false, false}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message()
                 << (c.a ? c.a : "NULL") << " and " << (c.b ? c.b : "NULL"));
    const std::string copy = c.b ? c.b : ""; // equal bytes at another address
    const char *a = c.a, *b = c.b ? copy.c_str() : nullptr;
    EXPECT_TRUE(_string_equals(a, b) == c.equal && __string_equals(&a, &b) == c.equal &&
                string_equals(a, b) == c.equal && string_fields_equal(&a, &b) == c.equal);
    EXPECT_EQ(string_prefixed(a, b), c.prefixed);
    EXPECT_EQ(string_suffixed(a, b), c.suffixed);
    EXPECT_EQ(a && b && string_contains(a, b), c.contained);
    EXPECT_EQ(string_empty(a), !a || std::string(a).empty());
  }
}

TEST(StringTests, GlobMatchCrossesSlashesAndLeadingDots) {
  const std::pair<const char *, const char *> matching[] = {{"a/b.txt", "*.txt"},
                                                            {".hidden", "*"},
                                                            {"a/b", "a?b"},
                                                            {"b7", "[a-c][0-9]"},
                                                            {"*", "\\*"}};
  for (auto [name, pattern] : matching)
    EXPECT_TRUE(string_match(name, pattern)) << name;
  EXPECT_FALSE(string_match("x", "\\*") || string_match("a.txt~", "*.txt"));
}

TEST(StringPrintf, FormatsIntoANewText) {
  errno = ENOENT;
  EXPECT_EQ(take(__extension__ string_printf("%s-%03d %m", "a", 7)),
            std::string("a-007 ") + strerror(ENOENT));
  // A wide character that the locale cannot express makes the formatting fail.
  EXPECT_EQ(string_printf("%lc", static_cast<wint_t>(0x20ac)), nullptr);
}

TEST(StringReplace, ReplacesTheFirstOccurrenceOnly) {
  const char *const cases[][4] = {
      {"a-b-c", "-", "+", "a+b-c"}, {"abc", "b", "xyz", "axyzc"},
      {"abc", "b", "", "ac"},       {"abc", "x", "y", "abc"},
      {"abc", "", "y", "abc"},      {"abc", "abc", "", ""},
      {"aaa", "aa", "b", "ba"},     {"tail-x", "x", "long", "tail-long"}};
  for (const auto &[string, find, replacement, result] : cases)
    EXPECT_EQ(take(string_replace(strdup(string), find, replacement)), result);
  EXPECT_EQ(string_replace(nullptr, "a", "b"), nullptr);
  char same[] = "abc";
  EXPECT_EQ(string_replace(same, nullptr, "b"), same);
  EXPECT_EQ(string_replace(same, "b", nullptr), same);
  EXPECT_EQ(string_replace(same, "b", "x"), same);
}

TEST(StringReplace, TakesItsArgumentsFromTheStringItself) {
  char *growing = strdup("x-tail");
  growing = string_replace(growing, growing, growing + 1); // the whole by its end
  EXPECT_STREQ(growing, "-tail");
  growing = string_replace(growing, "-", growing);
  EXPECT_STREQ(growing, "-tailtail");
  EXPECT_EQ(take(string_replace(growing, "-tail", growing + 7)), "iltail");
}

TEST(StringToUpper, WorksInPlace) {
  char text[] = "abc1-Z\xc3\xa4";
  EXPECT_EQ(string_to_upper(text), text);
  EXPECT_STREQ(text, "ABC1-Z\xc3\xa4");
  EXPECT_EQ(string_to_upper(nullptr), nullptr);
}

TEST(StringToInteger, StoresWhatItReadAndTellsWhetherThatWasAll) {
  const struct {
    const char *text;
    bool whole;
    long long value;
  } cases[] = {{"42", true, 42},
               {"0x1F", true, 31},
               {"0Xff", true, 255},
               {"010", true, 8},
               {"+7", true, 7},
               {"-0x10", true, -16},
               {"\t\n-010", true, -8},
               {"0", true, 0},
               {"5 ", false, 5},
               {"08", false, 0},
               {"12abc", false, 12},
               {"", false, 0},
               {" ", false, 0},
               {"-", false, 0},
               {"- 1", false, 0},
               {"0x", false, 0},
               {"0b11", false, 0},
               {"2147483647", true, INT_MAX},
               {"1.5", false, 1},
               {"-2147483648", true, INT_MIN},
               // Out of range of the narrower type, and of both.
               {"2147483648", true, 2147483648LL},
               {"-2147483649", true, -2147483649LL},
               {"0xffffffffff", true, 0xffffffffffLL},
               {"99999999999x", false, 99999999999LL},
               {"99999999999999999999", true, LLONG_MAX},
               {"-99999999999999999999", true, LLONG_MIN}};
  for (const auto &c : cases) {
    int narrow = 99;
    EXPECT_EQ(string_to_int(c.text, &narrow), c.whole) << c.text;
    EXPECT_EQ(narrow, c.value > INT_MAX   ? INT_MAX
                      : c.value < INT_MIN ? INT_MIN
                                          : c.value)
        << c.text;
    long long wide = 99;
    EXPECT_EQ(string_to_long_long(c.text, &wide), c.whole) << c.text;
    EXPECT_EQ(wide, c.value) << c.text;
    EXPECT_FALSE(string_to_int(nullptr, &narrow) || string_to_long_long(nullptr, &wide));
    EXPECT_EQ(wide, c.value) << "NULL stores nothing";
  }
}

TEST(StringToBool, AcceptsTwoTextsOnly) {
  bool value = false;
  EXPECT_TRUE(string_to_bool("true", &value) && value);
  for (const char *text : {"True", "1", "", "true ", "falsey"})
    EXPECT_FALSE(string_to_bool(text, &value)) << text;
  EXPECT_FALSE(string_to_bool(nullptr, &value));
  EXPECT_TRUE(value) << "a refused text leaves the value alone";
  EXPECT_TRUE(string_to_bool("false", &value) && !value);
}

} // namespace
