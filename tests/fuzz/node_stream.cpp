// Bytes of either encoding, recognised by the first piece: the values are those of the
// codec's own stream, and an answer is written in the same encoding.
#include "fuzz.hpp"

using namespace fuzz;

namespace {

template <node_stream_format format>
node_stream *open(node_value_callback callback, void *user_data) {
  return node_stream_new(format, callback, user_data);
}

outcome read_as(node_stream *(*open_stream)(node_value_callback, void *), const input &in,
                bool pieces) {
  return read(open_stream, node_stream_decode, node_stream_free, in, pieces, nullptr);
}

// The newline ends a JSON number.
void check_answer(node_stream_format format, const tree &value) {
  outcome answer;
  node_stream *peer = node_stream_new(format, outcome::add, &answer);
  char *data = nullptr;
  std::size_t size = 0;
  const bool has_form = format == NODE_STREAM_MSGPACK || !deeper_than(value.get(), 127);
  require(node_stream_encode(peer, value.get(), &data, &size) == has_form,
          "a value of the peer is written for the peer");
  const text written(data);
  if (has_form)
    require(node_stream_decode(peer, data, size) &&
                (format == NODE_STREAM_MSGPACK || node_stream_decode(peer, "\n", 1)) &&
                answer.values.size() == 1 && same(value, answer.values[0]),
            "an answer reads back");
  node_stream_free(peer);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const input in(data, size);
  const bool json = !in.empty_first() && !in.bytes.empty() && in.bytes.front() == '{';
  const node_stream_format format = json ? NODE_STREAM_JSON : NODE_STREAM_MSGPACK;
  const outcome recognised = read_as(open<NODE_STREAM_AUTO>, in, true);
  require_same(recognised, json ? read(json_stream_new, json_stream_parse, json_stream_free,
                                       in, false, nullptr)
                                : read(msgpack_stream_new, msgpack_stream_decode,
                                       msgpack_stream_free, in, false, nullptr));
  for (const tree &value : recognised.values)
    if (value)
      check_answer(format, value);
  return 0;
}
