// Puts load on a service: keeps a number of requests pending on each of many connections.
//
//   load SOCKET CONNECTIONS PIPELINED SECONDS < REQUEST
//
// All requests are the same, and so are the answers; the length is that of the first
// answer. Prints the requests per second and the latencies of the 50th, 99th and 99.9th
// percentile in microseconds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <iterator>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

namespace {

using std::chrono::steady_clock;

[[noreturn]] void fail(const char *what) {
  std::perror(what);
  std::exit(EXIT_FAILURE);
}

int connect_to(const char *path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd == -1 ||
      connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
    fail("connect");
  return fd;
}

struct client {
  int fd = -1;
  std::deque<steady_clock::time_point> under_way;
  std::size_t received = 0; // bytes of the current answer
};

class load {
public:
  load(const char *socket, std::size_t connections, std::size_t pipelined,
       std::string request)
      : request_(std::move(request)), clients_(connections) {
    answer_size_ = measure(connect_to(socket));
    for (std::size_t i = 0; i < pipelined; ++i)
      batch_ += request_;
    for (client &c : clients_) {
      c.fd = connect_to(socket);
      epoll_event event{EPOLLIN, {.ptr = &c}};
      epoll_ctl(epoll_, EPOLL_CTL_ADD, c.fd, &event);
    }
  }

  void run(std::chrono::seconds duration) {
    const auto start = steady_clock::now();
    for (client &c : clients_)
      ask(c, batch_.size() / request_.size());
    epoll_event events[256];
    while (steady_clock::now() - start < duration) {
      const int count = epoll_wait(epoll_, events, std::size(events), 1000);
      for (int i = 0; i < count; ++i)
        take(*static_cast<client *>(events[i].data.ptr));
    }
    report(steady_clock::now() - start);
  }

private:
  // Sends one request and reads until no more of its answer arrives.
  std::size_t measure(int fd) const {
    if (send(fd, request_.data(), request_.size(), 0) == -1)
      fail("send");
    const timeval quiet{0, 300000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &quiet, sizeof quiet);
    std::size_t size = 0;
    char bytes[65536];
    for (ssize_t got; (got = recv(fd, bytes, sizeof bytes, 0)) > 0;)
      size += static_cast<std::size_t>(got);
    return size != 0 ? size : (fail("no answer"), 0);
  }

  void ask(client &c, std::size_t count) {
    const std::size_t size = count * request_.size();
    if (send(c.fd, batch_.data(), size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
      fail("send");
    c.under_way.insert(c.under_way.end(), count, steady_clock::now());
  }

  void take(client &c) {
    static char bytes[65536];
    const ssize_t got = recv(c.fd, bytes, sizeof bytes, 0);
    if (got <= 0)
      fail("the service hung up");
    c.received += static_cast<std::size_t>(got);
    const auto now = steady_clock::now();
    const std::size_t answers = c.received / answer_size_;
    c.received %= answer_size_;
    for (std::size_t i = 0; i < answers; ++i, c.under_way.pop_front())
      latencies_.push_back(
          std::chrono::duration<float, std::micro>(now - c.under_way.front()).count());
    if (answers != 0)
      ask(c, answers);
  }

  void report(std::chrono::duration<double> time) {
    std::sort(latencies_.begin(), latencies_.end());
    auto below = [&](double share) {
      const auto at =
          static_cast<std::size_t>(share * static_cast<double>(latencies_.size()));
      return static_cast<double>(latencies_.at(std::min(at, latencies_.size() - 1)));
    };
    std::printf("%.0f %.0f %.0f %.0f\n",
                static_cast<double>(latencies_.size()) / time.count(), below(0.5),
                below(0.99), below(0.999));
  }

  std::string request_, batch_;
  std::size_t answer_size_ = 0;
  std::vector<client> clients_;
  std::vector<float> latencies_;
  int epoll_ = epoll_create1(EPOLL_CLOEXEC);
};

} // namespace

int main(int argc, char **argv) {
  if (argc != 5)
    return std::fputs("usage: load SOCKET CONNECTIONS PIPELINED SECONDS < REQUEST\n",
                      stderr),
           2;
  std::string request(std::istreambuf_iterator<char>(std::cin), {});
  load(argv[1], std::stoul(argv[2]), std::stoul(argv[3]), std::move(request))
      .run(std::chrono::seconds(std::stol(argv[4])));
}
