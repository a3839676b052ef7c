// Following links: their targets, and the limit on the nodes that links multiply.
#ifndef NODETREE_NODE_LINKS_HPP
#define NODETREE_NODE_LINKS_HPP

#include "node/node_internal.hpp"
#include "node/places.hpp"
#include "node/segments.hpp"
#include "shared/stack.hpp"

namespace nodetree {

// Whether a link's path can resolve: it starts at the root, or goes up from the link.
inline bool leads_from_link(char **path) {
  return path && *path && (**path == '\0' || std::strcmp(*path, "..") == 0);
}

// Follows links of one tree for one call of an operation. Remembers what costs more to find
// than to store: the ends of chains, and the targets of paths that are long or pass through
// other links.
class Links {
public:
  // The limit on nodes entered inside targets that were reached through two or more links.
  // Links can multiply, so even a small tree without circles can have more paths than there
  // is time for.
  static constexpr std::size_t visits_max = 10000000;

  // The end of a chain of links and the number of links before it. The end is NULL if a
  // link dangles, and a link if the chain is circular.
  struct End {
    node *at;
    std::size_t steps;
  };

  // The target of a link, which may be a link. NULL if it does not resolve and when memory
  // runs out.
  node *follow(const node *link);

  // {NULL, 0} when memory runs out.
  End end_of(node *link);

  // The end of the chain for a link, otherwise the node itself.
  node *resolve(node *n) { return n->type == NODE_LINK ? end_of(n).at : n; }

  // The target of a link that resolves, otherwise the node itself.
  node *target_or_self(node *n) {
    node *target = n->type == NODE_LINK ? follow(n) : nullptr;
    return target ? target : n;
  }

  // The node at which a path begins; NULL for an empty path and for NULL. The rest of an
  // absolute path is relative to that node.
  template <class Segments>
  node *begin(const node *start, Segments &path) {
    if (!start || path.empty())
      return nullptr;
    return path.take_empty() ? root(start) : const_cast<node *>(start);
  }

  // Counts a node that was reached through two or more links. False beyond the limit.
  bool visit() { return ++visits_ <= visits_max; }
  std::size_t visits() const { return visits_; }

  bool out_of_memory() const { return out_of_memory_; }
  bool exhausted() const { return visits_ > visits_max; }
  Places &places() { return places_; }

private:
  struct Note {
    node *target;
    End end;        // 0 steps while it is not known
    bool resolving; // its path continues in another link's target
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

// node_lookup(). When memory runs out, `links` says so.
node *lookup(const node *start, const char *path, Links &links);

} // namespace nodetree

#endif
