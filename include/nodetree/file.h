/*
 * file_, path_: whole files, advisory locks, directories and path texts.
 *
 * Failures are NULL, false or -1 and leave nothing allocated or open behind; errno says
 * why, as the system call that failed left it. Reading, mapping, writing and locking also
 * report at LOG_DEBUG. Calls that a signal interrupts are taken up again. Every descriptor
 * is opened close-on-exec.
 */
#ifndef NODETREE_FILE_H
#define NODETREE_FILE_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

NODETREE_BEGIN

/* ---- Whole files ---- */

/* The file's bytes, which may contain zero bytes, in a new buffer with one zero byte behind
   them that `*length` does not count. Reads to the end, whatever size the file claims, so
   pipes and devices are read too. NULL on failure; `*length` is then untouched if the file
   could not be opened, otherwise what had been read. The buffer grows by doubling. O(n). */
NODETREE_API char *file_read(const char *path, size_t *length);

/* file_read() as a text, without the length. */
NODETREE_API char *file_read_string(const char *path);

/* A read-only private mapping of the whole file, to be released with file_unmap(), and its
   size in `*length`. NULL, with `*length` untouched, on failure and for whatever has no
   size: an empty file, a pipe, a device; with ENOMEM where the address space is too small.
   Never waits for a pipe's other end. A file that is made shorter while it is mapped ends
   whoever reads behind its new end with SIGBUS. */
NODETREE_API void *file_map(const char *path, size_t *length);

/* Releases a mapping of `length` bytes; NULL is ignored. */
NODETREE_API void file_unmap(void *address, size_t length);

/* Does nothing and returns false: there is no writing of byte buffers. */
NODETREE_API bool file_write(const char *path, const void *data, size_t length);

/* Creates the file (mode 0666 less the umask) or empties it, and writes `text` without its
   zero byte. True when the system has taken every byte: nothing waits in a buffer of ours,
   so a full disk is a failure here; what a network file system reports only at the close is
   not. On failure the file is left with what was written. O(n). */
NODETREE_API bool file_write_string(const char *path, const char *text);

/* ---- Advisory locks ----
 *
 * A lock is a descriptor that holds a flock() lock: it shuts out other users of these calls
 * and of flock(), within the same process too, and is never turned into the other kind.
 * Waiting for a write lock while holding a read lock on the same file therefore never ends.
 * A child made by fork() shares its parent's locks until it closes the descriptors or calls
 * exec. */

/* Takes a shared (read) or exclusive (write) lock, waiting as long as needed, and returns
   the descriptor to be given to file_unlock(); -1 on failure. Creates a missing file with
   mode 0600, and needs permission to read an existing one. */
NODETREE_API int file_read_lock(const char *path);
NODETREE_API int file_write_lock(const char *path);

/* Releases the lock at once, for children and duplicates that share it too, and closes the
   descriptor; -1 is ignored. A child that is only to give up its own share calls close(). */
NODETREE_API void file_unlock(int descriptor);

/* Whether a shared (read) or exclusive (write) lock would have to wait at this moment.
   False also where the file cannot be opened; it is not created. Each probe takes its lock
   for a moment when it can, so another probe may see that. Never waits. */
NODETREE_API bool file_read_is_locked(const char *path);
NODETREE_API bool file_write_is_locked(const char *path);

/* ---- Directories ---- */

/* Makes the directory `path` and its missing ancestors with `mode` less the umask, which
   must let the process itself write and search for the next one to be made. True when all
   are directories afterwards, whoever made them; "" is false. Those made before a failure
   stay. Reports nothing. */
NODETREE_API bool file_mkdirp(const char *path, mode_t mode);

/*
 * A new string list of the paths ("directory/.../name") of everything but directories below
 * `directory` whose name, not its path, matches the glob `pattern` as in string_match().
 * NULL, with errno as it was, where nothing matches and for a NULL pattern; NULL on failure.
 *
 * Depth first; the entries of each directory, hidden ones included, stand in descending
 * alphasort() order, and what is found in a subdirectory stands where the subdirectory
 * does. A subdirectory or entry that cannot be read, or whose path would be too long for
 * the system, is passed over; when memory or descriptors run out, the whole call fails.
 *
 * Symbolic links are followed: a directory that two links lead to is searched twice. Two
 * bounds make every search end:
 *  - a directory is not entered again while the search is inside it, so a link to an
 *    ancestor leads nowhere;
 *  - at most 100,000 directories are entered through links, which are counted with all
 *    directories below them; at one more the whole call fails with ELOOP.
 *
 * Uses one descriptor at a time and no recursion. Linear in the entries visited, apart from
 * the sorting.
 */
NODETREE_API char **path_search(const char *directory, const char *pattern);

/* ---- Paths ---- */

/* What the path leads to, across symbolic links: whether it exists, is a directory, is a
   regular file. A link that leads nowhere does not exist. */
NODETREE_API bool path_exists(const char *path);
NODETREE_API bool path_is_directory(const char *path);
NODETREE_API bool path_is_file(const char *path);

/* A new text of the path without its last component, as POSIX dirname() gives it: "/a" for
   "/a/b/", "." for "a" and "". NULL for NULL. */
NODETREE_API char *path_dirname(const char *path);

/*
 * A new text of the path without "." components, ".." components with the component before
 * them, doubled slashes and a slash at the end ("/" alone stays). Linear.
 *
 * Goes by the text alone: ".." takes back what stands before it, also if that is a symbolic
 * link, and nothing at the root. Components are recognised by the slash before them, so a
 * relative path keeps a leading "." or ".." and comes out absolute when its first component
 * is taken back: "a/../b" gives "/b". A path that is taken back altogether gives "", as do
 * "/.." and "/.".
 */
NODETREE_API char *path_normalize(const char *path);

NODETREE_END

#endif
