#include "expr/evaluation.hpp"

#include <cstring>
#include <memory>
#include <nodetree/string.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

namespace nodetree {
namespace {

struct FreeCode {
  void operator()(pcre2_code *code) const { pcre2_code_free(code); }
};
using Code = std::unique_ptr<pcre2_code, FreeCode>;

struct FreeMatchData {
  void operator()(pcre2_match_data *data) const { pcre2_match_data_free(data); }
};
using MatchData = std::unique_ptr<pcre2_match_data, FreeMatchData>;

PCRE2_SPTR as_units(const char *text) {
  return reinterpret_cast<PCRE2_SPTR>(text);
}

Step fail_to_compile(Evaluation &evaluation, const node *expr, int error, size_t offset) {
  PCRE2_UCHAR text[120];
  if (pcre2_get_error_message(error, text, sizeof text) < 0)
    std::memcpy(text, "Unknown", sizeof "Unknown");
  evaluation.fail(expr, "'regex' pattern invalid. Error at character %s",
                  Value::string(string_printf("%zu: %s", offset, text)));
  return error == PCRE2_ERROR_HEAP_FAILED ? Step::end : Step::failure;
}

Step match(Evaluation &evaluation, const Frame &frame, Value &value) {
  const char *pattern = frame.held[0].string(), *flags = frame.held[1].string();
  const char *subject = value.string();
  if (*flags && std::strcmp(flags, "i") != 0)
    return evaluation.fail(frame.expr, "'regex' has unsupported flags.");
  int error = 0;
  size_t offset = 0;
  const Code code(pcre2_compile(as_units(pattern), std::strlen(pattern),
                                *flags ? PCRE2_CASELESS : 0, &error, &offset, nullptr));
  if (!code)
    return fail_to_compile(evaluation, frame.expr, error, offset);
  const MatchData data(pcre2_match_data_create(0, nullptr));
  if (!data)
    return Step::end;
  value = Value::boolean(pcre2_match(code.get(), as_units(subject), std::strlen(subject), 0,
                                     0, data.get(), nullptr) >= 0);
  return Step::value;
}

Step take(Evaluation &evaluation, Frame &frame, Value &value) {
  static constexpr const char *wrong_kind[] = {
      "'regex' pattern parameter must be a string.",
      "'regex' flags parameter must be a string.",
      "'regex' string expression parameter must be a string.",
  };
  if (!value.is_string())
    return evaluation.fail(frame.expr, wrong_kind[frame.index]);
  if (frame.index == 2)
    return match(evaluation, frame, value);
  frame.held[frame.index] = std::move(value);
  return Step::more;
}

} // namespace

const Operation regex_operation = {
    .least = 4,
    .most = 4,
    .too_few = "'regex' expression requires regex, flags, and string parameter.",
    .too_many = "'regex' expression requires regex, flags, and string parameter.",
    .take = take,
};

} // namespace nodetree
