/* The commands set and del. */
#include "place.h"
#include "tool.h"

#include <errno.h>
#include <nodetree/stringlist.h>
#include <stdlib.h>
#include <string.h>

/* A PATH of the command line. */
typedef struct target {
  const char *path;
  char **tokens;
} target;

static target *targets;
static size_t target_count;
static node *new_value;

static path_form form_of(const struct job *job) {
  return job->option[OPTION_POINTER] ? PATH_POINTER : PATH_SLASHES;
}

static bool read_targets(struct job *job, char **paths, size_t count) {
  targets = calloc(count, sizeof *targets);
  target_count = targets != NULL ? count : 0;
  for (size_t i = 0; i < target_count; i++) {
    targets[i] = (target){.path = paths[i], .tokens = path_tokens(paths[i], form_of(job))};
    if (targets[i].tokens == NULL && errno == EINVAL) {
      complain(job, "'%s' is not %s", paths[i],
               form_of(job) == PATH_POINTER ? "a JSON Pointer" : "the PATH of a value");
      return false;
    }
    if (targets[i].tokens == NULL)
      break;
  }
  if (target_count != 0 && targets[target_count - 1].tokens != NULL)
    return true;
  complain(job, "%s", no_memory);
  return false;
}

static void free_targets(void) {
  for (size_t i = 0; i < target_count; i++)
    sl_free(targets[i].tokens);
  free(targets);
}

/* ---- set ---- */

static void answer_set(struct job *job, node *value) {
  place p;
  node *root = value;
  node_ref(
      root); /* the caller keeps its own reference, even if the whole value is replaced */
  const char *reason = place_find(&p, root, targets->tokens, form_of(job), true);
  if (reason == NULL) {
    node *copy = node_clone(new_value);
    if (copy == NULL || !place_put(&p, &root, copy, false))
      reason = no_memory;
  }
  if (reason != NULL)
    complain(job, "%s: %s", targets->path, reason);
  else if (print_value(job, "", root))
    job->found = true;
  node_unref(root);
}

void run_set(struct job *job, char **arguments) {
  if (!read_targets(job, arguments, 1)) {
    free_targets();
    return;
  }
  if (job->option['s']) {
    new_value = node_new_string(arguments[1]);
    if (new_value == NULL)
      complain(job, "%s", no_memory);
  } else {
    new_value = input_text(job, "value", arguments[1]);
  }
  if (new_value != NULL)
    input_answer(job, arguments + 2, answer_set);
  node_free(new_value);
  free_targets();
}

/* ---- del ---- */

/* All are found before any is removed, so that positions do not shift. False if one is
   the whole value. */
static bool find_all(struct job *job, node *root, void **found) {
  for (size_t i = 0; i < target_count; i++) {
    place p;
    const char *reason = place_find(&p, root, targets[i].tokens, form_of(job), false);
    found[i] = reason == NULL ? p.present : NULL;
    if (found[i] == root) {
      complain(job, "%s: the whole value cannot be deleted", targets[i].path);
      return false;
    }
  }
  return true;
}

/* A value that is inside another one, or named twice, may already have lost its
   container. */
static void delete_all(struct job *job, void **found) {
  for (size_t i = 0; i < target_count; i++)
    if (found[i] != NULL)
      node_ref(found[i]);
  for (size_t i = 0; i < target_count; i++) {
    if (found[i] == NULL)
      continue;
    job->found = true;
    if (node_parent(found[i]) != NULL)
      node_free(found[i]);
  }
  for (size_t i = 0; i < target_count; i++)
    node_unref(found[i]);
}

static void answer_del(struct job *job, node *value) {
  void **found = calloc(target_count, sizeof *found);
  if (found == NULL) {
    complain(job, "%s", no_memory);
  } else if (find_all(job, value, found)) {
    delete_all(job, found);
    print_value(job, "", value);
  }
  free(found);
}

void run_del(struct job *job, char **arguments) {
  char **paths = sl_copyn(arguments, 1);
  char **more = paths != NULL ? sl_appendn(paths, (const char *const *)job->values['p'],
                                           sl_len(job->values['p']))
                              : NULL;
  if (more == NULL)
    complain(job, "%s", no_memory);
  else if (read_targets(job, more, sl_len(more)))
    input_answer(job, arguments + 1, answer_del);
  free_targets();
  sl_free(more != NULL ? more : paths);
}
