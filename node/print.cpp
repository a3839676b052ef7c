#include "node/walk.hpp"
#include "shared/c_locale.hpp"

#include <cinttypes>

using namespace nodetree;

namespace nodetree {
namespace {

void print_link(char **path, FILE *stream) {
  std::fputc('(', stream);
  for (char **segment = path; segment && *segment; segment++)
    std::fprintf(stream, segment == path ? "%s" : "/%s", *segment);
  std::fputs(")\n", stream);
}

void print_leaf(const node *n, FILE *stream) {
  switch (n->type) {
  case NODE_NULL:
    std::fputc('\n', stream);
    break;
  case NODE_INTEGER:
    std::fprintf(stream, "%" PRId64 "\n", n->value.integer);
    break;
  case NODE_REAL:
    std::fprintf(stream, "%f\n", n->value.real);
    break;
  case NODE_STRING:
    std::fprintf(stream, "%s\n", n->value.string);
    break;
  case NODE_BOOLEAN:
    std::fprintf(stream, "%s\n", n->value.boolean ? "true" : "false");
    break;
  case NODE_LINK:
    print_link(n->value.link_path, stream);
    break;
  case NODE_OBJECT:
  case NODE_ARRAY:
    break;
  }
}

void print_path(const node *n, FILE *stream) {
  char *path = node_path(n);
  std::fprintf(stream, "%s=", path ? path : "");
  std::free(path);
}

} // namespace
} // namespace nodetree

void node_fprint(const node *n, FILE *stream) {
  CNumericLocale c_locale;
  if (!n) {
    std::fputs("NULL\n", stream);
    return;
  }
  for (Walk walk(const_cast<node *>(n)); !walk.done(); walk.advance()) {
    const node *at = walk.at();
    if (!walk.entering() || is_container(at))
      continue;
    if (at != n)
      print_path(at, stream);
    print_leaf(at, stream);
  }
}
