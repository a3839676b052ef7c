#include "expr/evaluation.hpp"

#include <cstring>

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

// Not inlined: nested operations are not to keep room for the text on the stack.
[[gnu::noinline]] Value fail_to_compile(Evaluation &evaluation, node *expr, int error,
                                        size_t offset) {
  PCRE2_UCHAR text[120];
  if (pcre2_get_error_message(error, text, sizeof text) < 0)
    std::memcpy(text, "Unknown", sizeof "Unknown");
  return evaluation.fail(expr, "'regex' pattern invalid. Error at character %zu: %s",
                         offset, reinterpret_cast<const char *>(text));
}

} // namespace

Value eval_regex(Evaluation &evaluation, node *expr) {
  static const char *const wrong_kind[] = {
      "'regex' pattern parameter must be a string.",
      "'regex' flags parameter must be a string.",
      "'regex' string expression parameter must be a string.",
  };
  if (node_array_count(expr) != 4)
    return evaluation.fail(
        expr, "'regex' expression requires regex, flags, and string parameter.");
  Value values[3];
  const char *texts[3];
  node *operand = first_operand(expr);
  for (int i = 0; i < 3; i++, operand = next_operand(operand)) {
    values[i] = evaluation.eval(operand);
    if (!values[i])
      return nullptr;
    texts[i] = node_get_string(values[i].get());
    if (!texts[i])
      return evaluation.fail(expr, "%s", wrong_kind[i]);
  }
  const auto [pattern, flags, subject] = texts;
  if (*flags && std::strcmp(flags, "i") != 0)
    return evaluation.fail(expr, "'regex' has unsupported flags.");

  int error = 0;
  size_t offset = 0;
  Code code(pcre2_compile(as_units(pattern), std::strlen(pattern),
                          *flags ? PCRE2_CASELESS : 0, &error, &offset, nullptr));
  if (!code)
    return fail_to_compile(evaluation, expr, error, offset);
  MatchData data(pcre2_match_data_create(0, nullptr));
  if (!data)
    return nullptr;
  int result = pcre2_match(code.get(), as_units(subject), std::strlen(subject), 0, 0,
                           data.get(), nullptr);
  return Value(node_new_boolean(result >= 0));
}

} // namespace nodetree
