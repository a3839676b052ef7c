// One zeroed record a value, one copy a name, one copy a string, all linked in lists: no
// index, no labels, no checks.
#include "floor.hpp"
#include "contender.hpp"
#include "events.hpp"
#include "packed.hpp"

#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

struct builder {
  floor_value *root;
  floor_value *current; // the innermost open container
  char *name;           // of the member to come
};

floor_value *allocate(floor_kind kind) {
  auto *value = static_cast<floor_value *>(std::calloc(1, sizeof(floor_value)));
  if (value == nullptr)
    std::abort();
  value->kind = kind;
  return value;
}

void append(floor_value *parent, floor_value *value) {
  value->parent = parent;
  if (parent->last != nullptr)
    parent->last->next = value;
  else
    parent->first = value;
  parent->last = value;
}

floor_value *add(void *context, floor_kind kind) {
  auto *build = static_cast<builder *>(context);
  floor_value *value = allocate(kind);
  value->name = build->name;
  build->name = nullptr;
  if (build->current != nullptr)
    append(build->current, value);
  else
    build->root = value;
  return value;
}

int open(void *context, floor_kind kind) {
  static_cast<builder *>(context)->current = add(context, kind);
  return 1;
}

int close(void *context) {
  auto *build = static_cast<builder *>(context);
  build->current = build->current->parent;
  return 1;
}

const char *chars(const unsigned char *bytes) {
  return static_cast<const char *>(static_cast<const void *>(bytes));
}

int add_null(void *context) {
  add(context, floor_kind::null);
  return 1;
}

int add_boolean(void *context, int value) {
  add(context, floor_kind::boolean)->boolean = value != 0;
  return 1;
}

int add_integer(void *context, long long value) {
  add(context, floor_kind::integer)->integer = value;
  return 1;
}

int add_real(void *context, double value) {
  add(context, floor_kind::real)->real = value;
  return 1;
}

int add_string(void *context, const unsigned char *bytes, std::size_t length) {
  auto *text = static_cast<char *>(std::malloc(length + 1));
  if (text == nullptr)
    std::abort();
  std::memcpy(text, bytes, length);
  text[length] = '\0';
  add(context, floor_kind::string)->string = text;
  return 1;
}

int keep_name(void *context, const unsigned char *bytes, std::size_t length) {
  static_cast<builder *>(context)->name = strndup(chars(bytes), length);
  return 1;
}

int open_object(void *context) {
  return open(context, floor_kind::object);
}

int open_array(void *context) {
  return open(context, floor_kind::array);
}

constexpr yajl_callbacks build_tree{
    add_null,    add_boolean, add_integer, add_real,   nullptr, add_string,
    open_object, keep_name,   close,       open_array, close,
};

const unsigned char *unsigned_chars(std::string_view text) {
  return static_cast<const unsigned char *>(static_cast<const void *>(text.data()));
}

void build_next(builder *build, packed_reader &in) {
  const packed_value value = in.next();
  switch (value.kind) {
  case floor_kind::null:
    add_null(build);
    break;
  case floor_kind::boolean:
    add_boolean(build, value.boolean);
    break;
  case floor_kind::integer:
    add_integer(build, value.integer);
    break;
  case floor_kind::real:
    add_real(build, value.real);
    break;
  case floor_kind::string:
    add_string(build, unsigned_chars(in.take(value.count)), value.count);
    break;
  case floor_kind::array:
  case floor_kind::object:
    open(build, value.kind);
    for (std::uint64_t i = 0; i < value.count; ++i) {
      if (value.kind == floor_kind::object) {
        const std::string_view name = in.take(in.next().count);
        keep_name(build, unsigned_chars(name), name.size());
      }
      build_next(build, in);
    }
    close(build);
    break;
  }
}

void *decode(std::string_view message) {
  builder build{};
  packed_reader in(message);
  build_next(&build, in);
  return build.root;
}

floor_value *duplicate(const floor_value *value) {
  floor_value *result = allocate(value->kind);
  if (value->name != nullptr)
    result->name = strdup(value->name);
  if (value->kind == floor_kind::string)
    result->string = strdup(value->string);
  else
    result->integer = value->integer; // whichever scalar it is
  for (const floor_value *child = value->first; child != nullptr; child = child->next)
    append(result, duplicate(child));
  return result;
}

bool same_scalar(const floor_value *a, const floor_value *b) {
  switch (a->kind) {
  case floor_kind::boolean:
    return a->boolean == b->boolean;
  case floor_kind::integer:
    return a->integer == b->integer;
  case floor_kind::real:
    return a->real == b->real;
  case floor_kind::string:
    return std::strcmp(a->string, b->string) == 0;
  default:
    return true;
  }
}

// Pair by pair, in order.
bool same(const floor_value *a, const floor_value *b) {
  if (a->kind != b->kind || (a->name == nullptr) != (b->name == nullptr) ||
      (a->name != nullptr && std::strcmp(a->name, b->name) != 0) || !same_scalar(a, b))
    return false;
  a = a->first;
  b = b->first;
  for (; a != nullptr && b != nullptr; a = a->next, b = b->next) {
    if (!same(a, b))
      return false;
  }
  return a == b;
}

void *parse(std::string_view text) {
  return floor_parse(text);
}

void release(void *tree) {
  floor_release(static_cast<floor_value *>(tree));
}

void *copy(void *tree) {
  return duplicate(static_cast<const floor_value *>(tree));
}

bool equal(void *a, void *b) {
  return same(static_cast<const floor_value *>(a), static_cast<const floor_value *>(b));
}

} // namespace

floor_value *floor_parse(std::string_view text) {
  builder build{};
  if (parse_events(text, build_tree, &build))
    return build.root;
  std::free(build.name);
  if (build.root != nullptr)
    floor_release(build.root);
  return nullptr;
}

void floor_release(floor_value *value) {
  for (floor_value *child = value->first; child != nullptr;) {
    floor_value *next = child->next;
    floor_release(child);
    child = next;
  }
  if (value->kind == floor_kind::string)
    std::free(value->string);
  std::free(value->name);
  std::free(value);
}

const contender &floor_contender() {
  static constexpr std::array rows{row::parse, row::release, row::copy, row::equality};
  static constexpr contender self{"floor", rows,    parse, release,
                                  nullptr, nullptr, copy,  equal};
  return self;
}

const contender &floor_msgpack_contender() {
  static constexpr std::array rows{row::decode};
  static constexpr contender self{"floor", rows,    decode,  release, nullptr,
                                  nullptr, nullptr, nullptr, true};
  return self;
}

} // namespace bench
