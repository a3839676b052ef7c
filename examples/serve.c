/*
 * A daemon on plain Linux calls: one thread and one epoll loop for all connections.
 *
 *     serve --socket /run/bookings.sock --rules examples/data/booking_rules.json
 *     serve --port 7000 --rules rules.json --log syslog --lock /run/bookings.lock --user nobody
 *
 * A connection carries any number of requests, in JSON or MessagePack, which are answered
 * in the same encoding and in order. Systemd may pass the listening socket (LISTEN_FDS).
 * SIGHUP reads the rules again. SIGTERM and SIGINT end the service after it has answered
 * the requests that have arrived. Every resource that a client could exhaust has a limit:
 * see usage() and serve.h.
 */
#include "serve.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <getopt.h>
#include <grp.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <nodetree.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

typedef struct connection {
  struct connection *earlier, *later; /* in the order of their last activity */
  talk *talk; /* NULL after the last input: what is left is written, then `end_told` */
  output out;
  int fd;
  uint32_t events; /* the events that the loop waits for */
  bool end_told;   /* shut down; input is dropped until the client closes too */
  time_t active;
} connection;

typedef struct service {
  const char *socket_path, *rules, *log, *lock, *user;
  size_t port;
  limits at_most;
  int epoll, listener, signals, lock_fd;
  size_t connections;
  connection ring;               /* between the least and the most recently active one */
  bool accepting, ending, bound; /* bound: the socket at the path is ours */
  time_t warned, accept_again;   /* for the case that descriptors run out */
} service;

enum { MAX_EVENTS = 256, LAST_WORDS_SECONDS = 5 };

static time_t now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
  return time.tv_sec;
}

/* ---- Bytes to be written ---- */

bool output_append(output *out, const void *bytes, size_t size) {
  if (out->room - out->size < size) {
    size_t room = out->size + size + out->room;
    char *grown = realloc(out->bytes, room);
    if (grown == NULL)
      return false;
    out->bytes = grown;
    out->room = room;
  }
  memcpy(out->bytes + out->size, bytes, size);
  out->size += size;
  return true;
}

static size_t waiting(const connection *c) {
  return c->out.size - c->out.sent;
}

/* False when the client is gone. */
static bool write_out(connection *c) {
  while (waiting(c) > 0) {
    ssize_t sent = send(c->fd, c->out.bytes + c->out.sent, waiting(c), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR)
      continue;
    if (sent < 0)
      return errno == EAGAIN;
    c->out.sent += (size_t)sent;
  }
  free(c->out.bytes); /* thousands of idle connections keep no buffer */
  c->out = (output){.bytes = NULL};
  return true;
}

/* ---- One connection ---- */

static void touch(service *s, connection *c) {
  if (c->earlier != NULL) {
    c->earlier->later = c->later;
    c->later->earlier = c->earlier;
  }
  c->earlier = s->ring.earlier;
  c->later = &s->ring;
  c->earlier->later = c->later->earlier = c;
  c->active = now();
}

static void hang_up(service *s, connection *c) {
  c->earlier->later = c->later;
  c->later->earlier = c->earlier;
  close(c->fd); /* also removes it from the epoll set */
  talk_free(c->talk);
  free(c->out.bytes);
  free(c);
  s->connections--;
  s->accept_again = 0;
}

/* Selects the events that the connection needs next. False if it is finished. */
static bool wait_for(const service *s, connection *c) {
  if (c->talk == NULL && !c->end_told && waiting(c) == 0) {
    /* Closing now would reset the connection if there is unread input, and the client
       could lose the last answer. */
    if (shutdown(c->fd, SHUT_WR) != 0)
      return false;
    c->end_told = true;
  }
  uint32_t events = waiting(c) > 0 ? EPOLLOUT : 0;
  if (c->end_told || (c->talk != NULL && waiting(c) <= s->at_most.waiting_bytes))
    events |= EPOLLIN;
  if (events == c->events)
    return true;
  c->events = events;
  return epoll_ctl(s->epoll, EPOLL_CTL_MOD, c->fd,
                   &(struct epoll_event){.events = events, .data.ptr = c}) == 0;
}

static void end_talk(connection *c) {
  talk_free(c->talk);
  c->talk = NULL;
}

/* Reads what has arrived, all of it if the service is ending. False if the client is
   gone. */
static bool read_in(const service *s, connection *c) {
  static char bytes[16384];
  do {
    ssize_t size = recv(c->fd, bytes, sizeof bytes, 0);
    if (size < 0 && errno == EINTR)
      continue;
    if (size < 0)
      return errno == EAGAIN;
    if (size == 0 && c->end_told)
      return false;
    /* A client that has shut down its side may still read. */
    if (size == 0 || (c->talk != NULL && !talk_take(c->talk, bytes, (size_t)size)))
      end_talk(c);
  } while (s->ending && c->talk != NULL && waiting(c) <= s->at_most.waiting_bytes);
  return true;
}

/* False if the connection is finished. */
static bool take_in(service *s, connection *c, uint32_t events) {
  if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) == 0 || read_in(s, c))
    return true;
  hang_up(s, c);
  return false;
}

/* Only a client that takes answers counts as active; sending a byte now and then is not
   enough. */
static void give_out(service *s, connection *c) {
  size_t before = waiting(c);
  bool there = write_out(c) && wait_for(s, c);
  if (!there)
    hang_up(s, c);
  else if (waiting(c) < before && !s->ending)
    touch(s, c);
}

static bool take_connection(service *s, int fd) {
  connection *c = calloc(1, sizeof *c);
  if (c == NULL)
    return false;
  c->fd = fd;
  c->events = EPOLLIN;
  c->talk = talk_new(&c->out, &s->at_most);
  struct epoll_event event = {.events = c->events, .data.ptr = c};
  if (c->talk == NULL || epoll_ctl(s->epoll, EPOLL_CTL_ADD, fd, &event) != 0) {
    talk_free(c->talk);
    free(c);
    return false;
  }
  touch(s, c);
  s->connections++;
  s->accept_again = 0;
  return true;
}

/* ---- The listener ---- */

static void set_accepting(service *s, bool accepting) {
  if (accepting != s->accepting)
    epoll_ctl(
        s->epoll, EPOLL_CTL_MOD, s->listener,
        &(struct epoll_event){.events = accepting ? EPOLLIN : 0, .data.ptr = &s->listener});
  s->accepting = accepting;
}

static void accept_some(service *s) {
  size_t most = s->ending ? s->at_most.connections : MAX_EVENTS;
  for (size_t i = 0; i < most && s->connections < s->at_most.connections; i++) {
    int fd = accept4(s->listener, NULL, NULL, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd == -1) {
      if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        if (now() > s->warned)
          log_msg(LOG_WARNING, "no new connections for a while: %s", strerror(errno));
        s->warned = now();
        s->accept_again = s->warned + 1;
      }
      return;
    }
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &(int){1}, sizeof(int)); /* fails on others */
    if (!take_connection(s, fd)) {
      log_msg(LOG_WARNING, "a connection is refused: %s", strerror(errno));
      close(fd);
    }
  }
}

static int listen_at(service *s) {
  const char *handed = getenv("LISTEN_FDS"), *pid = getenv("LISTEN_PID");
  if (handed != NULL && atoi(handed) == 1 && pid != NULL && atol(pid) == (long)getpid()) {
    /* While nothing can be accepted, the socket stays ready and the loop would spin. */
    int accepts = 0;
    socklen_t size = sizeof accepts;
    bool good = getsockopt(3, SOL_SOCKET, SO_ACCEPTCONN, &accepts, &size) == 0;
    errno = good ? EINVAL : errno;
    return good && accepts ? 3 : -1;
  }
  struct sockaddr_un path = {.sun_family = AF_UNIX};
  struct sockaddr_in loopback = {.sin_family = AF_INET,
                                 .sin_port = htons((uint16_t)s->port),
                                 .sin_addr.s_addr = htonl(INADDR_LOOPBACK)};
  bool local = s->socket_path != NULL;
  if (local && strlen(s->socket_path) >= sizeof path.sun_path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  if (local) {
    memcpy(path.sun_path, s->socket_path, strlen(s->socket_path) + 1);
    /* A socket left by a service that was killed: the lock file shows whether one is
       running. */
    struct stat left;
    if (lstat(path.sun_path, &left) == 0 && S_ISSOCK(left.st_mode))
      unlink(path.sun_path);
  }
  int fd = socket(local ? AF_UNIX : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd != -1)
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &(int){1}, sizeof(int));
  s->bound =
      fd != -1 && (local ? bind(fd, (struct sockaddr *)&path, sizeof path)
                         : bind(fd, (struct sockaddr *)&loopback, sizeof loopback)) == 0;
  if (s->bound && (!local || chmod(path.sun_path, 0666) == 0) && listen(fd, SOMAXCONN) == 0)
    return fd;
  if (fd != -1)
    close(fd);
  return -1;
}

/* ---- The loop ---- */

static void begin_to_end(service *s) {
  time_t enough = now() + LAST_WORDS_SECONDS;
  s->ending = true;
  accept_some(s); /* clients that have connected may already have sent requests */
  epoll_ctl(s->epoll, EPOLL_CTL_DEL, s->listener, NULL); /* systemd may keep it open */
  close(s->listener);
  s->listener = -1;
  for (size_t left = s->connections; left > 0; left--) {
    connection *c = s->ring.later;
    touch(s, c); /* NOLINT(clang-analyzer-unix.Malloc): the ring holds only what is there */
    if (c->talk != NULL && now() <= enough && !take_in(s, c, EPOLLIN))
      continue;
    end_talk(c);
    give_out(s, c);
  }
}

static void take_signals(service *s) {
  struct signalfd_siginfo info;
  bool stop = false;
  while (read(s->signals, &info, sizeof info) == (ssize_t)sizeof info) {
    if (info.ssi_signo != SIGHUP)
      stop = true;
    else if (handler_load(s->rules))
      log_msg(LOG_INFO, "rules read again");
  }
  if (stop && !s->ending)
    begin_to_end(s);
}

/* Ends the connections that had been idle for too long at this time. */
static void end_idle(service *s, time_t time) {
  time_t allowed = s->ending ? LAST_WORDS_SECONDS : (time_t)s->at_most.idle_seconds;
  for (connection *c = s->ring.later; c != &s->ring; c = s->ring.later) {
    if (time - c->active <= allowed) /* NOLINT(clang-analyzer-unix.Malloc) */
      return;
    hang_up(s, c);
  }
}

static void run(service *s) {
  struct epoll_event events[MAX_EVENTS];
  while (!s->ending || s->connections > 0) {
    if (!s->ending)
      set_accepting(s, s->connections < s->at_most.connections && now() >= s->accept_again);
    int timeout = s->connections > 0 || s->accept_again != 0 ? 1000 : -1;
    int count = epoll_wait(s->epoll, events, MAX_EVENTS, timeout);
    time_t heard = now(); /* before the round: who is active during it is not idle */
    bool signalled = false;
    int served = 0;
    for (int i = 0; i < count; i++) {
      if (events[i].data.ptr == &s->signals)
        signalled = true; /* last: it may end connections with events in this round */
      else if (events[i].data.ptr == &s->listener)
        accept_some(s);
      else if (take_in(s, events[i].data.ptr, events[i].events))
        events[served++].data.ptr = events[i].data.ptr;
    }
    /* All answers of a round are written together: a client that waits for several is
       woken up once, and the code that makes answers stays in the cache. */
    for (int i = 0; i < served; i++)
      give_out(s, events[i].data.ptr);
    end_idle(s, heard);
    if (signalled)
      take_signals(s);
  }
}

/* ---- Start ---- */

static bool open_log(const char *name) {
  if (name == NULL || strcmp(name, "stderr") == 0)
    log_open_stderr();
  else if (strcmp(name, "syslog") == 0)
    log_open_syslog("serve", LOG_PID);
  else if (log_open_file(name, "a") != NULL)
    setvbuf(log_file, NULL, _IOLBF, BUFSIZ); /* writes each line at once */
  else {
    fprintf(stderr, "serve: %s: %s\n", name, strerror(errno));
    return false;
  }
  return true;
}

static int failed(const char *what) {
  log_msg(LOG_ERR, "serve: %s: %s", what, strerror(errno));
  return EXIT_FAILURE;
}

static int start(service *s) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGHUP);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, NULL);
  signal(SIGPIPE, SIG_IGN); /* the log may go to a pipe that nobody reads */
  if (s->lock != NULL) {
    errno = EWOULDBLOCK;
    if (file_write_is_locked(s->lock) || (s->lock_fd = file_write_lock(s->lock)) == -1)
      return failed(s->lock);
  }
  if (!handler_load(s->rules))
    return EXIT_FAILURE;
  s->epoll = epoll_create1(EPOLL_CLOEXEC);
  s->signals = signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
  s->listener = listen_at(s);
  if (s->listener == -1)
    return failed("cannot listen");
  struct epoll_event on_signal = {.events = EPOLLIN, .data.ptr = &s->signals};
  struct epoll_event on_client = {.events = EPOLLIN, .data.ptr = &s->listener};
  int flags = fcntl(s->listener, F_GETFL);
  if (fcntl(s->listener, F_SETFL, flags | O_NONBLOCK) != 0 ||
      epoll_ctl(s->epoll, EPOLL_CTL_ADD, s->signals, &on_signal) != 0 ||
      epoll_ctl(s->epoll, EPOLL_CTL_ADD, s->listener, &on_client) != 0)
    return failed("cannot wait");
  if (s->user != NULL &&
      ((getuid() == 0 && setgroups(0, NULL) != 0) || !process_drop_privilege(s->user)))
    return failed(s->user); /* without setgroups() root's other groups would stay */
  s->accepting = true;
  log_msg(LOG_INFO, "serving");
  run(s);
  log_msg(LOG_INFO, "ended");
  return EXIT_SUCCESS;
}

static int usage(FILE *out) {
  fputs("usage: serve (--socket PATH | --port PORT) --rules FILE [OPTION...]\n"
        "  --log stderr|syslog|FILE   where messages go (stderr)\n"
        "  --lock FILE                held while the service runs\n"
        "  --user NAME                who to become once the socket is there\n"
        "  --max-value BYTES          of one request (65536)\n"
        "  --max-values N             requests that one read completes (2000)\n"
        "  --max-waiting BYTES        of answers; beyond them nothing is read (262144)\n"
        "  --max-connections N        others wait to be accepted (10240)\n"
        "  --max-idle SECONDS         without an answer to take (60)\n",
        out);
  return out == stdout ? EXIT_SUCCESS : EXIT_FAILURE;
}

static bool read_number(const char *text, size_t *number) {
  int value = 0;
  bool good = string_to_int(text, &value) && value > 0;
  *number = (size_t)value;
  return good;
}

int main(int argc, char **argv) {
  service s = {.epoll = -1,
               .listener = -1,
               .signals = -1,
               .lock_fd = -1,
               .at_most = {65536, 2000, 262144, 10240, 60}};
  static const struct option options[] = {{"socket", 1, NULL, 't'},
                                          {"rules", 1, NULL, 't'},
                                          {"log", 1, NULL, 't'},
                                          {"lock", 1, NULL, 't'},
                                          {"user", 1, NULL, 't'},
                                          {"port", 1, NULL, 'n'},
                                          {"max-value", 1, NULL, 'n'},
                                          {"max-values", 1, NULL, 'n'},
                                          {"max-waiting", 1, NULL, 'n'},
                                          {"max-connections", 1, NULL, 'n'},
                                          {"max-idle", 1, NULL, 'n'},
                                          {"help", 0, NULL, 'h'},
                                          {NULL, 0, NULL, 0}};
  const char **texts[] = {&s.socket_path, &s.rules, &s.log, &s.lock, &s.user};
  size_t *numbers[] = {&s.port,
                       &s.at_most.value_bytes,
                       &s.at_most.values_at_once,
                       &s.at_most.waiting_bytes,
                       &s.at_most.connections,
                       &s.at_most.idle_seconds};
  bool good = true;
  enum { TEXTS = sizeof texts / sizeof *texts };
  int index = 0; /* of the option: first those with texts, then those with numbers */
  for (int kind; (kind = getopt_long(argc, argv, "", options, &index)) != -1;)
    if (kind == 'h')
      return usage(stdout);
    else if (kind == 't')
      *texts[index] = optarg;
    else
      good = kind == 'n' && read_number(optarg, numbers[index - TEXTS]) && good;
  s.ring.earlier = s.ring.later = &s.ring;
  if (!good || optind != argc || s.rules == NULL ||
      (s.socket_path == NULL) == (s.port == 0) || s.port > 65535)
    return usage(stderr);
  if (!open_log(s.log))
    return EXIT_FAILURE;
  int status = start(&s);
  handler_load(NULL);
  file_unlock(s.lock_fd);
  close(s.epoll);
  close(s.signals);
  close(s.listener);
  if (s.socket_path != NULL && s.bound)
    unlink(s.socket_path);
  log_close();
  return status;
}
