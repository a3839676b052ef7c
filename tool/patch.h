/* Patches of JSON values. */
#ifndef NODETREE_TOOL_PATCH_H
#define NODETREE_TOOL_PATCH_H

#include "tool.h"

/* Applies a patch of RFC 6902 to `*root`, whose root it may exchange. False, with a report,
   where it cannot be applied whole: the tree is good for nothing then but to be released.
   A lookup for each pointer; elements are put in and taken out in O(position). */
bool patch_apply(struct job *job, node **root, const node *patch);

/* Applies a merge patch of RFC 7396 likewise; fails only when memory runs out. */
bool merge_patch_apply(struct job *job, node **root, const node *patch);

/* A patch of RFC 6902 that makes `to` of `from`, which it gives their hashes for comparison;
   NULL, with a report, when memory runs out. Integers are told from reals, the order of
   members is not. O(n) in both trees and the patch. */
node *patch_make(struct job *job, node *from, node *to);

#endif
