// MessagePack bytes: a stream in pieces gives the same messages as decoding them one by
// one; the values are encoded and read back.
#include "fuzz.hpp"

using namespace fuzz;

namespace {

void check_one_by_one(std::string_view bytes, const outcome &streamed) {
  std::size_t count = 0;
  while (!bytes.empty()) {
    std::size_t size = bytes.size();
    const tree value(msgpack_decode(bytes.data(), &size));
    require(size <= bytes.size(), "a message ends inside the bytes");
    if (count == streamed.values.size()) { // cut short, or a failure
      require(value == nullptr, "a stream delivers every message");
      require(size == bytes.size() || !streamed.accepted,
              "a message that fails ends the stream");
      return;
    }
    require(same(value, streamed.values[count++]), "a stream delivers the same trees");
    bytes.remove_prefix(size);
  }
  require(count == streamed.values.size(), "a stream delivers no more than there is");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const input in(data, size);
  const outcome streamed = read(msgpack_stream_new, msgpack_stream_decode,
                                msgpack_stream_free, in, true, nullptr);
  input::feed_block(
      [&](const char *bytes, std::size_t count) {
        check_one_by_one({bytes, count}, streamed);
        return true;
      },
      in.bytes);
  for (const tree &value : streamed.values)
    if (value)
      check_msgpack(value);
  return 0;
}
