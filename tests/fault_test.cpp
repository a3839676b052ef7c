// Every function that allocates or calls the system, with each of these calls failing in
// turn: nothing leaks (for_each_failure() sees to that), arguments are as they were, and the
// result is either the right one or the failure that the function's comment names.
#include "fault.hpp"
#include "tree.hpp"

#include <concepts>
#include <fcntl.h>

namespace {

using fault::for_each_failure;
using fault::Granted;
using test::shown;
using test::take;
using test::text_owner;
using test::tree;

template <class Call>
auto granted(Call call) {
  const Granted all;
  return call();
}

tree make(const char *json) {
  return granted([=] { return test::make(json); });
}

std::string json_of(const node *n) {
  return granted([=] { return test::compact(n); });
}

std::string take(node *n) {
  const tree owner(n);
  return n != nullptr ? json_of(n) : "NULL";
}

// The elements of the value lists here are texts.
std::string shown(void *const *list) {
  return shown(reinterpret_cast<char *const *>(list));
}

std::string take(void **list) {
  const test::values_owner owner(list);
  return shown(list);
}

char a[] = "a", b[] = "b", c[] = "c", d[] = "d";
const char *const more[] = {c, nullptr, d};
void *const more_values[] = {c, nullptr, d};

// Objects, an array, and links to a leaf, to a container and to nothing.
constexpr char plain[] = R"({"a":{"a long key":[10,{"c":"text"},null]},"d":2.5)";
constexpr char links[] = R"(,"leaf":"->/d","list":"->/a/a long key","nowhere":"->/none")";
constexpr char followed[] = R"(,"leaf":2.5,"list":[10,{"c":"text"},null])";

class Fault : public testing::Test {
protected:
  Fault() {
    test::write_file("file", R"({"a":[1,"two"]})");
    std::filesystem::create_directories("dir/sub");
    test::write_file("dir/sub/file.txt", "");
    test::write_file("dir/a.txt", "");
  }
  test::workplace place;
  tree sample = make((std::string(plain) + links + "}").c_str());
  const std::string before = json_of(sample.get());
};

// Texts given byte by byte to a stream; what was complete has been delivered.
std::string streamed(const char *text) {
  test::json_decoder stream;
  const bool good = stream.stream != nullptr && stream.feed(text, 1);
  return good ? granted([&] { return stream.text(); }) : "NULL";
}

std::string message_decoded(const std::string &bytes) {
  size_t size = bytes.size();
  return take(msgpack_decode(bytes.data(), &size));
}

// What the message of a tree is decoded to.
std::string message_of(const node *n) {
  const std::string bytes = test::message(n);
  return bytes != "failed" ? granted([&] { return message_decoded(bytes); }) : "NULL";
}

std::string streamed_text() {
  std::unique_ptr<stringstream, test::release> stream(stringstream_open());
  if (stream == nullptr)
    return "NULL";
  fputs("text", stringstream_file(stream.get()));
  stringstream_consume(stream.get(), 1);
  const std::string data = take(stringstream_take_data(stream.get()));
  return data == "text" ? "NULL" : data; // it was not consumed
}

// The message of an evaluation, or else its result.
std::string evaluated(const char *text, node *context) {
  const tree expr = make(text);
  char *message = nullptr;
  node *result = expr_eval(expr.get(), context, &message);
  std::string all = message != nullptr ? take(message) : "NULL";
  if (result != nullptr)
    all = json_of(result);
  node_unref(result);
  return all;
}

template <std::integral Value>
std::string take(Value *cell) {
  const std::unique_ptr<Value, decltype(&free)> owner(cell, free);
  return cell != nullptr ? std::to_string(*cell) : "NULL";
}

// A field filled from the node of a text.
template <class Field>
std::string converted(bool (*from_node)(Field *, const node *), const char *text) {
  const tree n = make(text);
  Field field = nullptr;
  const bool good = from_node(&field, n.get());
  EXPECT_EQ(good, field != nullptr);
  return take(field);
}

TEST_F(Fault, ResultsAreWholeOrNotThere) {
  const node *deep = node_lookup(sample.get(), "/a/a long key/1/c");
  ASSERT_NE(deep, nullptr);
  const test::list_owner list(sl_new("a", "b", "c"));
  const test::values_owner values(vl_new(a, b, c));
  char *link[] = {a, b, nullptr};
  const tree big = make(("[\"" + std::string(600, 'x') + "\",1]").c_str());
  const std::string all = plain,
                    json = R"({"a":[1,-250.0,true,null,"té"],"a long key":{}})";
  struct {
    std::string expected;
    std::function<std::string()> make;
    int allocations = 1; // at least
  } const rows[] = {
      {"port-1", [] { return take(string_printf("%s-%d", "port", 1)); }},
      {"/a", [] { return take(path_dirname("/a/b")); }},
      {"/a/c", [] { return take(path_normalize("/a//b/../c")); }},
      {"x;y;", [] { return take(_sl_new("x", "y", nullptr)); }, 3},
      {"x;y;", [] { return take(sl_split("x/y", '/')); }, 3},
      {"c;d;", [] { return take(_sl_append(nullptr, c, d, nullptr)); }, 3},
      {"a;b;c;", [&] { return take(sl_copy(list.get())); }, 4},
      {"a;b;", [&] { return take(sl_copyn(list.get(), 2)); }, 3},
      {"a/b/c", [&] { return take(sl_join(list.get(), "/")); }},
      {"b;", [] { return take(sl_slice(granted([] { return sl_new(a, b, c); }), 1, 2)); }},
      {"a;b;", [] { return take(vl_new(a, b)); }},
      {"a;b;c;", [&] { return take(vl_copy(values.get())); }},
      {"[ ]", [] { return take(vl_stringify(nullptr)); }, 2},
      {"ext", streamed_text, 2},
      {"null", [] { return take(node_new_null()); }},
      {"{}", [] { return take(node_new_object()); }},
      {"[]", [] { return take(node_new_array()); }},
      {"1", [] { return take(node_new_integer(1)); }},
      {"1.5", [] { return take(node_new_real(1.5)); }},
      {"true", [] { return take(node_new_boolean(true)); }},
      {"\"text\"", [] { return take(node_new_string("text")); }, 2},
      {"\"te\"", [] { return take(node_new_stringn("text", 2)); }, 2},
      {"\"1\"", [] { return take(node_new_string_printf("%d", 1)); }, 2},
      {"null", [&] { return take(node_new_link(link)); }, 4},
      {"/a/a long key/1/c", [&] { return take(node_path(deep)); }},
      {";a;a long key;1;c;", [&] { return take(node_path_sl(deep)); }, 6},
      {"text", [&] { return node_get_string(node_lookup(sample.get(), "/list/1/c")); }, 0},
      {before, [&] { return take(node_copy(sample.get(), 0)); }, 9},
      {all + followed + "}", [&] { return take(node_copy(sample.get(), 1)); }, 9},
      {all + "}", [&] { return take(node_copy(sample.get(), 2)); }, 6},
      {before, [&] { return take(json_stringify(sample.get(), true)); }},
      {json, [&] { return take(json_parse_string(json.c_str())); }, 9},
      {"[1] {\"a\":\"b\"} 7 ", [] { return streamed(R"([1]{"a":"b"} 7 )"); }, 7},
      {before, [&] { return message_of(sample.get()); }, 2},
      {json_of(big.get()), [&] { return message_of(big.get()); }, 3},
      {R"(["x",{"y":{},"z":-2}])",
       [] { return message_decoded("\x92\xa1x\x82\xa1y\x80\xa1z\xfe"); }, 8},
      {"1", [&] { return std::to_string(node_equals_json(sample.get(), "{}") + 1); }},
      {R"({"a":[1,"two"]})", [] { return take(json_parse_filename("file")); }, 5},
      {R"({"a":[1,"two"]})", [] { return take(file_read_string("file")); }},
      {"true", [&] { return evaluated(R"(["not",["eq","x",1]])", nullptr); }, 2},
      {"true", [&] { return evaluated(R"(["and",1,["exists","d"],{}])", sample.get()); },
       2},
      {"\"/d\"", [&] { return evaluated(R"(["path","leaf"])", sample.get()); }, 3},
      {"1", [&] { return evaluated(R"(["length","a"])", sample.get()); }},
      {"true", [&] { return evaluated(R"(["range",1,"2","a/a long key/0/x"])", nullptr); }},
      {"false", [&] { return evaluated(R"(["regex","(z)+","i","text"])", nullptr); }},
      {"/ (/): Assertion failed.",
       [&] { return evaluated(R"(["assert",0])", sample.get()); }, 4},
      {"5", [] { return converted(int_ptr_from_node, "5"); }},
      {"5", [] { return converted(node_int_ptr_from_node, "5"); }},
      {"1", [] { return converted(bool_ptr_from_node, "true"); }},
      {"text", [] { return converted(str_from_node, "\"text\""); }},
      {"text", [] { return converted(strn_from_node, "\"text\""); }},
      {"a;b;", [] { return converted(sl_from_node, R"(["a","b"])"); }, 3},
      {"5", [] { return take(int_new(5)); }},
      {"5", [] { return take(node_int_new(5)); }},
      {"1", [] { return take(bool_new(true)); }},
  };
  for (const auto &row : rows)
    for_each_failure(
        [&row] {
          const std::string result = row.make();
          EXPECT_EQ(fault::injected() && result == "NULL" ? row.expected : result,
                    row.expected);
        },
        row.allocations);
  EXPECT_EQ(json_of(sample.get()), before);
  for_each_failure( // a string that cannot be appended is left out
      [&] {
        char **const field = list.get();
        const std::string filled = take(sl_into_node(&field, nullptr));
        EXPECT_TRUE(filled == R"(["a","b","c"])" || fault::injected()) << filled;
      },
      7);
  for_each_failure(
      [&] {
        const test::values_owner found(node_lookup_glob(sample.get(), "/*/a long key/*"));
        EXPECT_TRUE(found ? vl_len(found.get()) == 3 : fault::injected());
      },
      2);
}

// What `grow` makes of the list "a;b;", which is as it was when an allocation fails.
template <class List, class Grow>
void check_growth(const std::string &expected, List *(*create)(), Grow grow) {
  for_each_failure([=] {
    List *list = granted(create), *result = grow(list);
    if (shown(result) != expected) {
      EXPECT_TRUE(fault::injected());
      EXPECT_TRUE(result == nullptr || result == list) << shown(result);
      EXPECT_EQ(shown(list), "a;b;");
      result = list;
    }
    test::release()(result);
  });
}

// A growth by a second list, which is given up when it was taken.
template <class List>
auto by_second(List *(*create)(), List *(*concat)(List *, List *)) {
  return [=](List *list) {
    List *second = granted(create), *joined = concat(list, second);
    EXPECT_EQ(joined == nullptr ? take(second) : "c;", "c;");
    return joined;
  };
}

TEST_F(Fault, ListsGrowOrStay) {
  char **(*const texts)() = [] { return sl_new(a, b); };
  check_growth("a;b;c;d;", texts,
               [](auto list) { return _sl_append(list, c, d, nullptr); });
  check_growth("a;b;c;d;", texts, [](auto list) { return sl_appendn(list, more, 3); });
  check_growth("a;b;1;", texts, [](auto list) { return sl_append_printf(list, "%d", 1); });
  check_growth("a;b;c;", texts, by_second<char *>([] { return sl_new(c); }, sl_concat));
  void **(*const values)() = [] { return vl_new(a, b); };
  check_growth("a;b;c;d;", values, [](auto list) { return vl_append(list, c, d); });
  check_growth("a;b;c;d;", values,
               [](auto list) { return vl_appendn(list, more_values, 3); });
  check_growth("a;b;c;", values, by_second<void *>([] { return vl_new(c); }, vl_concat));
}

TEST_F(Fault, ReplaceKeepsTheStringItCannotGrow) {
  for (const char *find : {"b", "abc", "own"})
    for_each_failure([find] {
      text_owner string(strdup("abc own"));
      char *own = string.get() + 4; // a replacement from the string itself is copied
      if (char *result =
              string_replace(string.get(), find, *find == 'o' ? own : "long text")) {
        static_cast<void>(string.release());
        string.reset(result);
      } else {
        EXPECT_TRUE(fault::injected());
        EXPECT_STREQ(string.get(), "abc own");
      }
    });
  for_each_failure([] { // a block that cannot be cut down is no failure
    EXPECT_EQ(take(string_replace(strdup("abc"), "bc", "x")), "ax");
  });
}

// A decoder that could not be made is made by the next call; what could be made delivers
// whole values, as many as came before the failure.
TEST_F(Fault, StreamsDeliverWholeValues) {
  const struct {
    node_stream_format asked, format;
    std::string bytes;
  } rows[] = {{NODE_STREAM_AUTO, NODE_STREAM_JSON, R"({"a":"b"}[1,{}])"},
              {NODE_STREAM_JSON, NODE_STREAM_JSON, R"({"a":"b"}[1,{}])"},
              {NODE_STREAM_AUTO, NODE_STREAM_MSGPACK, "\x81\xa1\x61\xa1\x62\x92\1\x80"},
              {NODE_STREAM_MSGPACK, NODE_STREAM_MSGPACK, "\x81\xa1\x61\xa1\x62\x92\1\x80"}};
  const std::string expected = R"({"a":"b"} [1,{}] )";
  for (const auto &row : rows) {
    int missing = 0, made = 0; // decoders: at first, and then by the next call
    for_each_failure(
        [&] {
          test::any_decoder stream(row.asked);
          bool good = stream.stream != nullptr;
          for (size_t i = 0; good && i < row.bytes.size(); i++) {
            good = stream.feed({row.bytes[i]});
            const auto format = node_stream_get_format(stream.stream);
            if (format == NODE_STREAM_AUTO) {
              EXPECT_FALSE(good);
              missing++;
              made += good = stream.feed({row.bytes[i]});
            } else {
              EXPECT_EQ(format, row.format);
            }
          }
          const std::string received = granted([&] { return stream.text(); });
          EXPECT_TRUE(good ? received == expected : fault::injected());
          EXPECT_EQ(received, expected.substr(0, received.size()));
        },
        9);
    EXPECT_EQ(row.asked == NODE_STREAM_AUTO ? missing : 0, 2 * made);
  }
}

TEST_F(Fault, FilesAreWrittenWholeOrNotAtAll) {
  for_each_failure(
      [&] {
        test::write_file("file", "old");
        const bool written = json_stringify_filename("file", sample.get(), true);
        const std::string content = test::file_content("file");
        if (written) {
          EXPECT_EQ(content, before);
        } else { // once it has a text it empties the file
          EXPECT_TRUE(fault::injected());
          EXPECT_TRUE(content == "old" || before.rfind(content, 0) == 0) << content;
        }
        EXPECT_TRUE(file_mkdirp("x/y", 0700) || fault::injected());
        std::filesystem::remove_all("x");
      },
      5);
}

TEST_F(Fault, FilesAreMappedLockedAndSearchedOrNotThere) {
  for_each_failure(
      [] {
        size_t length = 77;
        void *address = file_map("file", &length);
        EXPECT_EQ(length, address != nullptr ? 15U : 77U);
        EXPECT_TRUE(address != nullptr ? memcmp(address, "{\"a\":[1,\"two\"]}", 15) == 0
                                       : fault::injected() && errno != 0);
        file_unmap(address, length);
      },
      3);
  EXPECT_EQ(test::file_content("/proc/self/maps").find(place.path), std::string::npos);
  for (const auto lock : {file_read_lock, file_write_lock})
    for_each_failure(
        [lock] {
          const int held = lock("lock");
          EXPECT_TRUE(held >= 0 || fault::injected());
          EXPECT_TRUE(file_write_is_locked("lock") == (held >= 0) || fault::injected());
          file_unlock(held);
        },
        4);
  for_each_failure( // what cannot be looked at is passed over
      [] {
        const std::string found = take(path_search("dir", "*.txt"));
        const bool part =
            found == "NULL" || found == "dir/a.txt;" || found == "dir/sub/file.txt;";
        EXPECT_TRUE(part ? fault::injected() : found == "dir/sub/file.txt;dir/a.txt;")
            << found;
      },
      13);
}

std::string drain(int fd) {
  const Granted all;
  std::string text(64, '\0');
  text.resize(
      static_cast<size_t>(std::max(read(fd, text.data(), text.size()), ssize_t{0})));
  close(fd);
  return text;
}

TEST_F(Fault, ChildrenRunWithTheirStreamsOrEndWithStatusOne) {
  char name[] = "NAME", value[] = "value", *environment[] = {name, value, nullptr};
  const test::list_owner print(sl_new("sh", "-c", "echo $NAME; echo error >&2"));
  for_each_failure(
      [&] {
        int in = 77, out = 77, err = 77;
        const pid_t pid =
            process_spawn_pipe(print.get(), environment, nullptr, &in, &out, &err);
        if (pid == -1) {
          EXPECT_TRUE(fault::injected() && in == -1 && out == -1 && err == -1);
          return;
        }
        close(in);
        const std::string output = drain(out) + drain(err);
        const int status = process_wait(pid);
        // A variable that cannot be set is passed over.
        const bool ran =
            status == 0 && (output == "value\nerror\n" || output == "\nerror\n");
        EXPECT_TRUE(ran || (status == 1 && output.empty())) << status << output;
        EXPECT_TRUE(fault::injected() || output == "value\nerror\n");
      },
      11);
  // Streams that change places, and one on the null device.
  const int input = dup(0), file = open("file", O_RDWR | O_CLOEXEC);
  dup2(file, 0);
  const test::list_owner check(
      sl_new("sh", "-c", "[ /proc/self/fd/1 -ef file ] || exit 2"));
  for_each_failure(
      [&] {
        const pid_t pid = process_spawn_fd(check.get(), nullptr, nullptr, 1, 0, -1);
        const int status = process_wait(pid);
        EXPECT_TRUE(status == 0 || (fault::injected() && status == (pid == -1 ? -257 : 1)))
            << status;
      },
      8);
  dup2(input, 0);
  close(file);
  close(input);
}

TEST_F(Fault, HexDumpIsReplacedByAMessage) {
  log_set_debug(true);
  for_each_failure(
      [] {
        if (log_open_file("log", "w") == nullptr) {
          EXPECT_TRUE(fault::injected());
          return;
        }
        log_debug_hex("0123456789abcdef0123456789abcdef", 32);
        log_close();
        const std::string dump = test::file_content("log");
        EXPECT_TRUE(dump.find("0x00000010: 30") != dump.npos || fault::injected());
        EXPECT_EQ(dump.rfind("DEBUG: ", 0), 0U) << dump;
      },
      2);
  log_set_debug(false);
}

TEST_F(Fault, ContainersTakeAChildOrLeaveIt) {
  for_each_failure([] {
    const tree object = make(R"({"a":1})");
    tree child = make("[2]");
    if (node_object_add(object.get(), "a longer key", child.get())) {
      static_cast<void>(child.release());
      EXPECT_EQ(json_of(object.get()), R"({"a":1,"a longer key":[2]})");
      return;
    }
    EXPECT_TRUE(fault::injected());
    EXPECT_FALSE(node_parent(child.get()) || node_key(child.get()));
    EXPECT_EQ(json_of(object.get()), R"({"a":1})");
  });
  for_each_failure( // neither needs memory
      [] {
        const tree array = make("[0]"), to = make(R"({"a long key":1,"b":2})");
        const tree from = make(R"({"a long key":3,"other long key":[4]})");
        EXPECT_TRUE(node_array_append(array.get(), make("1").release()));
        EXPECT_TRUE(node_array_prepend(array.get(), make("2").release()));
        EXPECT_EQ(json_of(array.get()), "[2,0,1]");
        EXPECT_FALSE(node_object_add(to.get(), "a long key", array.get()));
        node_object_move_children(to.get(), from.get());
        EXPECT_EQ(json_of(to.get()), R"({"a long key":1,"b":2,"other long key":[4]})");
      },
      0);
}

TEST_F(Fault, CreatedPathsAreWholeOrTheRestIsIntact) {
  for_each_failure(
      [] {
        const tree t = make(R"({"a":{"b":1}})");
        const node *made = node_lookup_create(t.get(), "/a/x/y");
        const std::string left = json_of(t.get());
        if (made != nullptr) {
          EXPECT_EQ(left, R"({"a":{"b":1,"x":{"y":{}}}})");
          EXPECT_EQ(made, node_lookup(t.get(), "/a/x/y"));
          return;
        }
        EXPECT_TRUE(fault::injected());
        EXPECT_TRUE(left == R"({"a":{"b":1}})" || left == R"({"a":{"b":1,"x":{}}})")
            << left;
      },
      2);
}

TEST_F(Fault, FiltersNeverKeepTheExcludedNorTheNotIncluded) {
  for_each_failure(
      [] {
        char in[] = "/a/*", out[] = "*/*/secret", *include[] = {in, nullptr},
             *exclude[] = {out, nullptr}, **removed = nullptr;
        const tree t = make(R"({"a":[{"secret":1,"x":2},["->/d"]],"d":{"secret":3}})");
        node_filter(t.get(), include, exclude, &removed);
        const std::string left = json_of(t.get()), paths = take(removed);
        EXPECT_EQ(left.find("secret") + left.find("\"d\""), 2 * left.npos) << left;
        EXPECT_TRUE(fault::injected() || (left == R"({"a":{"0":{"x":2},"1":[null]}})" &&
                                          paths == "/d/secret;/a/0/secret;"))
            << left << paths;
      },
      10);
}

TEST_F(Fault, PrintingLosesPathsNotValues) {
  for_each_failure([] {
    const tree t = make(R"({"a":{"b":"text"}})");
    char *data = nullptr;
    size_t size = 0;
    FILE *out = open_memstream(&data, &size);
    node_fprint(t.get(), out);
    fclose(out);
    const std::string line = take(data);
    EXPECT_TRUE(line == "/a/b=text\n" || (fault::injected() && line == "=text\n")) << line;
  });
}

} // namespace
