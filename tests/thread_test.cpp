// Distinct objects on distinct threads, and one rule shared by all. For ThreadSanitizer
// (`make tsan`); otherwise only the results are checked.
#include "tree.hpp"

#include <thread>

using namespace test;

namespace {

constexpr char text[] =
    R"({"a":{"list":[1,2.5,"text",null,true],"key":"value"},"l":"->/a/list"})";

// The rule is shared by all threads.
void trees(node *rule) {
  const tree t = make(text), other = make(R"({"a":{"list":[1,3],"key":"value"}})");
  EXPECT_EQ(where(node_lookup(t.get(), "/l/1")), "/a/list/1");
  const tree resolved(node_copy(t.get(), 1));
  node_prepare_diff_hash(resolved.get());
  const tree difference(node_diff(resolved.get(), other.get()));
  EXPECT_EQ(shown(difference.get()),
            R"({"a":{"list":{"1":3,"2":null,"3":null,"4":null}},"l":null})");
  char *error = nullptr;
  node *holds = expr_eval(rule, t.get(), &error);
  EXPECT_TRUE(expr_coerce_bool(holds));
  EXPECT_EQ(take(error), "/2/1/3 (/): none");
  node_unref(holds);
  any_decoder packed(NODE_STREAM_MSGPACK);
  EXPECT_TRUE(packed.feed(message(resolved.get()), 5));
  EXPECT_TRUE(node_equals(packed.values.at(0).get(), resolved.get()));
}

void files_and_children(const std::string &name) {
  const int lock = file_write_lock("shared");
  EXPECT_TRUE(lock >= 0 && file_write_string(name.c_str(), text));
  file_unlock(lock);
  EXPECT_EQ(take(path_search(".", name.c_str())), "./" + name + ";");
  const list_owner command(sl_new("cat", name.c_str()));
  int out = -1;
  const pid_t pid =
      process_spawn_pipe(command.get(), nullptr, nullptr, nullptr, &out, nullptr);
  char copy[sizeof text] = {};
  EXPECT_EQ(read(out, copy, sizeof copy), std::ssize(copy) - 1);
  close(out);
  EXPECT_STREQ(copy, text);
  EXPECT_EQ(process_wait(pid), 0);
}

TEST(Threads, WorkOnTheirOwnObjectsAtTheSameTime) {
  workplace place;
  ASSERT_NE(log_open_file("log", "w"), nullptr);
  const size_t rounds = scaled(100) + 1;
  const tree rule = make(R"(["and","yes",["not",["range","1.5",2,["assert",0,"none"],
    "a/list/0"]],["regex","^V","i",["get","a/key"]],["atom",{}],
    ["eq","value",["assert",["get","a/key"]]],["or","",["get",["path","l"]]]])");
  std::vector<std::thread> threads;
  for (const std::string name : {"a", "b", "c", "d"})
    threads.emplace_back([=, &rule] {
      for (size_t round = 0; round < rounds; round++) {
        trees(rule.get());
        if (round % 10 == 0)
          files_and_children(name);
        log_msg(LOG_INFO, "round %04zu of %s", round, name.c_str());
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  log_close();
  EXPECT_EQ(file_content("log").size(), 4 * rounds * strlen("INFO: round 0000 of a\n"));
}

} // namespace
