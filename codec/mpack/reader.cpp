#include "codec/mpack/form.hpp"

#include <algorithm>
#include <cstdlib>

using namespace nodetree;

namespace {

using Record = mpack_node_data_t;
using Waiting = mpack_waiting_t;
static_assert(sizeof(Waiting) == sizeof(Record)); // waiting children are copied as a block

constexpr std::size_t no_container = SIZE_MAX;

// The initial sizes, and how much unused memory may be kept between messages.
constexpr std::size_t smallest_buffer = 4096;
constexpr std::size_t fewest_records = 64;
constexpr std::size_t most_spare_bytes = 65536;

// Resizes a block of `room` items to `wanted` items. False, with nothing changed, when
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

// Takes room for the children of a container from the newest page, or from a new one whose
// size is in proportion to the bytes read. NULL when memory runs out.
Record *take_records(mpack_tree_t *tree, std::size_t count) {
  mpack_page_t *page = tree->pages;
  if (!page || page->room - page->count < count) {
    const std::size_t room = std::max(page ? 2 * page->room : fewest_records, count);
    page = static_cast<mpack_page_t *>(
        std::malloc(sizeof(mpack_page_t) + room * sizeof(Record)));
    if (!page)
      return nullptr;
    *page = {tree->pages, 0, room};
    tree->pages = page;
  }
  auto *records = reinterpret_cast<Record *>(page + 1) + page->count;
  page->count += count;
  return records;
}

void release_pages(mpack_page_t *pages) {
  while (mpack_page_t *page = pages) {
    pages = page->next;
    std::free(page);
  }
}

// Reads the available bytes. State that every value changes is kept here, for speed, and
// stored in the tree at the end.
class Reading {
public:
  explicit Reading(mpack_tree_t *tree)
      : tree_(tree), start_(reinterpret_cast<const unsigned char *>(tree->message)),
        at_(start_ + tree->position), end_(start_ + tree->available),
        next_(tree->waiting + tree->waiting_count),
        limit_(tree->waiting + tree->waiting_room), open_(tree->open),
        missing_(tree->missing) {}
  Reading(const Reading &) = delete;
  Reading &operator=(const Reading &) = delete;
  ~Reading() {
    tree_->position = position();
    tree_->waiting_count = count();
    tree_->open = open_;
    tree_->missing = missing_;
  }

  [[gnu::always_inline]] void run() {
    while (at_ != end_ ? read_value() : wait_for(1))
      ;
  }

private:
  std::size_t position() const { return static_cast<std::size_t>(at_ - start_); }
  std::size_t count() const { return static_cast<std::size_t>(next_ - tree_->waiting); }

  // Reads the next value, for a container its head. False if bytes are missing, at the end
  // of the message, and on errors.
  bool read_value() {
    const Form &form = forms[*at_];
    const mpack_type_t type = form.type;
    const auto available = static_cast<std::size_t>(end_ - at_);
    std::uint64_t size = form.head;
    if (size > available)
      return wait_for(size);
    if (limit_ - next_ < 2 && !grow())
      return fail(mpack_error_memory);
    const std::uint64_t number = form.width == 0 ? static_cast<std::uint64_t>(form.number)
                                                 : number_at(at_ + 1, form);
    Record &value = next_->value;
    value.type = type;
    value.count = static_cast<std::uint32_t>(number);
    if (type < mpack_type_str) {
      if (type == mpack_type_missing)
        return fail(mpack_error_invalid);
      value.number = number;
    } else if (type != mpack_type_array && type != mpack_type_map) {
      value.text = position() + form.head;
      size += number;
      if (size > available)
        return wait_for(size);
    } else if (number != 0) {
      at_ += size;
      return open(type == mpack_type_map ? 2 * number : number);
    }
    at_ += size;
    next_++;
    return --missing_ != 0 || close_completed();
  }

  // Records how many bytes must be available to read the next value.
  bool wait_for(std::uint64_t size) {
    tree_->needed = position() + size;
    return false;
  }

  bool fail(mpack_error_t error) {
    mpack_tree_flag_error(tree_, error);
    return false;
  }

  // The room is in proportion to the bytes read, never to the lengths that they announce.
  bool grow() {
    const std::size_t used = count();
    if (!resize(tree_->waiting, tree_->waiting_room,
                std::max(tree_->waiting_room * 2, fewest_records)))
      return false;
    next_ = tree_->waiting + used;
    limit_ = tree_->waiting + tree_->waiting_room;
    return true;
  }

  // Opens the container just read.
  bool open(std::uint64_t children) {
    next_[1].open = {open_, missing_};
    open_ = count();
    missing_ = children;
    next_ += 2;
    return true;
  }

  // Closes the containers that the value just read completes. False at the end of the
  // message, and when memory runs out.
  bool close_completed() {
    do {
      if (open_ == no_container) {
        tree_->complete = true;
        return false;
      }
      Waiting *container = tree_->waiting + open_;
      const auto outer = container[1].open;
      const auto children = static_cast<std::size_t>(next_ - container) - 2;
      Record *records = take_records(tree_, children);
      if (!records)
        return fail(mpack_error_memory);
      std::memcpy(records, container + 2, children * sizeof(Record));
      container->value.children = records;
      next_ = container + 1;
      open_ = outer.parent;
      missing_ = outer.missing;
    } while (--missing_ == 0);
    return true;
  }

  mpack_tree_t *tree_;
  const unsigned char *start_;
  const unsigned char *at_;
  const unsigned char *end_;
  Waiting *next_; // the place of the next value
  Waiting *limit_;
  std::size_t open_;
  std::uint64_t missing_;
};

// Drops the current message and begins the next one. One page of the usual size is kept for
// it.
void begin_message(mpack_tree_t *tree) {
  mpack_page_t *page = tree->pages;
  if (page && page->room * sizeof(Record) <= most_spare_bytes) {
    release_pages(page->next);
    *page = {nullptr, 0, page->room};
  } else {
    release_pages(page);
    tree->pages = nullptr;
  }
  tree->message += tree->position;
  tree->available -= tree->position;
  tree->position = 0;
  tree->needed = 0;
  tree->complete = false;
  tree->waiting_count = 0;
  tree->open = no_container;
  tree->missing = 1; // the message
}

// Moves the unread message to the front of the buffer. Each byte is moved at most once,
// because it stays there until its message is complete.
void move_to_front(mpack_tree_t *tree) {
  if (tree->message != tree->buffer && tree->available != 0)
    std::memmove(tree->buffer, tree->message, tree->available);
  tree->message = tree->buffer;
}

// Shrinks a block of which only a small part is used.
template <class Item>
void trim(Item *&block, std::size_t &room, std::size_t used, std::size_t fewest) {
  if (room * sizeof(Item) > most_spare_bytes && used < room / 4)
    resize(block, room, std::max(used, fewest));
}

void trim(mpack_tree_t *tree) {
  move_to_front(tree);
  trim(tree->buffer, tree->buffer_room, tree->available, smallest_buffer);
  tree->message = tree->buffer;
  trim(tree->waiting, tree->waiting_room, tree->waiting_count, fewest_records);
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
  release_pages(tree->pages);
  std::free(tree->waiting);
  std::free(tree->buffer);
  return tree->error;
}
