// The floors of the comparison: yajl's parser alone, and the cheapest tree that can be
// built from its events and written. It has one zeroed record for each value, as large as
// that of a full-featured tree, and one copy of each name and text, all linked in lists,
// without index, labels or checks. The same tree is built from MessagePack.
#include "bench.hpp"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <endian.h>
#include <memory>
#include <utility>
#include <yajl/yajl_gen.h>
#include <yajl/yajl_parse.h>

namespace bench {
namespace {

enum class kind { null, boolean, integer, real, string, array, object };

struct record {
  record *next, *first, *last, *parent;
  char *name;
  kind type;
  union {
    long long integer;
    double real;
    char *text;
  };
  char rest[136]; // stands for the indexes and counters of a full-featured tree
};

char *copy_text(const void *text, std::size_t size) {
  auto *copy = static_cast<char *>(std::malloc(size + 1));
  std::memcpy(copy, text, size);
  copy[size] = '\0';
  return copy;
}

const unsigned char *bytes_of(const char *text) {
  return static_cast<const unsigned char *>(static_cast<const void *>(text));
}

// The functions are handlers of yajl's events; 1 means go on.
struct builder {
  record *root = nullptr, *current = nullptr; // the innermost open container
  char *next_name = nullptr;

  record *add(kind type) {
    auto *value = static_cast<record *>(std::calloc(1, sizeof(record)));
    value->type = type;
    value->name = std::exchange(next_name, nullptr);
    value->parent = current;
    if (current == nullptr)
      root = value;
    else if (current->last != nullptr)
      current->last = current->last->next = value;
    else
      current->first = current->last = value;
    return value;
  }
  int scalar(kind type, long long value) { return add(type)->integer = value, 1; }
  int real(double value) { return add(kind::real)->real = value, 1; }
  int string(const void *text, std::size_t size) {
    char *copy = copy_text(text, size);
    return add(kind::string)->text = copy, 1;
  }
  int name(const void *text, std::size_t size) {
    return next_name = copy_text(text, size), 1;
  }
  int open(kind type) { return current = add(type), 1; }
  int close() { return current = current->parent, 1; }
};

// Every kind has a handler: without one yajl would not convert numbers.
struct nothing {
  int scalar(kind, long long) { return 1; }
  int real(double) { return 1; }
  int string(const void *, std::size_t) { return 1; }
  int name(const void *, std::size_t) { return 1; }
  int open(kind) { return 1; }
  int close() { return 1; }
};

template <class T>
T &to(void *context) {
  return *static_cast<T *>(context);
}

template <class T>
constexpr yajl_callbacks handlers{
    [](void *c) { return to<T>(c).scalar(kind::null, 0); },
    [](void *c, int value) { return to<T>(c).scalar(kind::boolean, value); },
    [](void *c, long long value) { return to<T>(c).scalar(kind::integer, value); },
    [](void *c, double value) { return to<T>(c).real(value); },
    nullptr,
    [](void *c, const unsigned char *text, std::size_t n) {
      return to<T>(c).string(text, n);
    },
    [](void *c) { return to<T>(c).open(kind::object); },
    [](void *c, const unsigned char *text, std::size_t n) {
      return to<T>(c).name(text, n);
    },
    [](void *c) { return to<T>(c).close(); },
    [](void *c) { return to<T>(c).open(kind::array); },
    [](void *c) { return to<T>(c).close(); },
};

template <class T>
bool parse_events(std::string_view text, std::size_t piece, T &taker) {
  const std::unique_ptr<yajl_handle_t, decltype(&yajl_free)> parser(
      yajl_alloc(&handlers<T>, nullptr, &taker), yajl_free);
  yajl_config(parser.get(), yajl_allow_comments, 1);
  yajl_config(parser.get(), yajl_dont_validate_strings, 1);
  yajl_config(parser.get(), yajl_allow_multiple_values, 1);
  for (; !text.empty(); text.remove_prefix(std::min(piece, text.size())))
    if (yajl_parse(parser.get(), bytes_of(text.data()), std::min(piece, text.size())) !=
        yajl_status_ok)
      return false;
  return yajl_complete_parse(parser.get()) == yajl_status_ok;
}

void release(void *tree) {
  auto *value = static_cast<record *>(tree);
  for (record *child = value->first; child != nullptr;)
    release(std::exchange(child, child->next));
  if (value->type == kind::string)
    std::free(value->text);
  std::free(value->name);
  std::free(value);
}

void duplicate(const record *value, builder &out) {
  if (value->name != nullptr)
    out.name(value->name, std::strlen(value->name));
  if (value->type == kind::string) {
    out.string(value->text, std::strlen(value->text));
  } else if (value->type < kind::array) {
    out.scalar(value->type, value->integer); // also the bits of a real
  } else {
    out.open(value->type);
    for (const record *child = value->first; child != nullptr; child = child->next)
      duplicate(child, out);
    if (out.current != out.root)
      out.close();
  }
}

void write_text(const char *text, yajl_gen out) {
  yajl_gen_string(out, bytes_of(text), std::strlen(text));
}

void write(const record *value, yajl_gen out) {
  if (value->name != nullptr)
    write_text(value->name, out);
  const bool object = value->type == kind::object;
  if (value->type == kind::null)
    yajl_gen_null(out);
  else if (value->type == kind::boolean)
    yajl_gen_bool(out, value->integer != 0);
  else if (value->type == kind::integer)
    yajl_gen_integer(out, value->integer);
  else if (value->type == kind::real)
    yajl_gen_double(out, value->real);
  else if (value->type == kind::string)
    write_text(value->text, out);
  else {
    object ? yajl_gen_map_open(out) : yajl_gen_array_open(out);
    for (const record *child = value->first; child != nullptr; child = child->next)
      write(child, out);
    object ? yajl_gen_map_close(out) : yajl_gen_array_close(out);
  }
}

std::size_t stringify(void *tree) {
  yajl_gen generator = yajl_gen_alloc(nullptr);
  write(static_cast<const record *>(tree), generator);
  const unsigned char *text = nullptr;
  std::size_t size = 0;
  yajl_gen_get_buf(generator, &text, &size);
  std::free(copy_text(text, size)); // the copy that the caller gets
  yajl_gen_free(generator);
  return size;
}

// The MessagePack forms that JSON needs. Those with a number after the tag are grouped by
// its width.
struct unpacker {
  const char *at;
  builder &out;

  void value() {
    const auto tag = static_cast<std::uint8_t>(*at++);
    if (tag < 0x80 || tag >= 0xe0)
      out.scalar(kind::integer, static_cast<std::int8_t>(tag));
    else if (tag < 0xa0)
      children(tag < 0x90 ? kind::object : kind::array, tag & 0x0f);
    else if (tag < 0xc0)
      string(tag & 0x1f);
    else if (tag == 0xc0)
      out.scalar(kind::null, 0);
    else if (tag < 0xc4)
      out.scalar(kind::boolean, tag & 1);
    else if (tag == 0xcb)
      out.real(std::bit_cast<double>(number(8)));
    else if (tag < 0xd0)
      out.scalar(kind::integer, static_cast<long long>(number(1U << (tag - 0xcc))));
    else if (tag < 0xd4)
      out.scalar(kind::integer, negative(1U << (tag - 0xd0)));
    else if (tag < 0xdc)
      string(number(1U << (tag - 0xd9)));
    else
      children(tag < 0xde ? kind::array : kind::object, number(2U << (tag & 1)));
  }

  std::uint64_t number(unsigned width) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes); // there is room after the text
    at += width;
    return be64toh(bytes) >> (64 - 8 * width);
  }

  long long negative(unsigned width) {
    const unsigned unused = 64 - 8 * width;
    return static_cast<long long>(number(width) << unused) >> unused;
  }

  void string(std::size_t size) {
    out.string(at, size);
    at += size;
  }

  void children(kind type, std::size_t count) {
    out.open(type);
    for (; count > 0; --count) {
      if (type == kind::object) {
        const auto tag = static_cast<std::uint8_t>(*at++);
        const std::size_t size = tag < 0xc0 ? tag & 0x1f : number(1U << (tag - 0xd9));
        out.name(at, size);
        at += size;
      }
      value();
    }
    out.close();
  }
};

void *decode(std::string_view message) {
  builder tree;
  unpacker{message.data(), tree}.value();
  return tree.root;
}

void *parse(std::string_view text) {
  builder tree;
  return parse_events(text, text.size(), tree) ? tree.root : nullptr;
}

void *copy(void *tree) {
  builder out;
  duplicate(static_cast<const record *>(tree), out);
  return out.root;
}

nothing no_tree;

bool stream(std::string_view text, std::size_t piece) {
  return parse_events(text, piece, no_tree);
}

void *parse_only(std::string_view text) {
  return stream(text, text.size()) ? &no_tree : nullptr;
}

} // namespace

const library floor_events{
    .name = "events", .parse = parse_only, .release = [](void *) {}, .stream = stream};

const library floor_tree{
    .name = "floor", .parse = parse, .release = release, .write = stringify, .copy = copy};

const library floor_msgpack{
    .name = "floor", .packed = true, .parse = decode, .release = release};

} // namespace bench
