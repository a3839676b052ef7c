#ifndef NODETREE_STRINGLIST_BUILDER_HPP
#define NODETREE_STRINGLIST_BUILDER_HPP

#include <nodetree/stringlist.h>

#include <cstdlib>
#include <cstring>

namespace nodetree {

/* Owns a list under construction, of a fixed capacity, until take() hands it over. */
class ListBuilder {
public:
  explicit ListBuilder(size_t capacity)
      : list_(static_cast<char **>(malloc((capacity + 1) * sizeof(char *)))), next_(list_) {
    if (list_)
      *list_ = nullptr;
  }
  ~ListBuilder() { sl_free(list_); }
  ListBuilder(const ListBuilder &) = delete;
  ListBuilder &operator=(const ListBuilder &) = delete;

  bool ok() const { return list_ != nullptr; }

  /* False, with nothing added, when memory runs out. */
  bool add(const char *string) { return adopt(strdup(string)); }
  bool add(const char *text, size_t length) { return adopt(strndup(text, length)); }

  size_t size() const { return static_cast<size_t>(next_ - list_); }

  char **take() {
    char **list = list_;
    list_ = next_ = nullptr;
    return list;
  }

private:
  bool adopt(char *string) {
    if (!string)
      return false;
    *next_++ = string;
    *next_ = nullptr;
    return true;
  }

  char **list_;
  char **next_;
};

} // namespace nodetree

#endif
