/*
 * process_: child processes.
 *
 * A command line is a string list whose first string is the program, looked up along PATH,
 * and which becomes the program's arguments as it is; no shell reads it. Whoever spawns a
 * child has to wait for it, with process_wait() or waitpid(): until then it stays in the
 * process table. Failures in the caller's own process report at LOG_DEBUG and leave their
 * cause in errno: EINVAL for an empty command line.
 *
 * The child runs the program
 *  - with its standard streams as asked for, always open;
 *  - with every other descriptor that is not close-on-exec, as all that this library opens
 *    are;
 *  - with the caller's signal mask and ignored signals, limits, working directory and, unless
 *    `user` says otherwise, user.
 *
 * The caller does not see what goes wrong in the child: the child logs it and ends with
 * status 1. Once its streams are in place, a log on standard error is the child's own. The
 * child ends by _exit(), and when it begins it drops what it inherited in the buffers of
 * stderr and `log_file`: nothing that the caller has buffered is written twice, and none of
 * the caller's exit handlers runs. The child flushes its own messages. An error pipe without
 * a reader does not change the status. A log file that was opened while 0, 1 or 2 was
 * closed, and so got that number, does not get the child's messages.
 *
 * Threads. Any thread may spawn at any time; pipes do not leak into what others spawn
 * meanwhile. Until the program starts, the child makes only calls that are safe whatever
 * other threads were in the middle of, with three exceptions. It may hang where one of them
 * was, at that moment,
 *  - changing the environment, if `environment` is given;
 *  - looking users up, if `user` is given;
 *  - writing to syslog, if that is the log and the child has something to report.
 *
 * Until then no signal handler of the caller runs in the child either: signals are blocked,
 * and what the caller handles is set to its default. A signal that came meanwhile is
 * delivered just before the program starts. A thread that is cancelled while it spawns acts
 * on it after the call; the child never does.
 */
#ifndef NODETREE_PROCESS_H
#define NODETREE_PROCESS_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <sys/types.h>

NODETREE_BEGIN

/* ---- Spawning ---- */

/*
 * Starts a child and returns its process id without waiting for anything; -1 if there is no
 * child: the command line is empty, or the system has no room for another process.
 *
 * `environment` alternates names and values that are set on top of the caller's environment,
 * PATH for the lookup of the program included. A name that is empty or contains '=' is
 * reported and passed over, a name at the end without a value is reported; the program runs
 * all the same. NULL adds nothing.
 *
 * `user` runs the program as that user, as process_drop_privilege() does; if that returns
 * false the program does not run. NULL changes nothing.
 *
 * `in`, `out` and `err` become the program's standard streams; a negative one stands for
 * /dev/null. All three are meant as the caller knows them before any is put in place, so 0
 * to 2 may be given in any order and any descriptor more than once: (0, 2, 2) sends the
 * output where the caller's errors go. They stay open in the caller. One that is not open
 * is a failure in the child, and so is a full table of descriptors where 0 to 2 change
 * places, which takes another descriptor for a moment. A descriptor above 2 also stays open
 * in the program under its own number unless it is close-on-exec.
 */
NODETREE_API pid_t process_spawn_fd(char *const *command, char *const *environment,
                                    const char *user, int in, int out, int err);

/* process_spawn_fd() with nothing added to the environment, the user unchanged and all
   three streams on /dev/null. */
NODETREE_API pid_t process_spawn(char *const *command);

/* process_spawn_fd() with a pipe for each of `in`, `out` and `err` that is not NULL, whose
 * caller's end, the one to write to `in` and those to read `out` and `err` from, is stored
 * there. The other streams are on /dev/null.
 *
 * The caller closes its ends. They are close-on-exec and never 0 to 2. The program sees the
 * end of its input when the caller has closed `in`; reading ends when the program, and what
 * it has started with the same streams, has closed them. Writing to a program that no longer
 * reads raises SIGPIPE, as with any pipe, and a caller that neither reads a pipe nor closes
 * it stops a program that fills it (64 KiB by default): serve more than one pipe with poll().
 *
 * On failure nothing stays open; the ends are then -1, or untouched if the command line was
 * empty. */
NODETREE_API pid_t process_spawn_pipe(char *const *command, char *const *environment,
                                      const char *user, int *in, int *out, int *err);

/* ---- Waiting ---- */

/*
 * Waits until the child has ended, reaps it and returns
 *
 *     0 to 255      its exit status
 *    -1 to -127     the negated number of the signal that ended it
 *    -256           none of these (not from a child that has ended)
 *    -257           at once: `pid` is not positive
 *    -258           `pid` is no child of the caller, or one that has been waited for
 *
 * A program that ignores SIGCHLD has its children reaped by the system: it gets -258 when
 * the child has ended. Signals that interrupt the wait do not end it; there is no timeout.
 */
NODETREE_API int process_wait(pid_t pid);

/* The same for a wait status as waitpid() fills it in; -256 for that of a child which has
   been stopped or continued. */
NODETREE_API int process_interpret_status(int status);

/* ---- Privileges ---- */

/*
 * Makes root another user for good, first the group and then the user id. True if the
 * process may go on: it has become `user`, "root" was asked for, or its real user is not
 * root, and then nothing is changed, whatever the effective one is. False, reported at
 * LOG_DEBUG, if the user is unknown (ENOENT) or the system refuses; the process is then
 * still root, though perhaps with the other group. NULL stands for "nobody".
 *
 * Keeps the supplementary groups: a process that has root's gives them up with setgroups()
 * before. Keeps the environment, HOME included. Looks the user up with getpwnam(), so not in
 * two threads at once.
 */
NODETREE_API bool process_drop_privilege(const char *user);

NODETREE_END

#endif
