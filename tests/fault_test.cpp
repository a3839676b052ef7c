// Every function that allocates or calls the system, with each of these calls failing in
// turn. Nothing leaks (for_each_failure() checks that), arguments are unchanged, and the
// result is either the right one or the failure that the function's comment names.
#include "fault.hpp"
#include "tree.hpp"

#include <concepts>
#include <fcntl.h>
#include <nodetree.hpp>

namespace {

using test::take;
using test::tree;

template <class Call>
auto granted(Call call) {
  const fault::Granted all;
  return call();
}

tree make(const char *json) {
  return granted([=] { return test::make(json); });
}

std::string json_of(const tree &n) {
  return granted([&] { return test::compact(n.get()); });
}

// What a call gives as a text, "NULL" for nothing, and its release.

std::string take(node *n) {
  return n != nullptr ? json_of(tree(n)) : "NULL";
}

// The elements of the value lists here are texts.
std::string take(void **list) {
  const test::values_owner owner(list);
  return test::shown(reinterpret_cast<char *const *>(list));
}

template <std::integral Value>
std::string take(Value *cell) {
  const std::unique_ptr<Value, decltype(&free)> owner(cell, free);
  return cell != nullptr ? std::to_string(*cell) : "NULL";
}

std::string take(const std::string &text) {
  return text;
}

struct Row {
  template <class Call>
  Row(std::string result, Call call, std::vector<std::string> others = {"NULL"})
      : expected(result), make([=] { return take(call()); }), otherwise(others) {}
  std::string expected;
  std::function<std::string()> make;
  std::vector<std::string> otherwise; // all allowed results after a failure
};

void check(const std::vector<Row> &rows) {
  for (const Row &row : rows) {
    size_t seen = 0; // a bit for each text of `otherwise`
    fault::for_each_failure([&] {
      const std::string made = row.make();
      if (made == row.expected)
        return;
      const auto at = std::ranges::find(row.otherwise, made) - row.otherwise.begin();
      EXPECT_TRUE(fault::injected() && at < std::ssize(row.otherwise))
          << made << " instead of " << row.expected;
      seen |= size_t{1} << at;
    });
    EXPECT_TRUE(!fault::allocations || seen + 1 == size_t{1} << row.otherwise.size())
        << row.expected << " has not failed in all these ways: " << seen;
  }
}

class Fault : public testing::Test {
protected:
  Fault() {
    test::write_file("file", R"({"a":[1,"two"]})");
    std::filesystem::create_directories("dir/sub");
    test::write_file("dir/sub/file.txt", "");
    test::write_file("dir/a.txt", "");
    std::filesystem::create_symlink("sub", "dir/to");
  }
  test::workplace place;
};

char a[] = "a", b[] = "b", c[] = "c", d[] = "d";

char **texts() {
  return granted([] { return sl_new(a, b); });
}

void **values() {
  return granted([] { return vl_new(a, b); });
}

// The list after `grow`; unchanged if an allocation fails.
template <class List, class Grow, class... Arguments>
std::string grown(List *list, Grow grow, Arguments... arguments) {
  List *result = grow(list, arguments...);
  return take(result != nullptr ? result : list);
}

// Adds one list to another; it is released only if it was taken over.
template <class List>
std::string joined(List *list, List *other, List *(*concat)(List *, List *)) {
  List *result = concat(list, other);
  return result != nullptr ? take(result) : take(list) + take(other);
}

// A replacement in "abc own", by that text itself if by no other.
std::string replaced(const char *find, const char *replacement = nullptr) {
  char *text = strdup("abc own");
  char *result = string_replace(text, find, replacement != nullptr ? replacement : text);
  return take(result != nullptr ? result : text);
}

std::string streamed_text() {
  const std::unique_ptr<stringstream, test::release> stream(stringstream_open());
  if (stream == nullptr)
    return "NULL";
  fputs("text", stringstream_file(stream.get()));
  stringstream_consume(stream.get(), 1);
  return take(stringstream_take_data(stream.get()));
}

TEST_F(Fault, TextsAndListsAreCompleteOrUnchanged) {
  const test::list_owner list(sl_new("a", "b", "c"));
  const test::values_owner elements(vl_new(a, b, c));
  const char *const more[] = {c, nullptr, d};
  void *const more_values[] = {c, nullptr, d};
  const std::vector<std::string> same = {"a;b;"}, unchanged = {"abc own"};
  check({
      {"port-1", [] { return string_printf("%s-%d", "port", 1); }},
      {"along textc own", [] { return replaced("b", "long text"); }, unchanged},
      {"abc abc own", [] { return replaced("own"); }, unchanged},
      {"1 own", [] { return replaced("abc", "1"); }, {}}, // its block is shrunk or not
      {"ext", streamed_text, {"NULL", "text"}},
      {"/a", [] { return path_dirname("/a/b"); }},
      {"/a/c", [] { return path_normalize("/a//b/../c"); }},
      {"x;y;", [] { return _sl_new("x", "y", nullptr); }},
      {"x;y;", [] { return sl_split("x/y", '/'); }},
      {"a;b;c;", [&] { return sl_copy(list.get()); }},
      {"a;b;", [&] { return sl_copyn(list.get(), 2); }},
      {"a/b/c", [&] { return sl_join(list.get(), "/"); }},
      {"b;", [] { return sl_slice(texts(), 1, 2); }, {}},
      {"a;b;c;d;", [] { return grown(texts(), _sl_append, c, d, nullptr); }, same},
      {"a;b;c;d;", [&] { return grown(texts(), sl_appendn, more, 3U); }, same},
      {"a;b;1;", [] { return grown(texts(), sl_append_printf, "%d", 1); }, same},
      {"a;b;a;b;", [] { return joined(texts(), texts(), sl_concat); }, {}},
      {"a;b;", [] { return vl_new(a, b); }},
      {"a;b;c;", [&] { return vl_copy(elements.get()); }},
      {"a;b;", [&] { return vl_copyn(elements.get(), 2); }},
      {"a;b;c;d;", [] { return grown(values(), _vl_append, c, d, nullptr); }, same},
      {"a;b;c;d;", [&] { return grown(values(), vl_appendn, more_values, 3U); }, same},
      {"a;b;a;b;", [] { return joined(values(), values(), vl_concat); }, {}},
      {"[ ]", [] { return vl_stringify(nullptr); }},
      {"5", [] { return int_new(5); }},
      {"5", [] { return node_int_new(5); }},
      {"1", [] { return bool_new(true); }},
  });
}

// Feeds a text byte by byte to a stream; complete values are delivered.
std::string streamed(const char *text) {
  test::json_decoder stream;
  const bool good = stream.stream != nullptr && stream.feed(text, 1);
  return good ? granted([&] { return stream.text(); }) : "NULL";
}

// The tree of a JSON text, or the log if there is none.
std::string parsed(const std::string &text) {
  auto log = granted([] { return test::log_reader(); });
  node *n = json_parse_string(text.c_str());
  return n != nullptr ? take(n) : granted([&] { return log.fresh(); });
}

// The tree of a message; without one the size stays.
node *decoded(const std::string &message) {
  const std::string bytes = message + "more";
  size_t size = bytes.size();
  node *n = msgpack_decode(bytes.data(), &size);
  EXPECT_EQ(size, (n != nullptr ? message : bytes).size());
  return n;
}

// Encodes and decodes a tree.
node *through_message(const node *n) {
  const std::string bytes = test::message(n);
  return bytes != "failed" ? granted([&] { return decoded(bytes); }) : nullptr;
}

// The message of an evaluation, otherwise its result.
std::string evaluated(const char *text, node *context) {
  const tree expr = make(text);
  char *message = nullptr;
  node *result = expr_eval(expr.get(), context, &message);
  const std::string error = take(message);
  return result != nullptr ? take(result) : error;
}

// A field filled from the node of a text.
template <class Field>
Field converted(bool (*from_node)(Field *, const node *), const char *text) {
  const tree n = make(text);
  Field field = nullptr;
  const bool good = from_node(&field, n.get());
  EXPECT_EQ(good, field != nullptr);
  return field;
}

std::string matched(const node *n) {
  const test::values_owner found(node_lookup_glob(n, "/*/a long key/*"));
  return found ? std::to_string(vl_len(found.get())) + " matches" : "NULL";
}

// Objects, an array, and links to a leaf, to a container and to nothing.
constexpr char plain[] = R"({"a":{"a long key":[10,{"c":"text"},null]},"d":2.5)";
constexpr char links[] =
    R"(,"leaf":"->/d","list":"->/a/a long key","via":"->/list/0","nowhere":"->/none")";
constexpr char followed[] = R"(,"leaf":2.5,"list":[10,{"c":"text"},null],"via":10)";

TEST_F(Fault, TreesAreCompleteOrNotMade) {
  const std::string all = plain;
  const tree sample = make((all + links + "}").c_str()),
             big = make(("[\"" + std::string(600, 'x') + "\",1]").c_str());
  node *const root = sample.get(), *const deep = node_lookup(root, "/a/a long key/1/c");
  ASSERT_NE(deep, nullptr);
  const std::string before = json_of(sample),
                    json = R"({"a":[1,-250.0,true,null,"té"],"a long key":{}})";
  const std::vector<std::string> no_memory = {
      "ERROR: Failed to parse JSON: out of memory\n"};
  const test::list_owner list(sl_new("a", "b", "c"));
  char **const field = list.get();
  int five = 5, *const cell = &five;
  check({
      {"null", [] { return node_new_null(); }},
      {"{}", [] { return node_new_object(); }},
      {"[]", [] { return node_new_array(); }},
      {"1", [] { return node_new_integer(1); }},
      {"1.5", [] { return node_new_real(1.5); }},
      {"true", [] { return node_new_boolean(true); }},
      {"\"text\"", [] { return node_new_string("text"); }},
      {"\"te\"", [] { return node_new_stringn("text", 2); }},
      {"\"1\"", [] { return node_new_string_printf("%d", 1); }},
      {"null", [=] { return node_new_link(field); }},
      {"/a/a long key/1/c", [=] { return node_path(deep); }},
      {";a;a long key;1;c;", [=] { return node_path_sl(deep); }},
      {"3 matches", [=] { return matched(root); }},
      {before, [=] { return node_copy(root, 0); }},
      {all + followed + "}", [=] { return node_copy(root, 1); }},
      {all + "}", [=] { return node_copy(root, 2); }},
      {before, [=] { return json_stringify(root, true); }},
      {json, [&] { return parsed(json); }, no_memory},
      {"42", [&] { return parsed("42"); }, no_memory}, // decoded at the end of the text
      {R"({"a":[1,"two"]})", [] { return json_parse_filename("file"); }},
      {"[1] {\"a\":\"b\"} 7 ", [] { return streamed(R"([1]{"a":"b"} 7 )"); }},
      {json_of(big) + " ", [&] { return streamed(json_of(big).c_str()); }},
      {before, [=] { return through_message(root); }},
      {json_of(big), [&] { return through_message(big.get()); }},
      {R"(["x",{"y":{},"z":-2}])",
       [] { return decoded("\x92\xa1x\x82\xa1y\x80\xa1z\xfe"); }},
      {"true", [=] { return evaluated(R"(["exists",["path","via"]])", root); }},
      {"\"/d\"", [=] { return evaluated(R"(["path","leaf"])", root); }},
      {"1", [=] { return evaluated(R"(["length","a"])", root); }},
      {"false", [=] { return evaluated(R"(["range",1,2,"via"])", root); }},
      {"false", [] { return evaluated(R"(["not","->/0"])", nullptr); }},
      {"false", [] { return evaluated(R"(["regex","(z)+","i","text"])", nullptr); }},
      {"/ (/): Assertion failed.", [=] { return evaluated(R"(["assert",0])", root); }},
      {"5", [] { return converted(int_ptr_from_node, "5"); }},
      {"5", [] { return converted(node_int_ptr_from_node, "5"); }},
      {"1", [] { return converted(bool_ptr_from_node, "true"); }},
      {"text", [] { return converted(str_from_node, "\"text\""); }},
      {"text", [] { return converted(strn_from_node, "\"text\""); }},
      {"a;b;", [] { return converted(sl_from_node, R"(["a","b"])"); }},
      {"5", [=] { return int_ptr_into_node(&cell, nullptr); }},
      {"\"a\"", [=] { return str_into_node(field, nullptr); }},
      {R"(["a","b","c"])", // a string that cannot be appended is left out
       [=] { return sl_into_node(&field, nullptr); },
       {"NULL", "[]", R"(["a"])", R"(["a","b"])", R"(["a","c"])", R"(["b","c"])"}},
  });
  fault::for_each_failure([=] { EXPECT_FALSE(node_equals_json(root, "{}")); });
  EXPECT_EQ(json_of(sample), before);
}

std::string with_member_added() {
  const tree object = make(R"({"a":1})");
  tree child = make("[2]");
  if (node_object_add(object.get(), "a longer key", child.get()))
    static_cast<void>(child.release());
  else
    test::check_free(child.get());
  return json_of(object);
}

std::string with_path_created() {
  const tree t = make(R"({"a":{"b":1}})");
  const node *made = node_lookup_create(t.get(), "/a/x/y");
  EXPECT_TRUE(made == nullptr || made == node_lookup(t.get(), "/a/x/y"));
  return json_of(t) + (made != nullptr ? " made" : "");
}

std::string merged() {
  const tree target = make(R"({"a":[0],"l":1})");
  node_merge(target.get(), make(R"({"a":[1],"l":"->/a"})").release());
  return json_of(target);
}

// When memory runs out, no unfinished hash is kept.
std::string hashed() {
  const tree t = make(R"({"a":{"b":1},"l":"->/a"})");
  const uint32_t hash = node_prepare_diff_hash(t.get());
  EXPECT_EQ(t->diff_hash, hash);
  EXPECT_NE(node_lookup(t.get(), "/a")->diff_hash, 0u);
  return hash != 0 ? "hash" : "NULL";
}

void check_moves_need_no_memory() {
  const tree array = make("[0]"), to = make(R"({"a long key":1,"b":2})");
  const tree from = make(R"({"a long key":3,"other long key":[4]})");
  EXPECT_TRUE(node_array_append(array.get(), make("1").release()));
  EXPECT_TRUE(node_array_prepend(array.get(), make("2").release()));
  EXPECT_FALSE(node_object_add(to.get(), "a long key", array.get()));
  node_object_move_children(to.get(), from.get());
  EXPECT_EQ(json_of(array) + json_of(to),
            R"([2,0,1]{"a long key":1,"b":2,"other long key":[4]})");
}

std::string printed() {
  const tree t = make(R"({"a":{"b":"text"}})");
  char *data = nullptr;
  size_t size = 0;
  FILE *out = open_memstream(&data, &size);
  node_fprint(t.get(), out);
  fclose(out);
  return take(data);
}

// Excluded or not included nodes never stay.
void check_filter() {
  char in[] = "/a/*", out[] = "*/*/secret", *include[] = {in, nullptr},
       *exclude[] = {out, nullptr}, **removed = nullptr;
  const tree t = make(R"({"a":[{"secret":1,"x":2},["->/d"]],"d":{"secret":3}})");
  node_filter(t.get(), include, exclude, &removed);
  const std::string left = json_of(t), paths = take(removed);
  EXPECT_EQ(left.find("secret") + left.find("\"d\""), 2 * left.npos) << left;
  EXPECT_TRUE(fault::injected() || (left == R"({"a":{"0":{"x":2},"1":[null]}})" &&
                                    paths == "/d/secret;/a/0/secret;"))
      << left << paths;
}

TEST_F(Fault, FailedChangesLeaveTreesIntact) {
  const tree from = make(R"({"a":{"b":1},"l":"->/a"})"),
             to = make(R"({"a":{"b":2},"l":"->/a"})");
  check({
      {R"({"a":1,"a longer key":[2]})", with_member_added, {R"({"a":1})"}},
      {R"({"a":{"b":1,"x":{"y":{}}}} made)",
       with_path_created,
       {R"({"a":{"b":1}})", R"({"a":{"b":1,"x":{}}})"}},
      {"/a/b=text\n", printed, {"=text\n"}},
      {R"({"a":[0,1],"l":[0,1]})", merged, {R"({"a":[0,1],"l":1})"}},
      {"hash", hashed},
      {R"({"a":{"b":2},"l":{"b":2}})", // parts without memory are null or left out
       [&] { return node_diff(from.get(), to.get()); },
       {"NULL", "null", R"({"l":{"b":2}})", R"({"a":{"b":2}})"}},
  });
  fault::for_each_failure(check_filter);
  fault::for_each_failure(check_moves_need_no_memory, 0);
}

TEST_F(Fault, TheCppFaceChangesOrRefuses) {
  using nodetree::Node;
  const auto body = [] {
    Node n = granted([] { return Node::from_json(R"({"a":[1,2],"l":"x"})"); });
    Node link = granted([] { return Node::link(nodetree::StringList{"", "a"}); });
    const bool inserted = n["a"].insert_at(1, {{"k", {3, "t"}}});
    const bool replaced = n.replace("l", std::move(link));
    const bool set = n.set_member("m", {{"p", nullptr}, {"q", std::vector{1.5}}});
    const auto why = nodetree::parse_json("[1");
    const fault::Granted all;
    EXPECT_TRUE((inserted && replaced && set) || fault::injected());
    EXPECT_EQ(n["a"].to_json().str(), inserted ? R"([1,{"k":[3,"t"]},2])" : "[1,2]");
    EXPECT_EQ(n["l"].to_json().str(), replaced ? n["a"].to_json().str() : R"("x")");
    EXPECT_EQ(replaced, !link); // NOLINT(bugprone-use-after-move): emptied when taken
    EXPECT_EQ(n["m"].to_json().str(), set ? R"({"p":null,"q":[1.5]})" : "");
    EXPECT_TRUE(!why && (fault::injected() || *why.reason() == 'l')) << why.reason();
  };
  fault::for_each_failure(body, fault::allocations ? 20 : 0);
}

// A decoder that could not be made is made by the next call. Only complete values are
// delivered, those before the failure.
TEST_F(Fault, StreamsDeliverCompleteValues) {
  const std::string json = R"({"a":"b"}[1,{}])", msgpack = "\x81\xa1\x61\xa1\x62\x92\1\x80";
  const std::tuple<node_stream_format, node_stream_format, std::string> rows[] = {
      {NODE_STREAM_AUTO, NODE_STREAM_JSON, json},
      {NODE_STREAM_JSON, NODE_STREAM_JSON, json},
      {NODE_STREAM_AUTO, NODE_STREAM_MSGPACK, msgpack},
      {NODE_STREAM_MSGPACK, NODE_STREAM_MSGPACK, msgpack}};
  for (const auto &row : rows) {
    int made = 0; // decoders by the next call
    const auto received = [&] {
      const auto &[asked, format, bytes] = row;
      auto log = granted([] { return test::log_reader(); });
      test::any_decoder stream(asked);
      bool good = stream.stream != nullptr;
      for (size_t i = 0; good && i < bytes.size(); i++) {
        good = stream.feed({bytes[i]});
        if (node_stream_get_format(stream.stream) == NODE_STREAM_AUTO)
          made += good = !good && stream.feed({bytes[i]});
      }
      EXPECT_TRUE(!good || node_stream_get_format(stream.stream) == format);
      const bool failed = !good && stream.stream != nullptr &&
                          node_stream_get_format(stream.stream) == format;
      for (int i = 0; failed && i < 3; i++) // for good: each later call fails too
        EXPECT_TRUE(!stream.feed("{}") && granted([&] { return log.fresh(); }) != "");
      return granted([&] { return stream.text(); }) + (good ? "" : "failed");
    };
    check({{R"({"a":"b"} [1,{}] )", received, {"failed", R"({"a":"b"} failed)"}}});
    EXPECT_TRUE(made > 0 || std::get<0>(row) != NODE_STREAM_AUTO || !fault::allocations);
  }
}

std::string written() {
  const tree t = make(R"(["new",{}])");
  test::write_file("file", "old");
  const bool good = json_stringify_filename("file", t.get(), true);
  return test::file_content("file") + (good ? "" : " is left");
}

std::string mapped() {
  size_t length = 77;
  const void *address = file_map("file", &length);
  if (address == nullptr)
    return length == 77 && errno != 0 ? "NULL" : "no reason";
  const std::string data(static_cast<const char *>(address), length);
  file_unmap(const_cast<void *>(address), length);
  return data;
}

std::string locked(int (*lock)(const char *)) {
  EXPECT_FALSE(file_write_is_locked("file")) << "no lock, but a probe that fails";
  const int held = lock("lock");
  const bool seen = file_write_is_locked("lock");
  file_unlock(held);
  return held < 0 ? "NULL" : seen ? "locked" : "held";
}

std::string directory_made() {
  const bool made = file_mkdirp("x/y", 0700);
  std::filesystem::remove_all("x");
  return made ? "made" : "NULL";
}

std::string dumped() {
  if (log_open_file("log", "w") == nullptr)
    return "NULL";
  errno = EDOM;
  log_debug_hex("ab", 2);
  EXPECT_EQ(errno, EDOM);
  log_close();
  return test::without_lines(test::file_content("log"));
}

TEST_F(Fault, FilesAreCompleteOrNotThere) {
  const std::string content = test::file_content("file"), dump = "DEBUG: log_debug_hex: ",
                    bytes = "0x00000000: 61 62" + std::string(46, ' ') + "ab\n\n\n";
  const std::string large(1100, 'x');
  test::write_file("large", large);
  log_set_debug(true);
  check({
      {content, [] { return file_read_string("file"); }},
      {large, [] { return file_read_string("large"); }},
      {content, mapped},
      {"locked", [] { return locked(file_read_lock); }, {"NULL", "held"}},
      {"locked", [] { return locked(file_write_lock); }, {"NULL", "held"}},
      {"made", directory_made},
      {"dir/to/file.txt;dir/sub/file.txt;dir/a.txt;",
       [] { return path_search("dir", "*.txt"); },
       // Files that cannot be examined are skipped.
       {"NULL", "dir/to/file.txt;", "dir/to/file.txt;dir/a.txt;",
        "dir/to/file.txt;dir/sub/file.txt;", "dir/sub/file.txt;dir/a.txt;"}},
      {dump + bytes, dumped, {"NULL", dump + "no memory for the dump of 2 bytes\n"}},
      {R"(["new",{}])", written, {"old is left", " is left"}},
  });
  log_set_debug(false);
  EXPECT_EQ(test::file_content("/proc/self/maps").find(place.path), std::string::npos);
}

TEST_F(Fault, ChildrenRunWithTheirStreamsOrEndWithStatusOne) {
  test::log_reader log;
  char name[] = "NAME", value[] = "value", *environment[] = {name, value, nullptr};
  const test::list_owner print(sl_new("sh", "-c", "echo $NAME; echo error >&2")),
      look(sl_new("sh", "-c", "[ /proc/self/fd/1 -ef file ] || exit 2"));
  const auto piped = [&] {
    int in = 77, out = 77, err = 77;
    const pid_t pid =
        process_spawn_pipe(print.get(), environment, nullptr, &in, &out, &err);
    if (pid == -1)
      return in == -1 && out == -1 && err == -1 ? log.fresh() : "ends are left";
    close(in);
    const std::string output = test::drain(out) + test::drain(err);
    return std::to_string(process_wait(pid)) + " " + output;
  };
  const auto exchanged = [&] {
    const pid_t pid = process_spawn_fd(look.get(), nullptr, nullptr, 1, 0, -1);
    return std::to_string(process_wait(pid));
  };
  const std::string call = "DEBUG: process_spawn_", full = " pipe: Too many open files\n";
  check({{"0 value\nerror\n",
          piped,
          {"1 ", "0 \nerror\n", // a variable that cannot be set is skipped
           call + "pipe: Failed to create stdin" + full,
           call + "pipe: Failed to create stdout" + full,
           call + "pipe: Failed to create stderr" + full,
           call + "fd: Fork failed: Resource temporarily unavailable\n"}}});
  // Streams that change places, and one on the null device.
  const int input = dup(0), file = open("file", O_RDWR | O_CLOEXEC);
  dup2(file, 0);
  check({{"0", exchanged, {"1", "-257"}}});
  dup2(input, 0);
  close(file);
  close(input);
}

} // namespace
