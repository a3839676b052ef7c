#include <nodetree/string.h>

#include "support.hpp"

#include <algorithm>
#include <climits>

using test::take;

namespace {

TEST(StringTests, CompareBytesAndDistinguishNull) {
  const struct {
    const char *a, *b;
    bool equal, prefixed, suffixed, contained;
  } cases[] = {{"\xc3\xa4", "\xc3\xa4", true, true, true, true},
               {"abc", "ab", false, true, false, true},
               {"abc", "bc", false, false, true, true},
               {"abc", "", false, true, true, true},
               {"abc", "ac", false, false, false, false},
               {"bc", "abc", false, false, false, false},
               {nullptr, "", false, false, false, false},
               {"", nullptr, false, false, false, false},
               {nullptr, nullptr, true, false, false, false}};
  for (const auto &[left, right, equal, prefixed, suffixed, contained] : cases) {
    SCOPED_TRACE(testing::Message()
                 << (left ? left : "NULL") << " and " << (right ? right : "NULL"));
    const std::string copy = right ? right : ""; // equal bytes at another address
    const char *a = left, *b = right ? copy.c_str() : nullptr;
    EXPECT_TRUE(_string_equals(a, b) == equal && __string_equals(&a, &b) == equal &&
                string_equals(a, b) == equal && string_fields_equal(&a, &b) == equal);
    EXPECT_EQ(string_prefixed(a, b), prefixed);
    EXPECT_EQ(string_suffixed(a, b), suffixed);
    EXPECT_EQ(a && b && string_contains(a, b), contained);
    EXPECT_EQ(string_empty(a), !a || std::string(a).empty());
  }
}

TEST(StringTests, GlobMatchCrossesSlashesAndLeadingDots) {
  const struct {
    const char *name, *pattern;
    bool matches;
  } cases[] = {{"a/b.txt", "*.txt", true}, {".hidden", "*", true}, {"a/b", "a?b", true},
               {"b7", "[a-c][0-9]", true}, {"*", "\\*", true},     {"x", "\\*", false}};
  for (const auto &[name, pattern, matches] : cases)
    EXPECT_EQ(string_match(name, pattern), matches) << name;
}

TEST(StringReplace, ReplacesTheFirstOccurrenceOnly) {
  const char *const cases[][4] = {
      {"a-b-c", "-", "+", "a+b-c"}, {"abc", "b", "xyz", "axyzc"},
      {"abc", "x", "y", "abc"},     {"abc", "", "y", "abc"},
      {"abc", "abc", "", ""},       {"tail-x", "x", "long", "tail-long"}};
  for (const auto &[string, find, replacement, result] : cases)
    EXPECT_EQ(take(string_replace(strdup(string), find, replacement)), result);
  EXPECT_EQ(take(string_printf("%s", "")), "");
  EXPECT_EQ(string_replace(nullptr, "a", "b"), nullptr);
  char same[] = "abc";
  EXPECT_EQ(string_replace(same, nullptr, "b"), same);
  EXPECT_EQ(string_replace(same, "b", nullptr), same);
}

TEST(StringReplace, AcceptsArgumentsInsideTheString) {
  char *text = strdup("x-tail");
  text = string_replace(text, text, text + 1); // replaces the text by its own end
  EXPECT_EQ(take(string_replace(text, "-", text)), "-tailtail");
}

TEST(StringToUpper, WorksInPlace) {
  char text[] = "abc1-Z\xc3\xa4";
  EXPECT_EQ(string_to_upper(text), text);
  EXPECT_STREQ(text, "ABC1-Z\xc3\xa4");
  EXPECT_EQ(string_to_upper(nullptr), nullptr);
}

TEST(StringToInteger, StoresTheNumberAndTellsWhetherTheTextWasOne) {
  const struct {
    const char *text;
    bool whole;
    long long value;
  } cases[] = {{"42", true, 42},
               {"0Xff", true, 255},
               {"+010", true, 8},
               {"-0x10", true, -16},
               {"\t\n-010", true, -8},
               {"5 ", false, 5},
               {"08", false, 0},
               {"", false, 0},
               {"- 1", false, 0},
               {"0x", false, 0},
               {"0b11", false, 0},
               {"2147483648", true, INT_MAX + 1LL},
               {"-2147483649", true, INT_MIN - 1LL},
               {"0xffffffffff", true, 0xffffffffffLL},
               {"99999999999999999999x", false, LLONG_MAX},
               {"-99999999999999999999", true, LLONG_MIN}};
  for (const auto &[text, whole, value] : cases) {
    int narrow = 99;
    EXPECT_EQ(string_to_int(text, &narrow), whole) << text;
    EXPECT_EQ(narrow, std::clamp<long long>(value, INT_MIN, INT_MAX)) << text;
    long long wide = 99;
    EXPECT_EQ(string_to_long_long(text, &wide), whole) << text;
    EXPECT_FALSE(string_to_int(nullptr, &narrow) || string_to_long_long(nullptr, &wide));
    EXPECT_EQ(wide, value) << text << " or NULL, which stores nothing";
  }
}

TEST(StringToBool, AcceptsTwoTextsOnly) {
  bool value = false;
  EXPECT_TRUE(string_to_bool("true", &value) && value);
  for (const char *text : {"True", "1", "", "true ", static_cast<const char *>(nullptr)})
    EXPECT_FALSE(string_to_bool(text, &value)) << text;
  EXPECT_TRUE(value) << "a refused text leaves the value alone";
  EXPECT_TRUE(string_to_bool("false", &value) && !value);
}

} // namespace
