// SPDX-License-Identifier: MIT

// Connecting with a limit of time, beside the plain system calls: to a listener that is there, and
// to one that comes later.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>

#include "bench/rows.h"
#include "sys/sockets.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr int32_t kLimitMs = 5000;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

int Require(int result) {
  if (result < 0) std::abort();
  return result;
}

// A port of the loopback address that is taken, and nobody listens on it at first.
class Listener {
 public:
  Listener() {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof place;
    Require(bind(socket_, reinterpret_cast<sockaddr*>(&place), length));
    Require(getsockname(socket_, reinterpret_cast<sockaddr*>(&place), &length));
    place_ = place;
  }
  ~Listener() { close(socket_); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  const sockaddr_in& place() const { return place_; }
  uint16_t port() const { return ntohs(place_.sin_port); }
  void Listen() const { Require(listen(socket_, 16)); }

  // Ends a connection from both sides, so that no pair of ports is left behind in waiting.
  void End(int client) const {
    const int server = Require(accept(socket_, nullptr, nullptr));
    constexpr linger kReset{.l_onoff = 1, .l_linger = 0};
    setsockopt(server, SOL_SOCKET, SO_LINGER, &kReset, sizeof kReset);
    close(server);
    close(client);
  }

 private:
  int socket_ = Require(socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in place_{};
};

int TimedConnect(const Listener& listener) {
  return SYS_SOCKET_ConnectTimeout(INADDR_LOOPBACK, listener.port(), kLimitMs, nullptr);
}

// Returns the socket, or -1.
int PlainConnect(const Listener& listener) {
  const int client = Require(socket(AF_INET, SOCK_STREAM, 0));
  const sockaddr_in place = listener.place();
  if (connect(client, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0) return client;
  close(client);
  return -1;
}

int PollingConnect(const Listener& listener) {
  for (;;) {
    const int client = PlainConnect(listener);
    if (client >= 0) return client;
    std::this_thread::sleep_for(milliseconds(10));
  }
}

template <int (*kConnect)(const Listener&)>
void ConnectToListener(benchmark::State& state) {
  const Listener listener;
  listener.Listen();
  for (auto _ : state) {
    const auto start = Clock::now();
    const int client = Require(kConnect(listener));
    state.SetIterationTime(SecondsSince(start));
    listener.End(client);
  }
}

// The listener comes after 30 ms and a part of a pass that differs from iteration to iteration, so
// that all the moments of a pass are met equally often.
template <int (*kConnect)(const Listener&)>
void NoticeListener(benchmark::State& state) {
  int64_t iteration = 0;
  for (auto _ : state) {
    const Listener listener;
    const microseconds delay{30'000 + 10'000 * iteration++ / state.max_iterations};
    Clock::time_point start;
    std::thread late([&] {
      std::this_thread::sleep_for(delay);
      start = Clock::now();
      listener.Listen();
    });
    const int client = Require(kConnect(listener));
    const auto end = Clock::now();
    late.join();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    listener.End(client);
  }
}

}  // namespace

void bench::AddRows() {
  Row("timed connect", "to a listener")
      .OwnClock(500)
      .Project(ConnectToListener<TimedConnect>)
      .Limit("plain connect", 1.2, ConnectToListener<PlainConnect>);
  Row("timed connect", "noticing a new listener")
      .OwnClock(20)
      .Project(NoticeListener<TimedConnect>)
      .Peer("a poll every 10 ms", 1.05, NoticeListener<PollingConnect>);
}
