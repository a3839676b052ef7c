// The C++ face: ownership, borrowing, conversions and callbacks.
#include <nodetree.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <unordered_set>
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
std::string text(const Text &owner) {
  return owner.str();
}

template <class N>
std::string json(const N &n) {
  return n ? n.to_json().str() : "nothing";
}

unsigned references(View n) {
  return n.get()->refcount;
}

// The state of owners after std::move() is tested. NOLINTBEGIN(bugprone-use-after-move)

// AddressSanitizer and valgrind detect double releases and leaks.
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
  EXPECT_TRUE(Text() == "" && "" == Text() && !Text());
}

TEST(Owner, ContainersTakeChildrenOverOrLeaveThem) {
  Node object = Node::object(), array = Node::array();
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
  Node shared = tree["a"].share();
  EXPECT_EQ(references(shared), 2U);
  EXPECT_FALSE(tree.detach() || Ref().detach());
  const Node c = tree["c"].detach();
  EXPECT_EQ(references(c), 1U);
  tree["a"]["b"].detach();
  { const Node dropped = tree["a"].share(); } // an owner leaves the node in its container
  EXPECT_EQ(json(tree), R"({"a":{}})");
  tree.reset();
  EXPECT_EQ(references(shared), 1U);
  EXPECT_FALSE(shared.parent());
}

TEST(Owner, MergeTakesTheSourceOutOfItsContainer) {
  Node target = Node::from_json(R"({"a":1,"o":{"x":1}})");
  EXPECT_TRUE(target.merge(Node::from_json(R"({"a":2,"b":[3]})")));
  Node other = Node::from_json(R"({"part":{"o":{"y":"text"}}})");
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
  Node tree = Node::from_json(R"({"i":7,"r":0.5,"b":true,"s":"","a":[1,[2]]})");
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

  Ref made = tree.lookup_create("/new/path");
  EXPECT_TRUE(made.parent().add("link", Node::link(StringList{"", "i"})));
  EXPECT_EQ(json(tree.lookup("/new/link").follow_link()), "7");
  EXPECT_EQ(tree.lookup("/new/link").get_link_path().size(), 2U);
  EXPECT_EQ(json(tree["new"].copy(CopyLinks::omit)), R"({"path":{}})");
  const Node kept = tree["new"].clone(), followed = tree["new"].copy(CopyLinks::follow);
  EXPECT_TRUE(kept["link"].is_link() && followed["link"].is_integer());
}

TEST(Views, Ranges) {
  Node tree = Node::from_json(R"({"a":1,"b":[10,20,30],"c":{}})");
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
  EXPECT_EQ(seen, "a=1;b=[10,20,30];c={};10;20;30;/a;/b/0;/b/1;/b/2;/c;"
                  "10;20;30;10;20;30;");

  const auto count = [](auto range) { return std::distance(range.begin(), range.end()); };
  EXPECT_EQ(count(tree.elements()) + count(tree["b"].members()) +
                count(tree["a"].children()) + count(View().members()),
            0);
  EXPECT_EQ(count(tree.children()) + count(tree["b"].children()), 6);

  Node kept = Node::array(); // the current child may go
  for (Ref v : tree["b"].elements())
    if (v.get_integer() != 20) {
      EXPECT_TRUE(kept.append(v.detach()));
    }
  EXPECT_EQ(json(tree["b"]) + json(kept), "[20][10,30]");
}

// Every question and change on a view without a node.
TEST(Views, WithoutANodeAnswerAndRefuse) {
  Node tree = Node::object(), none;
  Ref n = tree["none"]["deeper"][0][-1];
  EXPECT_FALSE(n || n.is_null() || n.is_container() || n.coerce_bool() || n.get_boolean());
  EXPECT_TRUE(n.type() == no_type && n.empty() && !n.key().data() && !n.c_str());
  EXPECT_EQ(n.get_integer() + int(n.get_real()) + int(n.prepare_diff_hash()), 0);
  EXPECT_STREQ(n.type_to_string(), "nothing");
  EXPECT_FALSE(n.path() || n.to_json() || n.to_msgpack() || n.write_json("/dev/null"));
  EXPECT_FALSE(n.parent() || n.root() || n.follow_link() || n.try_follow_link() ||
               n.lookup_create("/a") || n.lookup(".") || n.share() || n.detach() ||
               n.clone() || n.get_link_path() || n.eval(tree));
  EXPECT_FALSE(n.add("a", 1) || n.append(1) || n.prepend(1) || n.set("a", 1) ||
               n.set_member("a", 1) || n.insert_at(0, 1) || n.replace("a", 1) ||
               n.replace(0, 1) || n.assign(1) || n.merge(Node::of(1)) || none.assign(1));
  n.del("a");
  n.del(0);
  n.clear();
  n.set_null();
  n.filter(StringList{"/a"});
  n.move_children(tree);
  tree.move_children(n);
  EXPECT_TRUE(n.leaves().empty() && n.walk().empty() && n == n && n != tree && n != 0);
  EXPECT_TRUE(n.equals(none) && n.diff(none) == none && !n.value<int>());
  EXPECT_TRUE(n.value_or("x") == "x" && none.value_or(7) == 7);
}

TEST(Values, AreConvertedWhereTheyFit) {
  const Node n = Node::from_json(R"([300, -1, 2.0, 2.5, 1e19, 1e300, true, "text", null])");
  EXPECT_TRUE(n[0].value<int>() == 300 && !n[0].value<std::uint8_t>());
  EXPECT_TRUE(n[1].value<std::int8_t>() == -1 && !n[1].value<std::uint64_t>());
  EXPECT_TRUE(n[2].value<unsigned>() == 2U && !n[3].value<int>() && n[3] == 2.5);
  EXPECT_TRUE(!n[4].value<std::int64_t>() &&
              n[4].value<std::uint64_t>() == 10000000000000000000U);
  EXPECT_TRUE(n[0].value<double>() == 300.0 && !n[5].value<float>() && n[5] == 1e300);
  EXPECT_TRUE(n[6] == true && !n[6].value<int>() && !n[0].value<bool>());
  EXPECT_TRUE(n[7] == "text" && "text"s == n[7] && n[7] != "tex" &&
              n[7].value<std::string>() == "text");
  EXPECT_TRUE(n[8].value_or(4) == 4 && n[7].value_or("x") == "text" &&
              n[0].value_or("x"s) == "x");
  EXPECT_TRUE(n[3].value_or(1) == 1 && n[3].value_or(1.5) == 2.5 && n[6].value_or(false));
  EXPECT_FALSE(Node::integer(std::uint64_t{1} << 63) || Node::real(INT64_MAX) ||
               Node::of(~0ULL));
}

TEST(Values, AreMadeOfListsInBraces) {
  const Node config{
      {"port", 8080}, {"tags", {1, "b", nullptr, true, 0.5}}, {"tls", {{"on", false}}}};
  EXPECT_EQ(json(config),
            R"({"port":8080,"tags":[1,"b",null,true,0.5],"tls":{"on":false}})");
  EXPECT_EQ(json(Node::array({{"a", 1}, {"b", 2}})) + json(Node::of({{1, 2}, {"a", 1}})),
            R"([["a",1],["b",2]][[1,2],["a",1]])");
  EXPECT_FALSE(Node({{"a", 1}, {"a", 2}}) || Node::of({1, Node()}) ||
               Node::of({{"a", {static_cast<const char *>(nullptr)}}}));
  const std::vector<std::vector<bool>> bits{{true}, {}};
  const std::map<std::string, int> map{{"a", 1}, {"b", 2}};
  EXPECT_EQ(json(Node::of({bits, map, StringList{"x"}})),
            R"([[[true],[]],{"a":1,"b":2},["x"]])");
  EXPECT_FALSE(Node::of(std::vector<const char *>{"a", nullptr}));
  Node moved = Node::of(1), whole{std::move(moved)};
  EXPECT_TRUE(whole == 1 && !moved);
}

TEST(Values, AreSetInTheirPlace) {
  Node tree = Node::from_json(R"({"a":{"x":1},"b":[1,2],"c":"text"})");
  const Node witness = tree["b"].share();
  EXPECT_TRUE(tree.set("a", {{"y", 2}}) && tree.set("/b", {3}) && tree.set("d/e", nullptr));
  EXPECT_TRUE(tree.set_member("d/e", 1) && tree.set_member("c", "new") &&
              tree.replace("b/0", 4));
  EXPECT_TRUE(tree["b"].append({5}) && tree["b"].insert_at(1, "six") &&
              tree["b"].insert_at(3, 7) && tree["b"].insert_at(0, Node::object()) &&
              tree["b"].replace(3, "eight"));
  EXPECT_EQ(json(tree),
            R"({"a":{"y":2},"b":[{},4,"six","eight",7],"c":"new","d":{"e":null},"d/e":1})");
  EXPECT_TRUE(witness == tree["b"] && tree.lookup("b/4").path() == "/b/4");

  Node kept = Node::of({1}), self = tree.share(), number = Node::of(1),
       same = number.share();
  EXPECT_FALSE(
      tree.replace("none", std::move(kept)) || tree["b"].replace(9, std::move(kept)) ||
      tree["b"].insert_at(9, std::move(kept)) || tree.set("c/x", std::move(kept)) ||
      tree["b"].insert_at(-1, 1) || tree.add("a", 1) || tree.set("x", ~0ULL));
  EXPECT_FALSE(tree["b"].assign(std::move(self)) || tree.set("a", std::move(self)) ||
               tree["b"].append(std::move(self)) || number.assign(std::move(same)));
  EXPECT_TRUE(kept && self && same && json(tree) == json(self) && !tree["x"]);
  EXPECT_TRUE(tree["c"].assign(Node::link(StringList{"", "a"})) &&
              tree["c"].follow_link() == tree["a"]);
}

#if defined(__cpp_lib_ranges)
template <class R>
constexpr bool is_view = std::ranges::forward_range<R> &&std::ranges::view<R>;
static_assert(is_view<decltype(View().members())> && is_view<decltype(Ref().elements())> &&
              is_view<decltype(Ref().leaves())> && is_view<decltype(View().walk())> &&
              is_view<Strings>);
#endif

TEST(Texts, OfEveryTypeNameTheSameMember) {
  Node tree = Node::object();
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

// A text with a NUL is not cut at the NUL.
TEST(Texts, WithANulNameNothing) {
  Node tree = Node::from_json(R"({"a":1,"":2})");
  EXPECT_FALSE(tree["a\0b"s] || tree.lookup("a\0b"sv) || Node::read_json("\0"sv));
  EXPECT_FALSE(tree.add("c\0"sv, Node::null()) || tree.equals_json("null\0"sv));
  tree.del("a\0b"sv);
  EXPECT_EQ(json(tree), R"({"a":1,"":2})");
  EXPECT_FALSE(Node::string("a\0b"sv) || tree.set("c", "a\0b"sv));
  EXPECT_EQ(json(Node::string(std::string_view())), R"("")");
  EXPECT_FALSE(Node::from_json(nullptr) || Node::from_json("1\0"sv) ||
               Node::from_msgpack(nullptr));
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

// If every step climbed to the root, this would take minutes.
TEST(Views, WalkInLinearTime) {
  Node top = Node::array();
  Ref at = top;
  for (int depth = 0; depth < 10000; depth++) {
    ASSERT_TRUE(at.append(Node::array()));
    at = at[0];
  }
  for (int i = 0; i < 100000; i++)
    ASSERT_TRUE(at.append(i));
  std::int64_t sum = 0;
  for (const View v : top.leaves())
    sum += v.value_or(0);
  EXPECT_EQ(sum, 4999950000);

  const Node tree = Node::from_json(R"({"a":[1,{}],"b":null})");
  std::string seen;
  for (const auto &[v, entering, depth] : tree.walk())
    seen += (entering ? "+" : "-") + std::to_string(depth) + text(v.key());
  EXPECT_EQ(seen, "+0+1a+20+21-21-1a+1b-0");
  const auto leaves = tree.leaves();
  EXPECT_EQ(
      std::find_if(leaves.begin(), leaves.end(), [](View v) { return v.is_null(); })->key(),
      "b");
}

TEST(Trees, GoToStreamsAndHashes) {
  const Node n = Node::from_json(R"({"a":[1,{"b":-0.0}],"c":"x"})"),
             same = Node::from_json(R"({"c":"x","a":[1,{"b":0.0}]})");
  std::ostringstream out;
  out << n["a"] << '|' << n["none"] << '|' << n.path();
  EXPECT_EQ(out.str(), R"([1,{"b":-0.0}]||/)");
  EXPECT_FALSE(out << Node::real(std::numeric_limits<double>::infinity()));
  const std::unordered_set<View> set{n};
  EXPECT_TRUE(n == same && set.count(same) == 1 && set.count(n["a"]) == 0);
}

TEST(System, OwnersReleaseTheirResources) {
  const std::string file = testing::TempDir() + "nodetree_hpp_system";
  {
    FileLock lock = FileLock::write(file), moved = FileLock::write(file + "2");
    moved = std::move(lock);
    EXPECT_TRUE(moved && !lock && file_read_is_locked(file.c_str()));
    EXPECT_FALSE(file_read_is_locked((file + "2").c_str()) ||
                 std::remove((file + "2").c_str()));
    const pid_t sharing = fork(); // and so holding the lock, until it is released
    if (sharing == 0)
      pause();
    moved.unlock();
    EXPECT_FALSE(file_read_is_locked(file.c_str()) || kill(sharing, SIGKILL));
    EXPECT_EQ(process_wait(sharing), -SIGKILL);
  }
  EXPECT_FALSE(file_read_is_locked(file.c_str()) || Mapping(file));
  EXPECT_TRUE(file_write_string(file.c_str(), "mapped"));
  Mapping mapping(file), moved(file);
  moved = std::move(mapping);
  EXPECT_EQ(std::string_view(moved), "mapped");
  EXPECT_FALSE(mapping || std::remove(file.c_str()));

  StringStream stream = StringStream::open();
  std::fputs("text", stream.file());
  EXPECT_EQ(stream.view(), "text");
  EXPECT_EQ(stream.take(), "text");
  EXPECT_FALSE(stream.take() || StringStream().file());

  Child cat(StringList{"cat"}, {true, true, false}), idle = std::move(cat);
  EXPECT_EQ(write(idle.in(), "ab", 2), 2);
  idle.close_in();
  char got[4];
  EXPECT_EQ(read(idle.out(), got, sizeof got), 2);
  EXPECT_EQ(idle.wait(), 0);
  EXPECT_FALSE(idle || cat || Child(StringList()));
  const Child ended(StringList{"cat"}, {true, false, false}); // by the end of its input
}

TEST(Trees, FilterDifferenceEquality) {
  const Node from = Node::from_json(R"({"a":1,"b":2,"c":3})");
  Node to = from.clone();
  EXPECT_TRUE(from.equals(to) && to.equals_json(R"({"c":3,"b":2,"a":1})"));
  StringList removed{"before"};
  to.filter(StringList{"/a", "/b"}, StringList{"/b"}, &removed);
  EXPECT_EQ(text(removed.join(" ")), "before /c /b");
  EXPECT_EQ(json(from.diff(to)), R"({"b":null,"c":null})");
  to.filter({});
  EXPECT_EQ(json(to), R"({"a":1})");
}

TEST(Results, AreANodeOrAReason) {
  const Node context = Node::from_json(R"({"port":80})");
  const auto port = Node::from_json(R"(["get","/port"])").eval(context);
  EXPECT_TRUE(port && *port == 80 && *port.reason() == 0);
  EXPECT_TRUE(references(*port) == 2 && port->coerce_bool());
  const auto unknown = eval(Node::of({"frob"}), View());
  EXPECT_NE(std::string(unknown.reason()).find("frob"), std::string::npos);
  const auto nothing = eval(Node::of({"get", "/a"}), View());
  EXPECT_STREQ(nothing.reason(), "the expression gives no value");

  const auto fault = [](std::string_view given) {
    const auto result = parse_json(given);
    return result ? json(*result) : result.reason();
  };
  for (const auto &[given, answer] : {
           std::pair("{\"a\": [1,\n  2 3]}"s, "line 2, column 5: syntax error"s),
           {"{\"a\": 1, \"a\": 2}", "line 1, column 15: repeated name"},
           {R"([{"\\":0, "\\" : "\""}])", "line 1, column 21: repeated name"},
           {"{} x", "line 1, column 4: more than one value"},
           {"1 \n{}", "line 2, column 1: more than one value"},
           {"[1, ", "line 1, column 5: the text ends too early"},
           {"\"a", "line 1, column 3: the text ends too early"},
           {"[] /* a", "line 1, column 8: the text ends too early"},
           {" ", "no value"},
           {"42", "42"},
       })
    EXPECT_EQ(fault(given).substr(0, answer.size()), answer);
  const auto missing = read_json("/nowhere");
  EXPECT_STREQ(missing.reason(), "/nowhere: No such file or directory");
  for (const auto &[given, answer] : {
           std::pair("\x92\x01\xc0"s, "[1,null]"s),
           {"\x92\x01", "not a whole message, or a value that no node can hold"},
           {"\x01\x02", "there are bytes behind the message"},
           {"", "no bytes"},
       }) {
    const auto result = parse_msgpack(given);
    EXPECT_EQ(result ? json(*result) : result.reason(), answer);
  }
  Node tree = *parse_json("[1]");
  EXPECT_EQ(json(tree), "[1]");
}

TEST(Codecs, RoundTrips) {
  const Node tree = Node::from_json(R"({"a":[1,"x"]})");
  const std::string two = tree.to_msgpack().str() + tree.to_msgpack().str();
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

TEST(Streams, CallOwnedAndReferencedCallbacks) {
  int calls = 0;
  NodeStream owning(NODE_STREAM_JSON, Counter{&calls, {}});
  EXPECT_TRUE(owning.decode("{\"a\":") && owning.decode("1}[2] ") && owning.decode(""));
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

TEST(Streams, DetectInputThatEndsInsideAValue) {
  for (const auto format : {NODE_STREAM_JSON, NODE_STREAM_MSGPACK}) {
    const bool json = format == NODE_STREAM_JSON;
    const auto whole = json ? std::vector{""s, "1"s, "[2] "s, "{} // x"s}
                            : std::vector{""s, "\x01"s, "\xc0"s},
               part = json ? std::vector{"["s,       "[1"s,   "\"a"s, "tru"s,
                                         "{\"a\":"s, "1 /*"s, "]"s}
                           : std::vector{"\x91"s, "\xcc"s, "\xc4\x01"s, "\xa1"s, "\xc1"s};
    for (const auto &texts : {whole, part})
      for (const std::string &bytes : texts) {
        NodeStream stream(format, [values = 0](const Node &, auto &self) mutable {
          EXPECT_TRUE(++values == 1 && !self.finish());
        });
        const bool fed = stream.decode(bytes);
        EXPECT_EQ(stream.finish(), texts == whole) << bytes << fed;
        EXPECT_EQ(stream.finish(), texts == whole);
        EXPECT_FALSE(stream.decode("1"));
      }
  }
  NodeStream unused(NODE_STREAM_AUTO, [](const Node &) {});
  EXPECT_TRUE(unused.finish());
}

// A callback cannot feed its own stream.
TEST(Streams, AnswerInTheSameFormat) {
  for (const auto bytes : {"{\"a\":1}{\"b\":[1]}"sv, "\x81\xa1\x61\x01\x80"sv}) {
    std::string answers;
    NodeStream stream(NODE_STREAM_AUTO, [&answers](Node value, auto &self) {
      EXPECT_FALSE(self.decode("{}"));
      answers += self.encode(value).str();
    });
    EXPECT_FALSE(stream.encode(Node::null()));
    EXPECT_TRUE(stream.decode(bytes));
    EXPECT_EQ(answers, bytes);
    EXPECT_NE(stream.get_format(), NODE_STREAM_AUTO);
  }
}

// NOLINTEND(bugprone-use-after-move)

} // namespace
