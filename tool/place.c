#include "place.h"

#include <errno.h>
#include <nodetree/string.h>
#include <nodetree/stringlist.h>
#include <stdlib.h>
#include <string.h>

#include "tool.h"

const char no_memory[] = "out of memory";

/* ---- Tokens ---- */

static bool unescape(char *token) {
  char *to = token;
  for (const char *from = token; *from != '\0'; from++, to++) {
    *to = *from;
    if (*from != '~')
      continue;
    if (*++from != '0' && *from != '1')
      return false;
    *to = *from == '0' ? '~' : '/';
  }
  *to = '\0';
  return true;
}

/* Adds the token to the first `*count`, which are kept. False for a wrong one. */
static bool keep_token(char **tokens, size_t *count, char *token, path_form form) {
  tokens[(*count)++] = token;
  if (form == PATH_POINTER)
    return unescape(token);
  bool up = strcmp(token, "..") == 0;
  if (up || strcmp(token, ".") == 0)
    free(tokens[--*count]);
  if (up && *count > 0)
    free(tokens[--*count]);
  else if (up)
    return false;
  return true;
}

/* A slash at the beginning gives an empty first string, one at the end gives none. In a
   pointer there is a token after it. */
static char **split(const char *path, path_form form) {
  char **list = *path != '\0' ? sl_split(path, '/') : sl_new("");
  if (list == NULL || form != PATH_POINTER || !string_suffixed(path, "/"))
    return list;
  char **longer = sl_append(list, "");
  if (longer == NULL)
    sl_free(list);
  return longer;
}

char **path_tokens(const char *path, path_form form) {
  bool is_empty = *path == '\0';
  errno = EINVAL;
  if (form == PATH_POINTER ? *path != '/' && !is_empty : is_empty)
    return NULL;
  char **list = split(path, form);
  if (list == NULL) {
    errno = ENOMEM;
    return NULL;
  }
  size_t count = 0;
  bool valid = true;
  for (char **token = list; *token != NULL; token++) {
    if ((token == list && **token == '\0') || !valid)
      free(*token);
    else
      valid = keep_token(list, &count, *token, form);
  }
  list[count] = NULL;
  if (valid)
    return list;
  sl_free(list);
  errno = EINVAL;
  return NULL;
}

/* ---- Finding ---- */

bool read_position(const char *token, size_t *position) {
  if (*token == '\0' || token[strspn(token, "0123456789")] != '\0' ||
      (*token == '0' && token[1] != '\0'))
    return false;
  errno = 0;
  *position = strtoul(token, NULL, 10);
  return errno == 0;
}

bool has_labels(const node *object) {
  for (const node *child = node_object_first(object); child != NULL;
       child = node_object_next(object, child)) {
    size_t label;
    if (!read_position(node_key(child), &label) || label >= object->child_count)
      return false;
  }
  return object->child_count != 0;
}

static bool read_index(const char *token, path_form form, size_t count, size_t *index) {
  if (form == PATH_POINTER) {
    *index = count;
    return strcmp(token, "-") == 0 || read_position(token, index);
  }
  int number;
  bool valid = string_to_int(token, &number) && number >= 0;
  *index = valid ? (size_t)number : 0;
  return valid;
}

static const char *find_child(place *p, node *parent, const char *token, path_form form) {
  *p = (place){.parent = parent, .key = token};
  if (node_is_object(parent)) {
    p->present = node_object_get(parent, token);
    return NULL;
  }
  if (!node_is_array(parent))
    return "leads into a value that is neither an object nor an array";
  if (!read_index(token, form, parent->child_count, &p->index))
    return "has a name where the array needs a position";
  p->present = node_array_get(parent, p->index);
  return p->index > parent->child_count ? "leads past the end of an array" : NULL;
}

const char *place_find(place *p, node *root, char **tokens, path_form form, bool make) {
  *p = (place){.present = root};
  for (; *tokens != NULL; tokens++) {
    if (p->present == NULL && !make)
      return "leads into a value that does not exist";
    if (p->present == NULL) {
      node *made = node_new_object();
      if (made == NULL || !place_put(p, &root, made, false))
        return no_memory;
      p->present = made;
    }
    const char *reason = find_child(p, p->present, *tokens, form);
    if (reason != NULL)
      return reason;
  }
  return NULL;
}

/* ---- Changing ---- */

void replace_value(node *target, node *value) {
  node_clear(target); /* a null takes over any other value as it is */
  node_merge(target, value);
}

/* Moves elements from the front or the end of one array to the same end of another. At
   the front this reverses their order. */
static void shift(node *to, node *from, size_t count, bool front) {
  node *child =
      front ? node_array_first(from) : node_array_get(from, from->child_count - count);
  for (node *next; count > 0; count--, child = next) {
    next = node_array_next(from, child);
    node_detach(child);
    if (front)
      node_array_prepend(to, child);
    else
      node_array_append(to, child);
  }
}

/* The library adds only at the ends of an array, so the elements between the position
   and the nearer end are moved aside. */
static bool insert_element(node *array, size_t index, node *value) {
  node *aside = node_new_array();
  if (aside == NULL)
    return false;
  bool front = index < array->child_count / 2;
  size_t count = front ? index : array->child_count - index;
  shift(aside, array, count, front);
  if (front)
    node_array_prepend(array, value);
  else
    node_array_append(array, value);
  shift(array, aside, count, front);
  node_free(aside);
  return true;
}

bool place_put(const place *p, node **root, node *value, bool insert) {
  bool done = true;
  if (p->parent == NULL) {
    node_unref(*root);
    *root = value;
  } else if (node_is_object(p->parent) ? p->present == NULL
                                       : p->index == p->parent->child_count) {
    done = node_is_object(p->parent) ? node_object_add(p->parent, p->key, value)
                                     : node_array_append(p->parent, value);
  } else if (insert && node_is_array(p->parent)) {
    done = insert_element(p->parent, p->index, value);
  } else {
    replace_value(p->present, value);
  }
  if (!done)
    node_free(value);
  return done;
}

node *find_path(struct job *job, node *value, const char *path) {
  static bool told; /* one report is enough for all values */
  if (!job->option[OPTION_POINTER])
    return node_lookup(value, path);
  char **tokens = path_tokens(path, PATH_POINTER);
  if (tokens == NULL && !told) {
    complain(job, "%s: %s", path, errno == ENOMEM ? no_memory : "not a JSON Pointer");
    told = true;
  }
  place p;
  bool found = tokens != NULL && place_find(&p, value, tokens, PATH_POINTER, false) == NULL;
  sl_free(tokens);
  return found ? p.present : NULL;
}
