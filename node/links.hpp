// What all operations that follow links share: what links lead to, and the limit that ends
// what fans out through them.
#ifndef NODETREE_NODE_LINKS_HPP
#define NODETREE_NODE_LINKS_HPP

#include "node/node_internal.hpp"
#include "node/places.hpp"
#include "node/segments.hpp"
#include "shared/stack.hpp"

namespace nodetree {

// Whether a link's path is of a form that resolves: from the root, or up from the link.
inline bool leads_from_link(char **path) {
  return path && *path && (**path == '\0' || std::strcmp(*path, "..") == 0);
}

// Follows links for one call of an operation, all of one tree. What costs more to find than
// to note is noted: the ends of chains, and the targets of paths that are long or pass
// through other links.
class Links {
public:
  // A link can lead to many more, so that even a small tree without circles holds more ways
  // than there is time for. So many nodes may be entered inside targets that were come to
  // through two links or more.
  static constexpr std::size_t visits_max = 10000000;

  // Where a chain of links ends: NULL where one dangles, a link where it goes in a circle,
  // and behind how many links.
  struct End {
    node *at;
    std::size_t steps;
  };

  // The target of a link, which may be a link; NULL for what does not resolve and when
  // memory runs out.
  node *follow(const node *link);

  // {NULL, 0} when memory runs out.
  End end_of(node *link);

  // The node that is no link at the end of a chain of links; else see End.
  node *resolve(node *n) { return n->type == NODE_LINK ? end_of(n).at : n; }

  // The target of a link that resolves, otherwise the node itself.
  node *target_or_self(node *n) {
    node *target = n->type == NODE_LINK ? follow(n) : nullptr;
    return target ? target : n;
  }

  // The node at which a path begins: NULL for an empty path and from NULL. What is left of an
  // absolute path is relative to that node.
  template <class Segments>
  node *begin(const node *start, Segments &path) {
    if (!start || path.empty())
      return nullptr;
    return path.take_empty() ? root(start) : const_cast<node *>(start);
  }

  // Counts a node that was come to through two links or more: false beyond the limit.
  bool visit() { return ++visits_ <= visits_max; }
  std::size_t visits() const { return visits_; }

  bool out_of_memory() const { return out_of_memory_; }
  bool exhausted() const { return visits_ > visits_max; }
  Places &places() { return places_; }

private:
  struct Note {
    node *target;
    End end;        // 0 steps until it is known
    bool resolving; // its path goes on behind another link's target
  };
  struct Waiting;

  node *root(const node *n) {
    if (!root_)
      root_ = node_root(n);
    return root_;
  }
  node *start(const node *link, ListSegments &path);
  bool settle(const node *link, node *target);
  bool wait(Stack<Waiting> &waiting, const node *link, ListSegments path);

  AddressTable<Note> notes_;
  Places places_;
  std::size_t visits_ = 0;
  node *root_ = nullptr;
  bool out_of_memory_ = false;
};

// node_lookup() that tells through `links` when memory ran out.
node *lookup(const node *start, const char *path, Links &links);

} // namespace nodetree

#endif
