#include "tree.hpp"

#include <random>

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
  EXPECT_EQ(where(t.get()), "/");
  EXPECT_EQ(where(node_object_first(third)), "/a/2/b");
  EXPECT_EQ(where(odd), "//x/y");
  node_array_prepend(a, node_new_object());
  EXPECT_EQ(where(node_array_get(a, 0)), "/a/3") << "keys, not positions";
  EXPECT_EQ(test::take(node_path_sl(odd)), ";;x/y;");
  EXPECT_EQ(test::take(node_path_sl(t.get())), ";");
  EXPECT_EQ(node_lookup_sl(t.get(), segment_list({"", "", "x/y"})), odd);
  EXPECT_TRUE(node_parent(third) == a && node_root(nullptr) == nullptr);
}

// What each way of looking up makes of the same path; random paths follow below.
TEST(Lookup, FindsWhatThePathNames) {
  tree t = make(R"({"a":[{"b":1},{"b":2}],"l":"->/a","ll":"->/l","lll":"->/ll",
                    "d":{"k":"->/a/0"},"n":[{"b":1},null,{"c":0}]})");
  const struct {
    const char *start, *path, *plain, *lenient, *matches;
  } rows[] = {{"/a/1", "../0/b", "/a/0/b", "/a/0/b", "/a/0/b "},
              {"/a", "/", "/", "/", "/ "},
              {"/", "", "NULL", "NULL", ""},
              {"/", "/a/", "/a", "/a", "/a "},
              {"/", "/..", "NULL", "/", ""},
              {"/", "/a/ +1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/a/4294967296", "NULL", "/a", ""},
              {"/", "/l", "/l", "/l", "/l "},
              {"/", "/l/1", "/a/1", "/a/1", "/a/1 "},
              {"/", "/ll/1", "NULL", "/a/1", ""},
              {"/", "/lll/1", "NULL", "/lll", ""},
              {"/", "/d/k/..", "/d", "/a", "/a "},
              {"/", "/d/*/b", "NULL", "/d", "/a/0/b "},
              {"/", "/n/*/b", "NULL", "/n", "/n/0/b /n/1 "}};
  for (const auto &row : rows) {
    node *start = node_lookup(t.get(), row.start);
    EXPECT_EQ(where(node_lookup(start, row.path)), row.plain) << row.path;
    EXPECT_EQ(where(node_try_lookup_sl(start, segment_list(split(row.path)))), row.lenient)
        << row.path;
    EXPECT_EQ(places(take(node_lookup_glob(start, row.path))), row.matches) << row.path;
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
      {R"({"l":"->/o","o":{}})", "/", "/l/./x", "/o/x", R"({"l":"->/o","o":{"x":{}}})"},
      {R"({"l":"->/x"})", "/", "/l/y", "NULL", R"({"l":"->/x"})"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.tree) + " " + row.path);
    tree t = make(row.tree), after = make(row.after);
    node *start = node_lookup(t.get(), row.start);
    node *found = node_lookup_create(start, row.path);
    EXPECT_EQ(where(found), row.found);
    EXPECT_TRUE(node_equals(t.get(), after.get())) << compact(t.get());
    bool above_root =
        std::strncmp(row.path, "/..", 3) == 0; // not found again, yet in the way
    EXPECT_EQ(node_lookup_create_sl(start, segment_list(split(row.path))),
              above_root ? nullptr : found);
    EXPECT_TRUE(node_equals(t.get(), after.get()));
  }
}

// ---- Random trees and paths against a walker that follows the rules one by one ----

class walker {
public:
  struct endless {};

  static segments target(node *link) {
    segments path;
    if (link->type == NODE_LINK)
      for (char **s = link->value.link_path; s != nullptr && *s != nullptr; s++)
        path.push_back(*s);
    return path;
  }
  node *follow(node *link, bool lenient = false) {
    segments path = target(link);
    if (path.empty() || (path[0] != "" && path[0] != ".."))
      return nullptr;
    if (++depth > 20)
      throw endless();
    node *found = lookup(link, path, lenient);
    depth--;
    return found;
  }
  node *lookup(node *at, segments path, bool lenient = false) {
    if (!start(at, path))
      return nullptr;
    for (const std::string &s : path) {
      node *to = lenient ? resolved(at) : at;
      to = s == ".." ? to->parent : s == "." ? to : child(resolved(to), s);
      if (to == nullptr)
        return lenient ? at : nullptr;
      at = to;
    }
    return at;
  }
  nodes glob(node *at, segments path) {
    return start(at, path) ? expand(at, path, 0) : nodes{};
  }

private:
  static bool start(node *&at, segments &path) {
    if (path.empty())
      return false;
    if (path[0] != "")
      return true;
    while (at->parent != nullptr)
      at = at->parent;
    path.erase(path.begin());
    return true;
  }
  static node *child(node *at, const std::string &s) {
    nodes held = children(at);
    if (at->type == NODE_OBJECT) {
      auto found =
          std::find_if(held.begin(), held.end(), [&](node *c) { return c->key == s; });
      return found != held.end() ? *found : nullptr;
    }
    char *end = nullptr;
    long position = std::strtol(s.c_str(), &end, 0);
    bool valid = !s.empty() && *end == '\0' && position >= 0;
    return valid && static_cast<size_t>(position) < held.size() ? held[size_t(position)]
                                                                : nullptr;
  }
  node *resolved(node *at) {
    node *found = follow(at);
    return found != nullptr ? found : at;
  }
  nodes expand(node *at, const segments &path, size_t from) {
    for (size_t i = from; i < path.size(); i++) {
      at = resolved(at);
      if (path[i] == "*" && node_is_container(at)) {
        nodes all;
        for (node *c : children(at)) {
          bool ends = i + 1 == path.size() || c->type == NODE_NULL;
          nodes below = ends ? nodes{c} : expand(c, path, i + 1);
          all.insert(all.end(), below.begin(), below.end());
        }
        return all;
      }
      at = path[i] == ".." ? at->parent : path[i] == "." ? at : child(at, path[i]);
      if (at == nullptr)
        return {};
    }
    return {at};
  }
  int depth = 0;
};

class Random : public testing::Test {
protected:
  size_t below(size_t limit) { return random() % limit; }
  const char *word() {
    const char *words[] = {"a",  "b", "0",   "1", "2",  "",   "*",  ".",  "..",
                           "..", "a", "0x1", "*", "01", "08", "+1", "-1", "a long key"};
    return words[below(std::size(words))];
  }
  segments path() {
    segments p;
    if (below(2) != 0)
      p.push_back("");
    for (size_t n = below(5); n > 0; n--)
      p.push_back(word());
    return p;
  }
  node *grow(int depth) {
    size_t choice = below(depth > 0 ? 10 : 6);
    if (choice < 3) {
      segments target = path();
      if (target.empty() || target[0] != "")
        target.insert(target.begin(), "..");
      return node_new_link(segment_list(target));
    }
    if (choice < 6)
      return choice == 3 ? node_new_null() : node_new_integer(1);
    node *n = choice < 8 ? node_new_object() : node_new_array();
    for (size_t count = below(5); count > 0; count--)
      if (tree child(grow(depth - 1)); choice >= 8)
        node_array_append(n, child.release());
      else if (const char *key = word();
               *key != '.' && node_object_add(n, key, child.get()))
        static_cast<void>(child.release());
    return n;
  }
  // A tree in which no link's resolution comes back to itself.
  tree grown(nodes &all) {
    tree root(node_new_object());
    for (const char *key : {"a", "b", "0", "1", "*"})
      node_object_add(root.get(), key, grow(3));
    all = {root.get()};
    for (size_t i = 0; i < all.size(); i++)
      for (node *child : children(all[i]))
        all.push_back(child);
    for (bool again = true; again;) {
      again = false;
      for (node *n : all)
        try {
          walker().follow(n);
        } catch (const walker::endless &) {
          node_clear(n);
          again = true;
        }
    }
    return root;
  }
  std::mt19937 random{20240607};
};

TEST_F(Random, LookupsAgreeWithTheWalker) {
  size_t hits = 0, through_links = 0, matches = 0;
  for (size_t round = 0; round < scaled(1000); round++) {
    nodes all;
    tree root = grown(all);
    for (int tries = 0; tries < 100; tries++) {
      node *start = all[below(all.size())];
      segments p = path();
      std::string text, seen;
      for (size_t i = 0; i < p.size(); i++)
        text += (i != 0 ? "/" : "") + p[i];
      SCOPED_TRACE(where(start) + " on " + text);
      walker model;
      node *found = model.lookup(start, p);
      ASSERT_EQ(node_lookup_sl(start, segment_list(p)), found);
      ASSERT_EQ(node_try_lookup_sl(start, segment_list(p)), model.lookup(start, p, true));
      nodes matched = model.glob(start, p);
      ASSERT_EQ(take(node_lookup_glob_sl(start, segment_list(p))), matched);
      ASSERT_EQ(node_follow_link(start), model.follow(start));
      ASSERT_EQ(node_try_follow_link(start), model.follow(start, true));
      segments again = split(text);
      ASSERT_EQ(node_lookup(start, text.c_str()), model.lookup(start, again));
      ASSERT_EQ(take(node_lookup_glob(start, text.c_str())), model.glob(start, again));
      hits += found != nullptr && found != start;
      matches += matched.size() > 1;
      through_links += node_is_link(start) && found != nullptr;
    }
  }
  EXPECT_TRUE(hits > 100 && matches > 50 && through_links > 50)
      << "the paths test too little";
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
    for (int stars = 0; stars < 4; stars++) {
      path.back() = "*";
      take(node_lookup_glob_sl(t.get(), segment_list(path)));
      path.push_back("");
    }
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
    std::string path = repeat("/k/0", deep_levels / 2);
    std::string stars = repeat("/*", deep_levels), fresh = repeat("/n", deep_levels);
    segments list = split(path);
    segment_list given(list);
    node *leaf = node_lookup(root.get(), path.c_str());
    ASSERT_TRUE(leaf != nullptr && node_is_integer(leaf));
    EXPECT_EQ(where(leaf), path);
    EXPECT_EQ(node_root(leaf), root.get());
    EXPECT_EQ(node_lookup_sl(root.get(), given), leaf);
    EXPECT_EQ(node_try_lookup_sl(root.get(), given), leaf);
    EXPECT_EQ(node_lookup_create(root.get(), path.c_str()), leaf);
    EXPECT_EQ(take(node_lookup_glob(root.get(), stars.c_str())), nodes{leaf});
    node *made = node_lookup_create(root.get(), fresh.c_str());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(where(made), fresh);
    std::string up = repeat("../", deep_levels);
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
    tree array(node_new_array()), object(node_new_object());
    for (size_t i = 0; i < wide_count; i++) {
      node_array_append(array.get(), make(R"({"b":1})").release());
      node_object_add(object.get(), std::to_string(i).c_str(), make("[1]").release());
    }
    EXPECT_EQ(take(node_lookup_glob(array.get(), "/*/b")).size(), wide_count);
    EXPECT_EQ(take(node_lookup_glob(object.get(), "/*/*")).size(), wide_count);
  });
}

} // namespace
