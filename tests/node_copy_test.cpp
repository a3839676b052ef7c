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

// A tree without links as text, NULL for none; also checks that it stands on its own.
std::string copied(const node *n, int links) {
  tree copy(node_copy(n, links));
  if (copy == nullptr)
    return "NULL";
  EXPECT_EQ(copy->refcount, 1u);
  check_free(copy.get());
  check_tree(copy.get());
  return compact(copy.get());
}

TEST(Copy, KeepsEverythingButThePlace) {
  tree t = make(R"({"b":{"n":null,"i":-9,"r":0.5,"s":"\u00e4\n","t":true,"e":[],"o":{}},
                    "a":["->/b","->../x/y","->",[1]]})");
  node *a = node_object_get(t.get(), "a");
  node_array_append(a, node_new_link(nullptr));
  node_array_prepend(a, node_new_integer(INT64_MIN));
  for (node *n = t.get(); n != nullptr; n = n != a ? a : nullptr) {
    tree copy(node_copy(n, 0)), clone(node_clone(n));
    EXPECT_TRUE(node_equals(n, copy.get()) && node_equals(n, clone.get()));
    check_free(copy.get());
    check_tree(copy.get());
  }
  tree copy(node_copy(a, 0));
  EXPECT_STREQ(node_array_first(a)->key, "5");
  EXPECT_STREQ(node_array_first(copy.get())->key, "0") << "labels are made anew";
  EXPECT_EQ(compact(tree(node_copy(node_object_get(t.get(), "b"), 1)).get()),
            R"({"n":null,"i":-9,"r":0.5,"s":"ä\n","t":true,"e":[],"o":{}})");
}

// A copy leaves out the links that lead nowhere or back; JSON has null for the former, and
// there is none with the latter.
TEST(Links, BecomeWhatTheyLeadToInCopiesAndJson) {
  const struct {
    const char *source, *start, *copy, *json;
  } rows[] = {
      {R"({"n":5,"l":"->/n","a":["->/n","->/l"]})", "/", R"({"n":5,"l":5,"a":[5,5]})", ""},
      {R"({"l":"->/gone"})", "/l", "NULL", "null"},
      {R"(["->x",1,"->/gone",2,"->/1"])", "/", "[1,2,1]", "[null,1,null,2,1]"},
      {R"({"a":"->/b","b":"->/c","c":{"d":"->/n"},"n":7})", "/",
       R"({"a":{"d":7},"b":{"d":7},"c":{"d":7},"n":7})", ""},
      {R"({"a":{"s":"->../../b"},"b":["->../../c"],"c":null})", "/a", R"({"s":[null]})",
       ""},
      {R"({"x":{"y":[1]},"o":{"a":"->/x/y","b":"->/x"}})", "/o",
       R"({"a":[1],"b":{"y":[1]}})", ""},
      {R"({"l":"->/l/x","n":1})", "/", R"({"n":1})", R"({"l":null,"n":1})"},
      {R"({"a":"->/b/x","b":"->/a/x"})", "/", "{}", R"({"a":null,"b":null})"},
      {R"({"a":"->/b","b":"->/c","c":"->/b","n":1})", "/", R"({"n":1})", "NULL"},
      {R"({"o":{"l":"->/o","m":"->..","r":"->/","x":1}})", "/", R"({"o":{"x":1}})", "NULL"},
      {R"({"o":{"l":"->/o","x":1}})", "/o/l", "NULL", "NULL"},
      {R"({"o":{"p":{"l":"->/o","x":1},"m":"->/o/p"}})", "/",
       R"({"o":{"p":{"x":1},"m":{"x":1}}})", "NULL"},
      {R"({"a":{"to":"->/b","x":1},"b":{"to":"->/a","y":2}})", "/",
       R"({"a":{"to":{"y":2},"x":1},"b":{"to":{"x":1},"y":2}})", "NULL"},
      {R"({"a":{"l":"->/"},"n":1})", "/a", "{}", "NULL"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.source);
    log_reader log;
    tree t = make(row.source), same = make(row.source);
    node *start = node_lookup(t.get(), row.start);
    EXPECT_EQ(copied(start, 1), row.copy);
    EXPECT_EQ(log.fresh(), "");
    std::string json = *row.json != '\0' ? row.json : row.copy;
    EXPECT_EQ(compact(start), json);
    EXPECT_EQ(log.fresh().rfind("ERROR: ", 0) == 0, json == "NULL");
    EXPECT_TRUE(node_equals(t.get(), same.get()));
  }
}

TEST(Copy, LeavesOutWhatItCannotCopy) {
  tree t = make(R"({"l":"->/n","n":1,"a":[2,"->/n"],"odd":3})");
  node_object_get(t.get(), "odd")->type = static_cast<node_type>(8);
  for (int links : {2, -1}) {
    EXPECT_EQ(copied(t.get(), links), R"({"n":1,"a":[2]})");
    EXPECT_EQ(node_copy(node_object_get(t.get(), "l"), links), nullptr);
  }
  EXPECT_EQ(copied(t.get(), 1), R"({"l":1,"n":1,"a":[2,1]})");
  EXPECT_EQ(node_copy(node_object_get(t.get(), "odd"), 0), nullptr);
  EXPECT_EQ(node_copy(nullptr, 0), nullptr);
  EXPECT_EQ(node_clone(nullptr), nullptr);
}

std::string expanded(size_t count, std::vector<bool> within) {
  std::string text;
  for (size_t i = 0; i < count; i++)
    if (!within[i]) {
      within[i] = true;
      text += (text.empty() ? "\"" : ",\"") + std::to_string(i) +
              "\":" + expanded(count, within);
      within[i] = false;
    }
  return "{" + text + "}";
}

TEST(Copy, ExpansionIsExactAndBounded) {
  for (size_t count = 1; count <= 6; count++)
    EXPECT_EQ(copied(fan_out(count).get(), 1), expanded(count, std::vector<bool>(count)));
  EXPECT_EQ(node_copy(fan_out(50).get(), 1), nullptr);
}

TEST(Equals, ComparesStructureAndValues) {
  const struct {
    const char *a, *b;
    bool equal;
  } rows[] = {{"null", "false", false},
              {"1", "1.0", false},
              {"0.0", "-0.0", true},
              {"9223372036854775807", "9223372036854775806", false},
              {"0.1", "0.10000000000000002", false},
              {"[1,2]", "[2,1]", false},
              {"[1,2]", "[1]", false},
              {"[]", "{}", false},
              {R"({"a":1,"b":[2,{"c":3}]})", R"({"b":[2,{"c":3}],"a":1})", true},
              {R"({"a":1,"b":[2,{"c":3}]})", R"({"b":[2,{"c":4}],"a":1})", false},
              {R"({"a":null})", R"({"b":null})", false},
              {R"(["->/x/y"])", R"(["->/x/y"])", true},
              {R"(["->/x/y"])", R"(["->/x"])", false}};
  for (const auto &row : rows) {
    tree a = make(row.a), b = make(row.b);
    EXPECT_EQ(node_equals(a.get(), b.get()), row.equal) << row.a << " " << row.b;
    EXPECT_EQ(node_equals(b.get(), a.get()), row.equal) << row.b << " " << row.a;
    EXPECT_FALSE(node_equals(a.get(), nullptr) || node_equals(nullptr, a.get()));
  }
  EXPECT_TRUE(node_equals(nullptr, nullptr));
  tree nan(node_new_real(NAN)), odd(node_new_null()), no_path(node_new_link(nullptr));
  odd->type = static_cast<node_type>(8);
  EXPECT_FALSE(node_equals(nan.get(), nan.get()));
  EXPECT_FALSE(node_equals(odd.get(), odd.get()));
  EXPECT_FALSE(node_equals(no_path.get(), make("\"->\"").get()));
}

TEST(Print, WritesOneLineALeaf) {
  const struct {
    const char *tree, *start, *text;
  } rows[] = {
      {R"({"a":1,"b":{"c":"x"},"d":[],"e":null,"f":2.5,"g":true})", "/",
       "/a=1\n/b/c=x\n/e=\n/f=2.500000\n/g=true\n"},
      {R"([[-9223372036854775807,[]],false,-0.0])", "/",
       "/0/0=-9223372036854775807\n/1=false\n/2=-0.000000\n"},
      {R"({"l":"->/x/y","r":"->../z","n":"->"})", "/", "/l=(/x/y)\n/r=(../z)\n/n=()\n"},
      {R"("say \"hi\"\n%s")", "/", "say \"hi\"\n%s\n"},
      {R"({"":{"%d":1e22}})", "/", "//%d=10000000000000000000000.000000\n"},
      {"7", "/", "7\n"}};
  for (const auto &row : rows) {
    tree t = make(row.tree);
    EXPECT_EQ(dump(node_lookup(t.get(), row.start)), row.text) << row.tree;
  }
  EXPECT_EQ(dump(nullptr), "NULL\n");
  tree odd = make("[1,2]");
  node_array_prepend(odd.get(), node_new_integer(0));
  EXPECT_EQ(dump(odd.get()), "/2=0\n/0=1\n/1=2\n") << "keys, not positions";
  node_array_first(odd.get())->type = static_cast<node_type>(8);
  EXPECT_EQ(dump(node_array_first(odd.get())), "");
}

TEST(Print, IgnoresTheLocale) {
  german_locale german;
  tree t = make(R"({"r":1234567.5})");
  EXPECT_EQ(dump(t.get()), "/r=1234567.500000\n");
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  std::setlocale(LC_ALL, "C");
  uselocale(german.handle);
  EXPECT_EQ(dump(t.get()), "/r=1234567.500000\n");
  EXPECT_EQ(uselocale(nullptr), german.handle) << "the caller's own locale was lost";
}

TEST(CopyDepth, NeedsNoStackAndLinearTime) {
  on_small_stack([] {
    tree t(node_new_object());
    node *leaf = node_new_integer(7);
    node_object_add(t.get(), "deep", deep_tree(deep_levels, leaf));
    node *deep = node_object_get(t.get(), "deep");
    {
      tree copy(node_copy(deep, 0));
      ASSERT_NE(copy, nullptr);
      EXPECT_TRUE(node_equals(deep, copy.get()));
      node *bottom = node_iterate(copy.get());
      ASSERT_EQ(node_get_integer(bottom), 7);
      node_clear(bottom);
      EXPECT_FALSE(node_equals(deep, copy.get()));
    }
    EXPECT_EQ(dump(t.get()), where(leaf) + "=7\n");
    node_object_add(t.get(), "link", new_link("/deep"));
    tree copy(node_copy(t.get(), 1));
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(node_equals(node_object_get(copy.get(), "link"), deep));
  });
}

TEST(CopyDepth, LongLinkChainsNeedNoStackAndLinearTime) {
  on_small_stack([] {
    tree nested(node_new_object()), chain(node_new_object());
    for (size_t i = 0; i < wide_count; i++) {
      std::string next = "/" + std::to_string(i + 1);
      node *inner = node_new_array();
      node_array_append(inner, new_link(next));
      node_object_add(nested.get(), std::to_string(i).c_str(), inner);
      node_object_add(chain.get(), std::to_string(i).c_str(), new_link(next));
    }
    for (tree *t : {&nested, &chain})
      node_object_add(t->get(), std::to_string(wide_count).c_str(), node_new_integer(7));
    EXPECT_EQ(copied(node_object_get(chain.get(), "0"), 1), "7");
    tree copy(node_copy(node_object_get(nested.get(), "0"), 1));
    ASSERT_NE(copy, nullptr);
    size_t levels = 0;
    for (node *n = copy.get(); node_is_array(n); n = node_array_first(n))
      levels++;
    EXPECT_EQ(levels, wide_count);
    tree flat(node_new_array());
    node_array_append(flat.get(), node_new_integer(1));
    for (size_t i = 0; i < wide_count; i++)
      node_array_append(flat.get(), new_link("/0"));
    tree values(node_copy(flat.get(), 1));
    EXPECT_EQ(node_array_count(values.get()), wide_count + 1);
  });
}

} // namespace
