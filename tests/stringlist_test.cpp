#include <nodetree/stringlist.h>

#include "support.hpp"

using test::list_owner;
using test::shown;
using test::take;

namespace {

// Of the fields of a text, "a;b;".
list_owner list_of(const char *fields) {
  return list_owner(*fields != '\0' ? sl_split(fields, ';') : _sl_new(nullptr));
}

TEST(StringListAppend, CopiesTheStringsInOrder) {
  char text[] = "a";
  char **list = _sl_new(text, "b", "", nullptr);
  text[0] = 'x';
  list = sl_append(_sl_append(list, "c", nullptr), "d", "e");
  const char *strings[] = {"f", nullptr, "g", nullptr};
  list = sl_appendn(list, strings, 4);
  EXPECT_EQ(sl_appendn(list, nullptr, 0), list);
  list = _sl_append(list, nullptr);
  list = sl_append_printf(list, "%s%d", list[1], 5);
  list = _sl_append(list, list[0], nullptr);
  EXPECT_EQ(take(sl_appendn(list, list, 2)), "a;b;;c;d;e;f;g;b5;a;a;b;");
  EXPECT_EQ(take(sl_new("only")) + take(sl_append(nullptr, "a")), "only;a;");
  EXPECT_EQ(sl_appendn(nullptr, strings, 0), nullptr);
  EXPECT_EQ(take(_sl_new(nullptr)) + take(_sl_append(nullptr, nullptr)) +
                take(sl_appendn(nullptr, strings + 1, 1)),
            "")
      << "nothing to append still makes a list";
}

TEST(StringListCopy, IsDeepAndDistinguishesNull) {
  const list_owner list = list_of("a;b;c"), copy(sl_copy(list.get()));
  EXPECT_EQ(shown(copy.get()), "a;b;c;");
  EXPECT_NE(copy.get()[0], list.get()[0]);
  EXPECT_EQ(take(sl_copyn(list.get(), 2)), "a;b;");
  EXPECT_EQ(take(sl_copyn(list.get(), SIZE_MAX)), "a;b;c;");
  EXPECT_EQ(sl_copy(nullptr), nullptr);
  EXPECT_EQ(take(sl_copyn(nullptr, 2)) + take(sl_copy(list_of("").get())), "");
}

TEST(StringListQuery, LengthEmptinessMembersAndEquality) {
  const list_owner lists[] = {list_owner(), list_of(""), list_of("a"), list_of("a;;"),
                              list_of(";a")};
  const size_t lengths[] = {0, 0, 1, 2, 2};
  for (const list_owner &x : lists) {
    const size_t length = lengths[&x - lists];
    EXPECT_EQ(sl_len(x.get()), length);
    EXPECT_EQ(sl_empty(x.get()), length == 0);
    EXPECT_EQ(sl_contains(x.get(), "a"), length > 0);
    EXPECT_EQ(sl_contains(x.get(), ""), length > 1);
    EXPECT_FALSE(sl_contains(x.get(), "A") || sl_contains(x.get(), nullptr));
    const list_owner same(sl_copy(x.get()));
    for (const list_owner &y : lists) {
      const bool equal = &x == &y;
      char **a = same.get(), **b = y.get();
      EXPECT_TRUE(_sl_equals(a, b) == equal && sl_equals(b, a) == equal &&
                  __sl_equals(&a, &b) == equal && sl_fields_equal(&b, &a) == equal)
          << shown(a) << " and " << shown(b);
    }
  }
}

TEST(StringListConcat, MovesTheStringsOfTheSecondList) {
  char **list = sl_new("c", "d");
  const char *moved = list[1];
  list = sl_concat(sl_new("a", "b"), list);
  EXPECT_EQ(list[3], moved);
  EXPECT_EQ(sl_concat(list, nullptr), list);
  EXPECT_EQ(sl_concat(list, _sl_new(nullptr)), list);
  EXPECT_EQ(take(sl_concat(_sl_new(nullptr), sl_concat(nullptr, list))), "a;b;c;d;");
  EXPECT_EQ(sl_concat(nullptr, nullptr), nullptr);
  EXPECT_EQ(sl_concat(nullptr, _sl_new(nullptr)), nullptr);
}

TEST(StringListSplit, FieldsCanBeJoinedAgain) {
  const struct {
    const char *text, *fields;
    int separator = '/';
  } cases[] = {{"a/b", "a;b;"}, {"/a//b/", ";a;;b;"}, {"/", ";"},  {"//", ";;"},
               {"abc", "abc;"}, {"ab", "ab;", '\0'},  {"", "NULL"}};
  for (const auto &[text, fields, separator] : cases) {
    const list_owner list(sl_split(text, separator));
    EXPECT_EQ(shown(list.get()), fields);
    std::string all = text;
    if (!all.empty() && all.back() == '/')
      all.pop_back(); // a separator at the end gives no string
    EXPECT_EQ(take(sl_join(list.get(), "/")), all);
  }
  EXPECT_EQ(sl_split(nullptr, '/'), nullptr);
  EXPECT_EQ(take(sl_split("1\xe4", '\xe4')), "1;") << "a negative char";
  EXPECT_EQ(take(sl_join(list_of("a;b;c").get(), ", ")), "a, b, c");
  EXPECT_EQ(take(sl_join(list_of("a;b;c").get(), nullptr)), "abc");
}

TEST(StringListOrder, SortsByByteValueAndReverses) {
  const char *const cases[][3] = {
      {"", "", ""},
      {"y;z;x", "x;y;z;", "z;y;x;"},
      {"b;B;a;\xc3\xa4;ab;;", ";B;a;ab;b;\xc3\xa4;", "\xc3\xa4;b;ab;a;B;;"}};
  for (const auto &[fields, sorted, reversed] : cases) {
    const list_owner list = list_of(fields);
    sl_sort(list.get());
    EXPECT_EQ(shown(list.get()), sorted);
    sl_reverse(list.get());
    EXPECT_EQ(shown(list.get()), reversed);
  }
  sl_sort(nullptr);
  sl_reverse(nullptr);
}

TEST(StringListSlice, Positions) {
  const char rows[] = R"(
      1 3 b;c;  0 2 a;b;  0 1 a;  -2 -1 b;  2 10 c;  -10 2 a;b;  3 5 NULL  0 -3 NULL
      0 -9 NULL  -1 2147483647 c;  1 1 NULL  -3 3 a;b;c;  2147483647 -2147483648 NULL)";
  for (const auto &row : test::table(rows, 3)) {
    const int start = std::stoi(row[0]), end = std::stoi(row[1]);
    const char *const expected = row[2].c_str();
    char **list = list_of("a;b;c").release();
    const auto before = reinterpret_cast<uintptr_t>(list);
    list = sl_slice(list, start, end);
    EXPECT_EQ(shown(list), expected) << start << ", " << end;
    for (size_t i = sl_len(list); *expected == 'a' && i < 4; i++)
      EXPECT_EQ(list[i], nullptr) << "a released string";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(list) == before, *expected == 'a') << start;
    if (list != nullptr) { // the shortened list can still grow
      EXPECT_EQ(take(sl_append(list, "d", "e", "f", "g")),
                expected + std::string("d;e;f;g;"));
    }
  }
  EXPECT_EQ(sl_slice(nullptr, 0, 1), nullptr);
  const list_owner empty = list_of("");
  EXPECT_EQ(sl_slice(empty.get(), 1, 2), empty.get());
}

} // namespace
