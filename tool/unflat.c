/* The command unflat. */
#include <errno.h>
#include <nodetree/json.h>
#include <nodetree/string.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "place.h"
#include "tool.h"

/* The state of a node while lines are read. It is stored in the reference count, which
   is not needed for anything else meanwhile. */
enum {
  IMPLIED = 1, /* lines give its contents; an array if the names are those of one */
  IS_OBJECT,   /* a line says that it is an object; others may give its contents */
  IS_WHOLE     /* a line gives it with its contents */
};

static bool is_open(const node *n) {
  return node_is_object(n) && n->refcount != IS_WHOLE;
}

static void set_state(node *n, uint32_t state) {
  while (n->refcount < state)
    node_ref(n);
}

static void drop_state(node *n) {
  while (n->refcount > 1)
    node_unref(n);
}

static void release(node *root) {
  for (node *n = root; n != NULL;) {
    node *child = node_is_container(n) ? node_container_first(n) : NULL;
    node *parent = node_parent(n);
    if (child == NULL) {
      drop_state(n);
      node_free(n);
    }
    n = child != NULL ? child : parent;
  }
}

/* ---- Lines ---- */

/* Whether the text contains, outside of strings, only characters that JSON values have
   there. After a "=" that belongs to the key there is always another one: the "=" before
   the value, or a quote without a counterpart. */
static bool may_be_value(const char *text) {
  bool in_string = false;
  for (; *text != '\0'; text++) {
    if (*text == '"')
      in_string = !in_string;
    else if (in_string ? *text == '\\' && *++text == '\0' : strchr("=/\\", *text) != NULL)
      return false;
  }
  return !in_string;
}

/* The value of the line, which is cut after its path; NULL if there is none. */
static const char *cut_value(char *line) {
  for (char *sign = strchr(line, '='); sign != NULL; sign = strchr(sign + 1, '=')) {
    if (may_be_value(sign + 1)) {
      *sign = '\0';
      return sign + 1;
    }
  }
  return NULL;
}

static const char *find_place(place *p, node *root, char *path) {
  *p = (place){.present = root};
  if (strcmp(path, "/") == 0)
    return NULL;
  for (char *key = path, *end = path; end != NULL; key = end) {
    *key++ = '\0';
    end = strchr(key, '/');
    if (end != NULL)
      *end = '\0';
    node *parent = p->present;
    if (parent == NULL) {
      parent = node_new_object();
      if (parent == NULL || !place_put(p, &root, parent, false))
        return no_memory;
    }
    if (!is_open(parent))
      return "gives a part of a value that another line gives";
    *p = (place){.parent = parent, .key = key, .present = node_object_get(parent, key)};
  }
  return NULL;
}

/* Takes over the value. */
static const char *add_value(node **root, char *path, node *value) {
  place p;
  bool is_empty_object = node_is_object(value) && value->child_count == 0;
  const char *reason = find_place(&p, *root, path);
  if (reason == NULL && p.present != NULL && p.present->refcount == IMPLIED &&
      p.present->child_count != 0 && is_empty_object) {
    set_state(p.present, IS_OBJECT);
  } else if (reason == NULL && p.present != NULL &&
             (p.present->refcount != IMPLIED || p.present->child_count != 0)) {
    reason = "gives a value that other lines give, completely or in part";
  } else if (reason == NULL) {
    if (!place_put(&p, root, value, false))
      return no_memory;
    set_state(value, is_empty_object ? IS_OBJECT : IS_WHOLE);
    return NULL;
  }
  node_free(value);
  return reason;
}

static const char *add_line(node **root, char *line) {
  const char *text = *line == '/' ? cut_value(line) : NULL;
  if (text == NULL)
    return "is not PATH=VALUE";
  node *value = json_parse_string(text);
  if (value != NULL)
    return add_value(root, line, value);
  char *told =
      messages_take(); /* the reason is not repeated: it says little, and quotes the value */
  bool tried = told != NULL && !string_suffixed(told, "JSON: out of memory");
  free(told);
  return tried ? "has a value that is not JSON" : no_memory;
}

/* ---- The value ---- */

static bool sort_by_labels(node *object) {
  size_t count = object->child_count;
  void **elements = calloc(count, sizeof *elements);
  if (elements == NULL)
    return false;
  for (node *child; (child = node_object_first(object)) != NULL;) {
    size_t label;
    read_position(node_key(child), &label);
    elements[label] = child;
    node_detach(child);
  }
  bool sorted = true;
  for (size_t i = 0; i < count; i++) {
    char label[24];
    snprintf(label, sizeof label, "%zu", i);
    if (node_object_add(object, label, elements[i]))
      continue;
    release(elements[i]);
    sorted = false;
  }
  free(elements);
  return sorted;
}

/* A new container for the object's contents; NULL when memory runs out. */
static node *new_container(node *object) {
  if (object->refcount != IMPLIED || !has_labels(object))
    return node_new_object();
  return sort_by_labels(object) ? node_new_array() : NULL;
}

static bool add_child(node *container, const char *key, node *child) {
  if (child != NULL && (node_is_array(container) ? node_array_append(container, child)
                                                 : node_object_add(container, key, child)))
    return true;
  node_free(child);
  return false;
}

/* Moves the first child of one container to the other. For a child with children of its
   own, a new container is made, and `*from` and `*to` go down to these two. */
static bool move_child(node **from, node **to) {
  node *child = node_container_first(*from);
  if (is_open(child) && child->child_count != 0) {
    node *made = new_container(child);
    if (!add_child(*to, node_key(child), made))
      return false;
    *from = child;
    *to = made;
    return true;
  }
  char *key = strdup(node_key(child));
  if (key == NULL)
    return false;
  node_detach(child);
  drop_state(child);
  bool moved = add_child(*to, key, child);
  free(key);
  return moved;
}

/* Turns the objects that the lines have made, which are emptied, into the value. */
static node *build(node *root) {
  node *made = new_container(root);
  node *from = root;
  node *to = made;
  bool moved = made != NULL;
  while (moved && (from != root || from->child_count != 0)) {
    if (from->child_count != 0) {
      moved = move_child(&from, &to);
      continue;
    }
    node *emptied = from;
    from = node_parent(from);
    to = node_parent(to);
    drop_state(emptied);
    node_free(emptied);
  }
  if (moved)
    return made;
  node_free(made);
  return NULL;
}

/* ---- Files ---- */

static const char *check_line(char *line, size_t length) {
  if (strlen(line) != length)
    return "contains a NUL";
  line[strcspn(line, "\n")] = '\0';
  return NULL;
}

static bool is_blank(const char *line) {
  return *line == '\0' || strcmp(line, "\r") == 0;
}

typedef struct lines {
  FILE *file;
  char *line;
  size_t room;
  size_t number;
  bool ended; /* at the end, or after a failure */
} lines;

/* Reads the lines of one value, which a blank one ends. False, with a report, for a
   wrong line. */
static bool read_lines(struct job *job, lines *l, node **root) {
  const char *reason = NULL;
  ssize_t length;
  while ((length = getline(&l->line, &l->room, l->file)) >= 0) {
    l->number++;
    reason = check_line(l->line, (size_t)length);
    if (reason == NULL && is_blank(l->line))
      return true;
    if (reason == NULL)
      reason = add_line(root, l->line);
    if (reason != NULL)
      break;
  }
  l->ended = true;
  if (reason != NULL)
    complain(job, "line %zu%s %s", l->number, reason == no_memory ? ":" : "", reason);
  else if (!feof(l->file))
    complain(job, "%s", strerror(errno));
  return reason == NULL && feof(l->file);
}

static void answer_lines(struct job *job, lines *l) {
  node *root = node_new_object();
  if (root == NULL) {
    complain(job, "%s", no_memory);
    l->ended = true;
    return;
  }
  node *value = read_lines(job, l, &root) ? root : NULL;
  if (value != NULL && is_open(root) && root->child_count != 0) {
    value = build(root);
    if (value == NULL)
      complain(job, "%s", no_memory);
  }
  bool has_lines = value != root || (value != NULL && value->refcount != IMPLIED);
  if (value != NULL && has_lines && print_value(job, "", value))
    job->found = true;
  if (value != root)
    node_free(value);
  release(root);
  output_flush(job); /* the next read may block for long */
}

static void unflatten(struct job *job, const char *name) {
  struct stat file;
  int fd = input_open(job, name, &file);
  lines l = {.file = fd < 0 ? NULL : fd == STDIN_FILENO ? stdin : fdopen(fd, "r")};
  if (fd >= 0 && l.file == NULL) {
    complain(job, "%s", no_memory);
    close(fd);
  }
  while (l.file != NULL && !l.ended && !job->output_lost)
    answer_lines(job, &l);
  free(l.line);
  if (l.file != NULL && l.file != stdin)
    fclose(l.file);
  job->input = NULL;
}

void run_unflat(struct job *job, char **files) {
  if (*files == NULL)
    unflatten(job, "-");
  for (char **file = files; *file != NULL && !job->output_lost; file++)
    unflatten(job, *file);
}
