#include <nodetree/stringlist.h>

#include "support.hpp"

#include <cerrno>
#include <climits>
#include <cwchar>

using test::list_owner;
using test::shown;
using test::take;

namespace {

char **make(std::initializer_list<const char *> strings) {
  return strings.size() ? sl_appendn(nullptr, strings.begin(), strings.size())
                        : _sl_new(nullptr);
}

TEST(StringListAppend, CopiesTheStringsInOrder) {
  char text[] = "a";
  char **list = _sl_new(text, "b", "", nullptr);
  text[0] = 'x';
  EXPECT_EQ(shown(list), "a;b;;");
  list = sl_append(_sl_append(list, "c", nullptr), "d", "e");
  const char *strings[] = {"f", nullptr, "g", nullptr};
  list = sl_appendn(list, strings, 4);
  EXPECT_EQ(sl_appendn(list, nullptr, 0), list);
  EXPECT_EQ(take(_sl_append(list, nullptr)), "a;b;;c;d;e;f;g;");
  EXPECT_EQ(take(sl_new("only")) + take(sl_append(nullptr, "a")), "only;a;");
  EXPECT_EQ(sl_appendn(nullptr, strings, 0), nullptr);
  EXPECT_EQ(take(_sl_new(nullptr)) + take(_sl_append(nullptr, nullptr)) +
                take(sl_appendn(nullptr, strings + 1, 1)),
            "")
      << "nothing to append still makes a list";
}

TEST(StringListAppend, AListToItself) {
  char **list = make({"a", "b"});
  for (int i = 0; i < 8; ++i) // until the array has moved for certain
    list = sl_appendn(list, list, sl_len(list));
  list = _sl_append(list, list[0], list[1], nullptr);
  EXPECT_EQ(sl_len(list), 514u);
  EXPECT_STREQ(list[513], "b");
  sl_free(list);
}

TEST(StringListAppend, Formatted) {
  errno = ENOENT;
  char **list = sl_append_printf(nullptr, "%s=%d", "x", 5);
  list = sl_append_printf(list, "%s", "");
  // A wide character that the locale cannot express makes the formatting fail.
  EXPECT_EQ(sl_append_printf(list, "%lc", static_cast<wint_t>(0x20ac)), list);
  EXPECT_EQ(take(list), "x=5;;");
}

TEST(StringListCopy, IsDeepAndKeepsNullApart) {
  const list_owner list(make({"a", "b", "c"})), copy(sl_copy(list.get()));
  EXPECT_EQ(shown(copy.get()), "a;b;c;");
  EXPECT_NE(copy.get()[0], list.get()[0]);
  EXPECT_EQ(take(sl_copyn(list.get(), 2)), "a;b;");
  EXPECT_EQ(take(sl_copyn(list.get(), SIZE_MAX)), "a;b;c;");
  EXPECT_EQ(sl_copy(nullptr), nullptr);
  EXPECT_EQ(take(sl_copyn(list.get(), 0)) + take(sl_copyn(nullptr, 0)) +
                take(sl_copy(list_owner(make({})).get())),
            "");
}

TEST(StringListQuery, LengthEmptinessMembersAndEquality) {
  const list_owner lists[] = {list_owner(), list_owner(make({})), list_owner(make({"a"})),
                              list_owner(make({"a", ""})), list_owner(make({"", "a"}))};
  for (const list_owner &x : lists) {
    const std::string text = shown(x.get());
    const size_t length =
        x ? static_cast<size_t>(std::count(text.begin(), text.end(), ';')) : 0;
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
  char **b = make({"c", "d"});
  const char *moved = b[1];
  char **joined = sl_concat(make({"a", "b"}), b);
  EXPECT_EQ(joined[3], moved);
  EXPECT_EQ(sl_concat(joined, nullptr), joined);
  EXPECT_EQ(sl_concat(joined, make({})), joined);
  EXPECT_EQ(take(joined), "a;b;c;d;");
  EXPECT_EQ(take(sl_concat(nullptr, make({"x"}))) + take(sl_concat(make({}), make({"x"}))),
            "x;x;");
  EXPECT_EQ(sl_concat(nullptr, nullptr), nullptr);
  EXPECT_EQ(sl_concat(nullptr, make({})), nullptr);
}

TEST(StringListSplit, FieldsAndTheWayBack) {
  const char *const cases[][2] = {{"a/b", "a;b;"},  {"/a/b", ";a;b;"}, {"a//b", "a;;b;"},
                                  {"a/b/", "a;b;"}, {"/", ";"},        {"//", ";;"},
                                  {"abc", "abc;"},  {"", "NULL"}};
  for (const auto &[text, fields] : cases) {
    const list_owner list(sl_split(text, '/'));
    EXPECT_EQ(shown(list.get()), fields);
    std::string all = text;
    if (!all.empty() && all.back() == '/')
      all.pop_back(); // only a last separator is lost
    EXPECT_EQ(take(sl_join(list.get(), "/")), all);
  }
  EXPECT_EQ(sl_split(nullptr, '/'), nullptr);
  EXPECT_EQ(take(sl_split("ab", '\0')), "ab;");
  EXPECT_EQ(take(sl_split("1\xe4"
                          "2",
                          '\xe4')),
            "1;2;")
      << "a negative char";
  const list_owner abc(make({"a", "b", "c"}));
  EXPECT_EQ(take(sl_join(abc.get(), ", ")) + take(sl_join(abc.get(), nullptr)),
            "a, b, cabc");
}

TEST(StringListOrder, SortsByByteValueAndReverses) {
  const list_owner list(make({"b", "B", "a", "\xc3\xa4", "ab", ""}));
  sl_sort(list.get());
  EXPECT_EQ(shown(list.get()), ";B;a;ab;b;\xc3\xa4;");
  sl_reverse(list.get());
  EXPECT_EQ(shown(list.get()), "\xc3\xa4;b;ab;a;B;;");
  const list_owner few[] = {list_owner(), list_owner(make({})), list_owner(make({"x"})),
                            list_owner(make({"x", "y", "z"}))};
  std::string reversed;
  for (const list_owner &l : few) {
    sl_sort(l.get());
    sl_reverse(l.get());
    reversed += shown(l.get()) + " ";
  }
  EXPECT_EQ(reversed, "NULL  x; z;y;x; ");
}

TEST(StringListSlice, Positions) {
  const struct {
    int start, end;
    const char *slice;
  } cases[] = {{1, 3, "b;c;"},    {0, 2, "a;b;"},
               {-2, -1, "b;"},    {0, 10, "a;b;c;"},
               {-10, 2, "a;b;"},  {2, 1, "NULL"},
               {3, 5, "NULL"},    {0, -3, "NULL"},
               {0, -9, "NULL"},   {-1, INT_MAX, "c;"},
               {1, 1, "NULL"},    {INT_MIN, INT_MAX, "a;b;c;"},
               {-3, 3, "a;b;c;"}, {INT_MAX, INT_MIN, "NULL"}};
  for (const auto &c : cases) {
    char **list = make({"a", "b", "c"});
    const auto before = reinterpret_cast<uintptr_t>(list);
    list_owner slice(sl_slice(list, c.start, c.end));
    EXPECT_EQ(shown(slice.get()), c.slice) << c.start << ", " << c.end;
    const bool same_array = reinterpret_cast<uintptr_t>(slice.get()) == before;
    EXPECT_EQ(same_array, *c.slice == 'a') << c.start << ", " << c.end;
    if (slice) // what was cut still grows
      slice.reset(sl_append(_sl_append(slice.release(), nullptr), "d", "e", "f", "g"));
    EXPECT_EQ(sl_len(slice.get()) > 4, *c.slice != 'N');
  }
  EXPECT_EQ(sl_slice(nullptr, 0, 1), nullptr);
  const list_owner empty(make({}));
  EXPECT_EQ(sl_slice(empty.get(), 1, 2), empty.get());
}

} // namespace
