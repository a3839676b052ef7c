#include "tree.hpp"

#include <cmath>

using namespace test;

namespace {

std::string dump(const node *n) {
  char *text = nullptr;
  size_t size = 0;
  FILE *stream = open_memstream(&text, &size);
  node_fprint(n, stream);
  std::fclose(stream);
  return take(text);
}

// A copy as text; also checks that it is independent of the original.
std::string copied(const node *n, int links) {
  const tree copy(node_copy(n, links));
  if (copy != nullptr) {
    EXPECT_EQ(copy->refcount, 1u);
    check_free(copy.get());
    check_tree(copy.get());
  }
  return show(copy);
}

TEST(Copy, KeepsEverythingButThePlace) {
  const char text[] = "{'b':{'n':null,'i':-9,'r':0.5,'s':'ä','t':true,'e':[],'o':{}},"
                      "'a':['->/b','->../x/y','->',[1]]}";
  const tree t = make(text);
  EXPECT_EQ(copied(t.get(), 0), text);
  node *a = node_object_get(t.get(), "a");
  node_array_append(a, node_new_link(nullptr));
  node_array_prepend(a, node_new_integer(INT64_MIN));
  const tree copy(node_copy(a, 0)), clone(node_clone(a));
  EXPECT_TRUE(node_equals(a, copy.get()) && node_equals(a, clone.get()));
  EXPECT_STREQ(node_array_first(a)->key, "5");
  EXPECT_STREQ(node_array_first(copy.get())->key, "0") << "labels are made anew";
}

// Dangling links are left out of a copy and are null in JSON. Circular links are left out
// of a copy and fail in JSON.
TEST(Links, AreReplacedByTargetsInCopiesAndJson) {
  const struct {
    const char *source, *start, *copy, *json = copy;
  } rows[] = {
      {"{'n':5,'l':'->/n','a':['->/n','->/l']}", "/", "{'n':5,'l':5,'a':[5,5]}"},
      {"{'l':'->/gone'}", "/l", "NULL", "null"},
      {"['->x',1,'->/gone',2,'->/1']", "/", "[1,2,1]", "[null,1,null,2,1]"},
      {"{'a':'->/b','b':'->/c','c':{'d':'->/n'},'n':7}", "/",
       "{'a':{'d':7},'b':{'d':7},'c':{'d':7},'n':7}"},
      {"{'a':{'s':'->../../b'},'b':['->../../c'],'c':null}", "/a", "{'s':[null]}"},
      {"{'x':{'y':[1]},'o':{'a':'->/x/y','b':'->/x'}}", "/o", "{'a':[1],'b':{'y':[1]}}"},
      {"{'l':'->/l/x','n':1}", "/", "{'n':1}", "{'l':null,'n':1}"},
      {"{'a':'->/b/x','b':'->/a/x'}", "/", "{}", "{'a':null,'b':null}"},
      {"{'a':'->/b','b':'->/c','c':'->/d','d':'->/e','e':'->/d','n':1}", "/", "{'n':1}",
       "NULL"},
      {"{'x':{'y':{'l':'->/x'}},'o':'->/x/y'}", "/o", "{}", "NULL"},
      {"{'o':{'l':'->/o','m':'->..','r':'->/','x':1}}", "/", "{'o':{'x':1}}", "NULL"},
      {"{'o':{'l':'->/o','x':1}}", "/o/l", "NULL"},
      {"{'o':{'p':{'l':'->/o','x':1},'m':'->/o/p'}}", "/",
       "{'o':{'p':{'x':1},'m':{'x':1}}}", "NULL"},
      {"{'a':{'to':'->/b','x':1},'b':{'to':'->/a','y':2}}", "/",
       "{'a':{'to':{'y':2},'x':1},'b':{'to':{'x':1},'y':2}}", "NULL"},
      {"{'a':{'l':'->/'},'n':1}", "/a", "{}", "NULL"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.source);
    log_reader log;
    const tree t = make(row.source);
    const std::string before = show(t);
    const node *start = node_lookup(t.get(), row.start);
    EXPECT_EQ(copied(start, 1), row.copy);
    EXPECT_EQ(log.fresh(), "");
    EXPECT_EQ(swap_quotes(compact(start), '"', '\''), row.json);
    EXPECT_EQ(log.fresh().rfind("ERROR: ", 0) == 0, strcmp(row.json, "NULL") == 0);
    EXPECT_EQ(show(t), before);
  }
}

TEST(Copy, LeavesOutWhatItCannotCopy) {
  const tree t = make("{'l':'->/n','n':1,'a':[2,'->/n'],'odd':3}");
  node_object_get(t.get(), "odd")->type = static_cast<node_type>(8);
  for (int links : {2, -1}) {
    EXPECT_EQ(copied(t.get(), links), "{'n':1,'a':[2]}");
    EXPECT_EQ(node_copy(node_object_get(t.get(), "l"), links), nullptr);
  }
  EXPECT_EQ(copied(t.get(), 1), "{'l':1,'n':1,'a':[2,1]}");
  EXPECT_EQ(node_copy(node_object_get(t.get(), "odd"), 0), nullptr);
}

TEST(Copy, ExpansionIsExactAndBounded) {
  EXPECT_EQ(copied(fan_out(2).get(), 1), "{'0':{'1':{}},'1':{'0':{}}}");
  EXPECT_EQ(copied(fan_out(3).get(), 1),
            "{'0':{'1':{'2':{}},'2':{'1':{}}},'1':{'0':{'2':{}},'2':{'0':{}}},"
            "'2':{'0':{'1':{}},'1':{'0':{}}}}");
}

TEST(Equals, ComparesStructureAndValues) {
  const char rows[] = R"(
      == 0.0 -0.0  == {'a':1,'b':[2,{'c':3}]} {'b':[2,{'c':3}],'a':1}
      == ['->/x/y'] ['->/x/y']  != ['->/x/y'] ['->/x']  != null false  != true false
      != [] {}  != 1 1.0  != 9223372036854775807 9223372036854775806  != 4294967297 1
      != 0.1 0.10000000000000002  != [1,2] [1]  != {'a':null} {'b':null})";
  for (const auto &row : table(rows, 3)) {
    const tree a = make(row[1]), b = make(row[2]);
    EXPECT_EQ(node_equals(a.get(), b.get()), row[0] == "==") << row[1] << " " << row[2];
    EXPECT_EQ(node_equals(b.get(), a.get()), row[0] == "==") << row[2] << " " << row[1];
  }
  const tree nan(node_new_real(NAN)), odd(node_new_null()), no_path(node_new_link(nullptr));
  odd->type = static_cast<node_type>(8);
  EXPECT_FALSE(node_equals(nan.get(), nan.get()) || node_equals(odd.get(), odd.get()) ||
               node_equals(no_path.get(), make("'->'").get()));
}

TEST(Print, WritesOneLineForEachLeafInAnyLocale) {
  const std::pair<const char *, const char *> rows[] = {
      {"{'a':1,'b':{'c':'x'},'d':[],'e':null,'f':2.5,'g':true}",
       "/a=1\n/b/c=x\n/e=\n/f=2.500000\n/g=true\n"},
      {"[[-9223372036854775807,[]],false,-0.0]",
       "/0/0=-9223372036854775807\n/1=false\n/2=-0.000000\n"},
      {"{'l':'->/x/y','r':'->../z','n':'->'}", "/l=(/x/y)\n/r=(../z)\n/n=()\n"},
      {"{'':{'%d':1e22}}", "//%d=10000000000000000000000.000000\n"},
      {"'say\\n%s'", "say\n%s\n"}};
  const german_locale german;
  for (const locale_t own : {LC_GLOBAL_LOCALE, german.handle}) {
    uselocale(own);
    for (const auto &[text, lines] : rows)
      EXPECT_EQ(dump(make(text).get()), lines) << text;
    EXPECT_EQ(uselocale(nullptr), own) << "the caller's own locale was lost";
  }
  EXPECT_EQ(dump(nullptr), "NULL\n");
  const tree odd = make("[1,2]");
  node_array_prepend(odd.get(), node_new_integer(0));
  EXPECT_EQ(dump(odd.get()), "/2=0\n/0=1\n/1=2\n") << "keys, not positions";
  node_array_first(odd.get())->type = static_cast<node_type>(8);
  EXPECT_EQ(dump(node_array_first(odd.get())), "");
}

// ---- Size ----

TEST(Size, DepthNeedsNoStackAndLinearTime) {
  node *leaf = node_new_integer(7), *root = deep_tree(deep_levels, leaf);
  const tree t(root), moved(node_new_object());
  const std::string path = repeat("/k/0", deep_levels / 2);
  on_small_stack([&] {
    EXPECT_EQ(where(leaf), path);
    EXPECT_EQ(dump(root), path + "=7\n");
    EXPECT_EQ(node_lookup(root, path.c_str()), leaf);
    EXPECT_EQ(node_try_lookup_sl(root, path_list(path).get()), leaf);
    EXPECT_EQ(node_lookup(leaf, repeat("../", deep_levels).c_str()), root);
    const values_owner found(node_lookup_glob(root, repeat("/*", deep_levels).c_str()));
    EXPECT_TRUE(found != nullptr && *found.get() == leaf);
    node_object_add(root, "link", new_link("/k"));
    const tree copy(node_copy(root, 1));
    node *linked = node_object_get(copy.get(), "link");
    EXPECT_TRUE(node_equals(node_object_first(root), linked));
    node_merge(node_iterate(linked), node_new_integer(8));
    EXPECT_FALSE(node_equals(node_object_first(root), linked));
    const tree difference(node_diff(root, copy.get()));
    EXPECT_EQ(node_get_integer(node_iterate(difference.get())), 8);
    EXPECT_NE(node_prepare_diff_hash(root), node_prepare_diff_hash(copy.get()));
    node_object_move_children(moved.get(), copy.get());
  });
  on_small_stack([&] {
    const tree merged(node_new_object());
    const std::string fresh = repeat("/n", deep_levels);
    for (node *side : {moved.get(), merged.get()})
      EXPECT_EQ(where(node_lookup_create(side, fresh.c_str())), fresh);
    node_merge(node_lookup(merged.get(), fresh.c_str()), node_new_integer(9));
    node_merge(moved.get(), node_object_get(merged.get(), "n"));
    EXPECT_EQ(show(merged), "{}");
    const list_owner kept(sl_new(path.c_str())), top(sl_new("k"));
    char **removed = nullptr;
    node_filter(root, kept.get(), top.get(), &removed);
    EXPECT_EQ(take(removed), "/link;" + path + ";");

    node *linked = node_object_get(moved.get(), "link");
    node *inner = node_lookup(linked, repeat("0/k/", deep_levels / 4).c_str());
    node_ref(inner);
    node_clear(linked);
    check_free(inner);
    EXPECT_FALSE(node_unref(inner));
  });
}

TEST(Size, BreadthTakesLinearTime) {
  const size_t n = wide_count;
  auto grow = [n](size_t first, int64_t value) {
    tree t = make("{'o':{},'l':[],'links':[]}");
    for (size_t i = first; i < first + n; i++) {
      const std::string leaf = "/o/m" + std::to_string(i) + "/x";
      node_merge(node_lookup_create(t.get(), leaf.c_str()), node_new_integer(value));
      (i % 2 != 0 ? node_array_append : node_array_prepend)(node_lookup(t.get(), "l"),
                                                            node_new_integer(value));
      node_array_append(node_lookup(t.get(), "links"), new_link("/o/m0"));
    }
    return t;
  };
  on_small_stack([&] {
    const tree t = grow(0, 1), other = grow(n / 2, 2); // half of the members are shared
    node *o = node_object_first(t.get()), *l = node_object_get(t.get(), "l");
    for (int prepared = 0; prepared < 2; prepared++) {
      const tree found(node_diff(t.get(), other.get()));
      for (const auto &[key, count] : {std::pair("o", n + n / 2), {"l", n}, {"links", n}})
        EXPECT_EQ(node_object_get(found.get(), key)->child_count, count);
      node_prepare_diff_hash(t.get());
      node_prepare_diff_hash(other.get());
    }
    EXPECT_EQ(vl_len(values_owner(node_lookup_glob(t.get(), "/links/*/x")).get()), n);
    EXPECT_EQ(tree(node_copy(t.get(), 1))->child_count, 3u);
    node_merge(t.get(), node_clone(other.get()));
    EXPECT_EQ(o->child_count, n + n / 2);
    EXPECT_EQ(node_array_get(l, 2 * n - 1)->key, std::to_string(2 * n - 1));
    for (size_t i = 2 * n; i-- > n; i--) { // at the end of what is left, and the first
      node_array_del(l, i);
      node_array_del(l, 0);
    }
    const list_owner some(sl_split((repeat("o/*/x ", 2) + "l").c_str(), ' '));
    std::string patterns;
    for (size_t i = 0; i < n; i++)
      patterns += "/o/m" + std::to_string(i) + "/. ";
    const list_owner each(sl_split(patterns.c_str(), ' '));
    char **removed = nullptr;
    node_filter(t.get(), some.get(), each.get(), &removed);
    EXPECT_EQ(sl_len(list_owner(removed).get()), 3 * n);
    node_object_move_children(other.get(), node_object_first(t.get()));
    check_tree(other.get());
    EXPECT_EQ(other->child_count, n / 2 + 3);
  });
}

TEST(Size, LongLinkChainsNeedNoStackAndLinearTime) {
  on_small_stack([] {
    const tree nested(node_new_object()), chain(node_new_object());
    for (size_t i = 0; i <= wide_count; i++) {
      const std::string name = std::to_string(i), next = "/" + std::to_string(i + 1);
      node *inner = node_new_array();
      node_array_append(inner, i < wide_count ? new_link(next) : node_new_null());
      node_object_add(nested.get(), name.c_str(), inner);
      node_object_add(chain.get(), name.c_str(),
                      i < wide_count ? new_link(next) : node_new_integer(7));
    }
    EXPECT_EQ(copied(node_object_get(chain.get(), "0"), 1), "7");
    for (size_t i = 0; i < wide_count; i++) // a circle
      node_object_add(chain.get(), ("c" + std::to_string(i)).c_str(),
                      new_link("/c" + std::to_string((i + 1) % wide_count)));
    EXPECT_EQ(tree(node_copy(chain.get(), 1))->child_count, wide_count + 1);
    EXPECT_EQ(node_diff(chain.get(), chain.get()), nullptr);
    const tree all(node_diff(make("{}").get(), chain.get()));
    EXPECT_EQ(all->child_count, wide_count + 1);
    EXPECT_NE(node_prepare_diff_hash(chain.get()), 0u);
    const tree copy(node_copy(node_object_get(nested.get(), "0"), 1));
    EXPECT_EQ(where(node_iterate(copy.get())), repeat("/0", wide_count + 1));
  });
}

} // namespace
