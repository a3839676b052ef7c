#include "bench.hpp"

#include <memory>
#include <msgpack.h>

namespace bench {
namespace {

// Objects in a zone. Texts are not copied but point into the message.
void *decode(std::string_view bytes) {
  auto result = std::make_unique<msgpack_unpacked>();
  msgpack_unpacked_init(result.get());
  std::size_t offset = 0;
  if (msgpack_unpack_next(result.get(), bytes.data(), bytes.size(), &offset) ==
      MSGPACK_UNPACK_SUCCESS)
    return result.release();
  msgpack_unpacked_destroy(result.get());
  return nullptr;
}

void release(void *tree) {
  std::unique_ptr<msgpack_unpacked> owner(static_cast<msgpack_unpacked *>(tree));
  msgpack_unpacked_destroy(owner.get());
}

std::size_t encode(void *tree) {
  msgpack_sbuffer buffer;
  msgpack_sbuffer_init(&buffer);
  msgpack_packer packer;
  msgpack_packer_init(&packer, &buffer, msgpack_sbuffer_write);
  bool packed =
      msgpack_pack_object(&packer, static_cast<msgpack_unpacked *>(tree)->data) == 0;
  std::size_t size = packed ? buffer.size : 0;
  msgpack_sbuffer_destroy(&buffer);
  return size;
}

} // namespace

const library msgpackc{.name = "msgpack-c",
                       .packed = true,
                       .parse = decode,
                       .release = release,
                       .write = encode};

} // namespace bench
