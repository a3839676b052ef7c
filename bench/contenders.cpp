#include "contender.hpp"

namespace bench {

std::span<const contender *const> contenders() {
  static const std::array all{&nodetree_contender(), &jansson_contender(),
                              &jsonc_contender(),    &cjson_contender(),
                              &floor_contender(),    &calls_contender(),
                              &events_contender(),   &nodetree_msgpack_contender(),
                              &msgpackc_contender(), &floor_msgpack_contender()};
  return all;
}

} // namespace bench
