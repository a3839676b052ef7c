/* Patches of JSON values. */
#ifndef NODETREE_TOOL_PATCH_H
#define NODETREE_TOOL_PATCH_H

#include "tool.h"

/* Applies a JSON Patch to `*root`, which it may replace. False, with a report, if it
   cannot be applied completely; the tree may then be partly changed. Costs a lookup for
   each pointer; inserting or removing an element is O(position). */
bool patch_apply(struct job *job, node **root, const node *patch);

/* The same for a merge patch; fails only when memory runs out. */
bool merge_patch_apply(struct job *job, node **root, const node *patch);

/* A JSON Patch that turns `from` into `to`. Stores hashes in both trees. NULL, with a
   report, when memory runs out. An integer and a real are different; the order of
   members does not count. O(n) in both trees and the patch. */
node *patch_make(struct job *job, node *from, node *to);

#endif
