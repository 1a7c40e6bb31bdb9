// SPDX-License-Identifier: MIT

// Peers on this machine for tests of sockets, on plain system calls: nothing of the code under
// test.
//
// Ports are the system's choice unless given, so tests can run side by side. What waits gives up
// after kPatience and fails the test.
#ifndef TARVEN_TESTS_SUPPORT_LOOPBACK_H_
#define TARVEN_TESTS_SUPPORT_LOOPBACK_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/stream_reader.h"

namespace support {

inline constexpr uint32_t kLoopbackAddress = 0x7F000001;  // 127.0.0.1

enum class Family { kIpv4, kIpv6 };

// Some sandboxes have no IPv6; tests that need it ask first and skip.
bool HasIpv6Loopback();

// One end of a stream connection; closes with the object.
class Peer {
 public:
  Peer() = default;
  explicit Peer(int descriptor) : descriptor_(descriptor) {}
  ~Peer() { Close(); }
  Peer(Peer&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Peer& operator=(Peer&& other) noexcept;

  int descriptor() const { return descriptor_; }  // -1 when there is no connection

  // Sends everything; false when the other end is gone.
  bool Send(std::string_view bytes) const;

  // Receives that many bytes and none behind them; fewer when the stream ends or the time passes.
  std::string Receive(size_t size) const;
  // Receives to the end of the stream.
  std::string ReceiveToEnd() const;
  // True when the other end sends no more but a reset.
  bool WaitForReset() const;

  void ShutDownSending() const;  // the other end sees the end of the stream and may go on sending
  void Close();
  void Reset();  // closes with a reset; unread and unsent bytes are dropped

 private:
  int descriptor_ = -1;
};

// Two connected ends.
struct PeerPair {
  Peer client;
  Peer server;
};
PeerPair Connect(Family family = Family::kIpv4);

// A plain client's connection to a listener on this machine; none when it is refused or nobody
// answers.
Peer ConnectTo(uint16_t port, Family family = Family::kIpv4);

// A socket listening on the loopback address; closes with the object.
class Listener {
 public:
  explicit Listener(uint16_t port = 0, Family family = Family::kIpv4, int backlog = 16);
  ~Listener() { Close(); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int descriptor() const { return descriptor_; }
  uint16_t port() const { return port_; }

  // Waits for a client.
  Peer Accept(std::chrono::milliseconds patience = kPatience) const;

  // Refuses clients from now on; Listener(port()) listens there again.
  void Close();

 private:
  int descriptor_;
  uint16_t port_;
};

// A port where nothing listens and that nobody else gets meanwhile: connecting is refused.
class SilentPort {
 public:
  explicit SilentPort(Family family = Family::kIpv4);
  ~SilentPort();
  SilentPort(const SilentPort&) = delete;
  SilentPort& operator=(const SilentPort&) = delete;

  int descriptor() const { return descriptor_; }
  uint16_t port() const { return port_; }

  // Becomes a listener: clients are let in from now on.
  void StartListening() const;
  Peer Accept() const;

 private:
  int descriptor_;
  uint16_t port_;
};

// A listener that lets nobody in any more: a client gets no answer, neither yes nor no.
class FullListener {
 public:
  FullListener();
  uint16_t port() const { return listener_.port(); }

  // Accepts those who filled the queue, so that the next client is let in. A client that waits
  // already comes in when its system asks again, about a second after the first time.
  void MakeRoom();
  Peer Accept() const { return listener_.Accept(); }

 private:
  Listener listener_;
  std::vector<Peer> clients_;
  std::vector<Peer> accepted_;
};

// A datagram socket bound to the loopback address.
class DatagramPeer {
 public:
  struct Datagram {
    std::string bytes;
    uint16_t sender_port = 0;
  };

  explicit DatagramPeer(Family family = Family::kIpv4);
  ~DatagramPeer();
  DatagramPeer(const DatagramPeer&) = delete;
  DatagramPeer& operator=(const DatagramPeer&) = delete;

  int descriptor() const { return descriptor_; }
  uint16_t port() const { return port_; }

  bool SendTo(uint16_t port, std::string_view bytes) const;
  Datagram Receive() const;

 private:
  Family family_;
  int descriptor_;
  uint16_t port_;
};

// A time in milliseconds on a clock that only moves forward.
class Stopwatch {
 public:
  int64_t milliseconds() const;

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace support

#endif
