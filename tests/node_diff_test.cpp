#include "tree.hpp"

#include <cmath>

using namespace test;

namespace {

// The difference as text; it is independent of the trees, and neither is changed.
std::string diff(const tree &from, const tree &to) {
  const std::string before = show(from) + show(to);
  const tree found(node_diff(from.get(), to.get()));
  EXPECT_EQ(show(from) + show(to), before);
  if (found != nullptr) {
    check_free(found.get());
    check_tree(found.get());
  }
  return show(found);
}

TEST(Hash, HasTheDocumentedValue) {
  const char rows[] = R"(
      {} 0  [] 0  '' 0  0 0  0.0 0  null 0  '->/gone' 0  [[],null] 0  true 1  false 2
      1 2735845823  -0.0 128  'ab' 6363201  [true] 780587199
      {'n':null,'t':true} 3699109725  [2.5,[],'ä'] 2576980877)";
  for (const auto &row : table(rows, 2)) {
    const std::string &text = row[0];
    const uint32_t hash = static_cast<uint32_t>(std::stoul(row[1]));
    const tree t = make(text);
    for (int round = 0; round < 2; round++)
      EXPECT_EQ(node_prepare_diff_hash(t.get()), hash) << text;
    EXPECT_EQ(t->diff_hash, hash) << text;
  }
  EXPECT_EQ(hash_sdbm("", 0, 0xdeadbeef), 0xdeadbeef);
  EXPECT_EQ(hash_sdbm("b", 1, hash_sdbm("a", 1, 0)), 6363201u);
  EXPECT_EQ(hash_sdbm("\xff\0", 2, 0), 255u * 65599u);
}

TEST(Hash, IsCachedInEveryNode) {
  const tree t = make("{'o':{'n':null,'t':true},'l':[2.5,[],'->/o','ä'],'d':'->/l'}");
  const uint32_t root = node_prepare_diff_hash(t.get());
  for (const node *n : all_nodes(t.get())) // as if it were a root, without links
    EXPECT_EQ(n->diff_hash, node_prepare_diff_hash(tree(node_copy(n, 1)).get()))
        << where(n);
  node_object_add(t.get(), "new", node_new_integer(5));
  EXPECT_EQ(node_prepare_diff_hash(t.get()), root);
  EXPECT_EQ(node_object_get(t.get(), "new")->diff_hash, 0u);
}

TEST(Hash, OfALinkIsWhatItOrALinkOnTheWayKeeps) {
  const tree t = make("{'a':'->/b','b':'->/c','c':'->/d','d':[1],'e':'->/a'}");
  const uint32_t b = node_prepare_diff_hash(node_lookup(t.get(), "/b"));
  EXPECT_EQ(node_object_get(t.get(), "c")->diff_hash, b) << "a link on the way has it too";
  node_object_del(t.get(), "d");
  EXPECT_EQ(node_prepare_diff_hash(node_lookup(t.get(), "/b")), b);
  EXPECT_EQ(node_prepare_diff_hash(node_lookup(t.get(), "/e")), b);
}

TEST(Diff, ContainsTheDifferences) {
  const struct {
    const char *from, *to, *difference, *prepared = difference;
  } rows[] = {
      {"{'a':{'b':{'c':1},'d':2}}", "{'a':{'b':{},'e':{'x':null}}}",
       "{'a':{'b':{'c':null},'e':{'x':null},'d':null}}"},
      {"0.0", "-0.0", "NULL"},
      // links, which hash like their targets
      {"{'a':1,'l':'->/a'}", "{'a':1,'m':1,'l':'->/m'}", "{'m':1}"},
      {"{'a':1,'l':'->/a'}", "{'a':1,'l':1}", "{'l':1}", "NULL"},
      {"{'a':1,'l':1}", "{'a':1,'l':'->/a'}", "{'l':1}", "NULL"},
      {"{'a':[1],'l':'->/a'}", "{'a':[2],'l':'->/a'}", "{'a':{'0':2},'l':{'0':2}}"},
      {"{'l':'->/a'}", "{'l':'->../a','a':{'x':1}}", "{'l':{'x':1},'a':{'x':1}}"},
      {"{'l':'->/a','a':1}", "{'l':'->/a'}", "{'l':null,'a':null}"},
      {"{'a':1}", "{'a':'->/gone'}", "NULL"},
      {"{'a':1}", "{'a':1,'b':['->/a','->/gone',2]}", "{'b':[1,2]}"},
      {"{'a':'->/b','b':'->/c','c':1}", "{'a':'->/c','b':'->/c','c':1}", "{'a':1}", "NULL"},
      {"{'a':'->/b','b':'->/c','c':1}", "{'a':'->/b','b':'->/c','c':2}",
       "{'a':2,'b':2,'c':2}"},
      // circles
      {"{'l':'->/l'}", "{'l':'->/l'}", "NULL"},
      {"{'a':'->/b','b':'->/a'}", "{'a':'->/b','b':'->/a','c':1}", "{'c':1}"},
      {"{'o':{'x':1,'l':'->/o'}}", "{'o':{'x':2,'l':'->/o'}}", "{'o':{'x':2,'l':{'x':2}}}"},
      {"{'a':'->/b','b':'->/c','c':'->/d','d':'->/e','e':'->/d','l':'->/x','x':1}",
       "{'a':'->/b','b':'->/c','c':'->/d','d':'->/e','e':'->/d','l':'->/x','x':2}",
       "{'l':2,'x':2}"},
      {"{'a':['->/b'],'b':['->/a'],'x':1}", "{'a':['->/b'],'b':['->/a'],'x':2}",
       "{'x':2}"}};
  for (const auto &row : rows) {
    const tree from = make(row.from), to = make(row.to);
    EXPECT_EQ(diff(from, to), row.difference) << row.from << " " << row.to;
    EXPECT_EQ(diff(from, from), "NULL") << row.from;
    node_prepare_diff_hash(from.get());
    node_prepare_diff_hash(to.get());
    EXPECT_EQ(diff(from, to), row.prepared) << row.from << " " << row.to << " prepared";
  }
  const tree labelled = make("[1,2]"), nan(node_new_real(NAN));
  node_array_prepend(labelled.get(), node_new_integer(0));
  EXPECT_EQ(diff(labelled, make("[0,1,4,5]")), "{'2':4,'3':5}") << "positions, not labels";
  EXPECT_NE(tree(node_diff(nan.get(), nan.get())), nullptr);
}

TEST(Diff, TrustsHashesButNotAcrossKinds) {
  const tree from = make("{'a':{'x':[1,2]},'b':3}"), to(node_clone(from.get()));
  node_prepare_diff_hash(from.get());
  node_merge(node_lookup(to.get(), "a/x/0"), node_new_integer(7));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}}}") << "one side is not prepared";
  node_prepare_diff_hash(to.get());
  node_merge(node_lookup(from.get(), "b"), node_new_integer(4));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}}}") << "the hash of b is stale";
  node_clear(node_lookup(from.get(), "b"));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}},'b':3}");
  const tree zero = make("[[0]]"), empty = make("[[0,0]]");
  node_prepare_diff_hash(zero.get());
  node_prepare_diff_hash(empty.get());
  EXPECT_EQ(diff(zero, empty), "{'0':{'1':0}}") << "0 is no hash";
}

// Arrays "0", "1", ... of links to the next, and one more member, a leaf.
tree links(size_t levels, size_t width, const char *leaf) {
  tree t(node_new_object());
  for (size_t i = 0; i < levels; i++) {
    node *list = node_new_array();
    for (size_t k = 0; k < width; k++)
      node_array_append(list, new_link("/" + std::to_string(i + 1)));
    node_object_add(t.get(), std::to_string(i).c_str(), list);
  }
  node_object_add(t.get(), std::to_string(levels).c_str(), make(leaf).release());
  return t;
}

TEST(DiffLimits, LinksThatFanOutAreBounded) {
  for (const char *leaf : {"1", "null"}) {
    const tree from = links(8, 2, leaf), to = links(8, 2, "'new'");
    const tree found(node_diff(from.get(), to.get()));
    node *first = node_object_get(found.get(), "0");
    size_t leaves = 0;
    for (node *n = first; !node_iterate_end(first, n); n = node_iterate(n))
      leaves += node_is_string(n);
    EXPECT_EQ(leaves, 256u);
    EXPECT_EQ(node_prepare_diff_hash(node_object_get(from.get(), "0")) == 0, *leaf == 'n');
  }
  // Every path through these is different, so results for one cannot be reused for another.
  const tree fan = fan_out(12), same = fan_out(12), none = make("{}");
  EXPECT_EQ(diff(fan, same), "NULL");
  if (!to_the_limit)
    return;
  const tree wide = links(8, 2, ("[0" + repeat(",'->/gone'", 100000) + "]").c_str());
  const tree found(node_diff(none.get(), wide.get()));
  EXPECT_EQ(show(node_object_get(found.get(), "0")), "null") << "what is not known differs";
  EXPECT_EQ(show(node_object_get(found.get(), "8")), "[0]");
  EXPECT_EQ(node_copy(wide.get(), 1), nullptr);
}

TEST(DiffLimits, KnownResultsAreReused) {
  const size_t n = wide_count;
  tree sides[2];
  for (tree &side : sides) {
    side = make("{'a':[],'nulls':[],'links':[],'none':[],'e':[],'s':{}}");
    node *at = node_object_get(side.get(), "s");
    for (size_t i = 0; i < n; i++) {
      node_array_append(node_lookup(side.get(), "a"), node_new_integer(1));
      node_array_append(node_lookup(side.get(), "nulls"), node_new_null());
      node_array_append(node_lookup(side.get(), "links"), new_link("/a"));
      node_array_append(node_lookup(side.get(), "none"), new_link("/nulls"));
      node *below = node_new_object();
      node_object_add(at, "s", below);
      if (&side == &sides[1])
        node_object_add(at, "l", new_link("/e"));
      at = below;
    }
  }
  node_merge(node_lookup(sides[0].get(), "a/7"), node_new_integer(2));
  const tree found(node_diff(sides[0].get(), sides[1].get()));
  EXPECT_EQ(node_object_get(found.get(), "links")->child_count, n);
  EXPECT_EQ(show(node_lookup(found.get(), "links/0")), "{'7':1}");
  EXPECT_EQ(show(node_lookup(found.get(), "s/s/l")), "[]");
  EXPECT_NE(node_prepare_diff_hash(sides[0].get()), 0u);
}

TEST(DiffLimits, LongLinkChainsNeedNoStackAndLinearTime) {
  on_small_stack([] {
    const tree from = links(wide_count, 1, "1"), to = links(wide_count, 1, "2");
    node *a = node_object_get(from.get(), "0"), *b = node_object_get(to.get(), "0");
    for (int prepared = 0; prepared < 2; prepared++) {
      const tree found(node_diff(a, b));
      EXPECT_EQ(node_get_integer(node_iterate(found.get())), 2);
      EXPECT_EQ(node_diff(b, b), nullptr);
      EXPECT_NE(node_prepare_diff_hash(a), node_prepare_diff_hash(b));
    }
  });
}

} // namespace
