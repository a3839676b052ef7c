#include "tree.hpp"

using namespace test;

namespace {

using nodes = std::vector<node *>;

// Releases a list of matches.
nodes taken(void **list) {
  const values_owner owner(list);
  nodes all;
  for (void **e = list; e != nullptr && *e != nullptr; e++)
    all.push_back(static_cast<node *>(*e));
  EXPECT_EQ(list == nullptr, all.empty()) << "no match is NULL, not an empty list";
  return all;
}

std::string places(void **list) {
  std::string text;
  for (const node *n : taken(list))
    text += where(n) + " ";
  return text;
}

TEST(Paths, NameEveryNodeByItsKeys) {
  const tree t = make("{'a':[1,2],'':{'x/y':0}}");
  const node *odd = node_object_first(node_object_get(t.get(), ""));
  node *a = node_object_get(t.get(), "a");
  node_array_prepend(a, node_new_null());
  EXPECT_EQ(where(node_array_get(a, 0)) + where(odd), "/a/2//x/y");
  EXPECT_TRUE(node_parent(a) == t.get() && node_parent(t.get()) == nullptr);
  EXPECT_EQ(take(node_path_sl(odd)) + " " + take(node_path_sl(t.get())), ";;x/y; ;");
}

// The result of each kind of lookup for the same path. Plain steps follow a link only to go
// down from its target. Lenient steps and those of a pattern follow links before every
// step.
TEST(Lookup, FindsWhatThePathNames) {
  const tree t = make("{'a':[{'b':1},{'b':2}],'l':'->/a','ll':'->/l','lll':'->/ll',"
                      "'d':{'k':'->/a/0'},'n':[{'b':1},null,{'c':0}],"
                      "'r':{'u':'->../../a','p':'->../u/1','o':{'b':3}}}");
  const struct {
    const char *start, *path, *plain, *lenient, *matches;
  } rows[] = {{"/d", "/..", "NULL", "/", ""},
              // positions
              {"/", "/a/ +1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/a/0x1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/a/08", "NULL", "/a", ""},
              {"/", "/a/-1", "NULL", "/a", ""},
              {"/", "/a/4294967296", "NULL", "/a", ""},
              // links
              {"/", "/lll/1", "NULL", "/lll", ""},
              {"/r", "o/../u/../o", "/r/o", "/", ""},
              // patterns
              {"/", "/n/*/b", "NULL", "/n", "/n/0/b /n/1 "},
              {"/", "/*/1", "NULL", "/", "/a/1 /a/1 /n/1 "}};
  for (const auto &[from, path, plain, lenient, matches] : rows) {
    const node *start = node_lookup(t.get(), from);
    const list_owner list = path_list(path);
    EXPECT_EQ(where(node_lookup(start, path)), plain) << path;
    EXPECT_EQ(where(node_lookup_sl(start, list.get())), plain) << path;
    EXPECT_EQ(where(node_try_lookup_sl(start, list.get())), lenient) << path;
    EXPECT_EQ(places(node_lookup_glob(start, path)), matches) << path;
    EXPECT_EQ(places(node_lookup_glob_sl(start, list.get())), matches) << path;
  }
}

TEST(LookupCreate, MakesMissingObjectsOnly) {
  const struct {
    const char *tree, *start, *path, *found, *after;
  } rows[] = {{"{}", "/", "/p//q/", "/p//q", "{'p':{'':{'q':{}}}}"},
              {"{'o':{'x':1}}", "/", "q/../o/x/y", "NULL", "{'o':{'x':1},'q':{}}"},
              {"{'l':'->/o','o':{'x':{}}}", "/", "/l/x/y", "/o/x/y",
               "{'l':'->/o','o':{'x':{'y':{}}}}"},
              {"{'l':'->/o','o':{}}", "/", "/l/x", "NULL", "{'l':'->/o','o':{}}"},
              {"{'l':'->/o/x','o':{'x':{}}}", "/", "/l/../y", "/o/y",
               "{'l':'->/o/x','o':{'x':{},'y':{}}}"},
              {"{'l':'->/o','o':{}}", "/", "/l/./x", "/o/x", "{'l':'->/o','o':{'x':{}}}"},
              // created, but not found again by the path
              {"{}", "/", "/../x", "/../x", "{'..':{'x':{}}}"},
              {"{'..':{'x':{}}}", "/", "/../x", "NULL", "{'..':{'x':{}}}"}};
  for (const auto &row : rows)
    for (const bool as_list : {false, true}) {
      const tree t = make(row.tree);
      node *start = node_lookup(t.get(), row.start);
      EXPECT_EQ(where(as_list ? node_lookup_create_sl(start, path_list(row.path).get())
                              : node_lookup_create(start, row.path)),
                row.found);
      EXPECT_EQ(show(t), row.after) << row.tree << " " << row.path;
    }
}

// ---- Links ----

TEST(Links, LeadFromTheRootOrTheirOwnPlaceAndEnd) {
  const struct {
    const char *tree, *link, *target, *lenient;
  } rows[] = {{"{'a':1,'l':'->/./a/.'}", "/l", "/a", "/a"},
              {"{'a':[7],'o':{'l':'->../m','m':'->../../a'}}", "/o/l", "/o/m", "/o/m"},
              {"{'a':[7],'o':{'l':'->../m/0','m':'->../../a'}}", "/o/l", "/a/0", "/a"},
              {"{'a':[7],'o':{'l':'->../m/..','m':'->../../a'}}", "/o/l", "/o", "/"},
              {"{'a':[7],'o':{'l':'->../m/./0','m':'->../../a'}}", "/o/l", "/a/0", "/a"},
              {"{'a':[{}],'l':'->/a/0/x'}", "/l", "NULL", "/a/0"},
              {"{'a':1,'l':'->./a'}", "/l", "NULL", "NULL"},
              {"{'a':1,'l':'->a'}", "/l", "NULL", "NULL"},
              {"{'l':'->.'}", "/l", "NULL", "NULL"},
              // links to themselves
              {"{'l':'->/l'}", "/l", "/l", "/l"},
              {"{'l':'->/l/x'}", "/l", "NULL", "/l"},
              {"{'a':'->/b/x','b':'->/a/x'}", "/a", "NULL", "/b"},
              {"{'a':'->/b','b':'->/a'}", "/a", "/b", "/b"},
              {"{'o':{'l':'->/o'}}", "/o/l", "/o", "/o"},
              {"{'o':{'l':'->..'}}", "/o/l", "/o", "/"},
              {"{'o':{'l':'->/o/l/l/l/x','x':1}}", "/o/l", "NULL", "/o/l"},
              {"{'o':{'l':'->/o','m':'->/o/l/l/m/l/x'}}", "/o/m", "NULL", "/o/m"}};
  for (const auto &row : rows) {
    const tree t = make(row.tree);
    const node *link = node_lookup(t.get(), row.link);
    EXPECT_EQ(where(node_follow_link(link)), row.target) << row.tree;
    EXPECT_EQ(where(node_try_follow_link(link)), row.lenient) << row.tree;
    const std::string below = row.link + std::string("/y");
    EXPECT_EQ(node_lookup(t.get(), below.c_str()), nullptr) << row.tree;
    taken(node_lookup_glob(t.get(), (row.link + std::string("/*/*/*")).c_str()));
  }
  const tree around = make("{'o':{'l':'->/o','x':1}}");
  EXPECT_EQ(where(node_lookup(around.get(), "/o/l/l/l/l/x")), "/o/x");
}

TEST(Links, StoreNothingWhenResolved) {
  const tree t = make("{'a':0,'l':'->/a'}"), l(node_lookup(t.get(), "/l"));
  for (int round = 0; round < 2; round++) {
    EXPECT_EQ(where(node_follow_link(l.get())), "/a");
    node_object_del(t.get(), "a");
    EXPECT_EQ(node_follow_link(l.get()), nullptr);
    EXPECT_TRUE(node_object_add(t.get(), "a", node_new_integer(1)));
  }
  node_detach(l.get());
  EXPECT_EQ(node_follow_link(l.get()), nullptr);
}

// Link i passes `times` times through link i + 1; the last one leads to the root.
tree nested_links(size_t levels, size_t times) {
  tree root(node_new_object());
  for (size_t i = 0; i <= levels; i++) {
    const std::string next = "/" + std::to_string(i + 1);
    node_object_add(root.get(), std::to_string(i).c_str(),
                    new_link(i < levels ? repeat(next, times + 1) + "/.." : "/"));
  }
  return root;
}

TEST(LinkLimits, ExponentialResolutionAndFanOutAreBounded) {
  const tree large = nested_links(64, 2), fan = fan_out(64);
  EXPECT_EQ(node_follow_link(node_lookup(large.get(), "/0")), large.get());
  EXPECT_NE(node_try_lookup_sl(large.get(), path_list("/0/0/..").get()), nullptr);
  EXPECT_EQ(where(node_lookup_create(large.get(), "/0/x")), "NULL");
  EXPECT_EQ(taken(node_lookup_glob(fan.get(), "/0/*/*")).size(), 64u * 64);
  for (const std::string &path : {repeat("/*/..", 15) + "/x", repeat("/*", 65)}) {
    EXPECT_TRUE(!to_the_limit || taken(node_lookup_glob(fan.get(), path.c_str())).empty());
  }
  const tree t = make("{'a':1,'b':2,'l':3}");
  EXPECT_EQ(places(node_lookup_glob(t.get(), "*/../a")), "/a /a /a ") << "repeats stay";
}

TEST(LinkLimits, NestedResolutionNeedsNoStack) {
  on_small_stack([] {
    const tree root = nested_links(100, 1), deep = nested_links(wide_count, 1);
    node *first = node_object_get(root.get(), "0");
    EXPECT_EQ(node_follow_link(first), root.get());
    EXPECT_EQ(where(node_try_follow_link(first)), "/1"); // ".." leniently: above the root
    EXPECT_EQ(taken(node_lookup_glob(root.get(), "/0/0")), nodes{first});
    first = node_object_get(deep.get(), "0");
    EXPECT_EQ(node_follow_link(first), deep.get());
    EXPECT_EQ(taken(node_lookup_glob(deep.get(), "/0/0")), nodes{first});
    EXPECT_EQ(show(tree(node_copy(deep.get(), 1))),
              "{}"); // all lead to their own containers
  });
}

} // namespace
