#include "node/label.hpp"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace nodetree {
namespace {

constexpr std::size_t shared_count = 1000;
constexpr std::size_t slot_size = 4;

struct SharedLabels {
  char text[shared_count][slot_size];
};

constexpr SharedLabels make_shared_labels() {
  SharedLabels labels{};
  for (std::size_t number = 0; number < shared_count; number++) {
    char *digit = labels.text[number];
    if (number >= 100)
      *digit++ = static_cast<char>('0' + number / 100);
    if (number >= 10)
      *digit++ = static_cast<char>('0' + number / 10 % 10);
    *digit = static_cast<char>('0' + number % 10);
  }
  return labels;
}

constexpr SharedLabels shared = make_shared_labels();

} // namespace

bool label_is_shared(const char *key) {
  return reinterpret_cast<std::uintptr_t>(key) - reinterpret_cast<std::uintptr_t>(&shared) <
         sizeof shared;
}

char *label_new(std::size_t number) {
  // The key is not const only because others are released through it.
  if (number < shared_count)
    return const_cast<char *>(shared.text[number]);
  char digits[24];
  char *end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  *end = '\0';
  return strdup(digits);
}

} // namespace nodetree
