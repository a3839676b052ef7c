/*
 * process_: child processes.
 *
 * A command line is a string list. The first string is the program, which is looked up in
 * PATH; the whole list is passed to it as its arguments. No shell is involved. The caller
 * waits for each child with process_wait() or waitpid(), otherwise it stays in the process
 * table. Failures in the calling process are logged at LOG_DEBUG and set errno; EINVAL for
 * an empty command line.
 *
 * The child runs the program
 *  - with the standard streams that were asked for, which are always open;
 *  - with every other descriptor that is not close-on-exec (all that this library opens
 *    are);
 *  - with the caller's signal mask, ignored signals, limits, working directory and, without
 *    `user`, user.
 *
 * Failures in the child before the program starts are not reported to the caller: the child
 * logs them and exits with status 1. By then its streams are in place, so a log on standard
 * error goes to the child's standard error. The child exits by _exit() and discards what it
 * has inherited in the buffers of stderr and `log_file`. So nothing that the caller has
 * buffered is written twice, and no exit handler of the caller runs. The child flushes its
 * own messages. An error pipe without a reader does not change the status. A log file whose
 * descriptor is 0, 1 or 2 does not get the child's messages.
 *
 * Threads. Any thread may spawn at any time, and pipes do not leak into children that other
 * threads spawn. Until the program starts, the child makes only calls that are safe
 * whatever other threads were doing, with three exceptions. It may hang if another thread
 * was, at that moment,
 *  - changing the environment, if `environment` is given;
 *  - looking up users, if `user` is given;
 *  - writing to syslog, if that is the log and the child has something to log.
 *
 * Until the program starts, no signal handler of the caller runs in the child: signals are
 * blocked, and handled ones are set to their default. A signal that arrives meanwhile is
 * delivered just before the program starts. A thread that is cancelled while it spawns is
 * cancelled after the call; the child is not cancelled.
 */
#ifndef NODETREE_PROCESS_H
#define NODETREE_PROCESS_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <sys/types.h>

NODETREE_BEGIN

/* ---- Spawning ---- */

/*
 * Starts a child and returns its process id without waiting. -1 if there is no child,
 * because the command line is empty or the system cannot make another process.
 *
 * `environment` is a list of alternating names and values, which are set on top of the
 * caller's environment; a PATH among them is used to look up the program. A name that is
 * empty or contains '=' is logged and skipped, and so is a name at the end without a value.
 * The program runs all the same. NULL adds nothing.
 *
 * `user` is the user to run the program as, by process_drop_privilege(). If that fails the
 * program does not run. NULL changes nothing.
 *
 * `in`, `out` and `err` are descriptors of the caller that become the program's standard
 * streams; a negative one stands for /dev/null. 0 to 2 may be given in any order, and any
 * descriptor more than once: (0, 2, 2) sends the output to the caller's standard error.
 * They stay open in the caller. A descriptor that is not open is a failure in the child. So
 * is a full table of descriptors if 0 to 2 change places, which needs one more descriptor
 * for a moment. A descriptor above 2 also stays open in the program under its own number,
 * unless it is close-on-exec. O(n).
 */
NODETREE_API pid_t process_spawn_fd(char *const *command, char *const *environment,
                                    const char *user, int in, int out, int err);

/* process_spawn_fd() with the caller's environment and user, and with all three streams on
   /dev/null. */
NODETREE_API pid_t process_spawn(char *const *command);

/* process_spawn_fd() with a pipe for each of `in`, `out` and `err` that is not NULL. The
 * caller's end is stored there: the write end for `in`, the read end for `out` and `err`.
 * The other streams are on /dev/null.
 *
 * The caller closes its ends. They are close-on-exec and never 0 to 2. The program's input
 * ends when the caller closes `in`. Reading ends when the program, and all it has started
 * with the same streams, have closed them. As with any pipe, writing to a program that no
 * longer reads raises SIGPIPE, and a program blocks when it has filled a pipe (64 KiB by
 * default) that the caller does not read: use poll() for more than one pipe.
 *
 * On failure nothing stays open. The ends are then -1, or unchanged if the command line was
 * empty. */
NODETREE_API pid_t process_spawn_pipe(char *const *command, char *const *environment,
                                      const char *user, int *in, int *out, int *err);

/* ---- Waiting ---- */

/*
 * Waits until the child has ended, reaps it and returns
 *
 *     0 to 255      its exit status
 *    -1 to -127     the negated number of the signal that ended it
 *    -256           another status, which a child that has ended does not have
 *    -257           at once, because `pid` is not positive
 *    -258           `pid` is not a child of the caller, or has been waited for
 *
 * If the caller ignores SIGCHLD, the system reaps its children and the result is -258 when
 * the child has ended. Signals do not end the wait; there is no time limit.
 */
NODETREE_API int process_wait(pid_t pid);

/* The same result for a wait status from waitpid(); -256 for a child that was stopped or
   continued. */
NODETREE_API int process_interpret_status(int status);

/* ---- Privileges ---- */

/*
 * Changes a process of root to `user` for good: first the group id, then the user id. NULL
 * stands for "nobody". True if the process has become `user`. Also true, with nothing
 * changed, if `user` is "root" or the real user of the process is not root, whatever its
 * effective user is. False, logged at LOG_DEBUG, if the user is unknown (ENOENT) or the
 * system refuses. The process is then still root, but may have the other group.
 *
 * The supplementary groups stay, so a process that has root's drops them with setgroups()
 * first. The environment stays, HOME included. Uses getpwnam(), so only one thread at a
 * time may call it.
 */
NODETREE_API bool process_drop_privilege(const char *user);

NODETREE_END

#endif
