// JSON text, in pieces, in one piece and as a buffer; the values are written and read back.
#include "fuzz.hpp"

using namespace fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const input in(data, size);
  const outcome cut =
      read(json_stream_new, json_stream_parse, json_stream_free, in, true, "\n");
  require_same(cut,
               read(json_stream_new, json_stream_parse, json_stream_free, in, false, "\n"));

  tree whole;
  input::feed_block(
      [&](const void *bytes, std::size_t count) {
        whole.reset(json_parse_buffer(bytes, count));
        return true;
      },
      in.bytes);
  if (whole)
    require(cut.accepted && cut.values.size() == 1 && same(whole, cut.values[0]),
            "what is one value as a buffer is the same value of a stream");
  for (const tree &value : cut.values) {
    check_json(value);
    check_msgpack(value);
  }
  return 0;
}
