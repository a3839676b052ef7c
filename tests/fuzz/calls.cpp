// Calls, one on each line: a letter, the numbers of two nodes, and a text. After each call
// the record of every node must be what the headers say; the target counts all references.
#include "../record.hpp"
#include "trees.hpp"

#include <map>

using namespace fuzz;

namespace {

class calls {
public:
  ~calls() {
    node_stream_free(stream_);
    for (node *n : held_)
      node_unref(n);
  }

  // False if the trees have become too large.
  bool run(std::string line) {
    line.resize(std::max<std::size_t>(line.size(), 3), '0');
    const char call = nodes_.empty() ? 't' : nodes_.size() > 48 ? 'u' : line[0];
    const std::vector<node *> before = nodes_;
    const bool changed = apply(call, pick(nodes_, line[1]), pick(nodes_, line[2]),
                               static_cast<std::uint8_t>(line[2] - '0'), line.substr(3));
    find_all();
    require(changed || std::equal(before.begin(), before.end(), nodes_.begin()),
            "a reading or refused call changes nothing");
    return nodes_.size() < 5000;
  }

private:
  static node *pick(const std::vector<node *> &from, char number) {
    const auto i = static_cast<std::uint8_t>(number - '0');
    return from.empty() ? nullptr : from[i % from.size()];
  }

  void keep(node *n) {
    if (n != nullptr)
      held_.push_back(n);
  }

  void drop(node *n) {
    const auto at = std::find(held_.begin(), held_.end(), n);
    require(at != held_.end(), "a root is held");
    held_.erase(at);
  }

  void find_all() {
    std::map<const node *, unsigned> held, roots;
    for (const node *n : held_)
      held[n]++;
    nodes_.clear();
    for (const node *n : held_)
      if (roots[node_root(n)]++ == 0)
        any(node_root(n), [&](const node *at) {
          const char *fault = record::broken(at);
          require(fault == nullptr, fault);
          require(at->refcount == held[at] + (at->parent != nullptr),
                  "references are counted");
          nodes_.push_back(const_cast<node *>(at));
          return false;
        });
  }

  // Whether the call may have changed the existing trees.
  bool apply(char call, node *x, node *y, std::uint8_t number, const std::string &word) {
    switch (call) {
    case 'u':
      x = held_[number % held_.size()];
      drop(x);
      node_unref(x);
      return true;
    case 'f':
      if (x->parent == nullptr)
        drop(x);
      node_free(x);
      return true;
    case 'd':
      keep(x->parent != nullptr ? x : nullptr);
      node_detach(x);
      return true;
    case 'c':
      node_clear(x);
      return true;
    case 'a':
    case 'p':
    case 'q':
      return put(call, x, y, word.c_str());
    case 'x':
      node_object_del(x, word.c_str());
      node_array_del(x, number);
      return true;
    case 'e':
      node_is_object(x) ? node_object_clear(x) : node_array_clear(x);
      return true;
    case 'v':
      node_object_move_children(x, y);
      return true;
    case 'm': {
      const bool apart = node_iterate_end(x, y) && node_iterate_end(y, x);
      if (apart && y->parent == nullptr)
        drop(y);
      node_merge(x, y);
      return apart;
    }
    case 'F': {
      std::string_view rest = word;
      const strings include = split(take(rest, ';'), ',');
      char **removed = nullptr;
      node_filter(x, list(include).get(), list(split(rest, ',')).get(), &removed);
      sl_free(removed);
      return true;
    }
    case 'l':
      node_lookup_create(x, word.c_str());
      return true;
    default:
      read(call, x, y, number, word);
      return false;
    }
  }

  bool put(char call, node *x, node *y, const char *key) {
    if (x != y && !node_iterate_end(y, x))
      return false; // would make a circle, which the library does not check
    const bool fits =
        y->parent == nullptr && y != x &&
        (call == 'a' ? node_is_object(x) && !node_object_get(x, key) : node_is_array(x));
    require(fits == (call == 'a'   ? node_object_add(x, key, y)
                     : call == 'p' ? node_array_prepend(x, y)
                                   : node_array_append(x, y)),
            "a child is taken where it fits");
    if (fits)
      drop(y);
    return fits;
  }

  void read(char call, node *x, node *y, std::uint8_t number, const std::string &word) {
    char *message = nullptr;
    switch (call) {
    case 't':
      return keep(grow(word).release());
    case 'r':
      node_ref(x);
      return keep(x);
    case 'g':
      for (const node *n : matches(x, word))
        require(node_root(n) == node_root(x), "a match is in the tree");
      return;
    case 'h':
      node_prepare_diff_hash(x);
      return;
    case 'y':
      keep(node_clone(x));
      return require(any(x, is_nan) || node_equals(x, held_.back()), "a copy is equal");
    case 'E':
      keep(expr_eval(x, y, &message));
      return std::free(message);
    case 'Y':
    case 'i':
      if (node *made = call == 'i' ? node_diff(x, y) : node_copy(x, 1)) {
        keep(made);
        require(!any(made, node_is_link), "links are resolved");
      }
      return;
    default:
      return stream(x, static_cast<node_stream_format>(number & 3), word.size());
    }
  }

  // Writes a value, and reads some of the bytes written so far.
  void stream(const node *n, node_stream_format format, std::size_t count) {
    auto callback = [](node *read, void *self) { static_cast<calls *>(self)->keep(read); };
    if (stream_ == nullptr)
      stream_ = node_stream_new(format, callback, this);
    char *data = nullptr;
    std::size_t size = 0;
    if (node_stream_encode(stream_, n, &data, &size))
      written_.append(data, size)
          .append(node_stream_get_format(stream_) == NODE_STREAM_JSON, '\n');
    std::free(data);
    count = std::min(8 * count, written_.size());
    if (!node_stream_decode(stream_, written_.data(), count)) {
      node_stream_free(stream_);
      stream_ = nullptr;
      count = written_.size();
    }
    written_.erase(0, count);
  }

  std::vector<node *> held_;  // one reference each
  std::vector<node *> nodes_; // of all trees, in order
  node_stream *stream_ = nullptr;
  std::string written_;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  calls trees;
  for (std::string line = in.next(); !line.empty() && trees.run(line);)
    line = in.next();
  return 0;
}
