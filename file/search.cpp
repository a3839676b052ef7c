// Searching a directory tree for names that match a pattern.
#include <nodetree/file.h>
#include <nodetree/string.h>

#include "shared/stack.hpp"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

using namespace nodetree;

namespace {

struct DirectoryId {
  dev_t device;
  ino_t inode;
};

// Links between directories can make too many paths to walk, so directories entered through
// links, directly or further down, are counted.
constexpr int max_across_links = 100'000;

// A directory that is being searched.
struct Level {
  Level *parent;
  dirent **entries;
  int left; // number of entries left, visited from the last to the first
  size_t path_length;
  DirectoryId id;
  bool across_links; // whether a link was followed on the way here
};

int no_dots(const dirent *entry) {
  return strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0;
}

// Whether errno tells a lack of resources, not a fault of one directory.
bool out_of_resources() {
  return errno == ENOMEM || errno == EMFILE || errno == ENFILE;
}

class Search {
public:
  explicit Search(const char *pattern) : pattern_(pattern) {}
  ~Search() {
    while (level_)
      leave();
    for (; !found_.empty(); found_.pop())
      free(found_.back());
  }
  Search(const Search &) = delete;
  Search &operator=(const Search &) = delete;

  // False when the directory cannot be searched completely.
  bool run(const char *directory);

  // The paths found; NULL for none and when memory runs out.
  char **take() {
    return !found_.empty() && found_.push(nullptr) ? found_.take() : nullptr;
  }

private:
  bool visit(const dirent &entry);
  bool visit_directory(size_t path_length, const DirectoryId &id);
  bool enter(size_t path_length, const DirectoryId &id, bool across_links);
  void leave();
  bool is_inside(const DirectoryId &id) const;

  const char *pattern_;
  Level *level_ = nullptr;
  Stack<char *> found_;
  int across_links_ = 0;
  // The current path. A longer one could not be opened.
  char path_[PATH_MAX];
};

bool Search::run(const char *directory) {
  const size_t length = strlen(directory);
  struct stat status;
  if (length >= sizeof path_) {
    errno = ENAMETOOLONG;
    return false;
  }
  memcpy(path_, directory, length + 1);
  if (stat(directory, &status) != 0 ||
      !enter(length, {status.st_dev, status.st_ino}, false) || !level_)
    return false;
  while (level_) {
    if (level_->left == 0) {
      leave();
      continue;
    }
    dirent *entry = level_->entries[--level_->left];
    const bool visited = visit(*entry);
    free(entry);
    if (!visited)
      return false;
  }
  return true;
}

bool Search::visit(const dirent &entry) {
  const size_t name_length = strlen(entry.d_name);
  const size_t length = level_->path_length + 1 + name_length;
  if (length >= sizeof path_)
    return true;
  path_[level_->path_length] = '/';
  memcpy(path_ + level_->path_length + 1, entry.d_name, name_length + 1);

  struct stat status;
  if (stat(path_, &status) != 0)
    return true;
  if (S_ISDIR(status.st_mode))
    return visit_directory(length, {status.st_dev, status.st_ino});
  if (!string_match(entry.d_name, pattern_))
    return true;
  char *path = strdup(path_);
  if (path && found_.push(path))
    return true;
  free(path);
  return false;
}

bool Search::visit_directory(size_t path_length, const DirectoryId &id) {
  struct stat status;
  if (is_inside(id) || lstat(path_, &status) != 0)
    return true;
  const bool across_links = level_->across_links || S_ISLNK(status.st_mode);
  if (across_links && ++across_links_ > max_across_links) {
    errno = ELOOP;
    return false;
  }
  return enter(path_length, id, across_links);
}

bool Search::enter(size_t path_length, const DirectoryId &id, bool across_links) {
  dirent **entries;
  const int count = scandir(path_, &entries, no_dots, alphasort);
  if (count < 0)
    return !out_of_resources();
  auto *level = static_cast<Level *>(malloc(sizeof(Level)));
  if (!level) {
    for (int i = 0; i < count; ++i)
      free(entries[i]);
    free(entries);
    return false;
  }
  *level = {level_, entries, count, path_length, id, across_links};
  level_ = level;
  return true;
}

void Search::leave() {
  Level *level = level_;
  level_ = level->parent;
  while (level->left > 0)
    free(level->entries[--level->left]);
  free(level->entries);
  free(level);
}

bool Search::is_inside(const DirectoryId &id) const {
  for (const Level *level = level_; level; level = level->parent)
    if (level->id.device == id.device && level->id.inode == id.inode)
      return true;
  return false;
}

} // namespace

char **path_search(const char *directory, const char *pattern) {
  // Without a pattern nothing matches.
  if (!pattern)
    return nullptr;
  const int caller_errno = errno;
  Search search(pattern);
  if (!search.run(directory))
    return nullptr;
  errno = caller_errno; // skipped entries are no failure
  return search.take();
}
