#include "random_tree.hpp"

#include <cmath>

using namespace test;

namespace {

std::string show(const node *n) {
  return n != nullptr ? swap_quotes(compact(n), '"', '\'') : "NULL";
}

// The difference as text; it stands on its own, and neither tree is changed.
std::string diff(const tree &from, const tree &to) {
  tree from_before(node_clone(from.get())), to_before(node_clone(to.get()));
  tree found(node_diff(from.get(), to.get()));
  EXPECT_TRUE(node_equals(from.get(), from_before.get()));
  EXPECT_TRUE(node_equals(to.get(), to_before.get()));
  if (found != nullptr) {
    EXPECT_EQ(found->refcount, 1u);
    check_free(found.get());
    check_tree(found.get());
  }
  return show(found.get());
}

TEST(Hash, IsSdbm) {
  EXPECT_EQ(hash_sdbm("", 0, 0xdeadbeef), 0xdeadbeef);
  EXPECT_EQ(hash_sdbm("ab", 2, 0), 6363201u);
  EXPECT_EQ(hash_sdbm("b", 1, hash_sdbm("a", 1, 0)), 6363201u);
  EXPECT_EQ(hash_sdbm("\xff\0", 2, 0), 255u * 65599u);
}

TEST(Hash, OfNodesIsTheAgreedNumber) {
  auto hash_of = [](const char *text) {
    tree t = quoted(text);
    uint32_t hash = node_prepare_diff_hash(t.get());
    EXPECT_TRUE(t->diff_hash == hash && node_prepare_diff_hash(t.get()) == hash) << text;
    return hash;
  };
  for (const char *zero : {"{}", "[]", "''", "0", "0.0", "null", "'->/gone'", "[[],null]"})
    EXPECT_EQ(hash_of(zero), 0u) << zero;
  EXPECT_EQ(hash_of("true"), 1u);
  EXPECT_EQ(hash_of("false"), 2u);
  EXPECT_EQ(hash_of("1"), 2735845823u);
  EXPECT_EQ(hash_of("-0.0"), 128u);
  EXPECT_EQ(hash_of("'ab'"), 6363201u);
  EXPECT_EQ(hash_of("[true]"), 780587199u);
  EXPECT_EQ(hash_of("{'a':1}"), 1956664419u);
  EXPECT_EQ(node_prepare_diff_hash(nullptr), 0u);
}

TEST(Hash, IsCachedInEveryNodeAndStays) {
  tree t = quoted("{'o':{'n':null,'t':true},'l':[2.5,[],'->/o','ä'],'d':'->/l'}");
  auto hash_of = [&t](const char *path) { return node_lookup(t.get(), path)->diff_hash; };
  auto after = [](uint32_t seed, const void *data, size_t size, uint32_t hash) {
    unsigned char own[4];
    for (unsigned i = 0; i < 4; i++)
      own[i] = static_cast<unsigned char>(hash >> 8 * i);
    return hash_sdbm(own, 4, hash_sdbm(data, size, seed));
  };
  uint32_t root = node_prepare_diff_hash(t.get());
  uint32_t object = after(after(0, "n", 2, 0), "t", 2, 1);
  uint32_t text = hash_sdbm("ä", 2, 0), real = hash_sdbm("\0\0\0\0\0\0\x04\x40", 8, 0);
  uint32_t list =
      after(after(after(after(0, "", 0, real), "", 0, 0), "", 0, object), "", 0, text);
  EXPECT_EQ(hash_of("o"), object);
  EXPECT_EQ(hash_of("l"), list);
  EXPECT_EQ(hash_of("l/2"), object);
  EXPECT_EQ(hash_of("l/3"), text);
  EXPECT_EQ(hash_of("o/n"), 0u);
  EXPECT_EQ(hash_of("d"), list);
  EXPECT_EQ(root, after(after(after(0, "o", 2, object), "l", 2, list), "d", 2, list));
  node_object_add(t.get(), "new", node_new_integer(5));
  EXPECT_EQ(node_prepare_diff_hash(t.get()), root);
  EXPECT_EQ(hash_of("new"), 0u);
}

TEST(Diff, HoldsWhatDiffers) {
  const struct {
    const char *from, *to, *difference, *prepared = difference;
  } rows[] = {
      {"{'a':1,'b':2}", "{'a':1,'b':3,'c':4}", "{'b':3,'c':4}"},
      {"{'r':1,'a':1,'b':2}", "{'c':4,'b':3,'a':5}", "{'c':4,'b':3,'a':5,'r':null}"},
      {"{'a':1,'b':2}", "{'b':2,'a':1}", "NULL"},
      {"{'':1,'1':1,'10':2,'2':3}", "{'':2,'2':3,'01':1,'1':{}}",
       "{'':2,'01':1,'1':{},'10':null}"},
      {"[1,2,3,4]", "[1,5]", "{'1':5,'2':null,'3':null}"},
      {"[0,1,2,3,4,5,6,7,8,9,0]", "[9,1,2,3,4,5,6,7,8,9,9]", "{'0':9,'10':9}"},
      {"[[1],{'a':1},[],2]", "[[3],{'a':1,'b':[]},4,5]",
       "{'0':{'0':3},'1':{'b':[]},'2':4,'3':5}"},
      {"{'a':{'b':{'c':1},'d':2}}", "{'a':{'b':{},'e':{'x':null}}}",
       "{'a':{'b':{'c':null},'e':{'x':null},'d':null}}"},
      {"{'a':'x','b':true}", "{'a':'y','b':false}", "{'a':'y','b':false}"},
      {"[1]", "{'0':1}", "{'0':1}"},
      {"[]", "{}", "{}"},
      {"1", "1.0", "1.0"},
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
      {"{'o':{'l':'->/','x':1}}", "{'o':{'l':'->/','x':1}}", "NULL"},
      {"{'o':{'x':1,'l':'->/o'}}", "{'o':{'x':2,'l':'->/o'}}", "{'o':{'x':2,'l':{'x':2}}}"},
      {"{'a':'->/b','b':'->/c','c':'->/d','d':'->/e','e':'->/d','l':'->/x','x':1}",
       "{'a':'->/b','b':'->/c','c':'->/d','d':'->/e','e':'->/d','l':'->/x','x':2}",
       "{'l':2,'x':2}"},
      {"{'a':['->/b'],'b':['->/a'],'x':1}", "{'a':['->/b'],'b':['->/a'],'x':2}",
       "{'x':2}"}};
  for (const auto &row : rows) {
    tree from = quoted(row.from), to = quoted(row.to);
    EXPECT_EQ(diff(from, to), row.difference) << row.from << " " << row.to;
    EXPECT_EQ(diff(from, from), "NULL") << row.from;
    node_prepare_diff_hash(from.get());
    node_prepare_diff_hash(to.get());
    EXPECT_EQ(diff(from, to), row.prepared) << row.from << " " << row.to << " prepared";
  }
  tree from = quoted("[1,2]"), to = quoted("[0,1,4,5]");
  node_array_prepend(from.get(), node_new_integer(0));
  EXPECT_EQ(diff(from, to), "{'2':4,'3':5}") << "positions, not labels";
  EXPECT_EQ(diff(to, from), "{'2':2,'3':null}");
  tree nan(node_new_real(NAN)), null(node_diff(from.get(), nullptr));
  EXPECT_TRUE(std::isnan(node_get_real(tree(node_diff(nan.get(), nan.get())).get())));
  EXPECT_EQ(show(null.get()), "null");
  EXPECT_EQ(show(tree(node_diff(nullptr, to.get())).get()), "[0,1,4,5]");
  EXPECT_EQ(node_diff(nullptr, nullptr), nullptr);
}

TEST(Diff, TrustsHashesButNotAcrossKinds) {
  tree from = quoted("{'a':{'x':[1,2]},'b':3}"), to(node_clone(from.get()));
  node_prepare_diff_hash(from.get());
  node_merge(node_lookup(to.get(), "a/x/0"), node_new_integer(7));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}}}") << "one side is not prepared";
  node_prepare_diff_hash(to.get());
  node_merge(node_lookup(from.get(), "b"), node_new_integer(4));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}}}") << "the hash of b is stale";
  node_clear(node_lookup(from.get(), "b"));
  EXPECT_EQ(diff(from, to), "{'a':{'x':{'0':7}},'b':3}");
  tree zero = quoted("[[0]]"), empty = quoted("[[0,0]]");
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
  node_object_add(t.get(), std::to_string(levels).c_str(), quoted(leaf).release());
  return t;
}

TEST(DiffLimits, LinksThatFanOutComeToAnEnd) {
  on_small_stack([] {
    for (size_t levels : {8ul, to_the_limit ? 64ul : 9ul})
      for (const char *leaf : {"1", "null"}) {
        tree from = links(levels, 2, leaf), to = links(levels, 2, "'new'");
        for (int i = 0; levels == 64 && i < 1000; i++) // one limit for all of them
          node_object_add(to.get(), ("m" + std::to_string(i)).c_str(), new_link("/0"));
        tree found(node_diff(from.get(), to.get()));
        node *first = node_object_get(found.get(), "0");
        size_t leaves = 0;
        for (node *n = first; !node_iterate_end(first, n); n = node_iterate(n))
          leaves += node_is_string(n);
        EXPECT_TRUE(levels < 64 ? leaves == 1ul << levels : leaves <= 1000000) << leaves;
        const std::string last = std::to_string(levels);
        EXPECT_STREQ(node_get_string(node_object_get(found.get(), last.c_str())), "new");
        EXPECT_EQ(node_prepare_diff_hash(node_object_get(from.get(), "0")) == 0,
                  *leaf == 'n');
      }
    tree broken_off = quoted("{'x':1}"); // hashed before the links use up what is allowed
    node_merge(broken_off.get(), links(64, 2, "null").release());
    EXPECT_EQ(node_prepare_diff_hash(broken_off.get()), 0u);
    EXPECT_EQ(node_object_get(broken_off.get(), "x")->diff_hash, 0u);
  });
}

TEST(DiffLimits, DepthNeedsNoStackAndLinearTime) {
  on_small_stack([] {
    for (bool linked : {false, true}) {
      tree sides[2];
      node *tops[2];
      for (int i = 0; i < 2; i++) {
        sides[i] = linked ? links(wide_count, 1, i == 0 ? "1" : "2")
                          : tree(deep_tree(deep_levels, node_new_integer(i + 1)));
        tops[i] = linked ? node_object_get(sides[i].get(), "0") : sides[i].get();
      }
      const auto [a, b] = tops;
      for (int prepared = 0; prepared < 2; prepared++) {
        tree found(node_diff(a, b));
        node *bottom = node_iterate(found.get());
        EXPECT_EQ(node_get_integer(bottom), 2);
        EXPECT_TRUE(linked || where(bottom) == where(node_iterate(b)));
        EXPECT_EQ(node_diff(b, b), nullptr);
        EXPECT_NE(node_prepare_diff_hash(a), node_prepare_diff_hash(b));
      }
    }
  });
}

TEST(DiffLimits, BreadthTakesLinearTime) {
  on_small_stack([] {
    tree from = quoted("{'o':{},'l':[]}"), to = quoted("{'o':{},'l':[]}");
    auto add = [](const tree &t, size_t i, int64_t value) {
      node_object_add(node_object_get(t.get(), "o"), std::to_string(i).c_str(),
                      node_new_integer(value));
      node_array_append(node_object_get(t.get(), "l"), node_new_integer(value));
    };
    for (size_t i = 0; i < wide_count; i++) {
      add(from, i, 1);
      add(to, 2 * wide_count - i, 2);
    }
    for (int prepared = 0; prepared < 2; prepared++) {
      tree found(node_diff(from.get(), to.get()));
      EXPECT_EQ(node_lookup(found.get(), "o")->child_count, 2 * wide_count);
      EXPECT_EQ(node_lookup(found.get(), "l")->child_count, wide_count);
      node_prepare_diff_hash(from.get());
      node_prepare_diff_hash(to.get());
    }
  });
}

} // namespace
