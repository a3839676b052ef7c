#include "bench.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <nodetree/node.h>

namespace bench {
namespace {

node *tree_of(void *tree) {
  return static_cast<node *>(tree);
}

void *parse(std::string_view text) {
  return json_parse_buffer(text.data(), text.size());
}

void release(void *tree) {
  node_free(tree_of(tree));
}

std::size_t stringify(void *tree) {
  char *text = json_stringify(tree_of(tree), true);
  std::size_t length = text != nullptr ? std::strlen(text) : 0;
  std::free(text);
  return length;
}

void *decode(std::string_view message) {
  std::size_t size = message.size();
  return msgpack_decode(message.data(), &size);
}

std::size_t encode(void *tree) {
  char *message = nullptr;
  std::size_t size = 0;
  msgpack_encode(tree_of(tree), &message, &size);
  std::free(message);
  return size;
}

std::size_t answer(std::string_view text) {
  node *request = tree_of(parse(text));
  const node *params = node_lookup(request, "/params");
  const std::int64_t nights = node_get_integer(node_lookup(params, "nights"));
  node *reply = node_new_object();
  node_object_add(reply, "id",
                  node_new_integer(node_get_integer(node_lookup(request, "/id"))));
  node_object_add(reply, "status", node_new_string("ok"));
  node_object_add(reply, "guest",
                  node_new_string(node_get_string(node_lookup(params, "guests/0"))));
  node_object_add(reply, "total",
                  node_new_real(static_cast<double>(nights) *
                                node_get_real(node_lookup(params, "price"))));
  const std::size_t length = stringify(reply);
  node_free(reply);
  node_free(request);
  return length;
}

void drop(node *value, void *count) {
  ++*static_cast<std::size_t *>(count);
  node_free(value);
}

template <auto make, auto decode_piece, auto free_stream>
bool stream(std::string_view bytes, std::size_t piece) {
  std::size_t count = 0;
  auto *in = make(drop, &count);
  bool good = true;
  for (; good && !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size())))
    good = decode_piece(in, bytes.data(), std::min(piece, bytes.size()));
  free_stream(in);
  return good && count != 0;
}

} // namespace

const library nodetree_json{
    .name = "nodetree",
    .parse = parse,
    .release = release,
    .write = stringify,
    .lookup = [](void *tree,
                 const char *path) { return node_lookup(tree_of(tree), path) != nullptr; },
    .copy = [](void *tree) -> void * { return node_clone(tree_of(tree)); },
    .equal = [](void *a, void *b) { return node_equals(tree_of(a), tree_of(b)); },
    .answer = answer,
    .stream = stream<json_stream_new, json_stream_parse, json_stream_free>};

const library nodetree_msgpack{
    .name = "nodetree",
    .packed = true,
    .parse = decode,
    .release = release,
    .write = encode,
    .stream = stream<msgpack_stream_new, msgpack_stream_decode, msgpack_stream_free>};

} // namespace bench
