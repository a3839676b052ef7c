#include "random_tree.hpp"

#include <nodetree/stringlist.h>
#include <nodetree/valuelist.h>

using namespace test;

namespace {

// Labels that are no positions are shown, as "label:".
std::string show(const node *n) {
  if (node_is_link(n))
    return "'->" + take(sl_join(n->value.link_path, "/")) + "'";
  if (!node_is_container(n))
    return swap_quotes(compact(n), '"', '\'');
  std::string text;
  size_t position = 0;
  for (const node *child : children(n)) {
    text += text.empty() ? "" : ",";
    if (node_is_object(n))
      text += "'" + std::string(child->key) + "':";
    else if (std::to_string(position++) != child->key)
      text += std::string(child->key) + ":";
    text += show(child);
  }
  return node_is_object(n) ? "{" + text + "}" : "[" + text + "]";
}

// References to every node of a tree; what is no longer below `top` has to be whole and
// nobody else's.
class holder {
public:
  holder(node *from, const node *living) : nodes{from}, top(living) {
    for (size_t i = 0; i < nodes.size(); i++) {
      node_ref(nodes[i]);
      for (node *child : children(nodes[i]))
        nodes.push_back(child);
    }
  }
  holder(const holder &) = delete;
  ~holder() {
    for (node *n : nodes) {
      bool loose = n->parent == nullptr && n != top;
      EXPECT_EQ(n->refcount, loose ? 1u : 2u) << show(n);
      if (loose)
        check_free(n);
      check_tree(n);
    }
    for (node *n : nodes)
      node_unref(n);
  }
  std::vector<node *> nodes;

private:
  const node *top;
};

TEST(Merge, MovesNodesAndTextsAndLabelsElements) {
  tree target = quoted("{'o':{'x':1},'l':[5,6],'s':'old'}");
  tree source = quoted("{'o':{'y':['deep']},'l':[7],'s':'new','n':{'m':2}}");
  node *y = node_lookup(source.get(), "o/y"), *n = node_lookup(source.get(), "n");
  const char *text = node_get_string(node_lookup(source.get(), "s"));
  node *list = node_object_get(target.get(), "l"), *s = node_object_get(target.get(), "s");
  node_array_del(list, 0); // labels count the elements, whatever those are called
  node_merge(target.get(), source.release());
  EXPECT_EQ(show(target.get()),
            "{'o':{'x':1,'y':['deep']},'l':[1:6,7],'s':'new','n':{'m':2}}");
  EXPECT_TRUE(node_lookup(target.get(), "o/y") == y && y->refcount == 1);
  EXPECT_EQ(node_object_get(target.get(), "n"), n);
  EXPECT_TRUE(node_object_get(target.get(), "s") == s && node_get_string(s) == text);
  tree siblings = quoted("{'a':{'x':1},'b':{'x':2,'y':[3]},'c':'->/a'}");
  node_merge(node_lookup(siblings.get(), "a"), node_lookup(siblings.get(), "b"));
  node_merge(node_lookup(siblings.get(), "a/y/0"), node_lookup(siblings.get(), "c"));
  EXPECT_EQ(show(siblings.get()), "{'a':{'x':2,'y':['->/a']}}");
  check_tree(siblings.get());
}

TEST(Merge, RefusesTreesThatHoldEachOther) {
  tree t = quoted("{'a':{'b':[{'c':'text'},'->/a',7,null]},'d':{'e':[true]}}");
  const std::string whole = show(t.get());
  holder all(t.get(), t.get());
  for (node *target : all.nodes) {
    for (node *source : all.nodes)
      if (!node_iterate_end(target, source) || !node_iterate_end(source, target))
        node_merge(target, source);
    node_merge(target, nullptr);
    node_merge(nullptr, target);
    ASSERT_EQ(show(t.get()), whole);
    check_tree(t.get());
  }
}

const std::vector<const char *> leaves{"1",    "0.5",  "'x'", "'->/a'",
                                       "null", "true", "[]",  "{}"};

// The same rules, told by copies and recursion.
node *merged(const node *target, const node *source) {
  if (target->type != source->type || !node_is_container(target))
    return node_clone(source);
  bool object = node_is_object(target);
  node *made = object ? node_new_object() : node_new_array();
  for (const node *child : children(target)) {
    const node *over = object ? node_object_get(source, child->key) : nullptr;
    node *entry = over != nullptr ? merged(child, over) : node_clone(child);
    object ? node_object_add(made, child->key, entry) : node_array_append(made, entry);
  }
  for (const node *child : children(source)) {
    node *entry = node_clone(child);
    if (object ? !node_object_add(made, child->key, entry)
               : !node_array_append(made, entry))
      node_free(entry); // merged above
  }
  return made;
}

TEST(Merge, AgreesWithAModel) {
  dice roll(20240611);
  for (int round = 0; round < 1500; round++) {
    tree home = quoted("{'p':1,'t':0,'q':2}"), away = quoted("['p']");
    node *target = node_object_get(home.get(), "t");
    node_merge(target, random_tree(roll, 4, leaves));
    node *source = random_tree(roll, 4, leaves);
    SCOPED_TRACE(show(target) + " + " + show(source));
    tree expected(merged(target, source));
    if (round % 2 == 0)
      node_array_append(away.get(), source);
    const char *key = target->key;
    {
      holder replaced(home.get(), home.get());
      std::unique_ptr<holder> consumed(round % 4 < 2 ? new holder(source, home.get())
                                                     : nullptr);
      bool moves = node_is_container(source) || node_is_string(source);
      const std::string kept = moves ? "null" : show(source);
      node_merge(target, source);
      ASSERT_EQ(show(home.get()), "{'p':1,'t':" + show(expected.get()) + ",'q':2}");
      EXPECT_EQ(show(away.get()), "['p']");
      EXPECT_TRUE(consumed == nullptr || show(source) == kept) << show(source);
      EXPECT_TRUE(node_object_get(home.get(), "t") == target && target->key == key);
    }
    check_tree(home.get());
    check_tree(away.get());
  }
}

struct filter_row {
  const char *tree, *start, *include, *exclude, *left, *removed;
};

// Filters with and without a list of removed paths, and with every node held by others.
void check_filter(const filter_row &row) {
  SCOPED_TRACE(std::string(row.tree) + " " + row.start + " include " + row.include +
               " exclude " + row.exclude);
  for (int round = 0; round < 4; round++) {
    tree t = quoted(row.tree);
    node *start = node_lookup(t.get(), row.start), *parent = start->parent;
    char **include = sl_split(row.include, ' '), **exclude = sl_split(row.exclude, ' ');
    char **removed = sl_split(round == 1 ? "" : "old", ' ');
    {
      std::unique_ptr<holder> held(round == 3 ? new holder(t.get(), t.get()) : nullptr);
      node_filter(start, include, exclude, round == 0 ? nullptr : &removed);
      ASSERT_EQ(show(t.get()), row.left);
      EXPECT_TRUE(start->parent == parent && start->refcount == (round == 3 ? 2u : 1u));
      check_tree(t.get());
    }
    std::string paths = round != 1 ? "old " : "";
    paths += round != 0 ? row.removed : "";
    EXPECT_EQ(removed != nullptr ? take(sl_join(removed, " ")) : "",
              paths.substr(0, paths.find_last_not_of(' ') + 1));
    for (char **list : {include, exclude, removed})
      sl_free(list);
  }
}

TEST(Filter, KeepsTheIncludedAndReleasesTheExcluded) {
  const filter_row rows[] = {
      {"{'a':{'b':1,'c':2},'d':3}", "/", "a/b", "", "{'a':{'b':1}}", "/a/c /d"},
      {"{'a':{},'b':[],'c':{'d':null},'l':'->/b'}", "/", "x", "", "{}", "/c/d /l"},
      {"{'list':['a','b']}", "/", "list/1", "", "{'list':{'1':'b'}}", "/list/0"},
      {"{'a':{'c':2,'b':1}}", "/", "a/b a", "", "{'a':{'b':1,'c':2}}", ""},
      {"{'..':{'x':1,'y':2}}", "/", "*/*", "", "{'..':{'x':1}}", "/../y"},
      {"{'a':{'x':1,'y':[2]},'b':3}", "/", "", "a", "{'b':3}", "/a/x /a/y/0"},
      {"5", "/", "a", "", "{}", ""},
      // what is kept of an array or under a name that paths give a meaning, and replaced
      {"{'l':{'a':[1,[2]]}}", "/", "l/a/1 l", "", "{'l':{'a':[1]}}", "/l/a/1/0"},
      {"[1,2]", "/", "1 .", "", "[1]", "/1"},
      {"[1,2]", "/", "0", "", "{'0':1}", ""},
      {"{'a':1,'b':{},'.':[3]}", "/", "*", "", "[3]", "/a"},
      {"{'a':1,'.':3}", "/", "*", "", "3", "/a"},
      // the tree itself, what holds it and what stands beside it
      {"{'a':1,'b':[2]}", "/", "/", "", "{'a':1,'b':[2]}", ""},
      {"[1,2]", "/", ".", "", "[1,2]", ""},
      {"'text'", "/", ". /", "", "'text'", ""},
      {"{'b':1,'a':2,'c':3}", "/", "a . b", "", "{'a':2,'b':1,'c':3}", ""},
      {"{'a':{'x':1},'b':{'y':2}}", "/", "*/..", "", "{'a':{'x':1},'b':{'y':2}}", ""},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "a", "", "{'p':5,'t':{'t':{'a':1}}}", "/t/b"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "..", "", "{'p':5,'t':{}}", "/t/a /t/b"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "/ b", "", "{'p':5,'t':{'t':{'b':2}}}", "/t/a"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "", "../p a", "{'t':{'b':2}}", "/p /t/a"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "", "/ .. .", "{'p':5,'t':null}", "/t/a /t/b"},
      {"{'p':5,'t':{'a':1}}", "/t", "", "*/.. /t", "{'p':5,'t':null}", "/t/a /t"},
      {"{'a':{'x':1,'y':[2,{}]},'b':3}", "/", "", "/", "null", "/a/x /a/y/0 /b"},
      {"{'a':{'x':1},'b':{'y':2}}", "/", "", "*/.. a", "null", "/a/x /b/y"},
      {"{'a':{'x':1},'l':['->/','->/a','->/']}", "/", "", "l/*/.", "null",
       "/a/x /l/0 /l/1 /l/2"},
      // one node, or one inside the other, from one pattern
      {"{'a':{'x':1,'y':2},'b':3}", "/", "a/*/..", "", "{'a':{'x':1,'y':2}}", "/b"},
      {"{'a':{'x':1,'y':2},'b':3}", "/", "", "a/*/..", "{'b':3}", "/a/x /a/y"},
      {"{'a':{'x':1,'y':2},'l':'->/a','m':'->../a'}", "/", "*/x", "", "{'a':{'x':1}}",
       "/a/y /l /m"},
      {"{'a':{'x':1,'y':2},'l':['->/a','->../../a']}", "/", "", "l/*/x",
       "{'a':{'y':2},'l':['->/a','->../../a']}", "/a/x"},
      {"{'a':{'b':{'b':1}},'l':'->/a/b'}", "/", "*/b", "", "{'a':{'b':{'b':1}}}", "/l"},
      {"{'l':'->/a/b','a':{'b':{'b':1}}}", "/", "*/b", "", "{'a':{'b':{'b':1}}}", "/l"},
      {"{'l':'->/a/b','a':{'b':{'b':1}}}", "/", "", "*/b", "{'l':'->/a/b','a':{}}",
       "/a/b/b"},
      {"{'a':{'b':{'b':1,'c':2}},'l':'->/a/b'}", "/", "", "*/b", "{'a':{},'l':'->/a/b'}",
       "/a/b/b /a/b/c"}};
  for (const filter_row &row : rows)
    check_filter(row);
}

TEST(Filter, DropsAllWhereWhatToExcludeCannotBeTold) {
  tree t = fan_out(2);
  const std::string followed = repeat("/*", to_the_limit ? 30 : 0) + "/x";
  char **removed = nullptr;
  node_filter(t.get(), nullptr, segment_list({followed}), &removed);
  EXPECT_EQ(node_is_null(t.get()), to_the_limit);
  EXPECT_EQ(take(removed), to_the_limit ? "/0/0;/0/1;/1/0;/1/1;" : "NULL");
}

std::string filter(const tree &t, std::vector<std::string> in,
                   std::vector<std::string> ex) {
  char **removed = nullptr;
  node_filter(t.get(), segment_list(in), segment_list(ex), &removed);
  std::string paths = sl_len(removed) == 1 ? *removed : std::to_string(sl_len(removed));
  sl_free(removed);
  return paths;
}

TEST(MergeLimits, DepthNeedsNoStackAndLinearTime) {
  on_small_stack([] {
    tree t(node_new_object()), sides[2];
    for (tree &side : sides) {
      side.reset(node_new_integer(&side - sides));
      for (size_t level = 0; level < deep_levels; level++) {
        node *outer = node_new_object();
        node_object_add(outer, "k", side.release());
        node_object_add(outer, "e", node_new_object());
        side.reset(outer);
      }
    }
    node_merge(sides[0].get(), sides[1].release());
    node_merge(sides[0].get(), node_iterate(sides[0].get()));
    node_merge(t.get(), sides[0].release());
    EXPECT_EQ(node_get_integer(node_iterate(t.get())), 1);
    EXPECT_EQ(filter(t, {"e"}, {}), repeat("/k", deep_levels));
    node_object_clear(t.get());
    node *leaf = node_new_integer(7);
    node_object_add(t.get(), "deep", deep_tree(deep_levels, leaf));
    const std::string bottom = where(leaf);
    for (const std::string &pattern : {std::string("deep"), bottom}) {
      node_object_add(t.get(), "x", node_new_null());
      EXPECT_EQ(filter(t, {pattern}, {}), "/x");
      node *kept = node_iterate(t.get());
      EXPECT_TRUE(node_get_integer(kept) == 7 && where(kept) == bottom);
      EXPECT_EQ(node_is_array(kept->parent), pattern == "deep");
    }
    EXPECT_EQ(filter(t, {}, {"deep"}), bottom);
    EXPECT_EQ(show(t.get()), "{}");
  });
}

TEST(MergeLimits, BreadthTakesLinearTime) {
  on_small_stack([] {
    size_t n = wide_count;
    tree t(node_new_object());
    for (size_t from : {size_t{0}, n / 2}) { // half of the members are shared
      node *part = node_new_object(), *links = node_new_array();
      for (size_t i = from; i < from + n; i++) {
        std::string member = "m" + std::to_string(i);
        node_array_append(links, new_link("/m0"));
        for (const char *leaf : {"/x", "/y"})
          node_merge(node_lookup_create(part, (member + leaf).c_str()),
                     node_new_integer(1));
      }
      node_object_add(part, "l", links);
      node_merge(t.get(), part);
    }
    EXPECT_EQ(t->child_count, n + n / 2 + 1);
    const node *list = node_object_get(t.get(), "l");
    EXPECT_EQ(node_array_get(list, 2 * n - 1)->key, std::to_string(2 * n - 1));
    std::vector<std::string> patterns;
    for (size_t i = 0; i < n; i++)
      patterns.push_back("/m" + std::to_string(i) + "/.");
    EXPECT_EQ(filter(t, {}, {"l/*/x"}), "/m0/x");
    EXPECT_EQ(filter(t, {"*/x", "m0", "l"}, {}), std::to_string(n + n / 2 - 1));
    EXPECT_EQ(filter(t, {}, patterns), std::to_string(n));
    EXPECT_EQ(filter(t, {"l/*"}, {"*/.."}), std::to_string(2 * n + n / 2));
    EXPECT_TRUE(node_is_null(t.get()));
  });
}

} // namespace
