// Every function that allocates, with each of its allocations failing in turn: nothing
// leaks (for_each_failure() sees to that), arguments are as they were, and the result is
// either the right one or the failure that the function's comment names.
#include "fault.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <nodetree.h>
#include <string>
#include <unistd.h>

namespace {

using fault::for_each_failure;
using fault::Granted;

struct Free {
  void operator()(void *block) const { free(block); }
  void operator()(char **list) const { sl_free(list); }
  void operator()(void **list) const { vl_free(list, nullptr); }
  void operator()(node *n) const { node_free(n); }
};
using Text = std::unique_ptr<char, Free>;
using StringList = std::unique_ptr<char *, Free>;
using ValueList = std::unique_ptr<void *, Free>;
using Tree = std::unique_ptr<node, Free>;

// A string list that needs nothing of the library, and the way back.
char **list_of(std::initializer_list<const char *> strings) {
  auto **list = static_cast<char **>(calloc(strings.size() + 1, sizeof(char *)));
  char **end = list;
  for (const char *string : strings) {
    *end++ = strdup(string);
  }
  return list;
}

std::string joined(char *const *list) {
  std::string text;
  for (; list != nullptr && *list != nullptr; ++list) {
    text += std::string(*list) + ' ';
  }
  return text;
}

Tree tree_of(const char *json) {
  const Granted granted;
  return Tree(json_parse_string(json));
}

std::string json_of(const node *n) {
  const Granted granted;
  const Text text(json_stringify(n, true));
  return text ? text.get() : "(no text)";
}

// The result is `expected`, or missing because an allocation failed.
void expect_text(const char *result, const char *expected) {
  if (result != nullptr || !fault::injected()) {
    EXPECT_STREQ(result, expected);
  }
}

void expect_list(char *const *result, const char *expected) {
  if (result != nullptr || !fault::injected()) {
    EXPECT_EQ(joined(result), expected);
  }
}

TEST(Fault, StringsAreMadeOrNot) {
  for_each_failure(
      [] { expect_text(Text(string_printf("%s-%d", "port", 1)).get(), "port-1"); });
  for_each_failure([] { expect_text(Text(path_dirname("/a/b")).get(), "/a"); });
  for_each_failure([] { expect_text(Text(path_normalize("/a//b/../c")).get(), "/a/c"); });
}

TEST(Fault, ReplaceKeepsTheStringItCannotGrow) {
  for (const char *find : {"b", "abc"}) {
    for_each_failure([find] {
      char *string = strdup("abc");
      char *result = string_replace(string, find, "a rather longer text");
      if (result == nullptr) {
        EXPECT_TRUE(fault::injected());
        EXPECT_STREQ(string, "abc");
        result = string;
      }
      free(result);
    });
  }
  for_each_failure(
      [] { // shorter: a block that cannot be cut down is no failure
        const Text result(string_replace(strdup("abc"), "bc", "x"));
        EXPECT_STREQ(result.get(), "ax");
      },
      0);
}

TEST(Fault, StringListsGrowOrStay) {
  using Grow = char **(*)(char **);
  const struct {
    Grow grow;
    const char *grown;
  } cases[] = {
      {[](char **list) { return _sl_append(list, "c", "d", nullptr); }, "a b c d "},
      {[](char **list) {
         const char *more[] = {"c", nullptr, "d"};
         return sl_appendn(list, more, 3);
       },
       "a b c d "},
      {[](char **list) { return sl_append_printf(list, "%s%d", "c", 1); }, "a b c1 "},
  };
  for (const auto &row : cases) {
    for_each_failure([&row] {
      char **list = list_of({"a", "b"});
      char **result = row.grow(list);
      if (joined(result) != row.grown) { // failed, and the old list is the caller's still
        EXPECT_TRUE(fault::injected());
        EXPECT_TRUE(result == nullptr || result == list) << joined(result);
        EXPECT_EQ(joined(list), "a b ");
        result = list;
      }
      sl_free(result);
    });
    for_each_failure([&row] { // from nothing
      expect_list(StringList(row.grow(nullptr)).get(), row.grown + strlen("a b "));
    });
  }
}

TEST(Fault, StringListsAreMadeOrNot) {
  using Make = char **(*)(char *const *);
  const struct {
    Make make;
    const char *made;
  } cases[] = {
      {[](char *const *) { return _sl_new("x", "y", nullptr); }, "x y "},
      {[](char *const *) { return sl_split("x/y/z", '/'); }, "x y z "},
      {[](char *const *list) { return sl_copy(list); }, "a b c "},
      {[](char *const *list) { return sl_copyn(list, 2); }, "a b "},
  };
  const StringList list(list_of({"a", "b", "c"}));
  for (const auto &row : cases) {
    for_each_failure(
        [&] {
          expect_list(StringList(row.make(list.get())).get(), row.made);
          EXPECT_EQ(joined(list.get()), "a b c ");
        },
        2);
  }
  for_each_failure([&] { expect_text(Text(sl_join(list.get(), "/")).get(), "a/b/c"); });
}

TEST(Fault, ListsAreJoinedOrBothStay) {
  for_each_failure([] {
    char **a = list_of({"a"});
    char **b = list_of({"b"});
    char **result = sl_concat(a, b);
    expect_list(result, "a b ");
    if (result == nullptr) {
      EXPECT_EQ(joined(a) + joined(b), "a b ");
      sl_free(b);
      result = a;
    }
    sl_free(result);
  });
  int x = 0;
  int y = 0;
  for_each_failure([&] {
    const auto list_with = [](int *element) {
      const Granted granted;
      return vl_new(element);
    };
    void **a = list_with(&x);
    void **b = list_with(&y);
    void **result = vl_concat(a, b);
    if (result == nullptr) {
      EXPECT_TRUE(fault::injected());
      EXPECT_TRUE(vl_len(a) == 1 && a[0] == &x && vl_len(b) == 1 && b[0] == &y);
      vl_free(b, nullptr);
      result = a;
    } else {
      EXPECT_TRUE(vl_len(result) == 2 && result[0] == &x && result[1] == &y);
    }
    vl_free(result, nullptr);
  });
}

TEST(Fault, SliceAndReverseNeverLoseStrings) {
  for_each_failure(
      [] {
        StringList list(sl_slice(list_of({"a", "b", "c", "d"}), 1, 3));
        expect_list(list.get(), "b c ");
        list.reset(list_of({"a", "b"}));
        sl_reverse(list.get());
        EXPECT_TRUE(joined(list.get()) == "b a " || fault::injected());
        EXPECT_EQ(sl_len(list.get()), 2U);
      },
      0);
}

TEST(Fault, ValueListsGrowOrStay) {
  int slots[3] = {};
  void *elements[] = {&slots[0], &slots[1], &slots[2]};
  const auto expect_first = [&](void **list, size_t count) {
    ASSERT_EQ(vl_len(list), count);
    EXPECT_TRUE(list == nullptr || memcmp(list, elements, count * sizeof *list) == 0);
  };
  for (const bool many : {false, true}) {
    for_each_failure(
        [&, many] {
          ValueList list(vl_new(elements[0]));
          EXPECT_TRUE(list || fault::injected());
          const size_t before = list ? 1 : 0;
          void **result =
              many ? vl_appendn(list.get(), elements + before, 3 - before)
                   : vl_append(list.get(), elements[before], elements[before + 1]);
          if (result != nullptr) {
            (void)list.release();
            list.reset(result);
            expect_first(list.get(), many ? 3 : before + 2);
          } else {
            EXPECT_TRUE(fault::injected());
            expect_first(list.get(), before);
          }
          const ValueList copy(vl_copy(list.get()));
          EXPECT_TRUE(vl_equals(copy.get(), list.get()) || fault::injected());
          const Text text(vl_stringify(list.get()));
          EXPECT_TRUE(text || fault::injected());
        },
        3);
  }
}

TEST(Fault, StreamsOpenOrNot) {
  for_each_failure(
      [] {
        stringstream *stream = stringstream_open();
        ASSERT_TRUE(stream != nullptr || fault::injected());
        if (stream != nullptr) {
          fputs("text", stringstream_file(stream));
          stringstream_consume(stream, 1);
          expect_text(Text(stringstream_take_data(stream)).get(), "ext");
        }
        stringstream_free(stream);
      },
      2);
}

// A folder of our own that goes away with the test.
class FaultInFiles : public testing::Test {
protected:
  void SetUp() override {
    char pattern[] = "/tmp/nodetree-fault-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    file_ = folder_ + "/file";
    std::ofstream(file_) << R"({"a":[1,"two"]})";
  }
  void TearDown() override {
    log_close();
    log_set_debug(false);
    std::filesystem::remove_all(folder_);
  }
  std::string content() const {
    std::ifstream in(file_);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::string folder_;
  std::string file_;
};

TEST_F(FaultInFiles, ReadAndMadeOrNot) {
  for_each_failure(
      [&] {
        size_t size = 0;
        const Text data(static_cast<char *>(file_read(file_.c_str(), &size)));
        expect_text(data.get(), R"({"a":[1,"two"]})");
        EXPECT_TRUE(data == nullptr || size == 15);
        expect_text(Text(file_read_string(file_.c_str())).get(), R"({"a":[1,"two"]})");
      },
      2);
  for_each_failure([&] {
    const std::string deep = folder_ + "/x/y";
    EXPECT_TRUE(file_mkdirp(deep.c_str(), 0700) || fault::injected());
    std::filesystem::remove_all(folder_ + "/x");
  });
  std::filesystem::create_directories(folder_ + "/sub/deeper");
  std::ofstream(folder_ + "/sub/deeper/file.txt") << "x";
  std::ofstream(folder_ + "/sub/a.txt") << "x";
  const std::string all = folder_ + "/sub/deeper/file.txt " + folder_ + "/sub/a.txt ";
  for_each_failure(
      [&] {
        expect_list(StringList(path_search(folder_.c_str(), "*.txt")).get(), all.c_str());
      },
      2);
}

TEST_F(FaultInFiles, WrittenWholeOrNotAtAll) {
  const Tree tree = tree_of(R"({"new":true})");
  for_each_failure(
      [&] {
        std::ofstream(file_) << "old";
        const bool written = json_stringify_filename(file_.c_str(), tree.get(), true);
        EXPECT_TRUE(written || fault::injected());
        EXPECT_EQ(content(), written ? R"({"new":true})" : "old");
      },
      0);
}

TEST_F(FaultInFiles, ParsedOrNot) {
  for_each_failure(
      [&] {
        const Tree tree(json_parse_filename(file_.c_str()));
        ASSERT_TRUE(tree || fault::injected());
        EXPECT_TRUE(!tree || json_of(tree.get()) == R"({"a":[1,"two"]})");
      },
      2);
}

TEST_F(FaultInFiles, HexDumpIsReplacedByAMessage) {
  log_set_debug(true);
  for_each_failure(
      [&] {
        FILE *opened = log_open_file(file_.c_str(), "w");
        EXPECT_EQ(opened, log_file);
        if (opened == nullptr) {
          EXPECT_TRUE(fault::injected());
          return;
        }
        log_debug_hex("0123456789abcdef0123456789abcdef", 32);
        log_close();
        const bool whole = content().find("0x00000010: 30") != std::string::npos;
        EXPECT_TRUE(whole || fault::injected());
        EXPECT_EQ(content().rfind("DEBUG: ", 0), 0U) << content();
      },
      2);
}

TEST(Fault, NodesAreMadeOrNot) {
  char *path[] = {strdup(""), strdup("a"), nullptr};
  const std::function<node *()> makers[] = {
      [] { return node_new_null(); },
      [] { return node_new_object(); },
      [] { return node_new_array(); },
      [] { return node_new_integer(1); },
      [] { return node_new_real(1.5); },
      [] { return node_new_boolean(true); },
      [] { return node_new_string("text"); },
      [] { return node_new_stringn("text", 2); },
      [] { return node_new_string_printf("%d", 1); },
      [&] { return node_new_link(path); },
  };
  for (const auto &make : makers) {
    for_each_failure([&] {
      const Tree made(make());
      EXPECT_TRUE(made || fault::injected());
    });
  }
  free(path[0]);
  free(path[1]);
}

TEST(Fault, ContainersTakeAChildOrLeaveIt) {
  for_each_failure([] {
    const Tree object = tree_of(R"({"a":1})");
    Tree child = tree_of("[2]");
    if (node_object_add(object.get(), "a longer key", child.get())) {
      EXPECT_EQ(node_parent(child.release()), object.get());
      EXPECT_EQ(json_of(object.get()), R"({"a":1,"a longer key":[2]})");
      return;
    }
    EXPECT_TRUE(fault::injected());
    EXPECT_EQ(node_parent(child.get()), nullptr);
    EXPECT_EQ(node_key(child.get()), nullptr);
    EXPECT_EQ(node_object_get(object.get(), "a longer key"), nullptr);
    EXPECT_EQ(json_of(object.get()), R"({"a":1})");
  });
  for (const auto add : {node_array_append, node_array_prepend}) {
    for_each_failure( // not even a label that cannot be had keeps an element out
        [add] {
          const Tree array = tree_of("[0]");
          node *child = tree_of("1").release();
          ASSERT_TRUE(add(array.get(), child));
          EXPECT_EQ(json_of(array.get()), add == node_array_append ? "[0,1]" : "[1,0]");
          EXPECT_TRUE(node_key(child) != nullptr || fault::injected());
        },
        0);
  }
}

// Objects, an array, and links to a leaf, to a container and to nothing.
Tree sample() {
  Tree tree = tree_of(R"({"a":{"b":[10,{"c":"text"},null]},"d":2.5,"e":true})");
  const Granted granted;
  char *leaf[] = {strdup(""), strdup("d"), nullptr};
  char *container[] = {strdup(""), strdup("a"), strdup("b"), nullptr};
  char *nowhere[] = {strdup(""), strdup("none"), nullptr};
  node_object_add(tree.get(), "leaf", node_new_link(leaf));
  node_object_add(tree.get(), "container", node_new_link(container));
  node_object_add(tree.get(), "nowhere", node_new_link(nowhere));
  for (char *text : {leaf[0], leaf[1], container[0], container[1], container[2], nowhere[0],
                     nowhere[1]}) {
    free(text);
  }
  return tree;
}

TEST(Fault, PathsAndGlobsAreMadeOrNot) {
  const Tree tree = sample();
  const node *deep = node_lookup(tree.get(), "/a/b/1/c");
  ASSERT_NE(deep, nullptr);
  for_each_failure([&] { expect_text(Text(node_path(deep)).get(), "/a/b/1/c"); });
  for_each_failure([&] { expect_list(StringList(node_path_sl(deep)).get(), " a b 1 c "); },
                   2);
  for_each_failure([&] {
    const ValueList found(node_lookup_glob(tree.get(), "/*/b/*"));
    EXPECT_TRUE(found ? vl_len(found.get()) == 3 : fault::injected());
  });
}

TEST(Fault, LookupsNeedNoMemoryOrSayNothingWrong) {
  const Tree tree = sample();
  const Tree same = sample();
  for_each_failure(
      [&] {
        const node *found = node_lookup(tree.get(), "/container/1/c");
        EXPECT_TRUE(found ? strcmp(node_get_string(found), "text") == 0
                          : fault::injected());
        EXPECT_TRUE(node_follow_link(node_object_get(tree.get(), "leaf")) != nullptr ||
                    fault::injected());
        EXPECT_TRUE(node_equals(tree.get(), same.get()) || fault::injected());
        size_t leaves = 0;
        for (node *n = tree.get(); !node_iterate_end(tree.get(), n); n = node_iterate(n)) {
          ++leaves;
        }
        EXPECT_GE(leaves, 8U);
      },
      0);
}

TEST(Fault, CreatedPathsAreWholeOrTheRestIsIntact) {
  for_each_failure(
      [] {
        const Tree tree = tree_of(R"({"a":{"b":1}})");
        const node *made = node_lookup_create(tree.get(), "/a/x/y");
        if (made != nullptr) {
          EXPECT_EQ(json_of(tree.get()), R"({"a":{"b":1,"x":{"y":{}}}})");
          EXPECT_EQ(made, node_lookup(tree.get(), "/a/x/y"));
          return;
        }
        EXPECT_TRUE(fault::injected());
        const std::string left = json_of(tree.get());
        EXPECT_TRUE(left == R"({"a":{"b":1}})" || left == R"({"a":{"b":1,"x":{}}})")
            << left;
      },
      2);
}

TEST(Fault, CopiesAreWholeOrNothing) {
  const Tree tree = sample();
  const std::string before = json_of(tree.get());
  for (const int links : {0, 1, 2}) {
    for_each_failure(
        [&, links] {
          const Tree copy(node_copy(tree.get(), links));
          ASSERT_TRUE(copy || fault::injected());
          EXPECT_EQ(json_of(tree.get()), before);
          if (copy && links == 0) {
            EXPECT_TRUE(node_equals(copy.get(), tree.get()));
          }
          EXPECT_TRUE(!copy || node_object_count(copy.get()) == (links == 0   ? 6U
                                                                 : links == 1 ? 5U
                                                                              : 3U));
        },
        2);
  }
}

TEST(Fault, MovedMembersAreNeverLost) {
  for_each_failure(
      [] {
        const Tree to = tree_of(R"({"a":1,"b":2})");
        const Tree from = tree_of(R"({"b":3,"c":[4]})");
        node_object_move_children(to.get(), from.get());
        EXPECT_EQ(json_of(to.get()), R"({"a":1,"b":2,"c":[4]})");
        EXPECT_TRUE(node_is_null(from.get()));
      },
      0);
}

TEST(Fault, JsonIsWrittenOrNot) {
  const Tree tree = sample();
  const std::string expected = json_of(tree.get());
  for_each_failure([&] {
    expect_text(Text(json_stringify(tree.get(), true)).get(), expected.c_str());
    const Text indented(json_stringify(tree.get(), false));
    EXPECT_TRUE(indented || fault::injected());
  });
}

TEST(Fault, JsonIsParsedOrNot) {
  const char *text = R"({"a":[1,-2.5e3,true,null,"t\u00e9xt",{"b":{}}],"c":""})";
  const std::string expected = json_of(tree_of(text).get());
  for_each_failure(
      [&] {
        const Tree tree(json_parse_string(text));
        ASSERT_TRUE(tree || fault::injected());
        EXPECT_TRUE(!tree || json_of(tree.get()) == expected);
      },
      2);

  struct Received {
    int count = 0;
    static void take(node *value, void *received) {
      ++static_cast<Received *>(received)->count;
      node_free(value);
    }
  };
  for_each_failure(
      [&] { // in pieces of one byte; what was complete has been delivered
        Received received;
        json_stream *stream = json_stream_new(Received::take, &received);
        bool good = stream != nullptr;
        for (const char *c = R"([1]{"a":"b"} 7 )"; good && *c != '\0'; ++c) {
          good = json_stream_parse(stream, c, 1);
        }
        EXPECT_TRUE(good ? received.count == 3 : fault::injected());
        json_stream_free(stream);
      },
      2);
}

TEST(Fault, PrintingLosesPathsNotValues) {
  const Tree tree = tree_of(R"({"a":{"b":"text"}})");
  for_each_failure([&] {
    char *data = nullptr;
    size_t size = 0;
    FILE *out = open_memstream(&data, &size);
    node_fprint(tree.get(), out);
    fclose(out);
    const std::string line = data;
    free(data);
    EXPECT_TRUE(line == "/a/b=text\n" || (fault::injected() && line == "=text\n")) << line;
  });
}

} // namespace
