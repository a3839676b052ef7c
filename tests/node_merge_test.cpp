#include "tree.hpp"

using namespace test;

namespace {

// Holds a reference to every node of a tree. Nodes that are no longer below `top` must be
// intact and have no other owner.
class holder {
public:
  holder(node *from, const node *living) : nodes(all_nodes(from)), top(living) {
    for (node *n : nodes)
      node_ref(n);
  }
  holder(const holder &) = delete;
  ~holder() {
    for (node *n : nodes) {
      const bool loose = n->parent == nullptr && n != top;
      EXPECT_EQ(n->refcount, loose ? 1u : 2u) << show(n);
      if (loose)
        check_free(n);
      check_tree(n);
    }
    for (node *n : nodes)
      node_unref(n);
  }
  const std::vector<node *> nodes;

private:
  const node *top;
};

TEST(Merge, CombinesContainersAndReplacesTheRest) {
  const struct {
    const char *target, *source, *merged,
        *consumed = "null"; // `consumed`: what is left of the source
  } rows[] = {
      {"{'o':{'x':1},'l':[5]}", "{'o':{'y':['deep']},'n':{'m':2},'l':[7,'s']}",
       "{'o':{'x':1,'y':['deep']},'l':[5,7,'s'],'n':{'m':2}}"},
      {"{'l':['->/a'],'s':'old'}", "{'s':null,'l':'->/b'}", "{'l':'->/b','s':null}"},
      {"'old'", "'new'", "'new'"},
      {"['old']", "'->/t'", "'->/t'", "'->/t'"},
      {"{'old':1}", "true", "true", "true"}};
  for (const auto &row : rows)
    for (const bool held : {false, true}) { // by others
      const tree home = make("{'p':1,'t':" + std::string(row.target) + ",'q':2}"),
                 away = make("['p'," + std::string(row.source) + "]");
      node *target = node_object_get(home.get(), "t"),
           *source = node_array_get(away.get(), 1);
      std::unique_ptr<holder> replaced, moved;
      if (held) {
        replaced.reset(new holder(target, home.get()));
        moved.reset(new holder(source, home.get()));
      }
      node_merge(target, source);
      EXPECT_EQ(show(home) + show(away),
                "{'p':1,'t':" + std::string(row.merged) + ",'q':2}['p']");
      EXPECT_TRUE(!held || show(source) == row.consumed) << show(source);
      EXPECT_EQ(node_object_get(home.get(), "t"), target);
      check_tree(home.get());
      check_tree(away.get());
    }
}

TEST(Merge, MovesNodesAndTextsAndLabelsElements) {
  const tree t = make("{'to':{'l':[5,6],'s':'old'},'from':{'l':[7],'s':'new','n':{}}}");
  node *to = node_lookup(t.get(), "to"), *from = node_lookup(t.get(), "from");
  const node *n = node_lookup(from, "n");
  const char *text = node_get_string(node_lookup(from, "s"));
  node_array_del(node_lookup(to, "l"), 0); // labels are the positions, not the old keys
  node_merge(to, from);
  EXPECT_EQ(show(t), "{'to':{'l':[1:6,7],'s':'new','n':{}}}");
  EXPECT_EQ(node_lookup(to, "n"), n);
  EXPECT_EQ(node_get_string(node_lookup(to, "s")), text);
}

TEST(Merge, LeavesTheTargetForAnUnknownKind) {
  for (const auto &[text, path] : {std::pair("2", "/"), {"{'a':2}", "/a"}}) {
    const tree target = make("{'a':[1]}");
    tree source = make(text);
    node_lookup(source.get(), path)->type = static_cast<node_type>(8);
    node_merge(target.get(), source.release());
    EXPECT_EQ(show(target), "{'a':[1]}");
  }
}

struct filter_row {
  const char *tree, *start, *include, *exclude, *left, *removed;
};

// Filters with and without a list of removed paths, and with every node held by others.
void check_filter(const filter_row &row) {
  SCOPED_TRACE(std::string(row.tree) + " " + row.start + " include " + row.include +
               " exclude " + row.exclude);
  const list_owner include(sl_split(row.include, ' ')), exclude(sl_split(row.exclude, ' '));
  for (const bool held : {false, true}) {
    const tree t = make(row.tree), unlisted = make(row.tree);
    node *start = node_lookup(t.get(), row.start), *parent = start->parent;
    char **removed = held ? nullptr : sl_new("old");
    {
      const std::unique_ptr<holder> all(held ? new holder(t.get(), t.get()) : nullptr);
      node_filter(start, include.get(), exclude.get(), &removed);
      ASSERT_EQ(show(t), row.left);
      EXPECT_TRUE(start->parent == parent && start->refcount == (held ? 2u : 1u));
      check_tree(t.get());
    }
    EXPECT_EQ(test::take(sl_join(list_owner(removed).get(), " ")),
              std::string(held ? "" : "old") + (held || !*row.removed ? "" : " ") +
                  row.removed);
    node_filter(node_lookup(unlisted.get(), row.start), include.get(), exclude.get(),
                nullptr);
    EXPECT_EQ(show(unlisted), row.left);
  }
}

TEST(Filter, KeepsTheIncludedAndReleasesTheExcluded) {
  const filter_row rows[] = {
      {"{'a':{'b':1,'c':2},'d':3}", "/", "a/b", "", "{'a':{'b':1}}", "/a/c /d"},
      {"{'a':{},'b':[],'c':{'d':null},'l':'->/b'}", "/", "x", "", "{}", "/c/d /l"},
      {"{'list':['a','b']}", "/", "list/1", "", "{'list':{'1':'b'}}", "/list/0"},
      {"{'a':{'c':2,'b':1}}", "/", "a/b a", "", "{'a':{'b':1,'c':2}}", ""},
      {"{'a':{'x':1,'y':[2]},'b':3}", "/", "", "a", "{'b':3}", "/a/x /a/y/0"},
      {"5", "/", "a", "", "{}", ""},
      // arrays, and names that have a meaning in paths
      {"{'..':{'x':1,'y':2}}", "/", "*/*", "", "{'..':{'x':1}}", "/../y"},
      {"{'l':{'a':[1,[2]]}}", "/", "l/a/1 l", "", "{'l':{'a':[1]}}", ""},
      {"[1,2]", "/", "1 .", "", "[1]", ""},
      {"[1,2]", "/", "0", "", "{'0':1}", ""},
      {"{'a':1,'b':{},'.':[3]}", "/", "*", "", "[3]", ""},
      // the node itself, its container and its siblings
      {"{'b':1,'a':2,'c':3}", "/", "a . b", "", "{'a':2,'b':1,'c':3}", ""},
      {"'text'", "/", ". /", "", "'text'", ""},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "a", "", "{'p':5,'t':{'t':{'a':1}}}", "/t/b"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "..", "", "{'p':5,'t':{}}", "/t/a /t/b"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "", "../p a", "{'t':{'b':2}}", "/p /t/a"},
      {"{'p':5,'t':{'a':1,'b':2}}", "/t", "", "/ .. .", "{'p':5,'t':null}", "/t/a /t/b"},
      {"{'p':5,'t':{'a':1}}", "/t", "", "*/.. /t", "{'p':5,'t':null}", "/t/a /t"},
      {"{'a':{'x':1},'b':{'y':2}}", "/", "*/..", "", "{'a':{'x':1},'b':{'y':2}}", ""},
      {"{'a':{'x':1},'b':{'y':2}}", "/", "", "*/.. a", "null", "/a/x /b/y"},
      // one pattern matches a node twice, or two nested ones
      {"{'a':{'x':1,'y':2},'b':{'z':3}}", "/", "", "*/../*/../*/../*/z",
       "{'a':{'x':1,'y':2},'b':{}}", "/b/z"},
      {"{'a':{'x':1,'y':2},'b':3}", "/", "a/*/..", "", "{'a':{'x':1,'y':2}}", "/b"},
      {"{'a':{'x':1,'y':2},'b':3}", "/", "", "a/*/..", "{'b':3}", "/a/x /a/y"},
      {"{'a':{'x':1,'y':2},'l':'->/a','m':'->../a'}", "/", "*/x", "", "{'a':{'x':1}}",
       "/a/y /l /m"},
      {"{'l':'->/a/b','a':{'b':{'b':1}}}", "/", "*/b", "", "{'a':{'b':{'b':1}}}", "/l"},
      {"{'l':'->/a/b','a':{'b':{'b':1}}}", "/", "", "*/b", "{'l':'->/a/b','a':{}}",
       "/a/b/b"},
      {"{'a':{'b':{'b':1,'c':2}},'l':'->/a/b'}", "/", "", "*/b", "{'a':{},'l':'->/a/b'}",
       "/a/b/b /a/b/c"}};
  for (const filter_row &row : rows)
    check_filter(row);
}

// Each place is visited once, however many paths lead to it.
TEST(Filter, VisitsEachPlaceOnce) {
  tree t = make("{'o':{}}");
  for (size_t i = 0; i < wide_count; i++)
    node_object_add(t.get(), std::to_string(i).c_str(), new_link("/o"));
  const list_owner patterns(sl_new("*/../*/..", (repeat("*/../", 20) + "0").c_str()));
  node_filter(t.get(), patterns.get(), patterns.get() + 1, nullptr);
  EXPECT_EQ(t->child_count, wide_count);
  const tree fan = fan_out(2);
  const list_owner followed(sl_new((repeat("/*", 30) + "/1").c_str()));
  node_filter(fan.get(), nullptr, followed.get(), nullptr);
  EXPECT_EQ(show(fan), "{'0':{'0':'->/0'},'1':{'0':'->/0'}}");
}

} // namespace
