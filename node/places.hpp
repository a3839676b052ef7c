// The places of containers in their tree.
#ifndef NODETREE_NODE_PLACES_HPP
#define NODETREE_NODE_PLACES_HPP

#include "shared/address_table.hpp"

#include <nodetree/node.h>

namespace nodetree {

// Compares the places of two containers of one tree in O(log depth). Each container and its
// ancestors are noted once.
class Places {
public:
  // Notes a container. False when memory runs out.
  bool note(const node *container);

  // Both arguments of the functions below must have been noted.

  // Compares by the order of a walk that visits containers before their children, and
  // siblings by address.
  int compare(const node *a, const node *b) const;

  // Whether `inner` is `outer` or lies below it.
  bool holds(const node *outer, const node *inner) const {
    return depth(inner) >= depth(outer) && ancestor(inner, depth(outer)) == outer;
  }

private:
  // `jump` is an ancestor some levels up, chosen so that O(log depth) jumps and parents
  // reach every ancestor.
  struct Place {
    std::size_t depth;
    const node *jump;
  };

  std::size_t depth(const node *n) const { return notes_.find({n})->depth; }
  const node *jump(const node *n) const { return notes_.find({n})->jump; }
  const node *ancestor(const node *n, std::size_t depth) const;
  bool note_below(const node *parent, const node *n);

  AddressTable<Place> notes_;
};

} // namespace nodetree

#endif
