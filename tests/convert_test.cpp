#include <nodetree/convert.h>

#include "tree.hpp"

#include <climits>

namespace {

using test::children;
using test::make;
using test::show;
using test::tree;

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
struct cell {
  const char *function, *kind;
  Value *(*create)(Value);
  node *(*into_node)(Value *const *, node *);
  bool (*from_node)(Value **, const node *);
  bool (*equals)(Value *const *, Value *const *);
  int (*fprint)(Value *const *, FILE *);
  void (*deinit)(Value **);
};

class Convert : public testing::Test {
protected:
  // Whether the one new message is the one about a wrong kind.
  void reported(const std::string &function, const char *wanted, const node *n) {
    EXPECT_EQ(log.fresh(), "DEBUG: " + function + ": " + test::where(n) + ": Expected " +
                               wanted + ", got " + node_type_to_string(n) + ".\n");
  }
  template <typename Value>
  void check_cells(const cell<Value> &type, Value value, const std::string &text,
                   const std::string &other);

  // One node of every kind, under the name of the kind.
  const tree kinds = make("{'null':null,'object':{'x':1},'array':['x'],'integer':5,"
                          "'real':5.5,'string':'5','boolean':true,'link':'->/integer'}");
  test::log_reader log;
};

// `text` and `other` are the JSON of `value` and of another value.
template <typename Value>
void Convert::check_cells(const cell<Value> &type, Value value, const std::string &text,
                          const std::string &other) {
  Value *none = nullptr, *kept = type.create(value), *made = kept, *field = nullptr;
  auto shown = [&](Value *const &f) {
    EXPECT_EQ(type.into_node(&f, kinds.get()), nullptr) << "it fills no target";
    return printed(type.fprint, &f) + show(tree(type.into_node(&f, nullptr)));
  };
  EXPECT_EQ(shown(none) + shown(made), "NULLnull&" + text + text);
  EXPECT_TRUE(type.from_node(&field, make(text).get()) && type.equals(&field, &made));
  EXPECT_TRUE(type.from_node(&made, make(other).get()) && made == kept) << "the cell stays";
  EXPECT_EQ(shown(made), "&" + other + other);
  EXPECT_TRUE(type.equals(nullptr, nullptr) && type.equals(&none, &none));
  EXPECT_FALSE(type.equals(nullptr, &none) || type.equals(&none, nullptr) ||
               type.equals(&none, &made) || type.equals(&made, &none) ||
               type.equals(&field, &made));
  for (const node *n : children(kinds.get())) {
    type.deinit(&field); // also for NULL
    EXPECT_EQ(field, nullptr);
    const bool null = node_is_null(n);
    if (null || strcmp(n->key, type.kind) == 0)
      continue;
    EXPECT_FALSE(type.from_node(&made, n));
    reported(type.function, type.kind, n);
    EXPECT_EQ(shown(made), "&" + other + other);
    EXPECT_FALSE(type.from_node(&field, n)) << "gets a cell all the same";
    reported(type.function, type.kind, n);
    ASSERT_TRUE(field != nullptr && *field == Value());
  }
  type.deinit(&field);
  EXPECT_TRUE(type.from_node(&made, node_object_first(kinds.get())) && made == nullptr);
  EXPECT_EQ(log.fresh(), "");
  free(kept); // was not released
}

TEST_F(Convert, CellsAreReusedAndWrongKindsReported) {
  check_cells<int>({"int_ptr_from_node", "integer", int_new, int_ptr_into_node,
                    int_ptr_from_node, int_ptr_equals, int_ptr_fprint, int_ptr_deinit},
                   INT_MIN, "-2147483648", "0");
  check_cells<int64_t>({"node_int_ptr_from_node", "integer", node_int_new,
                        node_int_ptr_into_node, node_int_ptr_from_node, node_int_ptr_equals,
                        node_int_ptr_fprint, node_int_ptr_deinit},
                       INT64_MAX - 255, "9223372036854775552", "0");
  check_cells<bool>({"bool_ptr_from_node", "boolean", bool_new, bool_ptr_into_node,
                     bool_ptr_from_node, bool_ptr_equals, bool_ptr_fprint, bool_ptr_deinit},
                    true, "true", "false");
  int *small = nullptr, line = 0, other_line = 0;
  int64_t *large = nullptr;
  EXPECT_FALSE(int_ptr_from_node(&small, kinds.get()) ||
               node_int_ptr_from_node(&large, nullptr)); // no node, no kind
  EXPECT_EQ(sscanf(log.fresh(true).c_str(),
                   "DEBUG: int_ptr_from_node:%d:%*[^\n] "
                   "DEBUG: node_int_ptr_from_node:%d: ?: Expected",
                   &line, &other_line),
            2);
  EXPECT_NE(line, other_line);
  int_ptr_deinit(&small);
  node_int_ptr_deinit(&large);
}

TEST_F(Convert, AnyByteButZeroIsTrue) {
  bool *one = bool_new(true), *two = bool_new(false);
  memset(two, 2, 1);
  EXPECT_EQ(printed<bool *const *>(bool_ptr_fprint, &two), "&true");
  EXPECT_TRUE(node_get_boolean(tree(bool_ptr_into_node(&two, nullptr)).get()));
  EXPECT_FALSE(bool_ptr_equals(&one, &two)); // the bytes are compared
  bool_ptr_deinit(&one);
  bool_ptr_deinit(&two);
}

TEST_F(Convert, TextsAreCopiedAndOptionalInOneType) {
  const struct {
    const char *function, *wanted;
    node *(*into_node)(char *const *, node *);
    bool (*from_node)(char **, const node *);
    const char *absent;
  } types[] = {
      {"str_from_node", "string", str_into_node, str_from_node, "NULL"},
      {"strn_from_node", "string or null", strn_into_node, strn_from_node, "null"}};
  for (const auto &type : types) {
    char text[] = "two\nlines \"é\"", *field = text;
    EXPECT_EQ(type.into_node(&field, kinds.get()), nullptr);
    const tree n(type.into_node(&field, nullptr));
    EXPECT_STREQ(node_get_string(n.get()), text);
    EXPECT_TRUE(type.from_node(&field, n.get())); // the old value is not released
    EXPECT_NE(field, node_get_string(n.get()));
    EXPECT_EQ(test::take(field), text);
    for (const node *other : children(kinds.get()))
      if (!node_is_string(other)) {
        field = text;
        const bool good = type.from_node(&field, other);
        EXPECT_TRUE(field == nullptr && good == (show(other) == type.absent));
        if (!good)
          reported(type.function, type.wanted, other);
      }
    EXPECT_EQ(show(tree(type.into_node(&field, nullptr))), type.absent);
  }
  log_set_debug(false);
  char *unheard = nullptr;
  EXPECT_FALSE(str_from_node(&unheard, kinds.get()));
  EXPECT_EQ(log.fresh(), "");
}

TEST_F(Convert, ListsFillATargetIfPossible) {
  char a[] = "a", b[] = "b, c", *two[] = {a, b, nullptr}, **field = two, **none = nullptr,
       **empty = two + 2;
  EXPECT_EQ(show(tree(sl_into_node(&field, nullptr))), "['a','b, c']");
  EXPECT_EQ(printed<char **const *>(sl_fprint, &field), "[ a, b, c ]");
  for (char **const *nothing : {&none, &empty}) {
    EXPECT_EQ(show(tree(sl_into_node(nothing, nullptr))), "[]");
    EXPECT_EQ(sl_into_node(nothing, kinds.get()), kinds.get());
    EXPECT_EQ(printed(sl_fprint, nothing), "[  ]");
  }
  EXPECT_EQ(log.fresh(), "");
  const std::string failed = "DEBUG: sl_into_node: Failed to add array element.\n";
  for (node *target : children(kinds.get())) {
    const std::string filled = node_is_array(target) ? "['x','a','b, c']" : show(target);
    EXPECT_EQ(sl_into_node(&field, target), target);
    EXPECT_EQ(show(target), filled);
    EXPECT_EQ(log.fresh(), node_is_array(target) ? "" : failed + failed);
  }
}

TEST_F(Convert, ListsAreReadCompletelyOrNotAtAll) {
  char *own[] = {nullptr}, **field = own;
  for (const node *other : children(kinds.get()))
    if (!node_is_array(other)) {
      EXPECT_FALSE(sl_from_node(&field, other));
      EXPECT_EQ(field, own);
      reported("sl_from_node", "array of strings", other);
    }
  const tree lists = make("[['a',5],['a','b',{}],[null],['x','->/0']]");
  for (const node *mixed : children(lists.get())) {
    field = own;
    EXPECT_FALSE(sl_from_node(&field, mixed));
    EXPECT_EQ(field, nullptr);
    EXPECT_EQ(log.fresh(), "DEBUG: sl_from_node: " + test::where(mixed) +
                               ": Expected array of strings, got " +
                               node_type_to_string(children(mixed).back()) +
                               " array element.\n");
  }
  field = own;
  EXPECT_TRUE(sl_from_node(&field, make("[]").get()));
  EXPECT_EQ(field, nullptr);

  const tree many = make("['','é'" + test::repeat(",'x'", 2 * test::wide_count) + "]");
  test::on_small_stack([&] { sl_from_node(&field, many.get()); }); // in linear time
  EXPECT_TRUE(node_equals(tree(sl_into_node(&field, nullptr)).get(), many.get()));
  sl_free(field);
}

} // namespace
