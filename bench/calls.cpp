// The floor of stringify: the calls of yajl's generator that write a document, recorded
// beforehand in one flat list, with no tree to walk.
#include "contender.hpp"
#include "events.hpp"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>
#include <yajl/yajl_gen.h>

namespace bench {
namespace {

enum class call_kind {
  null,
  boolean,
  integer,
  real,
  string,
  open_object,
  close_object,
  open_array,
  close_array
};

struct call {
  call_kind kind;
  union {
    bool boolean;
    long long integer;
    double real;
    const std::string *string;
  };
};

struct recording {
  std::vector<call> calls;
  std::deque<std::string> strings;
};

call &add(void *context, call_kind kind) {
  return static_cast<recording *>(context)->calls.emplace_back(call{kind, {}});
}

template <call_kind kind>
int add_plain(void *context) {
  add(context, kind);
  return 1;
}

int add_boolean(void *context, int value) {
  add(context, call_kind::boolean).boolean = value != 0;
  return 1;
}

int add_integer(void *context, long long value) {
  add(context, call_kind::integer).integer = value;
  return 1;
}

int add_real(void *context, double value) {
  add(context, call_kind::real).real = value;
  return 1;
}

int add_string(void *context, const unsigned char *bytes, std::size_t length) {
  auto &strings = static_cast<recording *>(context)->strings;
  add(context, call_kind::string).string = &strings.emplace_back(bytes, bytes + length);
  return 1;
}

constexpr yajl_callbacks record_all{
    add_plain<call_kind::null>,
    add_boolean,
    add_integer,
    add_real,
    nullptr,
    add_string,
    add_plain<call_kind::open_object>,
    add_string,
    add_plain<call_kind::close_object>,
    add_plain<call_kind::open_array>,
    add_plain<call_kind::close_array>,
};

void replay(const call &c, yajl_gen generator) {
  switch (c.kind) {
  case call_kind::null:
    yajl_gen_null(generator);
    break;
  case call_kind::boolean:
    yajl_gen_bool(generator, c.boolean);
    break;
  case call_kind::integer:
    yajl_gen_integer(generator, c.integer);
    break;
  case call_kind::real:
    yajl_gen_double(generator, c.real);
    break;
  case call_kind::string:
    yajl_gen_string(
        generator,
        static_cast<const unsigned char *>(static_cast<const void *>(c.string->data())),
        c.string->size());
    break;
  case call_kind::open_object:
    yajl_gen_map_open(generator);
    break;
  case call_kind::close_object:
    yajl_gen_map_close(generator);
    break;
  case call_kind::open_array:
    yajl_gen_array_open(generator);
    break;
  case call_kind::close_array:
    yajl_gen_array_close(generator);
    break;
  }
}

void *record(std::string_view text) {
  auto result = std::make_unique<recording>();
  return parse_events(text, record_all, result.get()) ? result.release() : nullptr;
}

void release(void *tree) {
  delete static_cast<recording *>(tree);
}

std::size_t stringify(void *tree) {
  yajl_gen generator = yajl_gen_alloc(nullptr);
  yajl_gen_config(generator, yajl_gen_beautify, 0);
  for (const call &c : static_cast<const recording *>(tree)->calls)
    replay(c, generator);

  const unsigned char *bytes = nullptr;
  std::size_t length = 0;
  yajl_gen_get_buf(generator, &bytes, &length);
  char *text = strndup(static_cast<const char *>(static_cast<const void *>(bytes)), length);
  std::size_t written = text != nullptr ? std::strlen(text) : 0;
  yajl_gen_free(generator);
  std::free(text);
  return written;
}

} // namespace

const contender &calls_contender() {
  static constexpr std::array rows{row::stringify};
  static constexpr contender self{"floor",   rows,    record,  release,
                                  stringify, nullptr, nullptr, nullptr};
  return self;
}

} // namespace bench
