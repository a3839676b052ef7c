/*
 * file_, path_: whole files, advisory locks, directories and path texts.
 *
 * Failure is NULL, false or -1 and leaves nothing allocated or open. errno then has the
 * value of the system call that failed. Failures of mapping, writing and locking, and of
 * opening a file to read it, are also logged at LOG_DEBUG. Calls that a signal interrupts
 * are repeated. Every descriptor is opened close-on-exec.
 */
#ifndef NODETREE_FILE_H
#define NODETREE_FILE_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

NODETREE_BEGIN

/* ---- Whole files ---- */

/* Reads the whole file into a new buffer. The bytes may contain NULs; one more NUL, which
   `*length` does not count, ends them. Reads to the end instead of trusting the size, so
   pipes and devices work. NULL on failure; `*length` is then unchanged if the file could
   not be opened, otherwise the number of bytes read. The buffer grows by doubling. O(n). */
NODETREE_API char *file_read(const char *path, size_t *length);

/* file_read() without the length. */
NODETREE_API char *file_read_string(const char *path);

/* Maps the whole file, read-only and private, and stores its size in `*length`. Release the
   mapping with file_unmap(). NULL, with `*length` unchanged, on failure and for a file
   without a size: an empty one, a pipe, a device. ENOMEM if the address space is too small.
   Never waits for the other end of a pipe. If the file is truncated while it is mapped,
   reading beyond its new end raises SIGBUS. */
NODETREE_API void *file_map(const char *path, size_t *length);

/* Releases a mapping of `length` bytes; NULL is ignored. */
NODETREE_API void file_unmap(void *address, size_t length);

/* Does nothing and returns false. Reserved. */
NODETREE_API bool file_write(const char *path, const void *data, size_t length);

/* Creates the file (mode 0666 less the umask) or truncates it, and writes `text` without
   its NUL. True when the system has accepted every byte, so a full disk is a failure. An
   error that a network file system reports only at the close is not. On failure the bytes
   written so far stay in the file. O(n). */
NODETREE_API bool file_write_string(const char *path, const char *text);

/* ---- Advisory locks ----
 *
 * A lock is a descriptor that holds a flock() lock. It excludes other users of these calls
 * and of flock(), in the same process too. A lock never changes its kind, so waiting for a
 * write lock while holding a read lock on the same file never ends. A child made by fork()
 * shares its parent's locks until it closes the descriptors or calls exec. */

/* Takes a shared (read) or exclusive (write) lock, waiting as long as needed. Returns the
   descriptor, which is released with file_unlock(); -1 on failure. A missing file is
   created with mode 0600; an existing one must be readable. */
NODETREE_API int file_read_lock(const char *path);
NODETREE_API int file_write_lock(const char *path);

/* Releases the lock, even if children or duplicates share it, and closes the descriptor. -1
   is ignored. A child that gives up only its own share calls close() instead. */
NODETREE_API void file_unlock(int descriptor);

/* Whether taking a shared (read) or exclusive (write) lock would have to wait now. False if
   the file cannot be opened; it is not created. A probe holds the lock for a moment if it
   can, which another probe may notice. Never waits. */
NODETREE_API bool file_read_is_locked(const char *path);
NODETREE_API bool file_write_is_locked(const char *path);

/* ---- Directories ---- */

/* Makes the directory `path` and its missing ancestors with `mode` less the umask. To make
   a directory inside another new one, the mode must let the process write and search. True
   when all are directories afterwards, even if somebody else made them; false for "".
   Directories made before a failure stay. Logs nothing. O(n). */
NODETREE_API bool file_mkdirp(const char *path, mode_t mode);

/*
 * Searches `directory` and all directories below it for entries other than directories
 * whose name, not path, matches the glob `pattern` as in string_match(). Returns their
 * paths ("directory/.../name") as a new string list. NULL, with errno unchanged, when
 * nothing matches and for a NULL pattern; NULL on failure.
 *
 * The search is depth first. The entries of a directory, hidden ones included, come in
 * descending alphasort() order; the matches of a subdirectory come at its place. A
 * subdirectory or entry that cannot be read, or whose path is too long for the system, is
 * skipped. When memory or descriptors run out, the whole call fails.
 *
 * Symbolic links are followed, and a directory that two links lead to is searched twice.
 * Two limits make every search end:
 *  - A directory is not entered again while the search is inside it, so links to an
 *    ancestor are not followed.
 *  - At most 100,000 directories are entered through links, directly or further down.
 *    Beyond that the whole call fails with ELOOP.
 *
 * Uses one descriptor at a time and no recursion. O(n log n) in the entries visited.
 */
NODETREE_API char **path_search(const char *directory, const char *pattern);

/* ---- Paths ---- */

/* Whether the path exists, is a directory, or is a regular file. Symbolic links are
   followed; a dangling link does not exist. */
NODETREE_API bool path_exists(const char *path);
NODETREE_API bool path_is_directory(const char *path);
NODETREE_API bool path_is_file(const char *path);

/* The path without its last component, as by POSIX dirname(), as a new text: "/a" for
   "/a/b/", "." for "a" and "". NULL for NULL and when memory runs out. O(n). */
NODETREE_API char *path_dirname(const char *path);

/*
 * Removes from the path "." components, ".." components with the component before them,
 * doubled slashes, and a slash at the end unless it is the whole path. Returns a new text;
 * NULL when memory runs out. O(n).
 *
 * Looks at the text only: ".." removes the component before it even if that is a symbolic
 * link, and nothing at the root. A component is recognised by the slash before it. So a
 * relative path keeps a leading "." or "..", and becomes absolute when its first component
 * is removed: "a/../b" gives "/b". If nothing is left the result is "", as for "/.." and
 * "/.".
 */
NODETREE_API char *path_normalize(const char *path);

NODETREE_END

#endif
