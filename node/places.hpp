// Where containers stand in their tree.
#ifndef NODETREE_NODE_PLACES_HPP
#define NODETREE_NODE_PLACES_HPP

#include "shared/address_table.hpp"

#include <nodetree/node.h>

namespace nodetree {

// Answers in O(log depth) how two containers of one tree stand to each other, however often
// it is asked. Each container and all above it are noted once.
class Places {
public:
  // Makes a container known: false when memory runs out.
  bool note(const node *container);

  // Both arguments of the functions below are known.

  // The order of a walk that meets containers before what they hold, and siblings by
  // address.
  int compare(const node *a, const node *b) const;

  // Whether `inner` is `outer` or lies below it.
  bool holds(const node *outer, const node *inner) const {
    return depth(inner) >= depth(outer) && ancestor(inner, depth(outer)) == outer;
  }

private:
  // `jump` is an ancestor some levels up, so that every depth above is reached by
  // O(log depth) of them and parents.
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
