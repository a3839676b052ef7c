#include "codec/mpack/mpack.h"
#include "shared/big_endian.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

using namespace nodetree;

namespace {

using Record = mpack_node_data_t;

constexpr std::size_t no_record = SIZE_MAX;

// What a tree begins with, and how much of it may stay unused between messages.
constexpr std::size_t smallest_buffer = 4096;
constexpr std::size_t fewest_records = 64;
constexpr std::size_t most_spare_bytes = 65536;

// What a value's first byte says.
struct Form {
  mpack_type_t type;
  std::uint8_t head;  // bytes before the value's body or children
  std::uint8_t width; // of those the bytes of its number (or length)
  std::int8_t number; // that number, when the width is 0
};

constexpr Form long_forms[] = {
    {mpack_type_nil, 1, 0, 0},  {mpack_type_missing, 1, 0, 0}, {mpack_type_bool, 1, 0, 0},
    {mpack_type_bool, 1, 0, 1}, {mpack_type_bin, 2, 1, 0},     {mpack_type_bin, 3, 2, 0},
    {mpack_type_bin, 5, 4, 0},  {mpack_type_ext, 3, 1, 0},     {mpack_type_ext, 4, 2, 0},
    {mpack_type_ext, 6, 4, 0},  {mpack_type_float, 5, 4, 0},   {mpack_type_double, 9, 8, 0},
    {mpack_type_uint, 2, 1, 0}, {mpack_type_uint, 3, 2, 0},    {mpack_type_uint, 5, 4, 0},
    {mpack_type_uint, 9, 8, 0}, {mpack_type_int, 2, 1, 0},     {mpack_type_int, 3, 2, 0},
    {mpack_type_int, 5, 4, 0},  {mpack_type_int, 9, 8, 0},     {mpack_type_ext, 2, 0, 1},
    {mpack_type_ext, 2, 0, 2},  {mpack_type_ext, 2, 0, 4},     {mpack_type_ext, 2, 0, 8},
    {mpack_type_ext, 2, 0, 16}, {mpack_type_str, 2, 1, 0},     {mpack_type_str, 3, 2, 0},
    {mpack_type_str, 5, 4, 0},  {mpack_type_array, 3, 2, 0},   {mpack_type_array, 5, 4, 0},
    {mpack_type_map, 3, 2, 0},  {mpack_type_map, 5, 4, 0}};

constexpr Form form_of(unsigned tag) {
  auto short_form = [=](mpack_type_t type, unsigned mask) {
    return Form{type, 1, 0, static_cast<std::int8_t>(tag & mask)};
  };
  if (tag < 0x80)
    return short_form(mpack_type_uint, 0x7f);
  if (tag < 0x90)
    return short_form(mpack_type_map, 0x0f);
  if (tag < 0xa0)
    return short_form(mpack_type_array, 0x0f);
  if (tag < 0xc0)
    return short_form(mpack_type_str, 0x1f);
  if (tag < 0xe0)
    return long_forms[tag - 0xc0];
  return short_form(mpack_type_int, 0xff);
}

constexpr auto forms = [] {
  std::array<Form, 256> table{};
  for (unsigned tag = 0; tag < table.size(); tag++)
    table[tag] = form_of(tag);
  return table;
}();

// The number behind a first byte, carrying its sign into all 64 bits where it has one.
std::uint64_t number_at(const unsigned char *bytes, const Form &form) {
  bool sign = form.type == mpack_type_int;
  switch (form.width) {
  case 1:
    return sign ? static_cast<std::uint64_t>(static_cast<std::int8_t>(*bytes)) : *bytes;
  case 2: {
    auto number = load_big_endian<std::uint16_t>(bytes);
    return sign ? static_cast<std::uint64_t>(static_cast<std::int16_t>(number)) : number;
  }
  case 4: {
    auto number = load_big_endian<std::uint32_t>(bytes);
    return sign ? static_cast<std::uint64_t>(static_cast<std::int32_t>(number)) : number;
  }
  case 8:
    return load_big_endian<std::uint64_t>(bytes);
  default:
    return static_cast<std::uint64_t>(form.number);
  }
}

// Resizes a block of `room` items to hold `wanted` of them. False, with all as it was, when
// memory runs out.
template <class Item>
bool resize(Item *&block, std::size_t &room, std::size_t wanted) {
  void *resized = std::realloc(block, wanted * sizeof(Item));
  if (!resized)
    return false;
  block = static_cast<Item *>(resized);
  room = wanted;
  return true;
}

// Reads on in the bytes that have come. The state that every value changes is kept here, at
// hand, and put back into the tree at the end.
class Reading {
public:
  explicit Reading(mpack_tree_t *tree)
      : tree_(tree), start_(reinterpret_cast<const unsigned char *>(tree->message)),
        at_(start_ + tree->position), end_(start_ + tree->available),
        records_(tree->records), room_(tree->record_room), count_(tree->record_count),
        open_(tree->open), missing_(tree->missing) {}
  Reading(const Reading &) = delete;
  Reading &operator=(const Reading &) = delete;
  ~Reading() {
    tree_->position = position();
    tree_->record_count = count_;
    tree_->open = open_;
    tree_->missing = missing_;
  }

  void run() {
    while (at_ != end_ ? read_value() : wait_for(1))
      ;
  }

private:
  std::size_t position() const { return static_cast<std::size_t>(at_ - start_); }

  // Reads the next value, of a container the head. False when that is not all there, at the
  // end of the message and when there is an error.
  bool read_value() {
    auto available = static_cast<std::size_t>(end_ - at_);
    const Form &form = forms[*at_];
    if (form.head > available)
      return wait_for(form.head);
    if (count_ + 2 > room_ && !grow())
      return fail(mpack_error_memory);
    auto &value = records_[count_].value;
    value.type = form.type;
    value.number = number_at(at_ + 1, form);
    std::uint64_t size = form.head;
    switch (form.type) {
    case mpack_type_array:
    case mpack_type_map:
      at_ += size;
      return value.number ? open(value) : close(value);
    case mpack_type_str:
      value.count = static_cast<std::uint32_t>(value.number);
      size += value.number;
      value.number = position() + form.head;
      break;
    case mpack_type_bin:
    case mpack_type_ext:
      size += value.number;
      break;
    case mpack_type_float:
      value.number = widened(value.number);
      break;
    case mpack_type_missing:
      return fail(mpack_error_invalid);
    default:
      break;
    }
    if (size > available)
      return wait_for(size);
    at_ += size;
    count_++;
    return close_completed();
  }

  // The bits of a 32-bit float as those of a 64-bit one.
  static std::uint64_t widened(std::uint64_t bits) {
    auto real = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    return std::bit_cast<std::uint64_t>(static_cast<double>(real));
  }

  // Notes how many bytes must have come before the next value can be read.
  bool wait_for(std::uint64_t size) {
    tree_->needed = position() + size;
    return false;
  }

  bool fail(mpack_error_t error) {
    mpack_tree_flag_error(tree_, error);
    return false;
  }

  // Room in proportion to what has been read, never to what that announces.
  bool grow() {
    if (!resize(tree_->records, tree_->record_room, std::max(room_ * 2, fewest_records)))
      return false;
    records_ = tree_->records;
    room_ = tree_->record_room;
    return true;
  }

  bool open(Record::Value &container) {
    std::uint64_t children = container.number;
    container.count = static_cast<std::uint32_t>(children);
    if (container.type == mpack_type_map)
      children *= 2;
    records_[count_ + 1].open = {open_, missing_};
    open_ = count_;
    missing_ = children;
    count_ += 2;
    return true;
  }

  // Notes a container without children.
  bool close(Record::Value &container) {
    container.count = 0;
    container.number = ++count_;
    return close_completed();
  }

  // Closes the containers that the value just read completes. False when it was the last
  // one of the message.
  bool close_completed() {
    while (--missing_ == 0) {
      if (open_ == no_record) {
        tree_->complete = true;
        return false;
      }
      Record *container = records_ + open_;
      const Record::Open outer = container[1].open;
      container[0].value.number = count_;
      container[1].cursor = {0, open_ + 2};
      open_ = outer.parent;
      missing_ = outer.missing;
    }
    return true;
  }

  mpack_tree_t *tree_;
  const unsigned char *start_;
  const unsigned char *at_;
  const unsigned char *end_;
  Record *records_;
  std::size_t room_;
  std::size_t count_;
  std::size_t open_;
  std::uint64_t missing_;
};

// Forgets the current message and begins the one behind it.
void begin_message(mpack_tree_t *tree) {
  tree->message += tree->position;
  tree->available -= tree->position;
  tree->position = 0;
  tree->needed = 0;
  tree->complete = false;
  tree->record_count = 0;
  tree->open = no_record;
  tree->missing = 1; // the message
}

// Moves what waits to the front of the buffer, which costs each byte one move at most: until
// the message that it belongs to is complete it stays there.
void move_to_front(mpack_tree_t *tree) {
  if (tree->message != tree->buffer && tree->available != 0)
    std::memmove(tree->buffer, tree->message, tree->available);
  tree->message = tree->buffer;
}

// Gives most of a block back when it has become far too large for what is used of it.
template <class Item>
void trim(Item *&block, std::size_t &room, std::size_t used, std::size_t fewest) {
  if (room * sizeof(Item) > most_spare_bytes && used < room / 4)
    resize(block, room, std::max(used, fewest));
}

void trim(mpack_tree_t *tree) {
  move_to_front(tree);
  trim(tree->buffer, tree->buffer_room, tree->available, smallest_buffer);
  tree->message = tree->buffer;
  trim(tree->records, tree->record_room, tree->record_count, fewest_records);
}

bool reserve(mpack_tree_t *tree, std::size_t size) {
  move_to_front(tree);
  if (size <= tree->buffer_room - tree->available)
    return true;
  if (size > SIZE_MAX / 2 - tree->buffer_room)
    return false;
  bool reserved =
      resize(tree->buffer, tree->buffer_room,
             std::max({tree->available + size, tree->buffer_room * 2, smallest_buffer}));
  tree->message = tree->buffer;
  return reserved;
}

} // namespace

const char *mpack_error_to_string(mpack_error_t error) {
  switch (error) {
#define NODETREE_NAME(error)                                                               \
  case error:                                                                              \
    return #error
    NODETREE_NAME(mpack_ok);
    NODETREE_NAME(mpack_error_invalid);
    NODETREE_NAME(mpack_error_type);
    NODETREE_NAME(mpack_error_too_big);
    NODETREE_NAME(mpack_error_memory);
    NODETREE_NAME(mpack_error_data);
#undef NODETREE_NAME
  }
  return "(unknown mpack_error_t)";
}

void mpack_tree_init_chunked(mpack_tree_t *tree) {
  *tree = {};
  begin_message(tree);
}

void mpack_tree_init_data(mpack_tree_t *tree, const char *data, std::size_t length) {
  mpack_tree_init_chunked(tree);
  tree->message = data;
  tree->available = length;
}

bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size) {
  if (tree->error == mpack_ok && !reserve(tree, size))
    tree->error = mpack_error_memory;
  if (tree->error != mpack_ok)
    return false;
  if (size)
    std::memcpy(tree->buffer + tree->available, bytes, size);
  tree->available += size;
  return true;
}

bool mpack_tree_try_parse(mpack_tree_t *tree) {
  if (tree->error != mpack_ok)
    return false;
  if (tree->complete)
    begin_message(tree);
  if (tree->available >= tree->needed)
    Reading(tree).run();
  if (!tree->complete && tree->buffer)
    trim(tree);
  return tree->complete;
}

void mpack_tree_parse(mpack_tree_t *tree) {
  if (!mpack_tree_try_parse(tree))
    mpack_tree_flag_error(tree, mpack_error_invalid);
}

mpack_error_t mpack_tree_destroy(mpack_tree_t *tree) {
  std::free(tree->records);
  std::free(tree->buffer);
  return tree->error;
}
