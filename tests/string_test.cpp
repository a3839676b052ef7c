#include <nodetree/string.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

TEST(StringEquals, ComparesBytesAndKeepsNullApart) {
  struct {
    const char *a, *b;
    bool equal;
  } const cases[] = {
      {nullptr, nullptr, true},
      {nullptr, "", false},
      {"", nullptr, false},
      {"", "", true},
      {"a", "a", true},
      {"a", "ab", false},
      {"\xc3\xa4", "\xc3\xa4", true},
  };
  for (const auto &c : cases) {
    const std::string copy = c.b ? c.b : ""; /* equal bytes at another address */
    const char *a = c.a, *b = c.b ? copy.c_str() : nullptr;
    EXPECT_EQ(_string_equals(a, b), c.equal) << copy;
    EXPECT_EQ(__string_equals(&a, &b), c.equal) << copy;
    EXPECT_EQ(string_equals(a, b), c.equal) << copy;
    EXPECT_EQ(string_fields_equal(&a, &b), c.equal) << copy;
  }
}

TEST(StringTests, PrefixAndSuffix) {
  struct {
    const char *string, *affix;
    bool prefixed, suffixed;
  } const cases[] = {
      {"abc", "ab", true, false},
      {"abc", "bc", false, true},
      {"abc", "abc", true, true},
      {"abc", "", true, true},
      {"", "", true, true},
      {"", "a", false, false},
      {"ab", "abc", false, false},
      {"bc", "abc", false, false},
      {nullptr, "a", false, false},
      {"a", nullptr, false, false},
      {nullptr, nullptr, false, false},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(string_prefixed(c.string, c.affix), c.prefixed);
    EXPECT_EQ(string_suffixed(c.string, c.affix), c.suffixed);
  }
}

TEST(StringTests, GlobMatchCrossesSlashesAndLeadingDots) {
  EXPECT_TRUE(string_match("a/b.txt", "*.txt"));
  EXPECT_TRUE(string_match(".hidden", "*"));
  EXPECT_TRUE(string_match("a/b", "a?b"));
  EXPECT_TRUE(string_match("b7", "[a-c][0-9]"));
  EXPECT_TRUE(string_match("*", "\\*"));
  EXPECT_FALSE(string_match("x", "\\*"));
  EXPECT_FALSE(string_match("a.txt~", "*.txt"));
}

TEST(StringTests, ContainsAndEmpty) {
  EXPECT_TRUE(string_contains("abc", "bc"));
  EXPECT_TRUE(string_contains("abc", ""));
  EXPECT_FALSE(string_contains("abc", "ac"));
  EXPECT_TRUE(string_empty(nullptr));
  EXPECT_TRUE(string_empty(""));
  EXPECT_FALSE(string_empty(" "));
}

TEST(StringPrintf, FormatsIntoANewText) {
  errno = ENOENT;
  char *text = __extension__ string_printf("%s-%03d %m", "a", 7);
  EXPECT_STREQ(text, (std::string("a-007 ") + strerror(ENOENT)).c_str());
  free(text);
  /* A wide character that the locale cannot express makes the formatting fail. */
  EXPECT_EQ(string_printf("%lc", static_cast<wint_t>(0x20ac)), nullptr);
}

TEST(StringReplace, ReplacesTheFirstOccurrenceOnly) {
  struct {
    const char *string, *find, *replacement, *result;
  } const cases[] = {
      {"a-b-c", "-", "+", "a+b-c"},
      {"abc", "b", "xyz", "axyzc"},
      {"abc", "b", "", "ac"},
      {"abc", "x", "y", "abc"},
      {"abc", "", "y", "abc"},
      {"abc", "abc", "", ""},
      {"abc", "abc", "abcd", "abcd"},
      {"aaa", "aa", "b", "ba"},
      {"tail-x", "x", "long", "tail-long"},
  };
  for (const auto &c : cases) {
    char *result = string_replace(strdup(c.string), c.find, c.replacement);
    EXPECT_STREQ(result, c.result) << c.string;
    free(result);
  }
  EXPECT_EQ(string_replace(nullptr, "a", "b"), nullptr);
  char same[] = "abc";
  EXPECT_EQ(string_replace(same, nullptr, "b"), same);
  EXPECT_EQ(string_replace(same, "b", nullptr), same);
  EXPECT_EQ(string_replace(same, "b", "x"), same);
  EXPECT_STREQ(same, "axc");
}

TEST(StringReplace, TakesItsArgumentsFromTheStringItself) {
  char *growing = strdup("x-tail");
  growing = string_replace(growing, growing, growing + 1); /* the whole by its end */
  EXPECT_STREQ(growing, "-tail");
  growing = string_replace(growing, "-", growing);
  EXPECT_STREQ(growing, "-tailtail");
  char *shrinking = string_replace(growing, "-tail", growing + 7);
  EXPECT_STREQ(shrinking, "iltail");
  free(shrinking);
}

TEST(StringToUpper, WorksInPlace) {
  char text[] = "abc1-Z\xc3\xa4";
  EXPECT_EQ(string_to_upper(text), text);
  EXPECT_STREQ(text, "ABC1-Z\xc3\xa4");
  EXPECT_EQ(string_to_upper(nullptr), nullptr);
}

TEST(StringToInteger, StoresWhatItReadAndTellsWhetherThatWasAll) {
  struct {
    const char *text;
    bool whole;
    long long value;
  } const cases[] = {
      {"42", true, 42},
      {"0x1F", true, 31},
      {"0Xff", true, 255},
      {"010", true, 8},
      {"-7", true, -7},
      {"+7", true, 7},
      {"-0x10", true, -16},
      {" 5", true, 5},
      {"\t\n-010", true, -8},
      {"0", true, 0},
      {"-0", true, 0},
      {"5 ", false, 5},
      {"08", false, 0},
      {"12abc", false, 12},
      {"", false, 0},
      {" ", false, 0},
      {"-", false, 0},
      {"- 1", false, 0},
      {"--1", false, 0},
      {"x1", false, 0},
      {"0x", false, 0},
      {"0xg", false, 0},
      {"0b11", false, 0},
      {"1.5", false, 1},
      {"2147483647", true, INT_MAX},
      {"-2147483648", true, INT_MIN},
  };
  for (const auto &c : cases) {
    int narrow = 99;
    EXPECT_EQ(string_to_int(c.text, &narrow), c.whole) << c.text;
    EXPECT_EQ(narrow, c.value) << c.text;
    long long wide = 99;
    EXPECT_EQ(string_to_long_long(c.text, &wide), c.whole) << c.text;
    EXPECT_EQ(wide, c.value) << c.text;
  }
}

TEST(StringToInteger, SaturatesAtTheLimitsOfItsType) {
  struct {
    const char *text;
    int narrow;
    long long wide;
  } const cases[] = {
      {"2147483648", INT_MAX, 2147483648LL},
      {"-2147483649", INT_MIN, -2147483649LL},
      {"99999999999", INT_MAX, 99999999999LL},
      {"0xffffffffff", INT_MAX, 0xffffffffffLL},
      {"9223372036854775807", INT_MAX, LLONG_MAX},
      {"99999999999999999999", INT_MAX, LLONG_MAX},
      {"-99999999999999999999", INT_MIN, LLONG_MIN},
  };
  for (const auto &c : cases) {
    int narrow = 0;
    EXPECT_TRUE(string_to_int(c.text, &narrow)) << c.text;
    EXPECT_EQ(narrow, c.narrow) << c.text;
    long long wide = 0;
    EXPECT_TRUE(string_to_long_long(c.text, &wide)) << c.text;
    EXPECT_EQ(wide, c.wide) << c.text;
  }
  int value = 0;
  EXPECT_FALSE(string_to_int("99999999999x", &value));
  EXPECT_EQ(value, INT_MAX);
}

TEST(StringToInteger, NullStoresNothing) {
  int narrow = 99;
  long long wide = 99;
  EXPECT_FALSE(string_to_int(nullptr, &narrow));
  EXPECT_FALSE(string_to_long_long(nullptr, &wide));
  EXPECT_EQ(narrow, 99);
  EXPECT_EQ(wide, 99);
}

TEST(StringToBool, AcceptsTwoTextsOnly) {
  bool value = false;
  EXPECT_TRUE(string_to_bool("true", &value));
  EXPECT_TRUE(value);
  for (const char *text : {"True", "1", "yes", "", "true ", "falsey"})
    EXPECT_FALSE(string_to_bool(text, &value)) << text;
  EXPECT_FALSE(string_to_bool(nullptr, &value));
  EXPECT_TRUE(value) << "a refused text leaves the value alone";
  EXPECT_TRUE(string_to_bool("false", &value));
  EXPECT_FALSE(value);
}

} // namespace
