// SPDX-License-Identifier: MIT

#include "tests/support/loopback.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace support {

namespace {

// An address record of either family.
struct Address {
  sockaddr_storage record{};
  socklen_t length = sizeof(sockaddr_storage);

  sockaddr* generic() { return reinterpret_cast<sockaddr*>(&record); }
  // The port stands at the same place in both families.
  uint16_t port() const { return ntohs(reinterpret_cast<const sockaddr_in*>(&record)->sin_port); }
};

Address Loopback(Family family, uint16_t port) {
  Address address;
  if (family == Family::kIpv4) {
    auto* const record = reinterpret_cast<sockaddr_in*>(&address.record);
    record->sin_family = AF_INET;
    record->sin_port = htons(port);
    record->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.length = sizeof *record;
  } else {
    auto* const record = reinterpret_cast<sockaddr_in6*>(&address.record);
    record->sin6_family = AF_INET6;
    record->sin6_port = htons(port);
    record->sin6_addr = in6addr_loopback;
    address.length = sizeof *record;
  }
  return address;
}

int Create(Family family, int type) {
  const int descriptor = socket(family == Family::kIpv4 ? AF_INET : AF_INET6, type, 0);
  if (descriptor < 0) abort();
  return descriptor;
}

// A test cannot go on without the peer it asked for.
int CreateBound(Family family, int type, uint16_t port) {
  const int descriptor = Create(family, type);
  if (port != 0) {
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  }
  Address address = Loopback(family, port);
  if (bind(descriptor, address.generic(), address.length) != 0) abort();
  return descriptor;
}

uint16_t LocalPort(int descriptor) {
  Address address;
  if (getsockname(descriptor, address.generic(), &address.length) != 0) abort();
  return address.port();
}

int Milliseconds(std::chrono::milliseconds time) { return static_cast<int>(time.count()); }

bool WaitFor(int descriptor, short events, std::chrono::milliseconds patience) {
  pollfd request{.fd = descriptor, .events = events, .revents = 0};
  int result;
  do {
    result = poll(&request, 1, Milliseconds(patience));
  } while (result < 0 && errno == EINTR);
  return result == 1;
}

Peer AcceptFrom(int descriptor, std::chrono::milliseconds patience) {
  if (!WaitFor(descriptor, POLLIN, patience)) {
    ADD_FAILURE() << "nobody connected";
    return Peer();
  }
  return Peer(accept(descriptor, nullptr, nullptr));
}

// One receive, after a wait: the number of bytes, or -1 also when the time passed.
ssize_t ReceiveSome(int descriptor, char* buffer, size_t capacity) {
  if (!WaitFor(descriptor, POLLIN, kPatience)) {
    ADD_FAILURE() << "nothing arrived";
    return -1;
  }
  return recv(descriptor, buffer, capacity, 0);
}

void SetNonBlocking(int descriptor, int is_on) { ioctl(descriptor, FIONBIO, &is_on); }

// A client's connection; none when it is refused or nobody answers in time.
Peer ConnectWithin(std::chrono::milliseconds patience, uint16_t port, Family family) {
  Peer client(Create(family, SOCK_STREAM));
  Address address = Loopback(family, port);
  SetNonBlocking(client.descriptor(), 1);
  connect(client.descriptor(), address.generic(), address.length);
  Address peer;
  const bool is_connected = WaitFor(client.descriptor(), POLLOUT, patience) &&
                            getpeername(client.descriptor(), peer.generic(), &peer.length) == 0;
  if (!is_connected) return Peer();
  SetNonBlocking(client.descriptor(), 0);
  return client;
}

}  // namespace

bool HasIpv6Loopback() {
  const int descriptor = socket(AF_INET6, SOCK_STREAM, 0);
  if (descriptor < 0) return false;
  Address address = Loopback(Family::kIpv6, 0);
  const bool is_bound = bind(descriptor, address.generic(), address.length) == 0;
  close(descriptor);
  return is_bound;
}

Peer& Peer::operator=(Peer&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  other.Close();
  return *this;
}

bool Peer::Send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t sent = send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

std::string Peer::Receive(size_t size) const {
  std::string bytes(size, '\0');
  size_t count = 0;
  while (count < size) {
    const ssize_t received = ReceiveSome(descriptor_, &bytes[count], size - count);
    if (received <= 0) break;
    count += static_cast<size_t>(received);
  }
  bytes.resize(count);
  return bytes;
}

std::string Peer::ReceiveToEnd() const {
  std::string bytes;
  char chunk[65536];
  for (;;) {
    const ssize_t received = ReceiveSome(descriptor_, chunk, sizeof chunk);
    if (received <= 0) return bytes;
    bytes.append(chunk, static_cast<size_t>(received));
  }
}

bool Peer::WaitForReset() const {
  char chunk[4096];
  ssize_t received;
  do {
    received = ReceiveSome(descriptor_, chunk, sizeof chunk);
  } while (received > 0);
  return received < 0 && errno == ECONNRESET;
}

void Peer::ShutDownSending() const { shutdown(descriptor_, SHUT_WR); }

void Peer::Close() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
}

void Peer::Reset() {
  const linger at_once{.l_onoff = 1, .l_linger = 0};
  setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  Close();
}

Peer ConnectTo(uint16_t port, Family family) { return ConnectWithin(kPatience, port, family); }

PeerPair Connect(Family family) {
  const Listener listener(0, family);
  PeerPair pair;
  pair.client = ConnectTo(listener.port(), family);
  pair.server = listener.Accept();
  return pair;
}

Listener::Listener(uint16_t port, Family family, int backlog)
    : descriptor_(CreateBound(family, SOCK_STREAM, port)), port_(LocalPort(descriptor_)) {
  if (listen(descriptor_, backlog) != 0) abort();
}

Peer Listener::Accept(std::chrono::milliseconds patience) const {
  return AcceptFrom(descriptor_, patience);
}

void Listener::Close() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
}

SilentPort::SilentPort(Family family)
    : descriptor_(CreateBound(family, SOCK_STREAM, 0)), port_(LocalPort(descriptor_)) {}

SilentPort::~SilentPort() { close(descriptor_); }

void SilentPort::StartListening() const {
  if (listen(descriptor_, 16) != 0) abort();
}

Peer SilentPort::Accept() const { return AcceptFrom(descriptor_, kPatience); }

FullListener::FullListener() : listener_(0, Family::kIpv4, 0) {
  constexpr std::chrono::milliseconds kTimeToBeLetIn{200};
  constexpr size_t kMostPlaces = 64;
  for (;;) {
    Peer client = ConnectWithin(kTimeToBeLetIn, port(), Family::kIpv4);
    if (client.descriptor() < 0) return;
    clients_.push_back(std::move(client));
    if (clients_.size() == kMostPlaces) abort();
  }
}

void FullListener::MakeRoom() {
  for (size_t i = 0; i < clients_.size(); ++i) accepted_.push_back(listener_.Accept());
}

DatagramPeer::DatagramPeer(Family family)
    : family_(family),
      descriptor_(CreateBound(family, SOCK_DGRAM, 0)),
      port_(LocalPort(descriptor_)) {}

DatagramPeer::~DatagramPeer() { close(descriptor_); }

bool DatagramPeer::SendTo(uint16_t port, std::string_view bytes) const {
  Address address = Loopback(family_, port);
  const ssize_t sent =
      sendto(descriptor_, bytes.data(), bytes.size(), 0, address.generic(), address.length);
  return sent == static_cast<ssize_t>(bytes.size());
}

DatagramPeer::Datagram DatagramPeer::Receive() const {
  if (!WaitFor(descriptor_, POLLIN, kPatience)) {
    ADD_FAILURE() << "no datagram arrived";
    return {};
  }
  char buffer[65536];
  Address sender;
  const ssize_t received =
      recvfrom(descriptor_, buffer, sizeof buffer, 0, sender.generic(), &sender.length);
  if (received < 0) return {};
  return {std::string(buffer, static_cast<size_t>(received)), sender.port()};
}

int64_t Stopwatch::milliseconds() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start_)
      .count();
}

}  // namespace support
