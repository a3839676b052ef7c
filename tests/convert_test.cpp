#include <nodetree/convert.h>

#include "tree.hpp"

#include <ctime>

namespace {

using test::children;
using test::compact;
using test::make;
using test::tree;

class Convert : public testing::Test {
protected:
  // Whether the one new message is the one about a wrong kind.
  void reported(const std::string &function, const char *wanted, const node *n) {
    EXPECT_EQ(log.fresh(), "DEBUG: " + function + ": " + test::where(n) + ": Expected " +
                               wanted + ", got " + node_type_to_string(n) + ".\n");
  }
  template <typename Value>
  struct cell {
    const char *function, *kind;
    Value *(*make)(Value);
    node *(*into_node)(Value *const *, node *);
    bool (*from_node)(Value **, const node *);
    bool (*equals)(Value *const *, Value *const *);
    int (*fprint)(Value *const *, FILE *);
    void (*deinit)(Value **);
  };
  template <typename Value>
  void check_cells(const cell<Value> &type, const std::vector<std::string> &values);

  // One node of every kind, under the name of the kind.
  const tree kinds = make(R"({"null":null,"object":{"x":1},"array":["x"],"integer":5,
                              "real":5.5,"string":"5","boolean":true,"link":"->/integer"})");
  test::log_reader log;
};

template <typename Field>
std::string printed(int (*fprint)(Field, FILE *), Field field) {
  char *text = nullptr;
  size_t size = 0;
  FILE *out = open_memstream(&text, &size), *refused = fopen("/dev/null", "r");
  EXPECT_GE(fprint(field, out), 0);
  EXPECT_LT(fprint(field, refused), 0);
  fclose(out);
  fclose(refused);
  return test::take(text);
}

template <typename Value>
void Convert::check_cells(const cell<Value> &type, const std::vector<std::string> &values) {
  Value *none = nullptr, *field = nullptr;
  auto text_of = [&](Value *const &f) { return printed(type.fprint, &f); };
  EXPECT_EQ(compact(tree(type.into_node(&none, nullptr)).get()), "null");
  EXPECT_TRUE(text_of(none) == "NULL" && !type.into_node(&none, kinds.get()));
  EXPECT_TRUE(type.equals(nullptr, nullptr) && type.equals(&none, &field));
  EXPECT_FALSE(type.equals(nullptr, &none) || type.equals(&none, nullptr));
  for (const std::string &text : values) {
    const tree n = make(text);
    const auto value =
        static_cast<Value>(node_get_integer(n.get()) + node_get_boolean(n.get()));
    Value *kept = type.make(value), *made = kept;
    EXPECT_EQ(compact(tree(type.into_node(&made, nullptr)).get()), text);
    EXPECT_TRUE(text_of(made) == "&" + text && !type.into_node(&made, kinds.get()));
    ASSERT_TRUE(type.from_node(&field, n.get()) && field != nullptr && field != made);
    EXPECT_TRUE(*field == value && type.equals(&field, &made));
    EXPECT_FALSE(type.equals(&none, &made) || type.equals(&made, &none));
    for (const std::string &other : values) { // the cell stays when its value changes
      EXPECT_TRUE(type.from_node(&made, make(other).get()) && made == kept);
      EXPECT_TRUE(text_of(made) == "&" + other);
      EXPECT_EQ(type.equals(&made, &field), text == other);
    }
    type.deinit(&field);
    EXPECT_TRUE(field == nullptr && log.fresh().empty());
    type.deinit(&field);
    *made = value;
    for (const node *wrong : children(kinds.get()))
      if (strcmp(wrong->key, type.kind) != 0 && !node_is_null(wrong)) {
        EXPECT_FALSE(type.from_node(&made, wrong));
        reported(type.function, type.kind, wrong);
        EXPECT_TRUE(made == kept && *made == value) << wrong->key;
        EXPECT_FALSE(type.from_node(&field, wrong));
        reported(type.function, type.kind, wrong);
        ASSERT_TRUE(field != nullptr && *field == Value());
        type.deinit(&field);
      }
    EXPECT_TRUE(type.from_node(&made, node_object_get(kinds.get(), "null")) && !made);
    EXPECT_EQ(*kept, value); // not released
    free(kept);
  }
  EXPECT_EQ(kinds->refcount, 1u);
}

TEST_F(Convert, CellsKeepTheirPlaceAndTellWrongKinds) {
  check_cells<int>({"int_ptr_from_node", "integer", int_new, int_ptr_into_node,
                    int_ptr_from_node, int_ptr_equals, int_ptr_fprint, int_ptr_deinit},
                   {"0", "7", "-1", "-2147483648", "2147483647"});
  check_cells<int64_t>({"node_int_ptr_from_node", "integer", node_int_new,
                        node_int_ptr_into_node, node_int_ptr_from_node, node_int_ptr_equals,
                        node_int_ptr_fprint, node_int_ptr_deinit},
                       {"0", "-2", "4294967296", "9223372036854775807"});
  check_cells<bool>({"bool_ptr_from_node", "boolean", bool_new, bool_ptr_into_node,
                     bool_ptr_from_node, bool_ptr_equals, bool_ptr_fprint, bool_ptr_deinit},
                    {"true", "false"});
}

TEST_F(Convert, AnyByteButZeroIsTrue) {
  bool *one = bool_new(true), *two = bool_new(false);
  memset(two, 2, 1);
  EXPECT_EQ(printed<bool *const *>(bool_ptr_fprint, &two), "&true");
  EXPECT_TRUE(node_get_boolean(tree(bool_ptr_into_node(&two, nullptr)).get()));
  EXPECT_FALSE(bool_ptr_equals(&one, &two)); // bytes are compared
  bool_ptr_deinit(&one);
  bool_ptr_deinit(&two);
}

TEST_F(Convert, IntegersKeepTheirLowBits) {
  int low = 9, *field = &low;
  for (int64_t value : {4294967297, 4294967295, 2147483648, INT64_MIN, INT64_MAX}) {
    EXPECT_TRUE(int_ptr_from_node(&field, tree(node_new_integer(value)).get()));
    EXPECT_EQ(static_cast<uint32_t>(low), static_cast<uint64_t>(value) % 4294967296);
  }
  int64_t least = INT64_MIN, *wide = &least;
  EXPECT_EQ(node_get_integer(tree(node_int_ptr_into_node(&wide, nullptr)).get()), least);
}

TEST_F(Convert, TextsAreCopiedAndMayBeAbsentInOneType) {
  struct {
    const char *function, *wanted;
    node *(*into_node)(char *const *, node *);
    bool (*from_node)(char **, const node *), optional;
  } types[] = {{"str_from_node", "string", str_into_node, str_from_node, false},
               {"strn_from_node", "string or null", strn_into_node, strn_from_node, true}};
  for (const auto &type : types) {
    char text[] = "two\nlines \"é\"", *field = text;
    EXPECT_EQ(type.into_node(&field, kinds.get()), nullptr);
    const tree n(type.into_node(&field, nullptr));
    EXPECT_STREQ(node_get_string(n.get()), text);
    EXPECT_TRUE(type.from_node(&field, n.get())); // what was there is not released
    EXPECT_TRUE(field != text && field != node_get_string(n.get()));
    EXPECT_EQ(test::take(field), text);
    for (const node *other : children(kinds.get()))
      if (!node_is_string(other)) {
        const bool good = type.optional && node_is_null(other);
        field = text;
        EXPECT_TRUE(type.from_node(&field, other) == good && field == nullptr);
        if (!good)
          reported(type.function, type.wanted, other);
      }
    const tree absent(type.into_node(&field, nullptr));
    EXPECT_TRUE(type.optional ? node_is_null(absent.get()) : absent == nullptr);
    log_set_debug(false);
    EXPECT_FALSE(type.from_node(&field, kinds.get()));
    log_set_debug(true);
    EXPECT_EQ(log.fresh(), "");
  }
}

TEST_F(Convert, ListsFillATargetWhereTheyCan) {
  char a[] = "a", b[] = "b, c", *two[] = {a, b, nullptr}, *empty[] = {nullptr};
  char **field = two, **none = nullptr, **hollow = empty;
  EXPECT_EQ(compact(tree(sl_into_node(&field, nullptr)).get()), R"(["a","b, c"])");
  const tree targets = make(R"({"array":[1],"object":{"k":1},"string":"s"})");
  const std::string failed = "DEBUG: sl_into_node: Failed to add array element.\n";
  for (char **const *nothing : {&none, &hollow}) {
    EXPECT_EQ(compact(tree(sl_into_node(nothing, nullptr)).get()), "[]");
    EXPECT_EQ(sl_into_node(nothing, targets.get()), targets.get());
    EXPECT_EQ(printed(sl_fprint, nothing), "[  ]");
  }
  EXPECT_EQ(log.fresh(), "");
  for (node *target : children(targets.get())) {
    EXPECT_EQ(sl_into_node(&field, target), target);
    EXPECT_EQ(log.fresh(), node_is_array(target) ? "" : failed + failed);
    EXPECT_EQ(target->refcount, 1u);
  }
  EXPECT_EQ(compact(targets.get()),
            R"({"array":[1,"a","b, c"],"object":{"k":1},"string":"s"})");
  EXPECT_EQ(printed<char **const *>(sl_fprint, &field), "[ a, b, c ]");
}

TEST_F(Convert, ListsAreReadWholeOrNotAtAll) {
  char *own[] = {nullptr}, **field = own;
  for (const node *other : children(kinds.get()))
    if (!node_is_array(other)) {
      EXPECT_FALSE(sl_from_node(&field, other));
      EXPECT_EQ(field, own);
      reported("sl_from_node", "array of strings", other);
    }
  const tree lists =
      make(R"({"deep":[["a",5],["a","b",{}],[null],["x","->/0"]],"none":[]})");
  for (const node *mixed : children(node_object_get(lists.get(), "deep"))) {
    field = own;
    EXPECT_FALSE(sl_from_node(&field, mixed));
    EXPECT_EQ(field, nullptr);
    EXPECT_EQ(log.fresh(), "DEBUG: sl_from_node: " + test::where(mixed) +
                               ": Expected array of strings, got " +
                               node_type_to_string(children(mixed).back()) +
                               " array element.\n");
  }
  field = own;
  EXPECT_TRUE(sl_from_node(&field, node_object_get(lists.get(), "none")));
  EXPECT_EQ(field, nullptr);

  std::string text = R"(["","é")"; // the list is not walked anew for every element
  for (size_t i = 0; i < 2 * test::wide_count; i++)
    text += ",\"" + std::to_string(i) + "\"";
  const tree many = make(text + "]");
  const clock_t start = clock();
  ASSERT_TRUE(sl_from_node(&field, many.get()));
  EXPECT_LT((clock() - start) / CLOCKS_PER_SEC, 5);
  EXPECT_TRUE(node_equals(tree(sl_into_node(&field, nullptr)).get(), many.get()));
  sl_free(field);
  EXPECT_EQ(log.fresh(), "");
}

} // namespace
