#include "node/node_internal.hpp"
#include "shared/memory.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// Consumes the text, even on failure.
node *make_string(char *text) {
  node *n = text ? node_make(NODE_STRING) : nullptr;
  if (n)
    n->value.string = text;
  else
    std::free(text);
  return n;
}

} // namespace
} // namespace nodetree

node *node_new_null(void) {
  return node_make(NODE_NULL);
}

node *node_new_object(void) {
  return node_make(NODE_OBJECT);
}

node *node_new_array(void) {
  return node_make(NODE_ARRAY);
}

node *node_new_string(const char *text) {
  return text ? make_string(strdup(text)) : nullptr;
}

node *node_new_stringn(const char *text, size_t length) {
  return text ? make_string(strndup(text, length)) : nullptr;
}

node *node_new_string_printf(const char *format, ...) {
  char short_text[256];
  va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const int length = std::vsnprintf(short_text, sizeof short_text, format, arguments);
  char *text = nullptr;
  if (length >= 0 && static_cast<size_t>(length) < sizeof short_text)
    text = copy_text({short_text, static_cast<size_t>(length)});
  else if (length < 0 || vasprintf(&text, format, again) < 0)
    text = nullptr;
  va_end(again);
  va_end(arguments);
  return make_string(text);
}

node *node_new_integer(int64_t value) {
  node *n = node_make(NODE_INTEGER);
  if (n)
    n->value.integer = value;
  return n;
}

node *node_new_real(double value) {
  node *n = node_make(NODE_REAL);
  if (n)
    n->value.real = value;
  return n;
}

node *node_new_boolean(bool value) {
  node *n = node_make(NODE_BOOLEAN);
  if (n)
    n->value.boolean = value;
  return n;
}

node *node_new_link(char **path) {
  char **copy = sl_copy(path);
  node *n = copy || !path ? node_make(NODE_LINK) : nullptr;
  if (n)
    n->value.link_path = copy;
  else
    sl_free(copy);
  return n;
}

bool node_is_null(const node *n) {
  return has_kind(n, NODE_NULL);
}
bool node_is_object(const node *n) {
  return has_kind(n, NODE_OBJECT);
}
bool node_is_array(const node *n) {
  return has_kind(n, NODE_ARRAY);
}
bool node_is_integer(const node *n) {
  return has_kind(n, NODE_INTEGER);
}
bool node_is_real(const node *n) {
  return has_kind(n, NODE_REAL);
}
bool node_is_string(const node *n) {
  return has_kind(n, NODE_STRING);
}
bool node_is_boolean(const node *n) {
  return has_kind(n, NODE_BOOLEAN);
}
bool node_is_link(const node *n) {
  return has_kind(n, NODE_LINK);
}
bool node_is_container(const node *n) {
  return n && is_container(n);
}

const char *node_type_to_string(const node *n) {
  static const char *const names[] = {"null", "object", "array",   "integer",
                                      "real", "string", "boolean", "link"};
  return n && n->type <= NODE_LINK ? names[n->type] : "unknown";
}

int64_t node_get_integer(const node *n) {
  return has_kind(n, NODE_INTEGER) ? n->value.integer : 0;
}

double node_get_real(const node *n) {
  return has_kind(n, NODE_REAL) ? n->value.real : 0.0;
}

const char *node_get_string(const node *n) {
  return has_kind(n, NODE_STRING) ? n->value.string : nullptr;
}

bool node_get_boolean(const node *n) {
  return has_kind(n, NODE_BOOLEAN) && n->value.boolean;
}

char **node_get_link_path(const node *n) {
  return has_kind(n, NODE_LINK) ? n->value.link_path : nullptr;
}

const char *node_key(const node *n) {
  return n ? n->key : nullptr;
}
