#include "tree.hpp"

using namespace test;

namespace {

using segments = std::vector<std::string>;
using nodes = std::vector<node *>;

nodes take(void **list) {
  nodes all;
  for (void **e = list; e != nullptr && *e != nullptr; e++)
    all.push_back(static_cast<node *>(*e));
  EXPECT_EQ(list == nullptr, all.empty()) << "no match is NULL, not an empty list";
  vl_free(list, nullptr);
  return all;
}

std::string places(const nodes &found) {
  std::string text;
  for (const node *n : found)
    text += where(n) + " ";
  return text;
}

TEST(Paths, NameEveryNodeByItsKeys) {
  tree t = make(R"({"a":[{"b":1},{"b":2},{"b":3}],"":{"x/y":0}})");
  node *a = node_object_get(t.get(), "a"), *third = node_array_get(a, 2);
  node *odd = node_object_first(node_object_get(t.get(), ""));
  EXPECT_EQ(where(node_object_first(third)), "/a/2/b");
  EXPECT_EQ(where(odd), "//x/y");
  node_array_prepend(a, node_new_object());
  EXPECT_EQ(where(node_array_get(a, 0)), "/a/3") << "keys, not positions";
  EXPECT_EQ(test::take(node_path_sl(odd)), ";;x/y;");
  EXPECT_EQ(test::take(node_path_sl(t.get())), ";");
  EXPECT_EQ(node_lookup_sl(t.get(), segment_list({"", "", "x/y"})), odd);
  EXPECT_TRUE(node_parent(third) == a && node_root(nullptr) == nullptr);
}

// What each way of looking up makes of the same path. Plain steps take a link's target only
// to go down from it, lenient ones before every step and stop where it ends, and so do
// those of a pattern.
TEST(Lookup, FindsWhatThePathNames) {
  tree t = make(R"({"a":[{"b":1},{"b":2}],"l":"->/a","ll":"->/l","lll":"->/ll",
                    "d":{"k":"->/a/0"},"n":[{"b":1},null,{"c":0}],
                    "r":{"u":"->../../a","p":"->../u/1","o":{"b":3}}})");
  const struct {
    const char *start, *path, *plain, *lenient, *matches;
  } rows[] = {{"/a/1", "../0/b", "/a/0/b", "/a/0/b", "/a/0/b "},
              {"/a", "/", "/", "/", "/ "},
              {"/", "", "NULL", "NULL", ""},
              {"/", "/..", "NULL", "/", ""},
              {"/d", "/..", "NULL", "/", ""},
              {"/r/o", "/a", "/a", "/a", "/a "},
              {"/a", "//a", "NULL", "/", ""},
              {"/", "/a//0", "NULL", "/a", ""},
              {"/", "/aa", "NULL", "/", ""},
              {"/r/o", "./b", "/r/o/b", "/r/o/b", "/r/o/b "},
              // positions
              {"/", "/a/ +1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/a/0x1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/a/08", "NULL", "/a", ""},
              {"/", "/a/-1", "NULL", "/a", ""},
              {"/", "/a/4294967296", "NULL", "/a", ""},
              // links
              {"/", "/l/1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/ll/1", "NULL", "/a/1", ""},
              {"/", "/lll/1", "NULL", "/lll", ""},
              {"/", "/l/.", "/l", "/a", "/a "},
              {"/r", "u/./1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/d/k/..", "/d", "/a", "/a "},
              {"/r", "u/0/b", "/a/0/b", "/a/0/b", "/a/0/b "},
              {"/r", "p/b", "/a/1/b", "/a/1/b", "/a/1/b "},
              {"/r/p", "..", "/r", "/a", "/a "},
              {"/r/u", "0", "/a/0", "/a/0", "/a/0 "},
              {"/r", "o/../u/../o", "/r/o", "/", ""},
              // patterns
              {"/", "/d/*/b", "NULL", "/d", "/a/0/b "},
              {"/", "/d/*/.", "NULL", "/d", "/a/0 "},
              {"/", "/n/*/b", "NULL", "/n", "/n/0/b /n/1 "},
              {"/", "/a/*/..", "NULL", "/a", "/a /a "},
              {"/", "/*/1", "NULL", "/", "/a/1 /a/1 /n/1 "},
              {"/", "*/o", "NULL", "/", "/r/o "},
              {"/", "/r/o/b/*", "NULL", "/r/o/b", ""}};
  for (const auto &row : rows) {
    node *start = node_lookup(t.get(), row.start);
    const segments split_path = split(row.path);
    segment_list list(split_path);
    EXPECT_EQ(where(node_lookup(start, row.path)), row.plain) << row.path;
    EXPECT_EQ(where(node_lookup_sl(start, list)), row.plain) << row.path;
    EXPECT_EQ(where(node_try_lookup_sl(start, list)), row.lenient) << row.path;
    EXPECT_EQ(places(take(node_lookup_glob(start, row.path))), row.matches) << row.path;
    EXPECT_EQ(places(take(node_lookup_glob_sl(start, list))), row.matches) << row.path;
  }
  EXPECT_EQ(node_lookup(t.get(), nullptr), nullptr);
  EXPECT_EQ(node_try_lookup_sl(t.get(), nullptr), nullptr);
  EXPECT_EQ(node_lookup_glob(t.get(), nullptr), nullptr);
}

TEST(Links, KeepNothingOfAResolution) {
  tree t = make(R"({"a":0,"l":"->/a"})");
  tree l(node_lookup(t.get(), "/l"));
  for (int round = 0; round < 2; round++) {
    EXPECT_EQ(where(node_follow_link(l.get())), "/a");
    node_object_del(t.get(), "a");
    EXPECT_EQ(node_follow_link(l.get()), nullptr);
    EXPECT_TRUE(node_object_add(t.get(), "a", node_new_integer(1)));
  }
  node_detach(l.get());
  EXPECT_EQ(node_follow_link(l.get()), nullptr);
}

TEST(Links, LeadFromTheRootOrTheirOwnPlace) {
  const struct {
    const char *tree, *link, *target, *lenient;
  } rows[] = {{R"({"a":1,"l":"->/./a/."})", "/l", "/a", "/a"},
              {R"({"a":[7],"o":{"l":"->../m","m":"->../../a"}})", "/o/l", "/o/m", "/o/m"},
              {R"({"a":[7],"o":{"l":"->../m/0","m":"->../../a"}})", "/o/l", "/a/0", "/a"},
              {R"({"a":[7],"o":{"l":"->../m/..","m":"->../../a"}})", "/o/l", "/o", "/"},
              {R"({"a":[7],"o":{"l":"->../m/./0","m":"->../../a"}})", "/o/l", "/a/0", "/a"},
              {R"({"a":[{}],"l":"->/a/0/x"})", "/l", "NULL", "/a/0"},
              {R"({"a":1,"l":"->./a"})", "/l", "NULL", "NULL"},
              {R"({"a":1,"l":"->a"})", "/l", "NULL", "NULL"}};
  for (const auto &row : rows) {
    tree t = make(row.tree);
    const node *link = node_lookup(t.get(), row.link);
    EXPECT_EQ(where(node_follow_link(link)), row.target) << row.tree;
    EXPECT_EQ(where(node_try_follow_link(link)), row.lenient) << row.tree;
  }
}

TEST(LookupCreate, MakesMissingObjectsOnly) {
  const struct {
    const char *tree, *start, *path, *found, *after;
  } rows[] = {
      {"{}", "/", "/../x", "/../x", R"({"..":{"x":{}}})"},
      {"{}", "/", "/p//q/", "/p//q", R"({"p":{"":{"q":{}}}})"},
      {R"({"o":{"x":1}})", "/o", "../p/q/../../r", "/r",
       R"({"o":{"x":1},"p":{"q":{}},"r":{}})"},
      {R"({"o":{"x":1}})", "/", "q/../o/x/y", "NULL", R"({"o":{"x":1},"q":{}})"},
      {R"({"a":[{}]})", "/", "/a/5", "NULL", R"({"a":[{}]})"},
      {"[]", "/", "/..", "NULL", "[]"},
      {R"({"l":"->/o","o":{"x":{}}})", "/", "/l/x/y", "/o/x/y",
       R"({"l":"->/o","o":{"x":{"y":{}}}})"},
      {R"({"l":"->/o","o":{}})", "/", "/l/x", "NULL", R"({"l":"->/o","o":{}})"},
      {R"({"l":"->/o/x","o":{"x":{}}})", "/", "/l/../y", "/o/y",
       R"({"l":"->/o/x","o":{"x":{},"y":{}}})"},
      {R"({"l":"->/o","o":{}})", "/", "/l/./x", "/o/x", R"({"l":"->/o","o":{"x":{}}})"},
      {R"({"l":"->/x"})", "/", "/l/y", "NULL", R"({"l":"->/x"})"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.tree) + " " + row.path);
    tree t = make(row.tree), after = make(row.after);
    node *start = node_lookup(t.get(), row.start);
    node *found = node_lookup_create(start, row.path);
    EXPECT_EQ(where(found), row.found);
    EXPECT_TRUE(node_equals(t.get(), after.get())) << compact(t.get());
    // A member ".." is not found again, yet in the way.
    node *again = row.path == std::string("/../x") ? nullptr : found;
    EXPECT_EQ(node_lookup_create_sl(start, segment_list(split(row.path))), again);
    EXPECT_TRUE(node_equals(t.get(), after.get()));
  }
}

// ---- Links that lead back to themselves ----

TEST(LinkCycles, EndAsDanglingOrAtTheNodeReached) {
  const struct {
    const char *tree, *link, *target, *lenient;
  } rows[] = {{R"({"l":"->/l"})", "/l", "/l", "/l"},
              {R"({"l":"->/l/x"})", "/l", "NULL", "/l"},
              {R"({"a":"->/b/x","b":"->/a/x"})", "/a", "NULL", "/b"},
              {R"({"a":"->/b","b":"->/a"})", "/a", "/b", "/b"},
              {R"({"o":{"l":"->/o"}})", "/o/l", "/o", "/o"},
              {R"({"o":{"l":"->.."}})", "/o/l", "/o", "/"},
              {R"({"o":{"l":"->/o/l/l/l/x","x":1}})", "/o/l", "NULL", "/o/l"},
              {R"({"o":{"l":"->/o","m":"->/o/l/l/m/l/x"}})", "/o/m", "NULL", "/o/m"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.tree);
    tree t = make(row.tree);
    node *link = node_lookup(t.get(), row.link);
    EXPECT_EQ(where(node_follow_link(link)), row.target);
    EXPECT_EQ(where(node_try_follow_link(link)), row.lenient);
    segments path = split(row.link);
    path.push_back("y");
    EXPECT_EQ(node_lookup_sl(t.get(), segment_list(path)), nullptr);
    EXPECT_EQ(node_lookup_create_sl(t.get(), segment_list(path)), nullptr);
    take(node_lookup_glob(t.get(), (row.link + std::string("/*/*/*")).c_str()));
    EXPECT_TRUE(node_equals(t.get(), make(row.tree).get()));
  }
  tree around = make(R"({"o":{"l":"->/o","x":1}})");
  EXPECT_EQ(where(node_lookup(around.get(), "/o/l/l/l/l/x")), "/o/x");
  EXPECT_EQ(places(take(node_lookup_glob(around.get(), "/o/*/*"))), "/o/l /o/x ");
}

// Link i passes `times` times through link i + 1, the last leads to the root.
tree nested_links(size_t levels, int times) {
  tree root(node_new_object());
  for (size_t i = 0; i < levels; i++) {
    std::string path, next = "/" + std::to_string(i + 1);
    for (int k = 0; k <= times; k++)
      path += next;
    node_object_add(root.get(), std::to_string(i).c_str(), new_link(path + "/.."));
  }
  node_object_add(root.get(), std::to_string(levels).c_str(), new_link("/"));
  return root;
}

TEST(LinkCycles, ExponentialResolutionIsBounded) {
  tree small = nested_links(8, 2), large = nested_links(to_the_limit ? 64 : 10, 2);
  EXPECT_EQ(node_follow_link(node_lookup(small.get(), "/0")), small.get());
  node *found = node_follow_link(node_lookup(large.get(), "/0"));
  EXPECT_TRUE(found == nullptr || found == large.get());
  EXPECT_NE(node_try_lookup_sl(large.get(), segment_list({"", "0", "0", ".."})), nullptr);
  node_lookup_create(large.get(), "/0/x");
  take(node_lookup_glob(large.get(), "/0/*"));
}

TEST(LinkCycles, FanOutOfMatchesIsBounded) {
  tree fan = fan_out(64);
  EXPECT_EQ(take(node_lookup_glob(fan.get(), "/0/*/*")).size(), 64u * 64);
  segments path(to_the_limit ? 66 : 4, "*");
  path[0] = "";
  take(node_lookup_glob_sl(fan.get(), segment_list(path)));
}

// ---- Size ----

TEST(LookupDepth, LongPathsNeedNoStackAndLinearTime) {
  on_small_stack([] {
    tree root(deep_tree(deep_levels, node_new_integer(7)));
    const std::string path = repeat("/k/0", deep_levels / 2),
                      stars = repeat("/*", deep_levels), fresh = repeat("/n", deep_levels),
                      up = repeat("../", deep_levels);
    const segments list = split(path);
    node *leaf = node_lookup(root.get(), path.c_str());
    ASSERT_TRUE(leaf != nullptr && node_is_integer(leaf));
    EXPECT_EQ(where(leaf), path);
    EXPECT_EQ(node_root(leaf), root.get());
    EXPECT_EQ(node_try_lookup_sl(root.get(), segment_list(list)), leaf);
    EXPECT_EQ(take(node_lookup_glob(root.get(), stars.c_str())), nodes{leaf});
    node *made = node_lookup_create(root.get(), fresh.c_str());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(where(made), fresh);
    EXPECT_EQ(node_lookup(made, up.c_str()), root.get());
  });
}

TEST(LookupDepth, NestedLinkResolutionNeedsNoStack) {
  on_small_stack([] {
    tree root = nested_links(100, 1);
    node *first = node_object_get(root.get(), "0");
    EXPECT_EQ(node_follow_link(first), root.get());
    EXPECT_EQ(where(node_try_follow_link(first)), "/1"); // ".." leniently: above the root
    EXPECT_EQ(take(node_lookup_glob(root.get(), "/0/0")), nodes{first});
    tree deep = nested_links(wide_count, 1); // too deep is as good as dangling
    first = node_object_get(deep.get(), "0");
    node *found = node_follow_link(first);
    EXPECT_TRUE(found == nullptr || found == deep.get());
    EXPECT_NE(node_try_follow_link(first), nullptr);
    take(node_lookup_glob(deep.get(), "/0/0"));
    tree copy(node_copy(deep.get(), 1));
  });
}

TEST(LookupBreadth, ManyMatchesCostLinearTime) {
  on_small_stack([] {
    tree array(node_new_array());
    for (size_t i = 0; i < wide_count; i++)
      node_array_append(array.get(), make(R"({"b":1})").release());
    EXPECT_EQ(take(node_lookup_glob(array.get(), "/*/b")).size(), wide_count);
  });
}

} // namespace
