// The C++ face: who owns what, what borrows, what goes in and out as text, callbacks.
#include <nodetree.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace nodetree;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

static_assert(sizeof(Node) == sizeof(::node *) && sizeof(View) == sizeof(::node *));
static_assert(!std::is_copy_constructible_v<Node> && !std::is_copy_assignable_v<Node>);
static_assert(std::is_nothrow_move_constructible_v<Node> &&
              std::is_trivially_copyable_v<View>);
static_assert(!std::is_convertible_v<::node *, Node> &&
              !std::is_convertible_v<::node *, View>);

std::string text(std::string_view view) {
  return std::string(view);
}

std::string json(View n) {
  return n ? text(n.to_json()) : "nothing";
}

unsigned references(View n) {
  return n.get()->refcount;
}

// What owners hold after std::move() is a part of what is tested.
// NOLINTBEGIN(bugprone-use-after-move)

// What is released twice or never shows under AddressSanitizer and valgrind.
TEST(Owner, MovesAndReleasesOnce) {
  Node a = Node::integer(1), b = std::move(a);
  EXPECT_EQ(json(a) + json(b), "nothing1");
  b = Node::integer(2);
  Node &same = b;
  b = std::move(same);
  a = Node::adopt(b.release());
  EXPECT_EQ(json(a) + json(b), "2nothing");
  a.reset();
  EXPECT_FALSE(a);

  Bytes bytes = Bytes::adopt(strdup("abc"), 3);
  const Bytes taken = std::move(bytes);
  EXPECT_EQ(bytes.size(), 0U);
  EXPECT_EQ(std::string_view(taken), "abc");
  EXPECT_EQ(std::string_view(Text()), "");
}

TEST(Owner, ContainersTakeChildrenOverOrLeaveThem) {
  const Node object = Node::object(), array = Node::array();
  Node child = Node::string("x"), kept = Node::integer(2);
  EXPECT_TRUE(object.add("a", std::move(child)));
  EXPECT_FALSE(child);
  EXPECT_FALSE(object.add("a", std::move(kept)) || object.append(std::move(kept)) ||
               array.add("a", std::move(kept)) || object.add("b", Node()));
  EXPECT_TRUE(array.append(std::move(kept)) && array.prepend(Node::null()) &&
              object.add("array", array.share()));
  EXPECT_EQ(json(object), R"({"a":"x","array":[null,2]})");
  object.del("a");
  object.del("none");
  array.del(0);
  EXPECT_EQ(json(object), R"({"array":[2]})");
  array.clear();
  EXPECT_TRUE(array.is_array() && array.empty());
  array.set_null();
  EXPECT_EQ(json(object), R"({"array":null})");
}

TEST(Owner, ShareAndDetach) {
  Node tree = Node::from_json(R"({"a":{"b":1},"c":2})");
  const Node shared = tree["a"].share();
  EXPECT_EQ(references(shared), 2U);
  EXPECT_FALSE(tree.detach() || View().detach());
  const Node c = tree["c"].detach();
  EXPECT_EQ(references(c), 1U);
  tree["a"]["b"].detach();
  { const Node dropped = tree["a"].share(); } // an owner leaves the node in its container
  EXPECT_EQ(json(tree), R"({"a":{}})");
  tree.reset();
  EXPECT_EQ(references(shared), 1U);
  EXPECT_FALSE(shared.parent());
}

TEST(Owner, MergeTakesTheSourceWhereverItStands) {
  const Node target = Node::from_json(R"({"a":1,"o":{"x":1}})");
  EXPECT_TRUE(target.merge(Node::from_json(R"({"a":2,"b":[3]})")));
  const Node other = Node::from_json(R"({"part":{"o":{"y":"text"}}})");
  const Node witness = other["part"].share();
  Node part = other["part"].share();
  EXPECT_TRUE(target.merge(std::move(part)));
  EXPECT_FALSE(part);
  EXPECT_EQ(json(other), "{}");
  EXPECT_EQ(references(witness), 1U);
  EXPECT_EQ(json(target), R"({"a":2,"o":{"x":1,"y":"text"},"b":[3]})");

  Node inside = target["o"].share(), self = target.share();
  EXPECT_FALSE(target.merge(std::move(inside)) || target["o"].merge(std::move(self)) ||
               target.merge(std::move(self)) || target.merge(Node()));
  EXPECT_TRUE(inside && self);
  EXPECT_EQ(references(target), 2U);
}

TEST(Views, ReadAndFind) {
  const Node tree = Node::from_json(R"({"i":7,"r":0.5,"b":true,"s":"","a":[1,[2]]})");
  EXPECT_TRUE(tree["i"].get_integer() == 7 && tree["r"].get_real() == 0.5 &&
              tree["b"].get_boolean());
  EXPECT_NE(tree["s"].get_string().data(), nullptr);
  EXPECT_EQ(tree["i"].get_string().data(), nullptr);
  EXPECT_EQ(json(tree["a"][1].lookup("0")), "2");
  EXPECT_EQ(json(tree["a"].lookup_sl(StringList{"", "a", "0"})), "1");
  EXPECT_EQ(text(tree.lookup("a/1/0").path()), "/a/1/0");
  EXPECT_TRUE(tree["a"].key() == "a" && tree["a"].type() == NODE_ARRAY);
  EXPECT_EQ(tree.key().data(), nullptr);
  EXPECT_EQ(tree["a"][0].root().get(), tree.get());
  EXPECT_FALSE(tree["none"]["deeper"][0].lookup("/x").get_child("y"));
  EXPECT_TRUE(tree["none"].lookup_glob("*").empty());

  const View made = tree.lookup_create("/new/path");
  EXPECT_TRUE(made.parent().add("link", Node::link(StringList{"", "i"})));
  EXPECT_EQ(json(tree.lookup("/new/link").follow_link()), "7");
  EXPECT_EQ(tree.lookup("/new/link").get_link_path().size(), 2U);
  EXPECT_EQ(json(tree["new"].copy(CopyLinks::omit)), R"({"path":{}})");
  EXPECT_TRUE(tree["new"].clone()["link"].is_link());
  EXPECT_TRUE(tree["new"].copy(CopyLinks::follow)["link"].is_integer());
}

TEST(Views, Ranges) {
  const Node tree = Node::from_json(R"({"a":1,"b":[10,20,30],"c":{}})");
  std::string seen;
  for (auto [key, value] : tree.members())
    seen += text(key) + "=" + json(value) + ";";
  for (View v : tree["b"].elements())
    seen += json(v) + ";";
  for (View v : tree.leaves())
    seen += text(v.path()) + ";";
  for (View v : tree["b"].leaves()) // goes no further
    seen += json(v) + ";";
  for (View v : tree.lookup_glob("/b/*"))
    seen += json(v) + ";";
  EXPECT_EQ(seen, "a=1;b=[10,20,30];c={};10;20;30;/;/a;/b/0;/b/1;/b/2;/c;"
                  "[10,20,30];10;20;30;10;20;30;");

  const auto count = [](auto range) { return std::distance(range.begin(), range.end()); };
  EXPECT_EQ(count(tree.elements()) + count(tree["b"].members()) +
                count(tree["a"].children()) + count(View().members()),
            0);
  EXPECT_EQ(count(tree.children()) + count(tree["b"].children()), 6);

  const Node kept = Node::array(); // the current child may go
  for (View v : tree["b"].elements())
    if (v.get_integer() != 20) {
      EXPECT_TRUE(kept.append(v.detach()));
    }
  EXPECT_EQ(json(tree["b"]) + json(kept), "[20][10,30]");
}

TEST(Texts, OfEveryKindNameTheSame) {
  const Node tree = Node::object();
  for (const std::size_t size : {0U, 1U, 127U, 128U, 5000U}) {
    const std::string name(size, 'k'), longer = name + "tail";
    const std::string_view part = std::string_view(longer).substr(0, size);
    ASSERT_TRUE(tree.add(part, Node::integer(std::int64_t(size)))) << size;
    for (const View found : {tree[part], tree[name], tree[name.c_str()]})
      EXPECT_EQ(json(found), std::to_string(size));
  }
  EXPECT_TRUE(tree[std::string_view()]);
  EXPECT_FALSE(tree[static_cast<const char *>(nullptr)]);
}

// A text with a NUL is not taken for what stands before the NUL.
TEST(Texts, WithANulNameNothing) {
  const Node tree = Node::from_json(R"({"a":1,"":2})");
  EXPECT_FALSE(tree["a\0b"s] || tree.lookup("a\0b"sv) || Node::read_json("\0"sv));
  EXPECT_FALSE(tree.add("c\0"sv, Node::null()) || tree.equals_json("null\0"sv));
  tree.del("a\0b"sv);
  EXPECT_EQ(json(tree), R"({"a":1,"":2})");
  EXPECT_EQ(json(Node::string("a\0b"sv)) + json(Node::string({})), R"("a""")");
  EXPECT_FALSE(Node::from_json({}) || Node::from_json("1\0"sv) || Node::from_msgpack({}));
}

TEST(Lists, OwnAndIterate) {
  StringList list{"b", "a"};
  EXPECT_TRUE(list.append(std::string_view("cc").substr(1)));
  EXPECT_FALSE(list.append(nullptr));
  list.sort();
  const StringList moved = std::move(list);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(text(moved.join(",")), "a,b,c");
  EXPECT_EQ(std::vector<std::string_view>(moved.begin(), moved.end()),
            (std::vector<std::string_view>{"a", "b", "c"}));
  EXPECT_TRUE(moved.contains("b") && moved.equals(moved.copy()) &&
              moved.equals(StringList::split("a:b:c", ':')));
  const StringList nothing, empty = StringList::adopt(_sl_new(nullptr));
  EXPECT_TRUE(nothing.begin() == nothing.end() && empty.begin() == empty.end());

  int one = 1, two = 2, sum = 0;
  for (const int *value : ValueList<int *>::adopt(vl_new(&one, &two)))
    sum += *value;
  EXPECT_EQ(sum, 3);
}

TEST(Trees, FilterDifferenceEquality) {
  const Node from = Node::from_json(R"({"a":1,"b":2,"c":3})");
  const Node to = from.clone();
  EXPECT_TRUE(from.equals(to) && to.equals_json(R"({"c":3,"b":2,"a":1})"));
  StringList removed{"before"};
  to.filter(StringList{"/a", "/b"}, StringList{"/b"}, &removed);
  EXPECT_EQ(text(removed.join(" ")), "before /c /b");
  EXPECT_EQ(json(from.diff(to)), R"({"b":null,"c":null})");
  to.filter({});
  EXPECT_EQ(json(to), R"({"a":1})");
}

TEST(Trees, EvaluationGivesAReferenceAndAMessage) {
  const Node context = Node::from_json(R"({"port":80})");
  Text error = Text::adopt(strdup("old"));
  const Node port = Node::from_json(R"(["get","/port"])").eval(context, &error);
  EXPECT_FALSE(error);
  EXPECT_TRUE(references(port) == 2 && port.coerce_bool());
  EXPECT_FALSE(Node::from_json(R"(["frob"])").eval({}, &error));
  EXPECT_NE(text(error).find("frob"), std::string::npos);
  EXPECT_FALSE(Node::from_json(R"(["frob"])").eval({}));
}

TEST(Codecs, RoundTrips) {
  const Node tree = Node::from_json(R"({"a":[1,"x"]})");
  const std::string two = text(tree.to_msgpack()) + text(tree.to_msgpack());
  std::size_t used = 0;
  EXPECT_TRUE(Node::from_msgpack(two, &used).equals(tree));
  EXPECT_EQ(used * 2, two.size());
  const std::string file = testing::TempDir() + "nodetree_hpp_test.json";
  EXPECT_TRUE(tree.write_json(file, false));
  EXPECT_TRUE(Node::read_json(file).equals(tree));
  std::remove(file.c_str());
}

struct Counter {
  int *calls;
  Node last;
  void operator()(Node value) {
    ++*calls;
    last = std::move(value);
  }
};

TEST(Streams, CallWhatTheyOwnOrRefer) {
  int calls = 0;
  NodeStream owning(NODE_STREAM_JSON, Counter{&calls, {}});
  EXPECT_TRUE(owning.decode("{\"a\":") && owning.decode("1}[2] ") && owning.decode({}));
  EXPECT_EQ(calls, 2);
  Counter counter{&calls, {}};
  NodeStream referring(NODE_STREAM_MSGPACK, counter);
  EXPECT_TRUE(referring.decode("\x01\x02"));
  EXPECT_EQ(json(counter.last), "2");
  EXPECT_TRUE(referring.decode("\xc4\x01x"sv));
  EXPECT_FALSE(counter.last); // no node form
  EXPECT_FALSE(referring.decode("\xc1") || referring.decode("\x01"));
  EXPECT_EQ(calls, 5);
}

// And cannot be fed by what they call.
TEST(Streams, AnswerInKind) {
  for (const auto bytes : {"{\"a\":1}{\"b\":[1]}"sv, "\x81\xa1\x61\x01\x80"sv}) {
    std::string answers;
    NodeStream stream(NODE_STREAM_AUTO, [&answers](Node value, auto &self) {
      EXPECT_FALSE(self.decode("{}"));
      answers += text(self.encode(value));
    });
    EXPECT_FALSE(stream.encode(Node::null()));
    EXPECT_TRUE(stream.decode(bytes));
    EXPECT_EQ(answers, bytes);
    EXPECT_NE(stream.get_format(), NODE_STREAM_AUTO);
  }
}

// NOLINTEND(bugprone-use-after-move)

} // namespace
