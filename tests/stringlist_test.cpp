#include <nodetree/stringlist.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <initializer_list>
#include <string>

namespace {

/* Owns a list and shows it as one text: "(a|b)", "()" for an empty one, "NULL" for none. */
struct List {
  explicit List(char **taken) : list(taken) {}
  ~List() { sl_free(list); }
  List(const List &) = delete;
  List &operator=(const List &) = delete;
  std::string show() const {
    if (!list)
      return "NULL";
    std::string text = "(";
    for (char **s = list; *s; ++s)
      text += (s == list ? "" : "|") + std::string(*s);
    return text + ")";
  }
  char **list;
};

std::string shown(char **list) {
  return List(list).show();
}

char **make(std::initializer_list<const char *> strings) {
  char **list = _sl_new(nullptr);
  return strings.size() ? sl_appendn(list, strings.begin(), strings.size()) : list;
}

TEST(StringListAppend, CopiesTheStringsInOrder) {
  char text[] = "a";
  List list(_sl_new(text, "b", "", nullptr));
  text[0] = 'x';
  EXPECT_EQ(list.show(), "(a|b|)");
  list.list = _sl_append(list.list, "c", nullptr);
  list.list = sl_append(list.list, "d", "e");
  EXPECT_EQ(list.show(), "(a|b||c|d|e)");
  EXPECT_EQ(list.list[6], nullptr);
  EXPECT_EQ(shown(sl_new("only")), "(only)");
  EXPECT_EQ(shown(sl_append(nullptr, "a")), "(a)");
}

TEST(StringListAppend, NothingToAppendStillMakesAList) {
  EXPECT_EQ(shown(_sl_new(nullptr)), "()");
  EXPECT_EQ(shown(_sl_append(nullptr, nullptr)), "()");
  EXPECT_EQ(shown(_sl_append(make({"a"}), nullptr)), "(a)");
}

TEST(StringListAppend, ArrayWithHoles) {
  const char *strings[] = {"a", nullptr, "b", nullptr};
  EXPECT_EQ(shown(sl_appendn(make({"x"}), strings, 4)), "(x|a|b)");
  EXPECT_EQ(shown(sl_appendn(nullptr, strings + 1, 1)), "()");
  EXPECT_EQ(sl_appendn(nullptr, strings, 0), nullptr);
  List list(make({"x"}));
  EXPECT_EQ(sl_appendn(list.list, nullptr, 0), list.list);
}

TEST(StringListAppend, AListToItself) {
  List list(make({"a", "b"}));
  for (int i = 0; i < 8; ++i) /* until the array has moved for certain */
    list.list = sl_appendn(list.list, list.list, sl_len(list.list));
  EXPECT_EQ(sl_len(list.list), 512u);
  EXPECT_STREQ(list.list[511], "b");
  list.list = _sl_append(list.list, list.list[0], list.list[1], nullptr);
  EXPECT_STREQ(list.list[513], "b");
}

TEST(StringListAppend, Formatted) {
  errno = ENOENT;
  List list(sl_append_printf(nullptr, "%s=%d", "x", 5));
  list.list = sl_append_printf(list.list, "%s", "");
  EXPECT_EQ(list.show(), "(x=5|)");
  /* A wide character that the locale cannot express makes the formatting fail. */
  EXPECT_EQ(sl_append_printf(list.list, "%lc", static_cast<wint_t>(0x20ac)), list.list);
  EXPECT_EQ(list.show(), "(x=5|)");
}

TEST(StringListCopy, IsDeepAndKeepsNullApart) {
  List list(make({"a", "b", "c"}));
  List copy(sl_copy(list.list));
  EXPECT_EQ(copy.show(), "(a|b|c)");
  EXPECT_NE(copy.list[0], list.list[0]);
  EXPECT_EQ(shown(sl_copyn(list.list, 2)), "(a|b)");
  EXPECT_EQ(shown(sl_copyn(list.list, 0)), "()");
  EXPECT_EQ(shown(sl_copyn(list.list, SIZE_MAX)), "(a|b|c)");
  EXPECT_EQ(shown(sl_copyn(nullptr, 0)), "()");
  EXPECT_EQ(sl_copy(nullptr), nullptr);
  EXPECT_EQ(shown(sl_copy(List(make({})).list)), "()");
}

TEST(StringListQuery, LengthEmptinessAndMembers) {
  List list(make({"a", "", "c"})), empty(make({}));
  EXPECT_EQ(sl_len(list.list), 3u);
  EXPECT_EQ(sl_len(empty.list), 0u);
  EXPECT_EQ(sl_len(nullptr), 0u);
  EXPECT_FALSE(sl_empty(list.list));
  EXPECT_TRUE(sl_empty(empty.list));
  EXPECT_TRUE(sl_empty(nullptr));
  EXPECT_TRUE(sl_contains(list.list, "c"));
  EXPECT_TRUE(sl_contains(list.list, ""));
  EXPECT_FALSE(sl_contains(list.list, "C"));
  EXPECT_FALSE(sl_contains(list.list, nullptr));
  EXPECT_FALSE(sl_contains(empty.list, "a"));
  EXPECT_FALSE(sl_contains(nullptr, "a"));
}

TEST(StringListQuery, Equality) {
  List empty(make({})), empty2(make({})), a(make({"a"})), a2(make({"a"})),
      ab(make({"a", "b"})), ba(make({"b", "a"}));
  struct {
    char **x, **y;
    bool equal;
  } const cases[] = {
      {nullptr, nullptr, true},  {nullptr, empty.list, false},
      {a.list, nullptr, false},  {empty.list, empty2.list, true},
      {a.list, a2.list, true},   {a.list, ab.list, false},
      {ab.list, ba.list, false}, {empty.list, a.list, false},
  };
  for (auto c : cases) {
    EXPECT_EQ(_sl_equals(c.x, c.y), c.equal);
    EXPECT_EQ(sl_equals(c.y, c.x), c.equal);
    EXPECT_EQ(__sl_equals(&c.x, &c.y), c.equal);
    EXPECT_EQ(sl_fields_equal(&c.y, &c.x), c.equal);
  }
}

TEST(StringListConcat, MovesTheStringsOfTheSecondList) {
  char **b = make({"c", "d"});
  const char *moved = b[1];
  List joined(sl_concat(make({"a", "b"}), b));
  EXPECT_EQ(joined.show(), "(a|b|c|d)");
  EXPECT_EQ(joined.list[3], moved);
  EXPECT_EQ(shown(sl_concat(nullptr, make({"x"}))), "(x)");
  EXPECT_EQ(shown(sl_concat(make({}), make({"x"}))), "(x)");
  char **same = joined.list;
  EXPECT_EQ(sl_concat(same, nullptr), same);
  EXPECT_EQ(sl_concat(same, make({})), same);
  EXPECT_EQ(sl_concat(nullptr, nullptr), nullptr);
  EXPECT_EQ(sl_concat(nullptr, make({})), nullptr);
}

TEST(StringListSplit, FieldsAndTheWayBack) {
  struct {
    const char *text;
    const char *fields;
  } const cases[] = {
      {"a/b", "(a|b)"}, {"/a/b", "(|a|b)"}, {"a//b", "(a||b)"}, {"a/b/", "(a|b)"},
      {"/", "()"},      {"//", "(|)"},      {"abc", "(abc)"},   {"", "NULL"},
  };
  for (const auto &c : cases) {
    List list(sl_split(c.text, '/'));
    EXPECT_EQ(list.show(), c.fields) << c.text;
    char *joined = sl_join(list.list, "/");
    const std::string text = c.text;
    const bool cut = !text.empty() && text.back() == '/';
    EXPECT_EQ(joined, text.substr(0, text.size() - cut)) << "only a last separator is lost";
    free(joined);
  }
  List single(sl_split("/", '/'));
  ASSERT_EQ(sl_len(single.list), 1u);
  EXPECT_STREQ(single.list[0], "");
  EXPECT_EQ(sl_split(nullptr, '/'), nullptr);
  EXPECT_EQ(shown(sl_split("ab", '\0')), "(ab)");
  EXPECT_EQ(shown(sl_split("a\xe4"
                           "b",
                           '\xe4')),
            "(a|b)")
      << "a negative char";
}

TEST(StringListJoin, Separators) {
  struct {
    std::initializer_list<const char *> strings;
    const char *separator, *text;
  } const cases[] = {
      {{"a", "b"}, "/", "a/b"},    {{"a", ""}, "/", "a/"},
      {{"", "a"}, "/", "/a"},      {{}, "/", ""},
      {{"a", "b"}, nullptr, "ab"}, {{"a", "b", "c"}, ", ", "a, b, c"},
      {{"", ""}, "--", "--"},
  };
  for (const auto &c : cases) {
    char *text = sl_join(List(make(c.strings)).list, c.separator);
    EXPECT_STREQ(text, c.text);
    free(text);
  }
  char *none = sl_join(nullptr, "/");
  EXPECT_STREQ(none, "");
  free(none);
}

TEST(StringListOrder, SortsByByteValueAndReverses) {
  List list(make({"b", "B", "a", "\xc3\xa4", "ab", ""}));
  sl_sort(list.list);
  EXPECT_EQ(list.show(), "(|B|a|ab|b|\xc3\xa4)");
  char **array = list.list;
  sl_reverse(list.list);
  EXPECT_EQ(list.show(), "(\xc3\xa4|b|ab|a|B|)");
  EXPECT_EQ(list.list, array);
  for (auto [in, out] : {std::pair("", "()"), {"x", "(x)"}, {"x/y/z", "(z|y|x)"}}) {
    List other(_sl_append(sl_split(in, '/'), nullptr));
    sl_reverse(other.list);
    EXPECT_EQ(other.show(), out);
  }
  sl_sort(nullptr);
  sl_reverse(nullptr);
}

TEST(StringListSlice, Positions) {
  struct {
    int start, end;
    const char *slice;
    bool same_array;
  } const cases[] = {
      {1, 3, "(b|c)", false},
      {0, 2, "(a|b)", true},
      {-2, -1, "(b)", false},
      {0, 10, "(a|b|c)", true},
      {-10, 2, "(a|b)", true},
      {2, 1, "NULL", false},
      {3, 5, "NULL", false},
      {5, 9, "NULL", false},
      {0, -3, "NULL", false},
      {0, -9, "NULL", false},
      {-1, INT_MAX, "(c)", false},
      {INT_MIN, INT_MAX, "(a|b|c)", true},
      {-3, 3, "(a|b|c)", true},
      {1, 1, "NULL", false},
      {INT_MAX, INT_MIN, "NULL", false},
  };
  for (const auto &c : cases) {
    char **list = make({"a", "b", "c"});
    const auto before = reinterpret_cast<uintptr_t>(list);
    List slice(sl_slice(list, c.start, c.end));
    EXPECT_EQ(slice.show(), c.slice) << c.start << ", " << c.end;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(slice.list) == before, c.same_array)
        << c.start << ", " << c.end;
  }
  EXPECT_EQ(sl_slice(nullptr, 0, 1), nullptr);
  List empty(make({}));
  EXPECT_EQ(sl_slice(empty.list, 1, 2), empty.list);
}

TEST(StringListSlice, ATruncatedListStillGrows) {
  List list(sl_slice(make({"a", "b", "c"}), 0, 1));
  list.list = _sl_append(list.list, nullptr);
  list.list = sl_append(list.list, "d", "e", "f", "g");
  EXPECT_EQ(list.show(), "(a|d|e|f|g)");
}

} // namespace
