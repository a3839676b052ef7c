#include "tool.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

char *pointer_token(const char **pointer) {
  if (**pointer != '/')
    return NULL;
  const char *from = *pointer + 1;
  char *token = strndup(from, strcspn(from, "/"));
  char *to = token;
  for (; token != NULL && *from != '\0' && *from != '/'; to++, from++) {
    *to = *from;
    if (*from != '~')
      continue;
    if (*++from != '0' && *from != '1') {
      free(token);
      return NULL;
    }
    *to = *from == '0' ? '~' : '/';
  }
  if (token == NULL)
    return NULL;
  *to = '\0';
  *pointer = from;
  return token;
}

node *pointer_child(const node *container, const char *token) {
  if (node_is_object(container))
    return node_object_get(container, token);
  if (!node_is_array(container) || (*token == '0' && token[1] != '\0') ||
      token[strspn(token, "0123456789")] != '\0' || *token == '\0')
    return NULL;
  errno = 0;
  size_t index = strtoul(token, NULL, 10);
  return errno == 0 ? node_array_get(container, index) : NULL;
}

node *find_path(struct job *job, node *value, const char *path) {
  if (!job->option[OPTION_POINTER])
    return node_lookup(value, path);
  node *found = value;
  while (*path != '\0' && found != NULL) {
    char *token = pointer_token(&path);
    found = token != NULL ? pointer_child(found, token) : NULL;
    free(token);
  }
  return found;
}
